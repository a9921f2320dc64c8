// Bloom: what a mist filter before the lens does. Light above the knee glows around highlights, in the picture's own
// colours, and a little of the whole image is diffused.
//   spill = 0.35 * blur(max(0, in - knee), sigma / 4) + 0.65 * blur(max(0, in - knee), sigma)
//   out   = in + 0.1 * amount * (blur(in, sigma) - in) + 0.22 * amount * spill
// Scene-linear planes, each channel alone, before halation. The sigmas are wide, so the blurs take the ladder of
// wide_blur.h. Amounts: bloom_profile.h. GPU twin: metal/kernels/bloom.h.
#include "process/bloom.h"

#include "process/bloom_profile.h"
#include "process/frame_planes.h"
#include "process/row_block.h"
#include "process/wide_blur.h"
#include "rows/kernels.h"

#include <utility>

namespace velloid {

namespace {

// The three blurs of one channel.
struct Blurs {
    Blurs(const float* plane, int w, int h, double sigmaX, double sigmaY)
        : narrow(highlightRows(plane, w, BLOOM_KNEE), w, h, BLOOM_NARROW_SIGMA * sigmaX, BLOOM_NARROW_SIGMA * sigmaY,
                 RowContent::Sparse),
          wide(highlightRows(plane, w, BLOOM_KNEE), w, h, sigmaX, sigmaY, RowContent::Sparse),
          soft(planeRows(plane, w), w, h, sigmaX, sigmaY) {}

    WideBlur narrow;
    WideBlur wide;
    WideBlur soft;
};

// Rows of one channel's blurs, as far as a region needs them.
struct BlurRowsOf {
    BlurRowsOf(const Blurs& blurs, const Region& region)
        : narrow(blurs.narrow, region.columns(), region.y0), wide(blurs.wide, region.columns(), region.y0),
          soft(blurs.soft, region.columns(), region.y0) {}

    WideBlur::Rows narrow;
    WideBlur::Rows wide;
    WideBlur::Rows soft;
};

class BloomFeed : public RowFeed {
public:
    BloomFeed(std::unique_ptr<RowFeed> plainRows, const std::unique_ptr<const Blurs> (&blurs)[3], double bloomAmount,
              const Region& region)
        : plain(std::move(plainRows)), rows{{*blurs[0], region}, {*blurs[1], region}, {*blurs[2], region}},
          amount(bloomAmount), n(static_cast<std::size_t>(region.width())), narrow(region.width()),
          wide(region.width()), soft(region.width()) {}

    void next(int y, int count, const ColorRows& out) override {
        plain->next(y, count, out);
        for (int c = 0; c < 3; ++c) {
            rows[c].narrow.next(y, count, narrow.rows());
            rows[c].wide.next(y, count, wide.rows());
            rows[c].soft.next(y, count, soft.rows());
            for (int k = 0; k < count; ++k) {
                rowKernels().effect.addBloom(out.channel[c][k], narrow.row(k), wide.row(k), soft.row(k), n,
                                             BLOOM_NARROW_SHARE, BLOOM_WIDE_SHARE, amount * BLOOM_DIFFUSION,
                                             amount * BLOOM_GLOW);
            }
        }
    }

private:
    std::unique_ptr<RowFeed> plain;
    BlurRowsOf rows[3];
    double amount;
    std::size_t n;
    RowBlock narrow;
    RowBlock wide;
    RowBlock soft;
};

class BloomOrigin : public RowOrigin {
public:
    BloomOrigin(const float* const planes[3], int w, int h, double bloomAmount, double sigmaX, double sigmaY)
        : plain(planesOrigin({{planes[0], planes[1], planes[2]}, nullptr, w})), amount(bloomAmount) {
        for (int c = 0; c < 3; ++c)
            blurs[c] = std::make_unique<const Blurs>(planes[c], w, h, sigmaX, sigmaY);
    }

    std::unique_ptr<RowFeed> open(const Region& region) const override {
        return std::make_unique<BloomFeed>(plain->open(region), blurs, amount, region);
    }

private:
    std::unique_ptr<RowOrigin> plain;
    std::unique_ptr<const Blurs> blurs[3];
    double amount;
};

} // namespace

std::unique_ptr<RowOrigin> bloomOrigin(const float* const planes[3], int w, int h, double amount, double sigmaX,
                                       double sigmaY) {
    return std::make_unique<BloomOrigin>(planes, w, h, amount, sigmaX, sigmaY);
}

void applyBloom(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                double sigmaX, double sigmaY) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const float* const planes[3] = {R.data(), G.data(), B.data()};
    replacePlanes(R, G, B, w, h, {w, h, "bloom", bloomOrigin(planes, w, h, amount, sigmaX, sigmaY)});
}

} // namespace velloid
