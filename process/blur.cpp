// The blurs of whole planes, made of the streams of blur_stream.h and wide_blur.h.
//   tap(k) = exp(-k*k / (2 sigma*sigma)) / sum,  k = -r .. r,  r = max(ceil(3 sigma), 1)
// Double sums over float taps and float samples, first along the rows, then down the columns; any plane of numbers, no
// domain. GPU twin: metal/kernels/blur.h.
#include "process/blur.h"

#include "process/blur_stream.h"
#include "process/parallel_pool.h"
#include "process/wide_blur.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velloid {

namespace {

constexpr double MAX_RADIUS = 1073741823.0; // 2^30 - 1: 2r + 1 stays an int

} // namespace

std::vector<float> gaussKernel(double sigma) {
    if (!(sigma > 0.0) || std::isinf(sigma)) return {1.0f};
    const double reach = std::ceil(3.0 * sigma);
    if (!(reach <= MAX_RADIUS)) throw std::length_error("Gaussian radius out of range");
    const int r = std::max(static_cast<int>(reach), 1);
    std::vector<float> taps(2 * static_cast<std::size_t>(r) + 1);
    double sum = 0.0;
    for (int k = -r; k <= r; ++k) {
        const double distance = k;
        const double g = std::exp(-(distance * distance) / (2.0 * sigma * sigma));
        taps[static_cast<std::size_t>(k + r)] = static_cast<float>(g);
        sum += g;
    }
    for (float& tap : taps)
        tap = static_cast<float>(tap / sum);
    return taps;
}

void blurSeparable(float* data, int w, int h, double sigmaX, double sigmaY) {
    if (!blurChanges(w, h, sigmaX, sigmaY)) return;
    Scratch blurred(samplesOf(w, h));
    blurInto(blurred.data(), planeRows(data, w), w, h, sigmaX, sigmaY);
    std::copy_n(blurred.data(), blurred.size(), data);
}

void blurPyramid(std::vector<float>& plane, int w, int h, double sigmaX, double sigmaY) {
    if (!blurChanges(w, h, sigmaX, sigmaY)) return;
    Scratch blurred(samplesOf(w, h));
    blurWideInto(blurred.data(), planeRows(plane.data(), w), w, h, sigmaX, sigmaY);
    std::copy_n(blurred.data(), blurred.size(), plane.data());
}

void downsample2x(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int& dw, int& dh) {
    dw = w / 2 + w % 2;
    dh = h / 2 + h % 2;
    dst.resize(samplesOf(dw, dh));
    parallelFor(0, dh, [&, width = dw](int begin, int end) {
        for (int y = begin; y < end; ++y) {
            const float* upper = src.data() + samplesOf(w, 2 * y);
            const float* lower = src.data() + samplesOf(w, std::min(2 * y + 1, h - 1));
            rowKernels().blur.halve(upper, lower, static_cast<std::size_t>(w), dst.data() + samplesOf(width, y));
        }
    });
}

void upsampleBilinear(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int W, int H) {
    dst.resize(samplesOf(W, H));
    const Stretch stretch(src.data(), w, h, W, H);
    parallelFor(0, H, [&](int begin, int end) {
        Stretch::Rows rows(stretch, {0, W});
        for (int y = begin; y < end; ++y)
            rows.make(y, dst.data() + samplesOf(W, y));
    });
}

} // namespace velloid
