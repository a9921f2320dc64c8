#include "process/blur_stream.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>

namespace velloid {

namespace {

// `columns`, and as many on either side as the blur reads.
ColumnSpan withMargin(const BlurTaps& taps, ColumnSpan columns) {
    const long long r = taps.radiusX();
    return {static_cast<int>(std::max<long long>(columns.first - r, 0)),
            static_cast<int>(std::min<long long>(columns.end + r, taps.w))};
}

} // namespace

RowSource planeRows(const float* plane, int w) {
    return [plane, w](int y, ColumnSpan columns, float*) { return plane + samplesOf(w, y) + columns.first; };
}

RowSource highlightRows(const float* plane, int w, double knee) {
    return [plane, w, knee](int y, ColumnSpan columns, float* room) {
        rowKernels().effect.aboveKnee(plane + samplesOf(w, y) + columns.first, room,
                                      static_cast<std::size_t>(columns.size()), knee);
        return room;
    };
}

BlurredRows::BlurredRows(const BlurTaps& taps, const RowSource& rowSource, ColumnSpan columns, int begin,
                         RowContent content)
    : source(rowSource), from(withMargin(taps, columns)), blur(taps, from, columns, 0, content),
      pushed(blur.firstNeeded(begin)), room(static_cast<std::size_t>(from.size())) {}

void BlurredRows::next(int y, int count, float* const* out) {
    for (const int last = blur.lastNeeded(y + count - 1); pushed <= last; ++pushed)
        blur.push(pushed, source(pushed, from, room.data()));
    blur.take(y, count, out);
}

void forRowStretches(int rows, const std::function<void(int, int)>& fn) {
    parallelFor(0, (rows - 1) / BLUR_BLOCK_ROWS + 1, [&](int first, int last) {
        fn(first * BLUR_BLOCK_ROWS, static_cast<int>(std::min<long long>(last * 1LL * BLUR_BLOCK_ROWS, rows)));
    });
}

void blurInto(float* plane, const RowSource& source, int w, int h, double sigmaX, double sigmaY) {
    const BlurTaps taps(w, h, sigmaX, sigmaY);
    forRowStretches(h, [&](int begin, int end) {
        BlurredRows rows(taps, source, {0, w}, begin);
        forEachBlock(begin, end, [&](int y, int count) {
            float* out[BLUR_BLOCK_ROWS] = {};
            for (int k = 0; k < count; ++k)
                out[k] = plane + samplesOf(w, y + k);
            rows.next(y, count, out);
        });
    });
}

} // namespace velloid
