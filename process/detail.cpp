// Detail: film softens a little, and where dense and thin areas meet, its developer, exhausted on one side and fresh on
// the other, makes the dense side denser and the thin side thinner (adjacency effect).
//   soft = in + m * mix * (blur(in, sigmaBlur) - in)                       scene-linear
//   lc   = LogC4(soft);  hp = lc - blur(lc, sigmaBroad), held to +-(0.055 + 0.1 |lc|)
//   out  = linear(min(lc + m * sharp * hp, max(1, lc)))
// Each channel alone; sigmas and strengths per stock: detail_profiles.cpp. GPU twin: metal/kernels/detail.h. The edge
// overshoot is bounded, and nothing is brightened beyond code 1.
//
// The plane itself holds the codes between the two passes: blurred rows overwrite the rows that they come from.
#include "process/detail.h"

#include "process/blur_stream.h"
#include "process/row_block.h"
#include "rows/kernels.h"

#include <algorithm>
#include <array>

namespace velloid {

namespace {

// Hands out each row of the plane together with the same row of the blurred plane, and lets it be overwritten.
template <class Fn>
void withBlurredRows(std::vector<float>& plane, int w, const RowBands& bands, double sigmaX, double sigmaY, Fn fn) {
    const BlurStream blur(bands, w, sigmaX, sigmaY, planeRows(plane.data(), w));
    bands.forEach([&](int begin, int end) {
        BlurStream::Rows rows(blur, begin);
        RowBlock block(w);
        forEachBlock(begin, end, [&](int y, int count) {
            rows.next(y, count, block.rows());
            for (int k = 0; k < count; ++k) {
                fn(plane.data() + samplesOf(w, y + k), block.row(k));
            }
        });
    });
}

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

} // namespace

std::unique_ptr<BlurringStage> detailSoftening(int w, int h, double amount, NegativeStock stock, double scaleX,
                                               double scaleY) {
    const DetailProfile p = detailProfile(stock);
    const double mix = upToOne(amount) * p.blurMix;
    const DetailStage::Channels channels = {{{p.blurR, mix}, {p.blurG, mix}, {p.blurB, mix}}};
    return std::make_unique<DetailStage>(w, h, scaleX, scaleY, channels, rowKernels().effect.softenToLogC4);
}

std::unique_ptr<BlurringStage> detailSharpening(int w, int h, double amount, NegativeStock stock, double scaleX,
                                                double scaleY) {
    const DetailProfile p = detailProfile(stock);
    const double m = upToOne(amount);
    const DetailStage::Channels channels = {
        {{p.broadR, m * p.sharpR}, {p.broadG, m * p.sharpG}, {p.broadB, m * p.sharpB}}};
    return std::make_unique<DetailStage>(w, h, scaleX, scaleY, channels, rowKernels().effect.sharpenFromLogC4);
}

void applyDetail(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                 NegativeStock stock, double scaleX, double scaleY) {
    if (amount <= 0.0) return;
    const DetailProfile p = detailProfile(stock);
    detailChannel(R, w, h, p.blurR, p.broadR, p.sharpR, p.blurMix, amount, scaleX, scaleY);
    detailChannel(G, w, h, p.blurG, p.broadG, p.sharpG, p.blurMix, amount, scaleX, scaleY);
    detailChannel(B, w, h, p.blurB, p.broadB, p.sharpB, p.blurMix, amount, scaleX, scaleY);
}

void detailChannel(std::vector<float>& ch, int w, int h, double sigmaBlur, double sigmaBroad, double sharp,
                   double blurMix, double amount, double scaleX, double scaleY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const std::size_t n = static_cast<std::size_t>(w);
    const double m = upToOne(amount);
    const RowBands bands(h);
    withBlurredRows(ch, w, bands, sigmaBlur * scaleX, sigmaBlur * scaleY, [&](float* row, const float* soft) {
        rowKernels().effect.softenToLogC4(row, soft, n, m * blurMix);
    });
    withBlurredRows(ch, w, bands, sigmaBroad * scaleX, sigmaBroad * scaleY, [&](float* row, const float* broad) {
        rowKernels().effect.sharpenFromLogC4(row, broad, n, m * sharp);
    });
}

} // namespace velloid
