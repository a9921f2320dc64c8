// Halation: light that passes the emulsion is reflected in the film base and exposes it again, around the highlight
// that it came from; the red-sensitive layer lies deepest and takes most of it.
//   src = max(0, in - knee)
//   out = in + strength * intensity * tint * max(0, w1 * blur(src, sigma1) + (1 - w1) * blur(src, sigma2) - src)
// Scene-linear planes, each channel alone. Amounts per stock: halation_profiles.cpp. GPU twin:
// metal/kernels/halation.h. Only light that spread beyond its origin is added: the halo lies around a highlight, never
// on it.
//
// Both blurs stream over the plane together, and their rows overwrite it four at a time.
#include "process/halation.h"

#include "process/blur_stream.h"
#include "process/row_block.h"
#include "rows/kernels.h"

namespace velloid {

namespace {

void addHalo(std::vector<float>& plane, int w, const RowBands& bands, const HalationProfile& p, double scaleX,
             double scaleY, double gain) {
    const std::size_t n = static_cast<std::size_t>(w);
    const RowSource source = highlightRows(plane.data(), w, p.knee);
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
                rowKernels().effect.addHalo(plane.data() + samplesOf(w, y + k), near.row(k), far.row(k), n, p.knee,
                                            p.w1, 1.0 - p.w1, gain);
            }
        });
    });
}

class HalationStage : public BlurringStage {
public:
    HalationStage(int w, int h, double intensity, double scaleX, double scaleY, const HalationProfile& profile)
        : p(profile) {
        const double tint[3] = {p.tintR, p.tintG, p.tintB};
        for (int c = 0; c < 3; ++c) {
            taps[c].emplace_back(w, h, p.sigma1 * scaleX, p.sigma1 * scaleY);
            taps[c].emplace_back(w, h, p.sigma2 * scaleX, p.sigma2 * scaleY);
            gain[c] = p.strength * intensity * tint[c];
        }
    }

    void enter(int, int, std::size_t n, float* const row[3], float* const room[3],
               const float* toBlur[3]) const override {
        for (int c = 0; c < 3; ++c) {
            rowKernels().effect.aboveKnee(row[c], room[c], n, p.knee);
            toBlur[c] = room[c];
        }
    }

    void leave(std::size_t n, float* const row[3], const float* const blurred[3][MAX_BLURS]) const override {
        for (int c = 0; c < 3; ++c)
            rowKernels().effect.addHalo(row[c], blurred[c][0], blurred[c][1], n, p.knee, p.w1, 1.0 - p.w1, gain[c]);
    }

private:
    HalationProfile p;
    double gain[3];
};

} // namespace

std::unique_ptr<BlurringStage> halationStage(int w, int h, double intensity, double scaleX, double scaleY,
                                             NegativeStock stock) {
    return std::make_unique<HalationStage>(w, h, intensity, scaleX, scaleY, halationProfile(stock));
}

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
