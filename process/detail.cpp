// Detail: film softens a little, and where dense and thin areas meet, its developer, exhausted on one side and fresh on
// the other, makes the dense side denser and the thin side thinner (adjacency effect).
//   soft = in + m * mix * (blur(in, sigmaBlur) - in)                       scene-linear
//   lc   = LogC4(soft);  hp = lc - blur(lc, sigmaBroad), held to +-(0.055 + 0.1 |lc|)
//   out  = linear(min(lc + m * sharp * hp, max(1, lc)))
// Each channel alone; sigmas and strengths per stock: detail_profiles.cpp. GPU twin: metal/kernels/detail.h. The edge
// overshoot is bounded, and nothing is brightened beyond code 1.
//
// Two stages: the first leaves LogC4 codes in the rows, the second takes them.
#include "process/detail.h"

#include "process/frame_planes.h"
#include "rows/kernels.h"

#include <algorithm>
#include <array>

namespace velloid {

namespace {

// What happens to a row and its blurred copy: softening gives LogC4 codes, sharpening takes them.
using DetailRow = void (*)(float* data, const float* blurred, std::size_t n, double strength);

class DetailStage : public BlurringStage {
public:
    struct Channel {
        double sigma;
        double strength;
    };
    using Channels = std::array<Channel, 3>;

    DetailStage(int w, int h, double scaleX, double scaleY, const Channels& channels, DetailRow detailRow)
        : row(detailRow), strength{channels[0].strength, channels[1].strength, channels[2].strength} {
        for (std::size_t c = 0; c < 3; ++c)
            taps[c].emplace_back(w, h, channels[c].sigma * scaleX, channels[c].sigma * scaleY);
    }

    void leave(std::size_t n, float* const rows[3], const float* const blurred[3][MAX_BLURS]) const override {
        for (int c = 0; c < 3; ++c)
            row(rows[c], blurred[c][0], n, strength[c]);
    }

private:
    DetailRow row;
    double strength[3];
};

// The amount that counts.
double upToOne(double amount) {
    return std::min(amount, 1.0);
}

// Adds both stages. Sigmas in reference pixels, strengths per channel.
void addDetail(RowChain& chain, int w, int h, const DetailProfile& p, double amount, double scaleX, double scaleY) {
    const double m = upToOne(amount);
    const double mix = m * p.blurMix;
    const DetailStage::Channels soft = {{{p.blurR, mix}, {p.blurG, mix}, {p.blurB, mix}}};
    const DetailStage::Channels broad = {
        {{p.broadR, m * p.sharpR}, {p.broadG, m * p.sharpG}, {p.broadB, m * p.sharpB}}};
    chain.add("detail", std::make_unique<DetailStage>(w, h, scaleX, scaleY, soft, rowKernels().effect.softenToLogC4));
    chain.add("detail",
              std::make_unique<DetailStage>(w, h, scaleX, scaleY, broad, rowKernels().effect.sharpenFromLogC4));
}

} // namespace

void addDetail(RowChain& chain, int w, int h, double amount, NegativeStock stock, double scaleX, double scaleY) {
    addDetail(chain, w, h, detailProfile(stock), amount, scaleX, scaleY);
}

void applyDetail(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                 NegativeStock stock, double scaleX, double scaleY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    RowChain chain = chainOf(R, G, B, w, h);
    addDetail(chain, w, h, amount, stock, scaleX, scaleY);
    replacePlanes(R, G, B, w, h, chain);
}

void detailChannel(std::vector<float>& ch, int w, int h, double sigmaBlur, double sigmaBroad, double sharp,
                   double blurMix, double amount, double scaleX, double scaleY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const DetailProfile p = {sigmaBlur, sigmaBroad, sharp,      sigmaBlur, sigmaBroad,
                             sharp,     sigmaBlur,  sigmaBroad, sharp,     blurMix};
    RowChain chain = chainOf(ch, ch, ch, w, h);
    addDetail(chain, w, h, p, amount, scaleX, scaleY);
    replacePlanes(ch, ch, ch, w, h, chain);
}

} // namespace velloid
