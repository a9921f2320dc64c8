// The kernels' arithmetic in double, for what the CPU chain does not offer as a function of its own. Written out from
// the formulas, with the kernels' constants where these differ from the CPU's on purpose (LogC4).
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace velloid::gpu::twin {

constexpr double L4_A = 2231.87407;
constexpr double L4_B = 0.9071358749;
constexpr double L4_C = 0.0928571429;
constexpr double L4_S = 0.1135972086;
constexpr double L4_T = -0.0180569961;

inline double logC4Decode(double code) {
    return code >= 0 ? (std::exp2(14 * (code - L4_C) / L4_B + 6) - 64) / L4_A : code * L4_S + L4_T;
}

inline double logC4Encode(double e) {
    return e >= L4_T ? (std::log2(L4_A * e + 64) - 6) / 14 * L4_B + L4_C : (e - L4_T) / L4_S;
}

inline std::uint32_t hash32(std::uint32_t x) {
    x = (x ^ (x >> 16)) * 0x7feb352du;
    x = (x ^ (x >> 15)) * 0x846ca68bu;
    return x ^ (x >> 16);
}

inline std::uint32_t noiseHash(int x, int y, int channel, int frame, std::uint32_t seed) {
    return hash32(seed ^ static_cast<std::uint32_t>(x) * 0x9e3779b1u ^ static_cast<std::uint32_t>(y) * 0x85ebca77u ^
                  static_cast<std::uint32_t>(channel) * 0xc2b2ae3du ^ static_cast<std::uint32_t>(frame) * 0x27d4eb2fu);
}

inline double randomGauss(int x, int y, int channel, int frame, std::uint32_t seed) {
    const std::uint32_t h1 = noiseHash(x, y, channel, frame, seed);
    const std::uint32_t h2 = hash32(h1 ^ 0x6a09e667u);
    const double u1 = ((h1 & 0xffffff) + 0.5) / 16777216;
    const double u2 = (h2 & 0xffffff) / 16777216.0;
    return std::sqrt(-2 * std::log(u1)) * std::cos(6.283185307179586 * u2) * 0.5773502691896258;
}

// Of a code in [0, 1], by eleven nodes.
inline double grainSigma(double code, const float* nodes, const float* sigmas) {
    if (code <= nodes[0]) return sigmas[0];
    if (code >= nodes[10]) return sigmas[10];
    int i = 0;
    while (nodes[i + 1] < code)
        ++i;
    return sigmas[i] + (double{sigmas[i + 1]} - sigmas[i]) * (code - nodes[i]) / (double{nodes[i + 1]} - nodes[i]);
}

inline double detailSharp(double lc, double broad, double amount) {
    const double limit = 0.055 + 0.10 * std::fabs(lc);
    const double hp = std::clamp(lc - broad, -limit, limit);
    return logC4Decode(std::min(lc + hp * amount, std::max(1.0, lc)));
}

inline std::array<double, 3> sceneFit(std::array<double, 3> c, double strength) {
    const double y = 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
    const std::array<std::array<double, 7>, 3> rows = {{
        {0.52561351, -0.20036957, 0.16076259, -0.01995183, 2.90819387, -2.81059305, -0.00372917},
        {0.08046982, 0.36078562, 0.25413340, 0.29349019, 0.99615914, -1.13561320, -0.01532530},
        {0.22403965, -0.23626220, 1.03644024, -0.04651291, 0.98702949, -1.25492974, -0.01487571},
    }};
    std::array<double, 3> fitted{};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto& m = rows[k];
        const double n = m[0] * c[0] + m[1] * c[1] + m[2] * c[2] + m[3] * y + m[4] * y * y + m[5] * y * y * y + m[6];
        fitted[k] = c[k] + (std::max(n, 0.0) - c[k]) * strength;
    }
    return fitted;
}

} // namespace velloid::gpu::twin
