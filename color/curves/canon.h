// Canon Log 2 and Canon Log 3: Canon's white paper on the Canon Log gamma curves (Canon Log, Canon Log 2, Canon Log 3),
// full-range form. Canon's linear 1 is 90 % reflectance, so both curves scale by 0.9 to and from scene-linear.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid {

constexpr double CANON_REFLECTANCE = 0.9;

namespace clog2 {

constexpr double BLACK = 0.092864125; // code of linear 0, about which the curve is mirrored
constexpr double GAIN = 0.24136077;
constexpr double SCALE = 87.09937546;

inline double decode(double v) {
    return v < BLACK ? -(std::pow(10.0, (BLACK - v) / GAIN) - 1.0) / SCALE * CANON_REFLECTANCE
                     : (std::pow(10.0, (v - BLACK) / GAIN) - 1.0) / SCALE * CANON_REFLECTANCE;
}

inline double encode(double x) {
    const double y = x / CANON_REFLECTANCE;
    return y < 0.0 ? -GAIN * std::log10(1.0 - SCALE * y) + BLACK : GAIN * std::log10(SCALE * y + 1.0) + BLACK;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::MirroredLog,
                                 .cut = BLACK,
                                 .cut2 = BLACK,
                                 .rate = LOG2_10 / GAIN,
                                 .start = -BLACK * LOG2_10 / GAIN,
                                 .start2 = BLACK * LOG2_10 / GAIN,
                                 .gain = CANON_REFLECTANCE / SCALE,
                                 .bias = -CANON_REFLECTANCE / SCALE,
                                 .bias2 = -CANON_REFLECTANCE / SCALE};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::MirroredLog,
                                 .rate = SCALE / CANON_REFLECTANCE,
                                 .start = 1.0,
                                 .start2 = 1.0,
                                 .gain = GAIN * LOG10_2,
                                 .bias = BLACK,
                                 .bias2 = -BLACK};

} // namespace clog2

namespace clog3 {

constexpr double LOW_CUT = 0.097465473;
constexpr double HIGH_CUT = 0.15277891;
constexpr double LOW_OFFSET = 0.12783901;
constexpr double HIGH_OFFSET = 0.12240537;
constexpr double GAIN = 0.36726845;
constexpr double SCALE = 14.98325;
constexpr double SLOPE = 1.9754798;
constexpr double OFFSET = 0.12512219;

// The published linear cuts are -0.014 and 0.014. These follow from the code cuts instead, so that encode and decode
// part at the same point.
constexpr double LINEAR_LOW = (LOW_CUT - OFFSET) / SLOPE;
constexpr double LINEAR_HIGH = (HIGH_CUT - OFFSET) / SLOPE;

inline double decode(double v) {
    if (v < LOW_CUT) return -(std::pow(10.0, (LOW_OFFSET - v) / GAIN) - 1.0) / SCALE * CANON_REFLECTANCE;
    if (v <= HIGH_CUT) return (v - OFFSET) / SLOPE * CANON_REFLECTANCE;
    return (std::pow(10.0, (v - HIGH_OFFSET) / GAIN) - 1.0) / SCALE * CANON_REFLECTANCE;
}

inline double encode(double x) {
    const double y = x / CANON_REFLECTANCE;
    if (y < LINEAR_LOW) return -GAIN * std::log10(1.0 - SCALE * y) + LOW_OFFSET;
    if (y <= LINEAR_HIGH) return SLOPE * y + OFFSET;
    return GAIN * std::log10(SCALE * y + 1.0) + HIGH_OFFSET;
}

constexpr CurveRow DECODE_ROW = {.shape = CurveShape::MirroredLog,
                                 .cut = justAbove(HIGH_CUT),
                                 .cut2 = LOW_CUT,
                                 .slope = CANON_REFLECTANCE / SLOPE,
                                 .intercept = -OFFSET * CANON_REFLECTANCE / SLOPE,
                                 .rate = LOG2_10 / GAIN,
                                 .start = -HIGH_OFFSET * LOG2_10 / GAIN,
                                 .start2 = LOW_OFFSET * LOG2_10 / GAIN,
                                 .gain = CANON_REFLECTANCE / SCALE,
                                 .bias = -CANON_REFLECTANCE / SCALE,
                                 .bias2 = -CANON_REFLECTANCE / SCALE};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::MirroredLog,
                                 .cut = justAbove(LINEAR_HIGH * CANON_REFLECTANCE),
                                 .cut2 = LINEAR_LOW * CANON_REFLECTANCE,
                                 .slope = SLOPE / CANON_REFLECTANCE,
                                 .intercept = OFFSET,
                                 .rate = SCALE / CANON_REFLECTANCE,
                                 .start = 1.0,
                                 .start2 = 1.0,
                                 .gain = GAIN * LOG10_2,
                                 .bias = HIGH_OFFSET,
                                 .bias2 = -LOW_OFFSET};

} // namespace clog3

} // namespace velloid
