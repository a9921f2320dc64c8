#include "process/row_blur.h"

#include "process/blur.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velloid {

namespace {

std::vector<double> widened(const std::vector<float>& taps) {
    return {taps.begin(), taps.end()};
}

int ringRowsFor(const BlurTaps& taps, int ahead) {
    const long long rows = 2LL * taps.radiusY() + BLUR_BLOCK_ROWS + ahead;
    return static_cast<int>(std::min<long long>(rows, std::max(taps.h, 1)));
}

} // namespace

bool blurChanges(int w, int h, double sigmaX, double sigmaY) {
    return std::isfinite(sigmaX) && std::isfinite(sigmaY) && w >= 1 && h >= 1 && (sigmaX > 0.0 || sigmaY > 0.0);
}

BlurTaps::BlurTaps(int width, int height, double sigmaX, double sigmaY)
    : w(width), h(height), changes(blurChanges(width, height, sigmaX, sigmaY)), x{1.0}, y{1.0} {
    if (!changes) return;
    x = widened(gaussKernel(sigmaX));
    y = sigmaY == sigmaX ? x : widened(gaussKernel(sigmaY));
}

void blurAcross(const BlurTaps& taps, ColumnSpan in, ColumnSpan out, const float* row, float* to) {
    if (!taps.changes) {
        std::memcpy(to, row + (out.first - in.first), static_cast<std::size_t>(out.size()) * sizeof(float));
        return;
    }
    // From `first` to `end` there are samples; the kernel repeats the outermost on either side, which matters only
    // where they are the edge of the frame.
    const int r = taps.radiusX();
    const int first = std::max(in.first, out.first - r);
    const int end = static_cast<int>(std::min<long long>(in.end, static_cast<long long>(out.end) + r));
    const std::size_t n = static_cast<std::size_t>(end - first);
    const std::size_t radius = static_cast<std::size_t>(r);
    std::vector<double>& padded = detail_par::blurAccumulator;
    if (padded.size() < n + 2 * radius) padded.resize(n + 2 * radius);
    const BlurRows& kernels = rowKernels().blur;
    kernels.widen(row + (first - in.first), n, radius, padded.data());
    kernels.across(padded.data() + (out.first - first), taps.x.data(), radius, to,
                   static_cast<std::size_t>(out.size()));
}

RowBlur::RowBlur(const BlurTaps& blurTaps, ColumnSpan from, ColumnSpan to, int ahead)
    : taps(blurTaps), in(from), out(to), ringRows(ringRowsFor(blurTaps, ahead)), ring(samplesOf(to.size(), ringRows)),
      window(2 * static_cast<std::size_t>(blurTaps.radiusY()) + BLUR_BLOCK_ROWS) {}

int RowBlur::firstNeeded(int y) const {
    return std::max(y - taps.radiusY(), 0);
}

int RowBlur::lastNeeded(int y) const {
    return static_cast<int>(std::min<long long>(static_cast<long long>(y) + taps.radiusY(), taps.h - 1));
}

float* RowBlur::slot(int y) {
    return ring.data() + samplesOf(out.size(), y % ringRows);
}

void RowBlur::push(int y, const float* row) {
    blurAcross(taps, in, out, row, slot(y));
}

void RowBlur::pushBlurred(int y, const float* row) {
    std::memcpy(slot(y), row, static_cast<std::size_t>(out.size()) * sizeof(float));
}

void RowBlur::take(int y, int count, float* const* to) {
    const std::size_t n = static_cast<std::size_t>(out.size());
    if (!taps.changes) {
        for (int k = 0; k < count; ++k)
            std::memcpy(to[k], slot(y + k), n * sizeof(float));
        return;
    }
    const long long first = static_cast<long long>(y) - taps.radiusY();
    const long long rows = 2LL * taps.radiusY() + count;
    for (long long i = 0; i < rows; ++i)
        window[static_cast<std::size_t>(i)] = slot(static_cast<int>(std::clamp<long long>(first + i, 0, taps.h - 1)));
    rowKernels().blur.down(window.data(), taps.y.data(), static_cast<std::size_t>(taps.radiusY()), to, count, n);
}

} // namespace velloid
