// A separable Gaussian blur of a plane that streams (row_blur.h): no blurred copy of the plane is needed, and the rows
// that come out can be used while they are hot, even to overwrite the plane that is being blurred.
//
// The plane is cut into one band of rows per thread. Rows near a cut are wanted by both sides and may be overwritten by
// one of them, so they are blurred horizontally first and kept (BlurStream's constructor); the bands then run freely:
//
//     RowBands bands(h);
//     BlurStream blur(bands, w, sigmaX, sigmaY, planeRows(data, w));
//     bands.forEach([&](int begin, int end) {
//         BlurStream::Rows rows(blur, begin);
//         for (int y = begin; y < end; y += 4) rows.next(y, count, out);      // then out may go where row y came from
//     });
//
// When the radius is so large that most rows lie near a cut, this is the classical two-pass blur.
#pragma once

#include "process/row_blur.h"
#include "process/scratch.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace velloid {

// The samples of row y of what is to be blurred: a row of a plane, or computed into `room`, which holds a row.
using RowSource = std::function<const float*(int y, float* room)>;

RowSource planeRows(const float* plane, int w);

// max(0, sample - knee): what glows.
RowSource highlightRows(const float* plane, int w, double knee);

// Cuts `rows` rows into one band per thread; every band but the last holds a multiple of BLUR_BLOCK_ROWS rows.
class RowBands {
public:
    explicit RowBands(int rows);

    int rows() const { return total; }
    int count() const { return bands; }
    // First row of band k; the number of rows for k = count().
    int begin(int k) const;
    // Calls fn(begin, end) on the workers for stretches of rows that start and end at cuts and cover each row once.
    void forEach(const std::function<void(int, int)>& fn) const;

private:
    int total;
    int height; // rows of a band
    int bands;
};

class BlurStream {
public:
    // Reads the rows near the cuts at once and the others when Rows comes to them. `bands` and what `source` reads must
    // outlive this. Where blurChanges is false, rows come out as they are. Throws std::length_error for absurd sigmas.
    BlurStream(const RowBands& bands, int w, double sigmaX, double sigmaY, RowSource source,
               RowContent content = RowContent::Any);

    class Rows;

private:
    void keepRowsNearCuts(const RowBands& bands);
    const float* keptRow(int y) const; // null for the rows that are not kept

    BlurTaps taps;
    RowSource source;
    RowContent content;
    std::vector<int> keptIndex; // per row: its place among the kept rows, or -1
    Scratch kept;               // rows near the cuts, blurred horizontally
};

// The blurred rows of one stretch that RowBands::forEach hands out; used by one thread.
class BlurStream::Rows {
public:
    Rows(const BlurStream& blur, int begin);

    // Writes the blurred rows y .. y + count - 1, count at most BLUR_BLOCK_ROWS. Calls must come in order, without
    // gaps. When it returns, those rows of the source have been read for the last time.
    void next(int y, int count, float* const* out);

private:
    void push(int y);

    const BlurStream& stream;
    RowBlur blur;
    int pushed; // first row of the source that is not in the ring yet
    Scratch room;
};

// Calls fn(y, count) for the blocks of rows begin .. end - 1.
template <class Fn>
void forEachBlock(int begin, int end, Fn fn) {
    for (int y = begin; y < end; y += BLUR_BLOCK_ROWS)
        fn(y, end - y < BLUR_BLOCK_ROWS ? end - y : BLUR_BLOCK_ROWS);
}

} // namespace velloid
