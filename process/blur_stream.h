// Blurred rows of anything that can hand out its rows: a plane, or what is computed from one. They stream (row_blur.h),
// so no blurred copy is needed, and can be used while they are hot. Whoever asks for a region, as the tiles of a chain
// do, computes its margin too and shares nothing with the others.
//
//     const RowSource source = planeRows(plane, w);
//     const BlurTaps taps(w, h, sigmaX, sigmaY);
//     BlurredRows rows(taps, source, {0, w}, 0);
//     for (int y = 0; y < h; y += BLUR_BLOCK_ROWS) rows.next(y, count, out);
#pragma once

#include "process/row_blur.h"
#include "process/scratch.h"

#include <functional>

namespace velloid {

// The samples `columns` of row y of what is to be blurred: a part of a plane, or computed into `room`, which holds
// them.
using RowSource = std::function<const float*(int y, ColumnSpan columns, float* room)>;

// The rows of a plane of width w, which must outlive the source.
RowSource planeRows(const float* plane, int w);

// max(0, sample - knee): what glows.
RowSource highlightRows(const float* plane, int w, double knee);

// The blurred rows of the columns `columns`, from row `begin` on; used by one thread.
class BlurredRows {
public:
    // The taps and the source must outlive this.
    BlurredRows(const BlurTaps& taps, const RowSource& source, ColumnSpan columns, int begin,
                RowContent content = RowContent::Any);

    // Writes the blurred rows y .. y + count - 1, count at most BLUR_BLOCK_ROWS. Calls must come in order, without
    // gaps.
    void next(int y, int count, float* const* out);

private:
    const RowSource& source;
    ColumnSpan from; // with the margin
    RowBlur blur;
    int pushed; // first row of the source that has not come in yet
    Scratch room;
};

// Calls fn(begin, end) on the workers for stretches of whole blocks of rows that cover [0, rows) once.
void forRowStretches(int rows, const std::function<void(int, int)>& fn);

// Calls fn(y, count) for the blocks of rows begin .. end - 1.
template <class Fn>
void forEachBlock(int begin, int end, Fn fn) {
    for (int y = begin; y < end; y += BLUR_BLOCK_ROWS)
        fn(y, end - y < BLUR_BLOCK_ROWS ? end - y : BLUR_BLOCK_ROWS);
}

// Blurs a source of w x h samples into a plane, which must not be what the source reads. Where blurChanges is false,
// the samples arrive as they are. Throws std::length_error for absurd sigmas.
void blurInto(float* plane, const RowSource& source, int w, int h, double sigmaX, double sigmaY);

} // namespace velloid
