// ARRI LogC4 and LogC3.
//   LogC4: ARRI's paper on the LogC4 logarithmic colour space, 2022.
//   LogC3: "ALEXA Log C Curve - Usage in VFX", ARRI, 2017; linear scene exposure, EI 800.
// Domain of decode: code values, 0 to 1 in the file, any number here. Range: scene-linear, 0.18 is mid grey.
#pragma once

#include "color/curves/curve_math.h"
#include "rows/logc4_constants.h"

namespace velloid {

// The logarithmic domain of grain, detail and the print looks.
namespace logc4 {

using logc4_constants::A;
using logc4_constants::B;
using logc4_constants::C;

// Slope of the line below code 0, linear per code.
inline double s() {
    static const double slope = 7.0 * LN_2 * std::exp2(7.0 - 14.0 * C / B) / (A * B);
    return slope;
}

// Linear value of code 0.
inline double t() {
    static const double offset = (std::exp2(6.0 - 14.0 * C / B) - 64.0) / A;
    return offset;
}

// Code to linear AWG4. The line joins at code 0, tangent to the curve, and goes on below: footroom under black survives
// a round trip. NaN stays NaN, infinities keep their sign.
inline double decode(double v) {
    return v >= 0.0 ? (std::exp2(14.0 * (v - C) / B + 6.0) - 64.0) / A : v * s() + t();
}

// Linear AWG4 to code, likewise.
inline double encode(double x) {
    return x >= t() ? ((std::log2(A * x + 64.0) - 6.0) / 14.0) * B + C : (x - t()) / s();
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = 0.0,
                                 .slope = logc4_constants::S,
                                 .intercept = logc4_constants::T,
                                 .rate = 14.0 / B,
                                 .start = 6.0 - 14.0 * C / B,
                                 .gain = 1.0 / A,
                                 .bias = -64.0 / A};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = logc4_constants::T,
                                 .slope = 1.0 / logc4_constants::S,
                                 .intercept = -logc4_constants::T / logc4_constants::S,
                                 .rate = A,
                                 .start = 64.0,
                                 .gain = B / 14.0,
                                 .bias = C - 6.0 * B / 14.0};

} // namespace logc4

namespace logc3 {

constexpr double CUT = 0.010591;
constexpr double A = 5.555556;
constexpr double B = 0.052272;
constexpr double C = 0.247190;
constexpr double D = 0.385537;
constexpr double E = 5.367655;
constexpr double F = 0.092809;
constexpr double CODE_CUT = 0.149657834105; // E*CUT + F

inline double decode(double v) {
    return v > CODE_CUT ? (std::pow(10.0, (v - D) / C) - B) / A : (v - F) / E;
}

inline double encode(double x) {
    return x > CUT ? C * std::log10(A * x + B) + D : E * x + F;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(CODE_CUT),
                                 .slope = 1.0 / E,
                                 .intercept = -F / E,
                                 .rate = LOG2_10 / C,
                                 .start = -D * LOG2_10 / C,
                                 .gain = 1.0 / A,
                                 .bias = -B / A};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = justAbove(CUT),
                                 .slope = E,
                                 .intercept = F,
                                 .rate = A,
                                 .start = B,
                                 .gain = C * LOG10_2,
                                 .bias = D};

} // namespace logc3

} // namespace velloid
