// Halation: light that passes the emulsion is reflected in the film base and exposes it again, around the highlight
// that it came from; the red-sensitive layer lies deepest and takes most of it.
//   src = max(0, in - knee)
//   out = in + strength * intensity * tint * max(0, w1 * blur(src, sigma1) + (1 - w1) * blur(src, sigma2) - src)
// Scene-linear planes, each channel alone. Amounts per stock: halation_profiles.cpp. Only light that spread beyond its
// origin is added: the halo lies around a highlight, never on it.
//
// Both blurs stream over the plane together, and their rows overwrite it four at a time.
#include "process/halation.h"

#include "process/blur_stream.h"
#include "process/row_block.h"
#include "rows/kernels.h"

namespace velloid {

namespace {

RowSource rowsAboveKnee(const float* plane, int w, double knee) {
    return [plane, w, knee](int y, float* room) {
        const std::size_t n = static_cast<std::size_t>(w);
        rowKernels().effect.aboveKnee(plane + n * static_cast<std::size_t>(y), room, n, knee);
        return room;
    };
}

void addHalo(std::vector<float>& plane, int w, const RowBands& bands, const HalationProfile& p, double scaleX,
             double scaleY, double gain) {
    const std::size_t n = static_cast<std::size_t>(w);
    const RowSource source = rowsAboveKnee(plane.data(), w, p.knee);
    const BlurStream narrow(bands, w, p.sigma1 * scaleX, p.sigma1 * scaleY, source);
    const BlurStream wide(bands, w, p.sigma2 * scaleX, p.sigma2 * scaleY, source);
    bands.forEach([&](int begin, int end) {
        BlurStream::Rows narrowRows(narrow, begin);
        BlurStream::Rows wideRows(wide, begin);
        RowBlock near(w);
        RowBlock far(w);
        forEachBlock(begin, end, [&](int y, int count) {
            narrowRows.next(y, count, near.rows());
            wideRows.next(y, count, far.rows());
            for (int k = 0; k < count; ++k) {
                rowKernels().effect.addHalo(plane.data() + n * static_cast<std::size_t>(y + k), near.row(k), far.row(k),
                                            n, p.knee, p.w1, 1.0 - p.w1, gain);
            }
        });
    });
}

} // namespace

void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, NegativeStock stock) {
    applyHalation(R, G, B, w, h, intensity, scaleX, scaleY, halationProfile(stock));
}

void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, const HalationProfile& p) {
    if (intensity <= 0.0 || w < 1 || h < 1) return;
    const double gain = p.strength * intensity;
    const RowBands bands(h);
    addHalo(R, w, bands, p, scaleX, scaleY, gain * p.tintR);
    addHalo(G, w, bands, p, scaleX, scaleY, gain * p.tintG);
    addHalo(B, w, bands, p, scaleX, scaleY, gain * p.tintB);
}

} // namespace velloid
