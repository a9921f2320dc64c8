// Black and white: c += (Y - c) * amount for each channel c, Y the luminance of the pixel in scene-linear AWG4.
// GPU twin: metal/kernels/black_and_white.h.
#include "process/black_and_white.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"

namespace velloid {

namespace {

// The Y row of the matrix from AWG4 to CIE XYZ (D65).
constexpr double AWG4_TO_Y[3] = {0.254524176404027, 0.781477732712002, -0.03600190911602904};

} // namespace

RowFunction blackAndWhiteRows(double amount) {
    return [=](float* r, float* g, float* b, std::size_t n) {
        rowKernels().effect.towardsLuminance(r, g, b, n, AWG4_TO_Y[0], AWG4_TO_Y[1], AWG4_TO_Y[2], amount);
    };
}

void applyBlackAndWhite(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h,
                        double amount) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const RowFunction blend = blackAndWhiteRows(amount);
    const std::size_t width = static_cast<std::size_t>(w);
    parallelFor(0, h, [&](int begin, int end) {
        const std::size_t at = static_cast<std::size_t>(begin) * width;
        blend(&R[at], &G[at], &B[at], static_cast<std::size_t>(end - begin) * width);
    });
}

} // namespace velloid
