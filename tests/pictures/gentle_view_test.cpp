// The curve of the gentle view.
#include "pictures/gentle_view.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tarnwell {
namespace {

TEST(GentleView, KeepsMidGreyBlackAndWhite) {
    EXPECT_DOUBLE_EQ(gentleCurve(0.0), 0.0);
    EXPECT_NEAR(gentleCurve(GENTLE_GREY), GENTLE_GREY, 1e-12);
    EXPECT_NEAR(gentleCurve(GENTLE_WHITE), 1.0, 1e-12);
}

TEST(GentleView, RisesWithoutEverClippingBelowWhite) {
    double before = -1.0;
    for (double stop = -20.0; stop <= std::log2(GENTLE_WHITE); stop += 0.01) {
        const double value = gentleCurve(std::exp2(stop));
        ASSERT_GT(value, before) << "at 2^" << stop;
        ASSERT_LE(value, 1.0) << "at 2^" << stop;
        before = value;
    }
}

TEST(GentleView, HasNoCornerAtTheKnee) {
    const double knee = gentleCurveInverse(GENTLE_KNEE), step = 1e-6;
    const double below = (gentleCurve(knee) - gentleCurve(knee - step)) / step;
    const double above = (gentleCurve(knee + step) - gentleCurve(knee)) / step;
    EXPECT_NEAR(below, above, 1e-4);
}

TEST(GentleView, IsUndoneByItsInverse) {
    for (double light = 1e-5; light < GENTLE_WHITE; light *= 1.1)
        EXPECT_NEAR(gentleCurveInverse(gentleCurve(light)) / light, 1.0, 1e-9) << light;
    for (double light = 0.0; light <= 1.0; light += 1.0 / 255.0)
        EXPECT_NEAR(gentleCurve(gentleCurveInverse(light)), light, 1e-12) << light;
}

TEST(GentleView, TakesAnyNumber) {
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(gentleCurve(-1.0), 0.0);
    EXPECT_EQ(gentleCurve(nan), 0.0);
    EXPECT_NEAR(gentleCurve(infinity), 1.0, 1e-12);
    EXPECT_EQ(gentleCurve(-infinity), 0.0);
    EXPECT_EQ(gentleCurveInverse(-1.0), 0.0);
    EXPECT_EQ(gentleCurveInverse(nan), 0.0);
    EXPECT_NEAR(gentleCurveInverse(2.0), GENTLE_WHITE, 1e-9);
}

} // namespace
} // namespace tarnwell
