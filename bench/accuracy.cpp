#include "bench/accuracy.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace tarnwell::bench {

namespace {

// Floats in order: neighbours differ by one, both zeros are 0.
std::int64_t place(float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::int64_t magnitude = bits & 0x7FFFFFFFu;
    return bits >> 31 ? -magnitude : magnitude;
}

} // namespace

std::int64_t ulpsBetween(float a, float b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b) ? 0 : std::numeric_limits<std::int64_t>::max();
    }
    return std::abs(place(a) - place(b));
}

void addDifferences(Differences& found, const float* a, const float* b, std::size_t n) {
    found.samples += n;
    for (std::size_t i = 0; i < n; ++i) {
        const std::int64_t ulps = ulpsBetween(a[i], b[i]);
        found.differing += ulps != 0;
        found.worstUlps = std::max(found.worstUlps, ulps);
    }
}

} // namespace tarnwell::bench
