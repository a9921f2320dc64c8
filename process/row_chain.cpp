#include "process/row_chain.h"

#include "process/parallel_pool.h"
#include "process/row_block.h"
#include "process/stage_clock.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

namespace velloid {

namespace {

// ---- stages that change pixels where they stand --------------------------------------------------------------------

class FunctionFeed : public RowFeed {
public:
    FunctionFeed(const RowFunction& rowFunction, int width, RowFeed& before)
        : function(rowFunction), n(static_cast<std::size_t>(width)), upstream(before) {}

    void next(int y, int count, const ColorRows& out) override {
        upstream.next(y, count, out);
        for (int k = 0; k < count; ++k)
            function(out.channel[0][k], out.channel[1][k], out.channel[2][k], n);
    }

private:
    const RowFunction& function;
    std::size_t n;
    RowFeed& upstream;
};

// ---- stages with blurred neighbours --------------------------------------------------------------------------------

// The largest radius of a stage in one direction.
int reachOf(const BlurringStage& stage, int (BlurTaps::*radius)() const) {
    int reach = 0;
    for (int c = 0; c < 3; ++c) {
        for (int b = 0; b < stage.blurs(); ++b)
            reach = std::max(reach, (stage.tapsOf(c, b).*radius)());
    }
    return reach;
}

int reachX(const BlurringStage& stage) {
    return reachOf(stage, &BlurTaps::radiusX);
}

int reachY(const BlurringStage& stage) {
    return reachOf(stage, &BlurTaps::radiusY);
}

int sumWithin(int a, int b, int end) {
    return static_cast<int>(std::clamp<long long>(static_cast<long long>(a) + b, 0, end));
}

// What a stage needs in order to make `region`.
Region withMargin(const Region& region, const BlurringStage& stage, int w, int h) {
    const int x = reachX(stage);
    const int y = reachY(stage);
    return {sumWithin(region.x0, -x, w), sumWithin(region.y0, -y, h), sumWithin(region.x1, x, w),
            sumWithin(region.y1, y, h)};
}

// The rows of a stage that are wanted as they came in: from the first that has not left to the last one computed.
class RowRing {
public:
    RowRing(int width, int rowCount)
        : w(width), rows(rowCount), samples{Scratch(samplesOf(w, rows)), Scratch(samplesOf(w, rows)),
                                            Scratch(samplesOf(w, rows))} {}

    float* row(int channel, int y) { return samples[channel].data() + samplesOf(w, y % rows); }

private:
    int w;
    int rows;
    Scratch samples[3];
};

class BlurringFeed : public RowFeed {
public:
    BlurringFeed(const BlurringStage& blurringStage, const Region& out, const Region& in, RowFeed& before)
        : stage(blurringStage), region(out), from(in), upstream(before), reach(reachY(blurringStage)), made(in.y0),
          ring(in.width(), static_cast<int>(std::min<long long>(reach + 2LL * BLUR_BLOCK_ROWS, in.height()))),
          room(in.width()) {
        for (int c = 0; c < 3; ++c) {
            for (int b = 0; b < stage.blurs(); ++b)
                blurs[c][b].emplace(stage.tapsOf(c, b), region, from, reach);
        }
    }

    void next(int y, int count, const ColorRows& out) override {
        const long long last = static_cast<long long>(y) + count - 1 + reach;
        while (made <= last && made < from.y1)
            takeIn(std::min(BLUR_BLOCK_ROWS, from.y1 - made));
        for (auto& channel : blurs) {
            for (std::optional<Blur>& blur : channel) {
                if (blur) blur->rows.take(y, count, blur->out.rows());
            }
        }
        for (int k = 0; k < count; ++k)
            handOut(y + k, k, out);
    }

private:
    struct Blur {
        Blur(const BlurTaps& taps, const Region& region, const Region& from, int reach)
            : rows(taps, from.columns(), region.columns(), reach - taps.radiusY() + BLUR_BLOCK_ROWS - 1),
              out(region.width()) {}
        RowBlur rows;
        RowBlock out;
    };

    void takeIn(int count) {
        ColorRows rows;
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < count; ++k)
                rows.channel[c][k] = ring.row(c, made + k);
        }
        upstream.next(made, count, rows);
        for (int k = 0; k < count; ++k) {
            float* const row[3] = {rows.channel[0][k], rows.channel[1][k], rows.channel[2][k]};
            float* const free[3] = {room.rows()[0], room.rows()[1], room.rows()[2]};
            const float* toBlur[3] = {row[0], row[1], row[2]};
            stage.enter(from.x0, made + k, static_cast<std::size_t>(from.width()), row, free, toBlur);
            for (int c = 0; c < 3; ++c) {
                for (int b = 0; b < stage.blurs(); ++b)
                    blurs[c][b]->rows.push(made + k, toBlur[c]);
            }
        }
        made += count;
    }

    void handOut(int y, int k, const ColorRows& out) {
        const std::size_t n = static_cast<std::size_t>(region.width());
        const float* blurred[3][BlurringStage::MAX_BLURS] = {};
        for (int c = 0; c < 3; ++c) {
            std::memcpy(out.channel[c][k], ring.row(c, y) + (region.x0 - from.x0), n * sizeof(float));
            for (int b = 0; b < stage.blurs(); ++b)
                blurred[c][b] = blurs[c][b]->out.row(k);
        }
        float* const row[3] = {out.channel[0][k], out.channel[1][k], out.channel[2][k]};
        stage.leave(n, row, blurred);
    }

    const BlurringStage& stage;
    Region region;
    Region from; // what the stage before is asked for
    RowFeed& upstream;
    int reach;
    int made; // first row that has not come in yet
    RowRing ring;
    RowBlock room;
    std::optional<Blur> blurs[3][BlurringStage::MAX_BLURS];
};
static_assert(BLUR_BLOCK_ROWS >= 3, "RowBlock is room for one row of each channel");

// ---- time ----------------------------------------------------------------------------------------------------------

class TimedFeed : public RowFeed {
public:
    TimedFeed(std::unique_ptr<RowFeed> rowFeed, StageTimer& stageTimer, std::size_t stageIndex)
        : feed(std::move(rowFeed)), timer(stageTimer), index(stageIndex) {}

    void next(int y, int count, const ColorRows& out) override {
        const std::size_t before = timer.switchTo(index);
        feed->next(y, count, out);
        timer.switchTo(before);
    }

private:
    std::unique_ptr<RowFeed> feed;
    StageTimer& timer;
    std::size_t index;
};

} // namespace

// ---- chain ---------------------------------------------------------------------------------------------------------

void BlurringStage::enter(int, int, std::size_t, float* const*, float* const*, const float**) const {}

struct RowChain::Stage {
    const char* name;
    RowFunction function;
    std::unique_ptr<BlurringStage> blurring; // null: `function` is the stage

    Region upstreamOf(const Region& region, int frameW, int frameH) const {
        return blurring ? withMargin(region, *blurring, frameW, frameH) : region;
    }
    std::unique_ptr<RowFeed> open(const Region& region, const Region& from, RowFeed& upstream) const {
        if (blurring) return std::make_unique<BlurringFeed>(*blurring, region, from, upstream);
        return std::make_unique<FunctionFeed>(function, region.width(), upstream);
    }
};

RowChain::RowChain(int width, int height, const char* name, std::unique_ptr<RowOrigin> rowOrigin)
    : w(width), h(height), originName(name), origin(std::move(rowOrigin)) {}

RowChain::~RowChain() = default;

void RowChain::add(const char* name, RowFunction function) {
    stages.push_back({name, std::move(function), nullptr});
}

void RowChain::add(const char* name, std::unique_ptr<BlurringStage> stage) {
    stages.push_back({name, nullptr, std::move(stage)});
}

void RowChain::measure(StageClock* clock, const char* name) {
    stageClock = clock;
    sinkName = name;
}

// The stages of one tile, each reading from the one before.
class RowChain::TileFeeds {
public:
    TileFeeds(const RowChain& chain, const Region& tile)
        : timer(chain.stageClock ? std::optional<StageTimer>(std::in_place, chain.stages.size() + 2) : std::nullopt) {
        std::vector<Region> regions(chain.stages.size() + 1, tile); // regions[i]: what stage i is asked for
        for (std::size_t i = chain.stages.size(); i-- > 0;)
            regions[i] = chain.stages[i].upstreamOf(regions[i + 1], chain.w, chain.h);
        append(chain.origin->open(regions[0]));
        for (std::size_t i = 0; i < chain.stages.size(); ++i)
            append(chain.stages[i].open(regions[i + 1], regions[i], last()));
    }

    RowFeed& last() { return *feeds.back(); }
    // Seconds of the origin, the stages and the rest; null when nobody measures.
    const std::vector<double>* seconds() {
        if (!timer) return nullptr;
        timer->switchTo(0);
        return &timer->seconds();
    }
    // From now on, what is not in a feed is the sink's.
    void restIsSink() {
        if (timer) timer->switchTo(feeds.size());
    }

private:
    void append(std::unique_ptr<RowFeed> feed) {
        const std::size_t index = feeds.size();
        if (timer) feed = std::make_unique<TimedFeed>(std::move(feed), *timer, index);
        feeds.push_back(std::move(feed));
    }

    std::optional<StageTimer> timer;
    std::vector<std::unique_ptr<RowFeed>> feeds;
};

// Thread time of all tiles, per stage.
class RowChain::TileTimes {
public:
    explicit TileTimes(std::size_t stages) : total(stages, 0.0), begin(StageClock::Time::now()) {}

    void add(const std::vector<double>& seconds) {
        std::lock_guard lock(mu);
        for (std::size_t i = 0; i < total.size(); ++i)
            total[i] += seconds[i];
    }

    // Shares out the time that has passed, as the threads spent theirs.
    void report(const RowChain& chain) const {
        const double passed = StageClock::secondsSince(begin);
        double sum = 0.0;
        for (const double seconds : total)
            sum += seconds;
        for (std::size_t i = 0; i < total.size() && sum > 0.0; ++i)
            chain.stageClock->add(chain.nameOf(i), passed * total[i] / sum);
    }

private:
    std::mutex mu; // guards total
    std::vector<double> total;
    StageClock::Time::time_point begin;
};

void RowChain::runTile(const Region& region, const RowSink& sink, TileTimes& times) const {
    TileFeeds feeds(*this, region);
    const std::unique_ptr<RowSink::Tile> tile = sink.open(region);
    feeds.restIsSink();
    for (int y = region.y0; y < region.y1; y += BLUR_BLOCK_ROWS) {
        const int count = std::min(BLUR_BLOCK_ROWS, region.y1 - y);
        feeds.last().next(y, count, tile->room(y, count));
        tile->done(y, count);
    }
    if (const std::vector<double>* seconds = feeds.seconds()) times.add(*seconds);
}

const char* RowChain::nameOf(std::size_t index) const {
    return index == 0 ? originName : index <= stages.size() ? stages[index - 1].name : sinkName;
}

void RowChain::run(const Region& area, const RowSink& sink) const {
    if (area.width() <= 0 || area.height() <= 0) return;
    int x = 0;
    int y = 0;
    for (const Stage& stage : stages) {
        if (!stage.blurring) continue;
        x = sumWithin(x, reachX(*stage.blurring), w);
        y = sumWithin(y, reachY(*stage.blurring), h);
    }
    const TileGrid grid(area, parallelThreads(), x, y);
    TileTimes times(stages.size() + 2);
    parallelTasks(grid.count(), [&](int index) { runTile(grid.tile(index), sink, times); });
    if (stageClock) times.report(*this);
}

// ---- tiles ---------------------------------------------------------------------------------------------------------

namespace {

// A tile this wide keeps the rings of a UHD frame's default effects near the second-level cache; wider margins want
// wider tiles, so that they stay a small part.
constexpr int TILE_WIDTH = 1024;
constexpr int TILE_HEIGHT = 32; // rows at least
constexpr int MARGIN_SHARE = 8; // a tile is at least so many times as large as its margin on one side
constexpr int TILES_PER_WORKER = 4;
constexpr int COLUMN_STEP = 16; // tiles start at whole cache lines of floats, where planes do

int roundedUp(int value, int step) {
    return (value - 1) / step * step + step;
}

} // namespace

TileGrid::TileGrid(const Region& wanted, int threads, int reachX, int reachY) : area(wanted) {
    const long long width = std::max<long long>(TILE_WIDTH, static_cast<long long>(MARGIN_SHARE) * reachX);
    const long long height = std::max<long long>(TILE_HEIGHT, static_cast<long long>(MARGIN_SHARE) * reachY);
    columns = static_cast<int>((area.width() - 1) / width + 1);
    tileWidth = roundedUp((area.width() - 1) / columns + 1, COLUMN_STEP);
    columns = (area.width() - 1) / tileWidth + 1;
    const int wantedBands = threads <= 1 ? 1 : (TILES_PER_WORKER * threads - 1) / columns + 1;
    bands = std::clamp(static_cast<int>(area.height() / height), 1, wantedBands);
    if (columns * bands < threads) {
        // Larger margins against idle workers; but a band is worth at least half a margin.
        const int fewest = (threads - 1) / columns + 1;
        bands = std::clamp(area.height() / std::max(TILE_HEIGHT, reachY / 2), 1, fewest);
    } else if (columns == 1 && bands > threads) {
        bands -= bands % threads; // equal work for all
    }
    bandHeight = roundedUp((area.height() - 1) / bands + 1, BLUR_BLOCK_ROWS);
    bands = (area.height() - 1) / bandHeight + 1;
}

Region TileGrid::tile(int index) const {
    const int x0 = area.x0 + index % columns * tileWidth;
    const int y0 = area.y0 + index / columns * bandHeight;
    return {x0, y0, std::min(x0 + tileWidth, area.x1), std::min(y0 + bandHeight, area.y1)};
}

} // namespace velloid
