// How far two results are apart, float by float.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnwell::bench {

struct Differences {
    std::size_t samples = 0;
    std::size_t differing = 0;  // samples of other bits; +0 and -0 count as equal, a NaN as equal to any NaN
    std::int64_t worstUlps = 0; // floats between the two furthest apart, counted through 0

    double share() const { return samples ? static_cast<double>(differing) / static_cast<double>(samples) : 0.0; }
};

// Steps from one float to the other; a NaN is as far from a number as can be.
std::int64_t ulpsBetween(float a, float b);

// Adds n samples to what was found so far.
void addDifferences(Differences& found, const float* a, const float* b, std::size_t n);

} // namespace tarnwell::bench
