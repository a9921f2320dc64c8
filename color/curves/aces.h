// ACEScct: Academy S-2016-001, "ACEScct - A Quasi-Logarithmic Encoding of ACES Data for use within Color Grading
// Systems". ACEScc's logarithm with a straight toe.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::acescct {

constexpr double X_BRK = 0.0078125;
constexpr double Y_BRK = 0.155251141552511;
constexpr double A = 10.5402377416545;
constexpr double B = 0.0729055341958355;
constexpr double STOPS = 17.52; // stops per unit of code
constexpr double BLACK = 9.72;  // stops from code 0 up to linear 1

inline double decode(double v) {
    return v > Y_BRK ? std::exp2(STOPS * v - BLACK) : (v - B) / A;
}

inline double encode(double x) {
    return x <= X_BRK ? A * x + B : (std::log2(x) + BLACK) / STOPS;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(Y_BRK),
                                 .slope = 1.0 / A,
                                 .intercept = -B / A,
                                 .rate = STOPS,
                                 .start = -BLACK,
                                 .gain = 1.0};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(X_BRK),
                                 .slope = A,
                                 .intercept = B,
                                 .rate = 1.0,
                                 .gain = 1.0 / STOPS,
                                 .bias = BLACK / STOPS};

} // namespace velloid::acescct
