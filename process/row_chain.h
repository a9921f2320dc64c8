// A chain of effects over the rows of a frame, without planes between them.
//
// The frame is cut into tiles, and each tile is one task of the workers: blocks of up to four rows are pulled through
// all stages while they are hot. A stage that needs neighbours keeps the rows that are still wanted in rings and asks
// for a margin around what it hands out; tiles compute their margins themselves, so they share nothing. Every stage
// does to a row what its whole-plane form does, so the frame is the same, bit for bit, however it is cut.
//
//     RowChain chain(w, h, "import", origin);
//     chain.add("flicker", rowFunction);
//     chain.add("halation", std::make_unique<...>());
//     chain.run(area, sink);
#pragma once

#include "process/row_blur.h"
#include "rows/row_function.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace velloid {

class StageClock;

// Pixels [x0, x1) x [y0, y1) of the frame.
struct Region {
    int x0;
    int y0;
    int x1;
    int y1;

    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
    ColumnSpan columns() const { return {x0, x1}; }
};

// Where a block of up to BLUR_BLOCK_ROWS rows of a region lies: row k of red at channel[0][k], and so on.
struct ColorRows {
    float* channel[3][BLUR_BLOCK_ROWS] = {};
    float* alpha[BLUR_BLOCK_ROWS] = {}; // null: nobody wants alpha
};

// The rows of one region, computed when asked for; used by one thread.
class RowFeed {
public:
    virtual ~RowFeed() = default;
    // Writes rows y .. y + count - 1 of the region to `out`, count at most BLUR_BLOCK_ROWS. Calls come in order, from
    // the region's first row, without gaps.
    virtual void next(int y, int count, const ColorRows& out) = 0;
};

// Where the rows of a chain come from: a host image, or planes.
class RowOrigin {
public:
    virtual ~RowOrigin() = default;
    virtual std::unique_ptr<RowFeed> open(const Region& region) const = 0;
};

// Where they go to, tile by tile.
class RowSink {
public:
    virtual ~RowSink() = default;

    class Tile {
    public:
        virtual ~Tile() = default;
        // Where the chain may write rows y .. y + count - 1 of the tile.
        virtual ColorRows room(int y, int count) = 0;
        // They are there.
        virtual void done(int y, int count) = 0;
    };
    virtual std::unique_ptr<Tile> open(const Region& region) const = 0;
};

// A stage that mixes every row with blurred neighbours. Each channel is blurred once or twice.
class BlurringStage {
public:
    static constexpr int MAX_BLURS = 2;

    virtual ~BlurringStage() = default;

    int blurs() const { return static_cast<int>(taps[0].size()); } // per channel
    const BlurTaps& tapsOf(int channel, int blur) const { return taps[channel][static_cast<std::size_t>(blur)]; }

    // A row comes in: n pixels from (x, y) on. The stage may change it, and may name what is to be blurred instead of
    // it: per channel the same number of samples, computed into `room`.
    virtual void enter(int x, int y, std::size_t n, float* const row[3], float* const room[3],
                       const float* toBlur[3]) const;
    // A row goes out: `row` as it came in, which becomes the result; blurred[channel][blur] what was blurred.
    virtual void leave(std::size_t n, float* const row[3], const float* const blurred[3][MAX_BLURS]) const = 0;

protected:
    std::vector<BlurTaps> taps[3]; // per channel, equally many
};

class RowChain {
public:
    // Frame size in pixels.
    RowChain(int w, int h, const char* name, std::unique_ptr<RowOrigin> origin);
    ~RowChain();

    // Stages run in the order in which they are added.
    void add(const char* name, RowFunction function);
    // A blurring stage does not carry alpha along: it has no place after an origin that makes alpha.
    void add(const char* name, std::unique_ptr<BlurringStage> stage);

    // Computes the pixels of `area` (within the frame) on the workers. Rethrows what a stage throws.
    void run(const Region& area, const RowSink& sink) const;

    // Lets `clock` (null: none) count the time of each stage; that of the sink under `sinkName`.
    void measure(StageClock* clock, const char* sinkName);

private:
    struct Stage;
    class TileFeeds;
    class TileTimes;

    void runTile(const Region& tile, const RowSink& sink, TileTimes& times) const;
    const char* nameOf(std::size_t index) const;

    int w;
    int h;
    const char* originName;
    const char* sinkName = "";
    std::unique_ptr<RowOrigin> origin;
    std::vector<Stage> stages;
    StageClock* stageClock = nullptr;
};

// How a chain cuts an area into tiles.
class TileGrid {
public:
    // Tiles for `threads` workers whose stages reach `reachX` columns and `reachY` rows beyond a tile.
    TileGrid(const Region& area, int threads, int reachX, int reachY);

    int count() const { return columns * bands; }
    Region tile(int index) const;

private:
    Region area;
    int columns;
    int bands;
    int tileWidth;
    int bandHeight;
};

} // namespace velloid
