// Bloom: what a mist filter before the lens does. Light above the knee glows around highlights, in the picture's own
// colours, and a little of the whole image is diffused.
//   spill = 0.35 * blur(max(0, in - knee), sigma / 4) + 0.65 * blur(max(0, in - knee), sigma)
//   out   = in + 0.1 * amount * (blur(in, sigma) - in) + 0.22 * amount * spill
// Scene-linear planes, each channel alone, before halation. The sigmas are wide, so the blurs take the ladder of
// wide_blur.h. House values. GPU twin: metal/kernels/bloom.h.
#include "process/bloom.h"

#include "process/row_block.h"
#include "process/wide_blur.h"
#include "rows/kernels.h"

namespace velloid {

namespace {

constexpr double KNEE = 0.5091168824543142; // scene-linear level where the glow starts
constexpr double NARROW_SIGMA = 0.25;       // of the glow's sigma
constexpr double NARROW_SHARE = 0.35;
constexpr double WIDE_SHARE = 0.65;
constexpr double DIFFUSION = 0.1; // per amount
constexpr double GLOW = 0.22;     // per amount

void addBloom(float* plane, int w, const RowBands& bands, double amount, double sigmaX, double sigmaY) {
    const std::size_t n = static_cast<std::size_t>(w);
    const RowSource highlights = highlightRows(plane, w, KNEE);
    const WideBlur narrow(bands, w, NARROW_SIGMA * sigmaX, NARROW_SIGMA * sigmaY, highlights, RowContent::Sparse);
    const WideBlur wide(bands, w, sigmaX, sigmaY, highlights, RowContent::Sparse);
    const WideBlur soft(bands, w, sigmaX, sigmaY, planeRows(plane, w));
    bands.forEach([&](int begin, int end) {
        WideBlur::Rows narrowRows(narrow, begin);
        WideBlur::Rows wideRows(wide, begin);
        WideBlur::Rows softRows(soft, begin);
        RowBlock narrowBlock(w);
        RowBlock wideBlock(w);
        RowBlock softBlock(w);
        forEachBlock(begin, end, [&](int y, int count) {
            narrowRows.next(y, count, narrowBlock.rows());
            wideRows.next(y, count, wideBlock.rows());
            softRows.next(y, count, softBlock.rows());
            for (int k = 0; k < count; ++k) {
                rowKernels().effect.addBloom(plane + samplesOf(w, y + k), narrowBlock.row(k), wideBlock.row(k),
                                             softBlock.row(k), n, NARROW_SHARE, WIDE_SHARE, amount * DIFFUSION,
                                             amount * GLOW);
            }
        });
    });
}

} // namespace

void bloomPlanes(float* const planes[3], int w, int h, double amount, double sigmaX, double sigmaY) {
    const RowBands bands(h);
    for (int c = 0; c < 3; ++c)
        addBloom(planes[c], w, bands, amount, sigmaX, sigmaY);
}

void applyBloom(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                double sigmaX, double sigmaY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    float* const planes[3] = {R.data(), G.data(), B.data()};
    bloomPlanes(planes, w, h, amount, sigmaX, sigmaY);
}

} // namespace velloid
