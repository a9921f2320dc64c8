// As halation, bloom is equal bit for bit to its literal form.
#include "process/bloom.h"

#include "tests/process/planes.h"
#include "tests/reference/effect_reference.h"

#include <stdexcept>
#include <string>

namespace velloid {
namespace {

using namespace velloid::test;

constexpr double KNEE = 0.5091168824543142;

struct Bloomed {
    Plane got, expected;
};

// One channel through bloom and through its literal form.
Bloomed bloomed(const Plane& plane, Size size, double amount, double sigmaX, double sigmaY) {
    Plane other = plane;
    Plane third = plane;
    Bloomed result{plane, plane};
    applyBloom(other, result.got, third, size.w, size.h, amount, sigmaX, sigmaY);
    EXPECT_TRUE(equalPlanes(other, result.got)) << "red and green differ";
    EXPECT_TRUE(equalPlanes(third, result.got)) << "blue and green differ";
    other = plane;
    third = plane;
    reference::applyBloom(other, result.expected, third, size.w, size.h, amount, sigmaX, sigmaY);
    return result;
}

TEST(Bloom, EqualsItsLiteralFormForAllSizesAndSigmas) {
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{1, 40}, Size{33, 1}, Size{31, 32}, Size{33, 65}, Size{66, 34}}) {
            for (const double sigma : {1.5, 6.0, 8.5, 25.92}) {
                for (const double aspect : {0.5, 1.0, 2.0}) {
                    const Bloomed b = bloomed(scene(size, 4), size, 0.8, sigma / aspect, sigma);
                    EXPECT_TRUE(equalPlanes(b.expected, b.got)) << rowLevelName(level) << ' ' << size.w << 'x' << size.h
                                                                << " sigma " << sigma << " aspect " << aspect;
                }
            }
        }
    }
}

TEST(Bloom, TreatsNotANumberAndInfinityAsTheLiteralFormDoes) {
    const Size size{70, 41};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const double sigma : {2.0, 20.0}) {
            Plane plane = scene(size, 4);
            plane[300] = std::numeric_limits<float>::infinity();
            plane[1700] = -std::numeric_limits<float>::infinity();
            plane[2500] = std::numeric_limits<float>::quiet_NaN();
            const Bloomed b = bloomed(plane, size, 1.0, sigma, sigma);
            EXPECT_TRUE(equalPlanes(b.expected, b.got)) << rowLevelName(level) << " sigma " << sigma;
        }
    }
}

TEST(Bloom, GivesTheSameBitsForEveryNumberOfThreads) {
    const Size size{65, 77};
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        const Bloomed b = bloomed(scene(size, 6), size, 1.0, 25.9, 25.9);
        EXPECT_TRUE(equalPlanes(b.expected, b.got)) << threads << " threads";
    }
}

TEST(Bloom, WithoutAmountLeavesEveryBit) {
    const Size size{40, 35};
    const Plane plane = brokenScene(size, 8);
    for (const double amount : {0.0, -0.5}) {
        EXPECT_TRUE(equalPlanes(plane, bloomed(plane, size, amount, 9.0, 9.0).got)) << amount;
    }
}

TEST(Bloom, LiftsAUniformPlaneByItsGlowAloneAndOnlyAboveTheKnee) {
    const Size size{48, 40};
    for (const float level : {0.0f, 0.3f, 0.5f, 0.6f, 2.0f, 500.0f}) {
        const double glow = level > KNEE ? (level - KNEE) * 0.5 * 0.22 : 0.0;
        const Bloomed b = bloomed(Plane(1920, level), size, 0.5, 20.0, 20.0);
        // Taps rounded to float: the blurs of the ladder keep a constant to within a few 1e-7 of itself.
        for (const float v : b.got)
            ASSERT_NEAR(v, level + glow, 2e-6 * level) << level;
    }
}

TEST(Bloom, SpreadsAHighlightNeutrally) {
    const Size size{64, 64};
    Plane plane(4096, 0.1f);
    plane[32 * 64 + 32] = 200.0f;
    const Bloomed b = bloomed(plane, size, 1.0, 10.0, 10.0);
    EXPECT_LT(b.got[32 * 64 + 32], 200.0f);
    EXPECT_GT(b.got[32 * 64 + 36], 0.1f);
    EXPECT_GT(b.got[32 * 64 + 36], b.got[32 * 64 + 50]);
}

TEST(Bloom, TakesNegativeValuesForBlackInTheGlowButKeepsThem) {
    const Size size{40, 40};
    const Plane plane(1600, -0.03f);
    for (const float v : bloomed(plane, size, 1.0, 10.0, 10.0).got)
        ASSERT_NEAR(v, -0.03f, 1e-7);
}

TEST(Bloom, PassesAnAbsurdSigmaOn) {
    Plane a(16, 1.0f);
    Plane b = a;
    Plane c = a;
    EXPECT_THROW(applyBloom(a, b, c, 4, 4, 1.0, 1e12, 1.0), std::length_error);
    EXPECT_EQ(a, Plane(16, 1.0f));
}

} // namespace
} // namespace velloid
