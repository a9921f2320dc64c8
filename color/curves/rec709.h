// Rec709 G2.4: the display curve of ITU-R BT.1886 for a black of zero, a plain power. Display-referred: code to light
// of the display, without tone mapping. Negative values (and -0, and NaN) become 0 both ways; nothing is clamped above.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::rec709 {

constexpr double GAMMA = 2.4;

inline double decode(double v) {
    return std::pow(v > 0.0 ? v : 0.0, GAMMA);
}

inline double encode(double x) {
    return std::pow(x > 0.0 ? x : 0.0, 1.0 / GAMMA);
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::Power, .rate = GAMMA};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::Power, .rate = 1.0 / GAMMA};

} // namespace velloid::rec709
