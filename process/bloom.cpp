// Bloom: what a mist filter before the lens does. Light above the knee glows around highlights, in the picture's own
// colours, and a little of the whole image is diffused.
//   spill = 0.35 * blur(max(0, in - knee), sigma / 4) + 0.65 * blur(max(0, in - knee), sigma)
//   out   = in + 0.1 * amount * (blur(in, sigma) - in) + 0.22 * amount * spill
// Scene-linear planes, each channel alone, before halation. The sigmas are wide, so the blurs take the ladder of
// wide_blur.h. House values.
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

RowSource rowsAboveKnee(const float* plane, int w) {
    return [plane, w](int y, float* room) {
        const std::size_t n = static_cast<std::size_t>(w);
        rowKernels().effect.aboveKnee(plane + n * static_cast<std::size_t>(y), room, n, KNEE);
        return room;
    };
}

void addBloom(std::vector<float>& plane, int w, const RowBands& bands, double amount, double sigmaX, double sigmaY) {
    const std::size_t n = static_cast<std::size_t>(w);
    const RowSource highlights = rowsAboveKnee(plane.data(), w);
    const WideBlur narrow(bands, w, NARROW_SIGMA * sigmaX, NARROW_SIGMA * sigmaY, highlights);
    const WideBlur wide(bands, w, sigmaX, sigmaY, highlights);
    const WideBlur soft(bands, w, sigmaX, sigmaY, planeRows(plane.data(), w));
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
                rowKernels().effect.addBloom(plane.data() + n * static_cast<std::size_t>(y + k), narrowBlock.row(k),
                                             wideBlock.row(k), softBlock.row(k), n, NARROW_SHARE, WIDE_SHARE,
                                             amount * DIFFUSION, amount * GLOW);
            }
        });
    });
}

} // namespace

void applyBloom(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                double sigmaX, double sigmaY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const RowBands bands(h);
    for (std::vector<float>* plane : {&R, &G, &B})
        addBloom(*plane, w, bands, amount, sigmaX, sigmaY);
}

} // namespace velloid
