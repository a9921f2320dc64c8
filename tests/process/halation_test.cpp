// The halo computes in doubles whose products and sums are rounded one by one, as the literal form does, from blurs
// that are equal bit for bit: so is the result, on every level and for every number of threads.
#include "process/halation.h"

#include "tests/process/planes.h"
#include "tests/reference/effect_reference.h"

#include <stdexcept>

namespace velloid {
namespace {

using namespace velloid::test;

struct Channels {
    Plane r, g, b;
};

Channels scenes(Size size, Plane (*make)(Size, std::uint32_t) = scene) {
    return {make(size, 1), make(size, 2), make(size, 3)};
}

void expectEqual(const Channels& expected, const Channels& got, const std::string& what) {
    EXPECT_TRUE(equalPlanes(expected.r, got.r)) << what << " red";
    EXPECT_TRUE(equalPlanes(expected.g, got.g)) << what << " green";
    EXPECT_TRUE(equalPlanes(expected.b, got.b)) << what << " blue";
}

Channels halated(Channels c, Size size, double intensity, double scaleX, double scaleY, NegativeStock stock) {
    applyHalation(c.r, c.g, c.b, size.w, size.h, intensity, scaleX, scaleY, stock);
    return c;
}

Channels literallyHalated(Channels c, Size size, double intensity, double scaleX, double scaleY, NegativeStock stock) {
    reference::applyHalation(c.r, c.g, c.b, size.w, size.h, intensity, scaleX, scaleY, halationProfile(stock));
    return c;
}

TEST(Halation, EqualsItsLiteralFormForEveryStock) {
    const Size size{45, 38};
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
        const NegativeStock stock = static_cast<NegativeStock>(i);
        expectEqual(literallyHalated(scenes(size), size, 0.7, 4.32, 4.32, stock),
                    halated(scenes(size), size, 0.7, 4.32, 4.32, stock), "stock " + std::to_string(i));
    }
}

TEST(Halation, EqualsItsLiteralFormForAllSizesScalesAndLevels) {
    const NegativeStock stock = NegativeStock::Tungsten800T;
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{1, 9}, Size{9, 1}, Size{3, 2}, Size{33, 17}, Size{24, 50}}) {
            for (const double scale : {1.0, 4.0, 8.0}) {
                for (const double aspect : {0.5, 1.0, 2.0}) {
                    expectEqual(literallyHalated(scenes(size), size, 1.0, scale / aspect, scale, stock),
                                halated(scenes(size), size, 1.0, scale / aspect, scale, stock),
                                std::string(rowLevelName(level)) + ' ' + std::to_string(size.w) + 'x' +
                                    std::to_string(size.h) + " scale " + std::to_string(scale));
                }
            }
        }
    }
}

TEST(Halation, TreatsNotANumberAndInfinityAsTheLiteralFormDoes) {
    const Size size{40, 29};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        expectEqual(literallyHalated(scenes(size, brokenScene), size, 1.0, 4.0, 4.0, NegativeStock::Vision500T),
                    halated(scenes(size, brokenScene), size, 1.0, 4.0, 4.0, NegativeStock::Vision500T),
                    rowLevelName(level));
    }
}

TEST(Halation, GivesTheSameBitsForEveryNumberOfThreads) {
    const Size size{37, 61};
    const Channels expected = literallyHalated(scenes(size), size, 0.5, 6.0, 6.0, NegativeStock::Portra400);
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        expectEqual(expected, halated(scenes(size), size, 0.5, 6.0, 6.0, NegativeStock::Portra400),
                    std::to_string(threads) + " threads");
    }
}

TEST(Halation, WithoutIntensityLeavesEveryBit) {
    const Size size{20, 10};
    for (const double intensity : {0.0, -1.0, -std::numeric_limits<double>::infinity()}) {
        expectEqual(scenes(size, brokenScene),
                    halated(scenes(size, brokenScene), size, intensity, 4.0, 4.0, NegativeStock::Vision500T),
                    std::to_string(intensity));
    }
}

TEST(Halation, LeavesAUniformPlaneUntouched) {
    const Size size{40, 30};
    const Plane plane(1200, 0.75f);
    // The taps, rounded to float, sum to 1 within 1e-6, and so near is the blurred plane to the plain one.
    const Channels got = halated({plane, plane, plane}, size, 1.0, 8.0, 8.0, NegativeStock::Tungsten800T);
    for (const Plane* p : {&got.r, &got.g, &got.b}) {
        for (const float v : *p)
            ASSERT_NEAR(v, 0.75f, 1e-6);
    }
}

TEST(Halation, PutsARedRingAroundAPointButNothingOnIt) {
    const Size size{31, 31};
    Plane point(961, 0.0f);
    const std::size_t middle = 15 * 31 + 15;
    point[middle] = 100.0f;
    const Channels got = halated({point, point, point}, size, 1.0, 6.0, 6.0, NegativeStock::Vision500T);
    for (const Plane* p : {&got.r, &got.g, &got.b})
        EXPECT_EQ((*p)[middle], 100.0f);
    for (const std::size_t i : {middle - 1, middle + 2, middle - 31, middle + 3 * 31, middle + 32}) {
        EXPECT_GT(got.r[i], 0.0f) << i;
        EXPECT_NEAR(got.g[i] / got.r[i], 0.57, 1e-6) << i;
        EXPECT_NEAR(got.b[i] / got.r[i], 0.343, 1e-6) << i;
    }
}

TEST(Halation, TakesNegativeValuesForBlackButKeepsThem) {
    const Size size{21, 21};
    Plane dark(441, -0.02f);
    const Channels untouched = halated({dark, dark, dark}, size, 1.0, 6.0, 6.0, NegativeStock::Vision500T);
    EXPECT_EQ(untouched.r, dark);
    Plane zero(441, 0.0f);
    dark[220] = zero[220] = 10.0f;
    const Channels below = halated({dark, dark, dark}, size, 1.0, 6.0, 6.0, NegativeStock::Vision500T);
    const Channels at = halated({zero, zero, zero}, size, 1.0, 6.0, 6.0, NegativeStock::Vision500T);
    for (std::size_t i = 0; i < 441; ++i) {
        if (i != 220) {
            ASSERT_NEAR(below.r[i], at.r[i] - 0.02f, 1e-7) << i;
        }
    }
}

TEST(Halation, WithoutAnAntiHalationBackingIsEightTimesAsStrong) {
    const HalationProfile plain = halationProfile(NegativeStock::Vision500T);
    const HalationProfile bare = halationProfile(NegativeStock::Tungsten800T);
    EXPECT_EQ(bare.strength, 8.0 * plain.strength);
    EXPECT_GT(bare.sigma2, plain.sigma2);
    EXPECT_LT(bare.tintG, plain.tintG);
    EXPECT_LT(bare.tintB, plain.tintB);
}

TEST(HalationProfile, HasARowPerStockAndTheFirstForAnythingElse) {
    struct Row {
        int first, last;
        double strength, sigma2, w1, tintG, tintB;
    };
    const Row rows[] = {
        {-7, 3, 0.165, 0.485, 0.0355, 0.57, 0.343},  {4, 4, 1.32, 0.679, 0.02, 0.2, 0.05},
        {5, 5, 0.165, 0.485, 0.0355, 0.57, 0.343},   {6, 8, 0.165, 0.485, 0.0355, 0.54, 0.3},
        {9, 13, 0.248, 0.485, 0.0355, 0.45, 0.22},   {14, 15, 0.1, 0.43, 0.0355, 0.85, 0.7},
        {16, 40, 0.165, 0.485, 0.0355, 0.57, 0.343},
    };
    for (const Row& row : rows) {
        for (int stock = row.first; stock <= row.last; ++stock) {
            const HalationProfile p = halationProfile(static_cast<NegativeStock>(stock));
            EXPECT_EQ(p.knee, 0.0) << stock;
            EXPECT_EQ(p.strength, row.strength) << stock;
            EXPECT_EQ(p.sigma1, 0.1725) << stock;
            EXPECT_EQ(p.sigma2, row.sigma2) << stock;
            EXPECT_EQ(p.w1, row.w1) << stock;
            EXPECT_EQ(p.tintR, 1.0) << stock;
            EXPECT_EQ(p.tintG, row.tintG) << stock;
            EXPECT_EQ(p.tintB, row.tintB) << stock;
        }
    }
}

TEST(Halation, PassesAnAbsurdScaleOnAndKeepsTheChannel) {
    const Size size{4, 4};
    Channels c = scenes(size);
    EXPECT_THROW(applyHalation(c.r, c.g, c.b, 4, 4, 1.0, 1e12, 1.0, NegativeStock::Vision500T), std::length_error);
    expectEqual(scenes(size), c, "after the throw");
}

} // namespace
} // namespace velloid
