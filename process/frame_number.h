// Frame numbers and scales as the effects see them.
#pragma once

#include <cmath>
#include <limits>

namespace velloid {

// Double to int, saturating at the ends of the int range; 0 for NaN.
inline int saturateToInt(double value) {
    if (std::isnan(value)) return 0;
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// A scale that can be used: 1 unless finite and above 0.
inline double positiveOrOne(double value) {
    return std::isfinite(value) && value > 0.0 ? value : 1.0;
}

// A frame time rounded to the nearest frame, halves upwards; 0 when it is not finite.
inline int frameIndex(double frame) {
    return std::isfinite(frame) ? saturateToInt(std::floor(frame + 0.5)) : 0;
}

} // namespace velloid
