#include "process/blur_stream.h"

#include "process/blur.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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

bool blurChanges(int w, int h, double sigmaX, double sigmaY) {
    return std::isfinite(sigmaX) && std::isfinite(sigmaY) && w >= 1 && h >= 1 && (sigmaX > 0.0 || sigmaY > 0.0);
}

namespace {

std::vector<double> widened(const std::vector<float>& taps) {
    return {taps.begin(), taps.end()};
}

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

BlurStream::BlurStream(const RowBands& bands, int width, double sigmaX, double sigmaY, RowSource rows)
    : w(width), h(bands.rows()), changes(blurChanges(width, bands.rows(), sigmaX, sigmaY)), source(std::move(rows)),
      kept(0) {
    if (!changes) return;
    tapsX = widened(gaussKernel(sigmaX));
    tapsY = sigmaY == sigmaX ? tapsX : widened(gaussKernel(sigmaY));
    rx = static_cast<int>(tapsX.size() / 2);
    ry = static_cast<int>(tapsY.size() / 2);
    keepRowsNearCuts(bands);
}

void BlurStream::keepRowsNearCuts(const RowBands& bands) {
    int count = 0;
    keptIndex = indexRowsNearCuts(bands, ry, count);
    if (count == 0) return;
    kept = Scratch(samplesOf(w, count));
    parallelFor(0, h, [&](int begin, int end) {
        Scratch room(static_cast<std::size_t>(w));
        for (int y = begin; y < end; ++y) {
            const int index = keptIndex[static_cast<std::size_t>(y)];
            if (index >= 0) blurAcross(y, room.data(), kept.data() + samplesOf(w, index));
        }
    });
}

const float* BlurStream::keptRow(int y) const {
    const int index = keptIndex[static_cast<std::size_t>(y)];
    return index < 0 ? nullptr : kept.data() + samplesOf(w, index);
}

void BlurStream::blurAcross(int y, float* room, float* out) const {
    const std::size_t n = static_cast<std::size_t>(w);
    const std::size_t r = static_cast<std::size_t>(rx);
    std::vector<double>& padded = detail_par::blurAccumulator;
    if (padded.size() < n + 2 * r) padded.resize(n + 2 * r);
    const BlurRows& kernels = rowKernels().blur;
    kernels.widen(source(y, room), n, r, padded.data());
    kernels.across(padded.data(), tapsX.data(), r, out, n);
}

BlurStream::Rows::Rows(const BlurStream& stream, int begin)
    : blur(stream), ringRows(static_cast<int>(std::min<long long>(2LL * stream.ry + BLUR_BLOCK_ROWS, stream.h))),
      made(begin), ring(stream.changes ? samplesOf(stream.w, ringRows) : 0), room(static_cast<std::size_t>(stream.w)),
      window(2 * static_cast<std::size_t>(stream.ry) + BLUR_BLOCK_ROWS) {}

float* BlurStream::Rows::slot(int y) {
    return ring.data() + samplesOf(blur.w, y % ringRows);
}

const float* BlurStream::Rows::across(int y) {
    const float* row = blur.keptRow(y);
    return row ? row : slot(y);
}

void BlurStream::Rows::next(int y, int count, float* const* out) {
    const std::size_t n = static_cast<std::size_t>(blur.w);
    if (!blur.changes) {
        for (int k = 0; k < count; ++k)
            std::memcpy(out[k], blur.source(y + k, room.data()), n * sizeof(float));
        return;
    }
    const int lastRow =
        static_cast<int>(std::min<long long>(static_cast<long long>(y) + count - 1 + blur.ry, blur.h - 1));
    for (; made <= lastRow; ++made) {
        if (!blur.keptRow(made)) blur.blurAcross(made, room.data(), slot(made));
    }
    const long long first = static_cast<long long>(y) - blur.ry;
    const long long rows = 2LL * blur.ry + count;
    for (long long i = 0; i < rows; ++i) {
        window[static_cast<std::size_t>(i)] = across(static_cast<int>(std::clamp<long long>(first + i, 0, blur.h - 1)));
    }
    rowKernels().blur.down(window.data(), blur.tapsY.data(), static_cast<std::size_t>(blur.ry), out, count, n);
}

} // namespace velloid
