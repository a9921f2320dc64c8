// ARRI LogC4 (ARRI's paper on the LogC4 logarithmic colour space, 2022): the constants of its curve, as published, and
// the two that follow from them. Here because the row kernels need them too; the curve itself is color/curves/arri.h.
#pragma once

namespace velloid::logc4_constants {

constexpr double A = ((1 << 18) - 16) / 117.45; // 2231.8263090676883
constexpr double B = (1023.0 - 95.0) / 1023.0;
constexpr double C = 95.0 / 1023.0;

// Slope and offset of the line below code 0, in full double precision; a test holds them against
// 7 ln2 2^(7 - 14 C/B) / (A B) and (2^(6 - 14 C/B) - 64) / A.
constexpr double S = 0.1135972086105891;
constexpr double T = -0.01805699611991131;

} // namespace velloid::logc4_constants
