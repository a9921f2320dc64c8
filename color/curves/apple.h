// Apple Log: "Apple Log Profile White Paper", Apple, 2023. A parabola from R_0 to R_T, a logarithm above.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::apple_log {

constexpr double R_0 = -0.05641088;
constexpr double R_T = 0.01;
constexpr double C = 47.28711236;
constexpr double BETA = 0.00964052;
constexpr double GAMMA = 0.08550479;
constexpr double DELTA = 0.69336945;
constexpr double P_T = 0.20855531595464202; // code at R_T as published; C*(R_T - R_0)^2 is 0.2085553187

inline double decode(double v) {
    if (v >= P_T) return std::exp2((v - DELTA) / GAMMA) - BETA;
    if (v >= 0.0) return std::sqrt(v / C) + R_0;
    return R_0; // and NaN
}

inline double encode(double x) {
    if (x >= R_T) return GAMMA * std::log2(x + BETA) + DELTA;
    if (x >= R_0) return C * (x - R_0) * (x - R_0);
    return 0.0; // and NaN
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::Parabola,
                                 .cut = P_T,
                                 .slope = 1.0 / C,
                                 .intercept = -R_0,
                                 .rate = 1.0 / GAMMA,
                                 .start = -DELTA / GAMMA,
                                 .gain = 1.0,
                                 .bias = -BETA,
                                 .floor = R_0};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::Parabola,
                                 .cut = R_T,
                                 .cut2 = R_0,
                                 .slope = C,
                                 .intercept = -R_0,
                                 .rate = 1.0,
                                 .start = BETA,
                                 .gain = GAMMA,
                                 .bias = DELTA};

} // namespace velloid::apple_log
