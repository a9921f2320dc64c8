// Test planes, and the comparison of planes sample by sample.
#pragma once

#include "process/parallel_pool.h"
#include "rows/level.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace tarnwell::reference {}

namespace velloid::test {

namespace reference = ::tarnwell::reference;

using Plane = std::vector<float>;

struct Size {
    int w;
    int h;
};

// Reproducible numbers in [0, 1): a linear congruential generator.
class Numbers {
public:
    explicit Numbers(std::uint32_t seed) : state(seed * 2654435761u + 12345u) {}
    double next() {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) * 0x1p-24;
    }

private:
    std::uint32_t state;
};

// A picture as it comes from a camera, in scene-linear: a gradient with slight noise, a few values below black and
// highlights of up to 500.
inline Plane scene(Size size, std::uint32_t seed) {
    Numbers numbers(seed);
    Plane plane(static_cast<std::size_t>(size.w) * static_cast<std::size_t>(size.h));
    for (std::size_t i = 0; i < plane.size(); ++i) {
        const double ramp = static_cast<double>(i % static_cast<std::size_t>(size.w)) / size.w;
        const double noise = numbers.next();
        const double pick = numbers.next();
        double v = 0.4 * ramp + 0.02 * (noise - 0.5);
        if (pick < 0.03) v = -0.05 * noise;
        if (pick > 0.97) v = 500.0 * noise * noise;
        plane[i] = static_cast<float>(v);
    }
    return plane;
}

// The same with NaNs and both infinities here and there.
inline Plane brokenScene(Size size, std::uint32_t seed) {
    Plane plane = scene(size, seed);
    const float bad[3] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity()};
    for (std::size_t i = 7; i < plane.size(); i += 61)
        plane[i] = bad[i % 3];
    return plane;
}

inline bool sameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

// Distance in units of the last place; 0 for two NaNs.
inline std::int64_t ulpsApart(float a, float b) {
    if (sameBits(a, b)) return 0;
    if (std::isnan(a) || std::isnan(b)) return std::numeric_limits<std::int64_t>::max();
    const auto order = [](float v) {
        const std::int64_t bits = std::bit_cast<std::int32_t>(v);
        return bits < 0 ? std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits : bits;
    };
    const std::int64_t apart = order(a) - order(b);
    return apart < 0 ? -apart : apart;
}

// Every sample of `got` within `ulps` units of the last place of `expected`.
inline testing::AssertionResult equalPlanes(const Plane& expected, const Plane& got, std::int64_t ulps = 0) {
    if (expected.size() != got.size()) return testing::AssertionFailure() << got.size() << " samples";
    std::size_t wrong = 0;
    std::size_t first = 0;
    for (std::size_t i = expected.size(); i-- > 0;) {
        if (ulpsApart(expected[i], got[i]) <= ulps) continue;
        ++wrong;
        first = i;
    }
    if (wrong == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << wrong << " of " << got.size() << " samples differ, the first at " << first
                                       << ": expected " << std::hexfloat << expected[first] << ", got " << got[first];
}

// Renders with a pool of `threads` workers while it lives.
class WithThreads {
public:
    explicit WithThreads(unsigned threads) : pool(threads) { useParallelPool(&pool); }
    ~WithThreads() { useParallelPool(nullptr); }

private:
    ParallelPool pool;
};

// Renders with the row kernels of one level while it lives.
class WithLevel {
public:
    explicit WithLevel(RowLevel level) : before(activeRowLevel()) { setRowLevel(level); }
    ~WithLevel() { setRowLevel(before); }

private:
    RowLevel before;
};

inline std::vector<RowLevel> supportedLevels() {
    std::vector<RowLevel> levels;
    for (int i = 0; i < ROW_LEVEL_COUNT; ++i) {
        if (rowLevelSupported(static_cast<RowLevel>(i))) levels.push_back(static_cast<RowLevel>(i));
    }
    return levels;
}

} // namespace velloid::test
