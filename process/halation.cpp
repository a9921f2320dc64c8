// Halation: light that passes the emulsion is reflected in the film base and exposes it again, around the highlight
// that it came from; the red-sensitive layer lies deepest and takes most of it.
//   src = max(0, in - knee)
//   out = in + strength * intensity * tint * max(0, w1 * blur(src, sigma1) + (1 - w1) * blur(src, sigma2) - src)
// Scene-linear planes, each channel alone. Amounts per stock: halation_profiles.cpp. GPU twin:
// metal/kernels/halation.h. Only light that spread beyond its origin is added: the halo lies around a highlight, never
// on it.
#include "process/halation.h"

#include "process/frame_planes.h"
#include "rows/kernels.h"

namespace velloid {

namespace {

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
                                             const HalationProfile& p) {
    return std::make_unique<HalationStage>(w, h, intensity, scaleX, scaleY, p);
}

void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, NegativeStock stock) {
    applyHalation(R, G, B, w, h, intensity, scaleX, scaleY, halationProfile(stock));
}

void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, const HalationProfile& p) {
    if (intensity <= 0.0 || w < 1 || h < 1) return;
    RowChain chain = chainOf(R, G, B, w, h);
    chain.add("halation", halationStage(w, h, intensity, scaleX, scaleY, p));
    replacePlanes(R, G, B, w, h, chain);
}

} // namespace velloid
