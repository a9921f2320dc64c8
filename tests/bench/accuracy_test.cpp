#include "bench/accuracy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tarnwell::bench {
namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

TEST(Ulps, NeighboursAreOneApartOnBothSidesOfZero) {
    EXPECT_EQ(ulpsBetween(1.0f, 1.0f), 0);
    EXPECT_EQ(ulpsBetween(1.0f, std::nextafter(1.0f, 2.0f)), 1);
    EXPECT_EQ(ulpsBetween(-1.0f, std::nextafter(-1.0f, -2.0f)), 1);
    EXPECT_EQ(ulpsBetween(0.0f, -0.0f), 0);
    const float least = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(ulpsBetween(-least, least), 2);
}

TEST(Ulps, ANaNIsFarFromEveryNumberAndEqualToItself) {
    EXPECT_EQ(ulpsBetween(NOT_A_NUMBER, NOT_A_NUMBER), 0);
    EXPECT_EQ(ulpsBetween(NOT_A_NUMBER, 1.0f), std::numeric_limits<std::int64_t>::max());
}

TEST(Differences, AddUpOverPlanes) {
    const float a[] = {1.0f, 2.0f, 3.0f, -0.0f};
    const float b[] = {1.0f, std::nextafter(2.0f, 3.0f), std::nextafter(std::nextafter(3.0f, 0.0f), 0.0f), 0.0f};
    Differences found;
    EXPECT_EQ(found.share(), 0.0);
    addDifferences(found, a, b, 4);
    addDifferences(found, a, a, 4);
    EXPECT_EQ(found.samples, 8u);
    EXPECT_EQ(found.differing, 2u);
    EXPECT_EQ(found.worstUlps, 2);
    EXPECT_DOUBLE_EQ(found.share(), 0.25);
}

} // namespace
} // namespace tarnwell::bench
