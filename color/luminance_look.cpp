#include "color/luminance_look.h"

#include "color/lattice.h"
#include "color/strength.h"

#include <algorithm>
#include <cmath>

namespace velloid {

// House values.
// clang-format off
//                                        exposure contrast  toe     shoulder saturation warmth shadowTint greenBias
const PrintProfile CLASSIC_PRINT       = {1.0,     1.075,    0.01,   0.34,    1.065,     0.07,  0.02,     -0.004};
const PrintProfile LIVE_PRINT          = {1.0,     1.01,     0.0,    0.16,    1.01,      0.015, 0.0,       0.0};
const PrintProfile REVERSAL_PRINT      = {1.015,   1.18,    -0.07,   0.24,    1.23,      0.025, 0.03,      0.006};
const PrintProfile BLEACH_BYPASS_PRINT = {0.97,    1.245,   -0.145,  0.18,    0.47,      0.02,  0.075,    -0.01};
const PrintProfile IDENTITY_PRINT      = {1.0,     1.0,      0.0,    0.0,     1.0,       0.0,   0.0,       0.0};
const PrintProfile FALLBACK_PRINT      = {1.0,     1.045,    0.006,  0.4,     1.04,      0.04,  0.012,     0.0};
// clang-format on

namespace {

constexpr double GREY = 0.18;
constexpr double DARKEST = 1e-9;

double luminance(double r, double g, double b) {
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

// Luminance behind the print for luminance in front of it.
double printTone(double y, const PrintProfile& pp) {
    double tone = GREY * std::pow(std::max(y * pp.exposure, DARKEST) / GREY, pp.contrast);
    if (pp.toe > 0.0) {
        tone += pp.toe * (1.0 - std::exp(-tone / 0.055));
    } else if (pp.toe < 0.0) {
        tone *= 1.0 + pp.toe * std::exp(-tone / 0.11);
    }
    if (pp.shoulder > 0.0 && tone > 0.72) {
        const double above = tone - 0.72;
        tone = above / (1.0 + pp.shoulder * above) + 0.72;
    }
    return tone;
}

} // namespace

RGB evalPrintAnalytic(double r, double g, double b, const PrintProfile& pp) {
    const double y = std::max(luminance(r, g, b), DARKEST);
    const double gain = printTone(y, pp) / y;
    const double toned[3] = {gain * r, gain * g, gain * b};
    const double grey = luminance(toned[0], toned[1], toned[2]);
    const double u = clampStrength((grey - GREY) / 0.97);
    const double bright = u * u * (3.0 - 2.0 * u);
    const double dark = std::exp(-std::max(grey, 0.0) / 0.23);
    const double tint[3] = {
        1.0 + pp.warmth * bright - 0.18 * pp.shadowTint * dark,
        1.0 + pp.greenBias + 0.05 * pp.shadowTint * dark,
        1.0 - 0.42 * pp.warmth * bright + pp.shadowTint * dark,
    };
    float out[3];
    for (int c = 0; c < 3; ++c)
        out[c] = static_cast<float>((grey + (toned[c] - grey) * pp.saturation) * tint[c]);
    return {out[0], out[1], out[2]};
}

void buildLuminanceLookLut(LUT3D& out, const PrintProfile& pp, int size) {
    fillLattice(out, size, [&](double r, double g, double b) { return evalPrintAnalytic(r, g, b, pp); });
}

} // namespace velloid
