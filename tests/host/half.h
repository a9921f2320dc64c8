// 16-bit floats for tests: exact both ways for values that fit, rounded to nearest even otherwise.
#pragma once

#include <cmath>
#include <cstdint>

namespace tarnwell::testing {

inline float halfToFloat(std::uint16_t half) {
    const int exponent = (half >> 10) & 31;
    const int fraction = half & 1023;
    const float sign = (half & 0x8000) != 0 ? -1.0f : 1.0f;
    if (exponent == 0) return sign * std::ldexp(static_cast<float>(fraction), -24);
    return sign * std::ldexp(static_cast<float>(fraction + 1024), exponent - 25);
}

// Finite values within the range of the format.
inline std::uint16_t floatToHalf(float value) {
    const std::uint16_t sign = std::signbit(value) ? 0x8000 : 0;
    const float magnitude = std::fabs(value);
    int exponent = 0;
    std::frexp(magnitude, &exponent);
    const int scale = exponent - 11 > -24 ? exponent - 11 : -24; // weight of the last fraction bit
    const int fraction = static_cast<int>(std::nearbyint(std::ldexp(magnitude, -scale)));
    return static_cast<std::uint16_t>(sign + ((scale + 24) << 10) + fraction);
}

} // namespace tarnwell::testing
