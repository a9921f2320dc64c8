// Panasonic V-Log: "V-Log/V-Gamut Reference Manual", Panasonic, 2014.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::vlog {

constexpr double CUT1 = 0.01;
constexpr double CUT2 = 0.181;
constexpr double SLOPE = 5.6;
constexpr double OFFSET = 0.125;
constexpr double B = 0.00873;
constexpr double C = 0.241514;
constexpr double D = 0.598206;

inline double decode(double v) {
    return v < CUT2 ? (v - OFFSET) / SLOPE : std::pow(10.0, (v - D) / C) - B;
}

inline double encode(double x) {
    return x < CUT1 ? SLOPE * x + OFFSET : C * std::log10(x + B) + D;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = CUT2,
                                 .slope = 1.0 / SLOPE,
                                 .intercept = -OFFSET / SLOPE,
                                 .rate = LOG2_10 / C,
                                 .start = -D * LOG2_10 / C,
                                 .gain = 1.0,
                                 .bias = -B};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = CUT1,
                                 .slope = SLOPE,
                                 .intercept = OFFSET,
                                 .rate = 1.0,
                                 .start = B,
                                 .gain = C * LOG10_2,
                                 .bias = D};

} // namespace velloid::vlog
