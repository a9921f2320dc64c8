#include "process/blur_stream.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <utility>

namespace velloid {

RowSource planeRows(const float* plane, int w) {
    return [plane, w](int y, float*) { return plane + samplesOf(w, y); };
}

RowSource highlightRows(const float* plane, int w, double knee) {
    return [plane, w, knee](int y, float* room) {
        rowKernels().effect.aboveKnee(plane + samplesOf(w, y), room, static_cast<std::size_t>(w), knee);
        return room;
    };
}

RowBands::RowBands(int rows) : total(rows) {
    const int share = (rows - 1) / std::max(parallelThreads(), 1) + 1;
    height = (share - 1) / BLUR_BLOCK_ROWS * BLUR_BLOCK_ROWS + BLUR_BLOCK_ROWS;
    bands = (rows - 1) / height + 1;
}

int RowBands::begin(int k) const {
    return static_cast<int>(std::min<long long>(static_cast<long long>(k) * height, total));
}

void RowBands::forEach(const std::function<void(int, int)>& fn) const {
    parallelFor(0, bands, [&](int first, int last) { fn(begin(first), begin(last)); });
}

namespace {

// The cuts' surroundings: per row its place among the kept rows, or -1.
std::vector<int> indexRowsNearCuts(const RowBands& bands, int reach, int& count) {
    std::vector<int> index(static_cast<std::size_t>(bands.rows()), -1);
    count = 0;
    int next = 0; // rows below are indexed
    for (int k = 1; k < bands.count(); ++k) {
        const int cut = bands.begin(k);
        const int last = static_cast<int>(std::min<long long>(static_cast<long long>(cut) + reach, bands.rows()));
        for (int y = std::max(next, cut - reach); y < last; ++y)
            index[static_cast<std::size_t>(y)] = count++;
        next = std::max(next, last);
    }
    return index;
}

} // namespace

BlurStream::BlurStream(const RowBands& bands, int w, double sigmaX, double sigmaY, RowSource rows,
                       RowContent rowContent)
    : taps(w, bands.rows(), sigmaX, sigmaY), source(std::move(rows)), content(rowContent), kept(0) {
    if (taps.changes) keepRowsNearCuts(bands);
}

void BlurStream::keepRowsNearCuts(const RowBands& bands) {
    int count = 0;
    keptIndex = indexRowsNearCuts(bands, taps.radiusY(), count);
    if (count == 0) return;
    kept = Scratch(samplesOf(taps.w, count));
    const ColumnSpan all{0, taps.w};
    parallelFor(0, taps.h, [&](int begin, int end) {
        Scratch room(static_cast<std::size_t>(taps.w));
        for (int y = begin; y < end; ++y) {
            const int index = keptIndex[static_cast<std::size_t>(y)];
            if (index >= 0) blurAcross(taps, all, all, source(y, room.data()), kept.data() + samplesOf(taps.w, index));
        }
    });
}

const float* BlurStream::keptRow(int y) const {
    const int index = keptIndex.empty() ? -1 : keptIndex[static_cast<std::size_t>(y)];
    return index < 0 ? nullptr : kept.data() + samplesOf(taps.w, index);
}

BlurStream::Rows::Rows(const BlurStream& blurStream, int begin)
    : stream(blurStream), blur(blurStream.taps, 0, blurStream.content), pushed(blur.firstNeeded(begin)),
      room(static_cast<std::size_t>(blurStream.taps.w)) {}

void BlurStream::Rows::push(int y) {
    const float* row = stream.keptRow(y);
    if (row) {
        blur.pushBlurred(y, row);
    } else {
        blur.push(y, stream.source(y, room.data()));
    }
}

void BlurStream::Rows::next(int y, int count, float* const* out) {
    for (const int last = blur.lastNeeded(y + count - 1); pushed <= last; ++pushed)
        push(pushed);
    blur.take(y, count, out);
}

} // namespace velloid
