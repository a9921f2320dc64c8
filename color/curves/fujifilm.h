// Fujifilm F-Log: "F-Log Data Sheet", Fujifilm, Ver. 1.0.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::flog {

constexpr double A = 0.555556;
constexpr double B = 0.009468;
constexpr double C = 0.344676;
constexpr double D = 0.790453;
constexpr double E = 8.735631;
constexpr double F = 0.092864;
constexpr double CUT1 = 0.00089;
constexpr double CUT2 = 0.100537775223865; // as published; E*CUT1 + F is 0.1006387, so the branches do not quite meet

inline double decode(double v) {
    return v < CUT2 ? (v - F) / E : std::pow(10.0, (v - D) / C) / A - B / A;
}

inline double encode(double x) {
    return x < CUT1 ? E * x + F : C * std::log10(A * x + B) + D;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = CUT2,
                                 .slope = 1.0 / E,
                                 .intercept = -F / E,
                                 .rate = LOG2_10 / C,
                                 .start = -D * LOG2_10 / C,
                                 .gain = 1.0 / A,
                                 .bias = -B / A};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = CUT1,
                                 .slope = E,
                                 .intercept = F,
                                 .rate = A,
                                 .start = B,
                                 .gain = C * LOG10_2,
                                 .bias = D};

} // namespace velloid::flog
