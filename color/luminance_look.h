// A print look as one curve on luminance: contrast around 18 % grey, toe and shoulder, then saturation and a warm-to-cool
// tint that follows the brightness. Scene-linear AWG4 in and out, weights of Rec. 709; run only while a table is built,
// in double. Parameter rows: luminance_look.cpp.
#pragma once

#include "color/lut3d.h"

namespace velloid {

struct PrintProfile {
    double exposure;    // gain in front of the curve
    double contrast;    // exponent around 18 % grey
    double toe;         // > 0 lifts the shadows, < 0 sinks them
    double shoulder;    // compression above 0.72
    double saturation;  // 1: unchanged, 0: grey
    double warmth;      // red up and blue down towards the highlights
    double shadowTint;  // blue up and red down towards black
    double greenBias;   // gain of green, as a difference from 1
};
static_assert(sizeof(PrintProfile) == 8 * sizeof(double));

extern const PrintProfile CLASSIC_PRINT;
extern const PrintProfile LIVE_PRINT;
extern const PrintProfile REVERSAL_PRINT;
extern const PrintProfile BLEACH_BYPASS_PRINT;
extern const PrintProfile IDENTITY_PRINT;
extern const PrintProfile FALLBACK_PRINT; // for a value that has no row of its own

RGB evalPrintAnalytic(double r, double g, double b, const PrintProfile& pp);

// Fills `out` with the look as a table from linear values to linear values (domain 0 ... 1), `size` points per axis.
// Throws std::invalid_argument for a size below 2.
void buildLuminanceLookLut(LUT3D& out, const PrintProfile& pp, int size);

} // namespace velloid
