// Blackmagic Design DaVinci Intermediate and Film Gen 5.
//   DaVinci Intermediate: "DaVinci Resolve 17 - Wide Gamut Intermediate", Blackmagic Design, 2021.
//   Film Gen 5: "Blackmagic Generation 5 Color Science - Technical Reference", Blackmagic Design, 2021.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid {

namespace davinci_intermediate {

constexpr double A = 0.0075;
constexpr double B = 7.0;
constexpr double C = 0.07329248;
constexpr double M = 10.44426855;
constexpr double LIN_CUT = 0.00262409;
constexpr double LOG_CUT = 0.02740668; // as published; M*LIN_CUT is 0.0274067007

inline double decode(double v) {
    return v <= LOG_CUT ? v / M : std::exp2(v / C - B) - A;
}

inline double encode(double x) {
    return x <= LIN_CUT ? M * x : C * (std::log2(x + A) + B);
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(LOG_CUT),
                                 .slope = 1.0 / M,
                                 .rate = 1.0 / C,
                                 .start = -B,
                                 .gain = 1.0,
                                 .bias = -A};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(LIN_CUT),
                                 .slope = M,
                                 .rate = 1.0,
                                 .start = A,
                                 .gain = C,
                                 .bias = C * B};

} // namespace davinci_intermediate

namespace bmd_film_gen5 {

constexpr double A = 0.08692876065491224;
constexpr double B = 0.005494072432257808;
constexpr double C = 0.5300133392291939;
constexpr double D = 8.283605932402494;
constexpr double E = 0.09246575342465753;
constexpr double LIN_CUT = 0.005;
constexpr double LOG_CUT = 0.13388378308667; // D*LIN_CUT + E

inline double decode(double v) {
    return v < LOG_CUT ? (v - E) / D : std::exp((v - C) / A) - B;
}

inline double encode(double x) {
    return x < LIN_CUT ? D * x + E : A * std::log(x + B) + C;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = LOG_CUT,
                                 .slope = 1.0 / D,
                                 .intercept = -E / D,
                                 .rate = LOG2_E / A,
                                 .start = -C * LOG2_E / A,
                                 .gain = 1.0,
                                 .bias = -B};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = LIN_CUT,
                                 .slope = D,
                                 .intercept = E,
                                 .rate = 1.0,
                                 .start = B,
                                 .gain = A * LN_2,
                                 .bias = C};

} // namespace bmd_film_gen5

} // namespace velloid
