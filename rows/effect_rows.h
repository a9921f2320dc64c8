// Row kernels: the element-wise steps of flicker, halation, bloom, detail and black and white.
//
// Every function takes `n` samples of each row and computes in double, products and sums rounded one by one. Rows of
// different names must not overlap; a row that is read and written has one name. A NaN counts as 0 where a value is cut
// off at 0 and stays NaN elsewhere.
#pragma once

#include <cstddef>

namespace velloid {

struct EffectRows {
    // data *= gain.
    void (*scaleByGain)(float* data, std::size_t n, double gain);

    // out = max(0, in - knee).
    void (*aboveKnee)(const float* in, float* out, std::size_t n, double knee);

    // data += gain * max(0, w1 * narrow + w2 * wide - source) with source = max(0, data - knee) stored as float.
    void (*addHalo)(float* data, const float* narrow, const float* wide, std::size_t n, double knee, double w1,
                    double w2, double gain);

    // data += (soft - data) * diffusion + (narrowShare * narrow + wideShare * wide) * glow.
    void (*addBloom)(float* data, const float* narrow, const float* wide, const float* soft, std::size_t n,
                     double narrowShare, double wideShare, double diffusion, double glow);

    // data += (soft - data) * mix, stored as float; then its LogC4 code.
    void (*softenToLogC4)(float* data, const float* soft, std::size_t n, double mix);

    // LogC4 codes to linear, sharpened against their surround: hp = code - broad, held to +-(0.055 + 0.1 |code|);
    // data = decode(min(code + hp * strength, max(1, code))).
    void (*sharpenFromLogC4)(float* data, const float* broad, std::size_t n, double strength);

    // Each channel += (y - channel) * amount with y = yr * R + yg * G + yb * B.
    void (*towardsLuminance)(float* r, float* g, float* b, std::size_t n, double yr, double yg, double yb,
                             double amount);
};

} // namespace velloid
