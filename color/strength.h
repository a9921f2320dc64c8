// The one clamp rule for every strength and amount: a finite value is clamped to [0, 1]; +infinity counts as 1,
// -infinity and NaN as 0.
#pragma once

#include <cmath>

namespace velloid {

inline double clampStrength(double value) {
    if (!std::isfinite(value)) return value > 0.0 ? 1.0 : 0.0;
    return value < 0.0 ? 0.0 : value > 1.0 ? 1.0 : value;
}

} // namespace velloid
