// Sony S-Log3: "Technical Summary for S-Gamut3.Cine/S-Log3 and S-Gamut3/S-Log3", Sony. Constants are 10-bit codes.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::slog3 {

constexpr double CODE_MAX = 1023.0;
constexpr double LIN_CUT = 0.01125;
constexpr double CODE_CUT = 171.2102946929;
constexpr double CODE_BLACK = 95.0;
constexpr double CODE_GREY = 420.0;
constexpr double CODES_PER_DECADE = 261.5;
constexpr double GREY = 0.18;
constexpr double FLARE = 0.01;
constexpr double LOG_UNIT = 0.19; // GREY + FLARE

inline double decode(double v) {
    return v >= CODE_CUT / CODE_MAX ? LOG_UNIT * std::pow(10.0, (CODE_MAX * v - CODE_GREY) / CODES_PER_DECADE) - FLARE
                                    : (CODE_MAX * v - CODE_BLACK) * LIN_CUT / (CODE_CUT - CODE_BLACK);
}

inline double encode(double x) {
    return x >= LIN_CUT ? (CODE_GREY + CODES_PER_DECADE * std::log10((x + FLARE) / LOG_UNIT)) / CODE_MAX
                        : (x * (CODE_CUT - CODE_BLACK) / LIN_CUT + CODE_BLACK) / CODE_MAX;
}

constexpr double TOE_CODES = (CODE_CUT - CODE_BLACK) / LIN_CUT; // codes per unit of linear
constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = CODE_CUT / CODE_MAX,
                                 .slope = CODE_MAX / TOE_CODES,
                                 .intercept = -CODE_BLACK / TOE_CODES,
                                 .rate = CODE_MAX * LOG2_10 / CODES_PER_DECADE,
                                 .start = -CODE_GREY * LOG2_10 / CODES_PER_DECADE,
                                 .gain = LOG_UNIT,
                                 .bias = -FLARE};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = LIN_CUT,
                                 .slope = TOE_CODES / CODE_MAX,
                                 .intercept = CODE_BLACK / CODE_MAX,
                                 .rate = 1.0 / LOG_UNIT,
                                 .start = FLARE / LOG_UNIT,
                                 .gain = CODES_PER_DECADE * LOG10_2 / CODE_MAX,
                                 .bias = CODE_GREY / CODE_MAX};

} // namespace velloid::slog3
