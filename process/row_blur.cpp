#include "process/row_blur.h"

#include "process/blur.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
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

// Blurs BLUR_NEAR_SAMPLES columns from `first`, at the edge of the frame.
void nearEdge(const BlurTaps& taps, ColumnSpan in, int first, const float* row, float* to) {
    const int r = taps.radiusX();
    float padded[BLUR_NEAR_SAMPLES + 2 * BLUR_NEAR_RADIUS];
    for (int i = 0; i < BLUR_NEAR_SAMPLES + 2 * r; ++i)
        padded[i] = row[std::clamp(first + i - r, in.first, in.end - 1) - in.first];
    rowKernels().blur.acrossNear(padded, taps.x.data(), static_cast<std::size_t>(r), to, BLUR_NEAR_SAMPLES);
}

// A short radius: straight from the row, except at the edges of the frame.
void acrossNear(const BlurTaps& taps, ColumnSpan in, ColumnSpan out, const float* row, float* to) {
    const int r = taps.radiusX();
    const ColumnSpan inner{std::max(out.first, in.first + r), std::min(out.end, in.end - r)};
    if (inner.first > out.first) nearEdge(taps, in, out.first, row, to);
    if (inner.end < out.end) nearEdge(taps, in, out.end - BLUR_NEAR_SAMPLES, row, to + out.size() - BLUR_NEAR_SAMPLES);
    rowKernels().blur.acrossNear(row + (inner.first - r - in.first), taps.x.data(), static_cast<std::size_t>(r),
                                 to + (inner.first - out.first), static_cast<std::size_t>(inner.size()));
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
    if (taps.radiusX() >= 1 && taps.radiusX() <= BLUR_NEAR_RADIUS &&
        out.size() >= BLUR_NEAR_SAMPLES + 2 * BLUR_NEAR_RADIUS)
        return acrossNear(taps, in, out, row, to);
    // From `first` to `end` there are samples; the kernel repeats the outermost on either side, which matters only
    // where they are the edge of the frame.
    const int r = taps.radiusX();
    const int first = std::max(in.first, out.first - r);
    const int end = static_cast<int>(std::min<long long>(in.end, static_cast<long long>(out.end) + r));
    const std::size_t n = static_cast<std::size_t>(end - first);
    const std::size_t radius = static_cast<std::size_t>(r);
    double* const padded = detail_par::blurAccumulator.atLeast(n + 2 * radius);
    const BlurRows& kernels = rowKernels().blur;
    kernels.widen(row + (first - in.first), n, radius, padded);
    kernels.across(padded + (out.first - first), taps.x.data(), radius, to, static_cast<std::size_t>(out.size()));
}

namespace {

constexpr int STRETCH = 64; // columns that are passed over together

int stretchesOf(int columns) {
    return (columns - 1) / STRETCH + 1;
}

// Marks the stretches of n samples that hold something: any bit set, so that NaN and -0 count.
void markStretches(const float* row, int n, unsigned char* marks) {
    for (int first = 0; first < n; first += STRETCH) {
        std::uint32_t any = 0;
        const int end = std::min(first + STRETCH, n);
        for (int x = first; x < end; ++x) {
            std::uint32_t bits;
            std::memcpy(&bits, row + x, sizeof bits);
            any |= bits;
        }
        marks[first / STRETCH] = any != 0;
    }
}

// Calls fn(first, end, something) for the runs of equal marks; columns of `n`.
template <class Fn>
void forRuns(const unsigned char* marks, int n, Fn fn) {
    const int stretches = stretchesOf(n);
    for (int s = 0, next = 0; s < stretches; s = next) {
        next = s + 1;
        while (next < stretches && marks[next] == marks[s])
            ++next;
        fn(s * STRETCH, std::min(next * STRETCH, n), marks[s] != 0);
    }
}

} // namespace

RowBlur::RowBlur(const BlurTaps& blurTaps, ColumnSpan from, ColumnSpan to, int ahead, RowContent content)
    : taps(blurTaps), in(from), out(to), ringRows(ringRowsFor(blurTaps, ahead)), ring(samplesOf(to.size(), ringRows)),
      window(2 * static_cast<std::size_t>(blurTaps.radiusY()) + BLUR_BLOCK_ROWS) {
    if (content != RowContent::Sparse || !taps.changes) return;
    stretches = stretchesOf(out.size());
    marks.resize(samplesOf(stretches, ringRows));
    marked.resize(static_cast<std::size_t>(std::max(stretches, stretchesOf(in.size()))));
}

int RowBlur::firstNeeded(int y) const {
    return std::max(y - taps.radiusY(), 0);
}

int RowBlur::lastNeeded(int y) const {
    return static_cast<int>(std::min<long long>(static_cast<long long>(y) + taps.radiusY(), taps.h - 1));
}

float* RowBlur::slot(int y) {
    return ring.data() + samplesOf(out.size(), y % ringRows);
}

unsigned char* RowBlur::marksOf(int y) {
    return marks.data() + samplesOf(stretches, y % ringRows);
}

void RowBlur::push(int y, const float* row) {
    if (stretches != 0) return pushSparse(y, row);
    blurAcross(taps, in, out, row, slot(y));
}

void RowBlur::pushSparse(int y, const float* row) {
    markStretches(row, in.size(), marked.data());
    unsigned char* const found = marksOf(y);
    for (int s = 0; s < stretches; ++s) {
        // Marks of the samples under the taps of the stretch.
        const long long first = std::max<long long>(out.first + s * STRETCH - taps.radiusX(), in.first) - in.first;
        const long long last =
            std::min<long long>(std::min(out.first + (s + 1) * STRETCH, out.end) - 1LL + taps.radiusX(), in.end - 1) -
            in.first;
        found[s] = std::any_of(marked.data() + first / STRETCH, marked.data() + last / STRETCH + 1,
                               [](unsigned char mark) { return mark != 0; });
    }
    float* const to = slot(y);
    forRuns(found, out.size(), [&](int first, int end, bool something) {
        if (something) {
            blurAcross(taps, in, {out.first + first, out.first + end}, row, to + first);
        } else {
            std::fill(to + first, to + end, 0.0f);
        }
    });
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
    std::fill(marked.begin(), marked.end(), static_cast<unsigned char>(0));
    for (long long i = 0; i < rows; ++i) {
        const int row = static_cast<int>(std::clamp<long long>(first + i, 0, taps.h - 1));
        window[static_cast<std::size_t>(i)] = slot(row);
        const unsigned char* const found = stretches != 0 ? marksOf(row) : nullptr;
        for (int s = 0; s < stretches; ++s)
            marked[static_cast<std::size_t>(s)] |= found[s];
    }
    if (stretches != 0) return takeSparse(count, to);
    rowKernels().blur.down(window.data(), taps.y.data(), static_cast<std::size_t>(taps.radiusY()), to, count, n);
}

void RowBlur::takeSparse(int count, float* const* to) {
    const std::ptrdiff_t rows = 2 * std::ptrdiff_t{taps.radiusY()} + count;
    int at = 0; // the window's columns start here
    const auto moveTo = [&](int column) {
        std::for_each(window.begin(), window.begin() + rows, [&](const float*& row) { row += column - at; });
        at = column;
    };
    forRuns(marked.data(), out.size(), [&](int first, int end, bool something) {
        float* part[BLUR_BLOCK_ROWS] = {};
        for (int k = 0; k < count; ++k)
            part[k] = to[k] + first;
        if (something) {
            moveTo(first);
            rowKernels().blur.down(window.data(), taps.y.data(), static_cast<std::size_t>(taps.radiusY()), part, count,
                                   static_cast<std::size_t>(end - first));
        } else {
            for (int k = 0; k < count; ++k)
                std::fill(part[k], part[k] + (end - first), 0.0f);
        }
    });
}

} // namespace velloid
