// RED Log3G10: "White Paper on REDWideGamutRGB and Log3G10", RED Digital Cinema, Rev. C. Mid grey lies at one third of
// the code range, ten stops above it at the top.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::log3g10 {

constexpr double A = 0.224282;
constexpr double B = 155.975327;
constexpr double C = 0.01; // linear offset: code 0 is linear -0.01
constexpr double G = 15.1927;

inline double decode(double v) {
    return v < 0.0 ? v / G - C : (std::pow(10.0, v / A) - 1.0) / B - C;
}

inline double encode(double x) {
    const double y = x + C;
    return y < 0.0 ? G * y : A * std::log10(B * y + 1.0);
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = 0.0,
                                 .slope = 1.0 / G,
                                 .intercept = -C,
                                 .rate = LOG2_10 / A,
                                 .gain = 1.0 / B,
                                 .bias = -1.0 / B - C};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = -C,
                                 .slope = G,
                                 .intercept = G * C,
                                 .rate = B,
                                 .start = B * C + 1.0,
                                 .gain = A * LOG10_2};

} // namespace velloid::log3g10
