// Cineon printing density: "Conversion of 10-bit Log Film Data to 8-bit Linear or Video Data for the Cineon Digital
// Film System", Eastman Kodak, 1995. Reference black 95, white 685, 0.002 density per code, negative gamma 0.6: 300
// codes per decade of light. There is no straight part; the logarithm's argument is held at or above 1e-10.
#pragma once

#include "color/curves/curve_math.h"

namespace velloid::cineon {

constexpr double CODE_MAX = 1023.0;
constexpr double CODE_BLACK = 95.0;
constexpr double CODE_WHITE = 685.0;
constexpr double CODES_PER_DECADE = 300.0;
constexpr double LOG_FLOOR = 1e-10;
constexpr double CODE_FLOOR = (CODE_WHITE - 3000.0) / CODE_MAX; // the code of LOG_FLOOR

// The light of reference black, white being 1.
inline double bo() {
    static const double black = std::pow(10.0, (CODE_BLACK - CODE_WHITE) / CODES_PER_DECADE);
    return black;
}

inline double decode(double v) {
    return (std::pow(10.0, (CODE_MAX * v - CODE_WHITE) / CODES_PER_DECADE) - bo()) / (1.0 - bo());
}

inline double encode(double x) {
    const double light = x * (1.0 - bo()) + bo();
    return (CODE_WHITE + CODES_PER_DECADE * std::log10(light > LOG_FLOOR ? light : LOG_FLOOR)) / CODE_MAX;
}

// For the rows, bo() as a constant (a test holds one against the other), the clamp as a flat toe, and the same where the
// power has vanished against bo() (1e-59 of light).
constexpr double BO = 0.0107977516232771;
constexpr CurveRow DECODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = -17.0,
                                 .intercept = -BO / (1.0 - BO),
                                 .rate = CODE_MAX * LOG2_10 / CODES_PER_DECADE,
                                 .start = -CODE_WHITE * LOG2_10 / CODES_PER_DECADE,
                                 .gain = 1.0 / (1.0 - BO),
                                 .bias = -BO / (1.0 - BO)};
constexpr CurveRow ENCODE_ROW = {.shape = CurveShape::LogToe,
                                 .cut = (LOG_FLOOR - BO) / (1.0 - BO),
                                 .intercept = CODE_FLOOR,
                                 .rate = 1.0 - BO,
                                 .start = BO,
                                 .gain = CODES_PER_DECADE * LOG10_2 / CODE_MAX,
                                 .bias = CODE_WHITE / CODE_MAX};

} // namespace velloid::cineon
