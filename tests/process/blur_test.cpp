// The blurs are held bit for bit against their literal form: the sums have the same additions in the same order, and
// the product of two floats is exact in double, so that nothing may differ on any instruction set or number of threads.
#include "process/blur.h"

#include "tests/process/planes.h"
#include "tests/reference/blur_reference.h"

#include <cmath>
#include <numeric>
#include <stdexcept>

namespace velloid {
namespace {

using namespace velloid::test;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double ENDLESS = std::numeric_limits<double>::infinity();

struct Sigmas {
    double x;
    double y;
};

Plane blurred(Plane plane, Size size, Sigmas sigma) {
    blurSeparable(plane.data(), size.w, size.h, sigma.x, sigma.y);
    return plane;
}

Plane literallyBlurred(Plane plane, Size size, Sigmas sigma) {
    reference::blurSeparable(plane.data(), size.w, size.h, sigma.x, sigma.y);
    return plane;
}

Plane pyramidBlurred(Plane plane, Size size, Sigmas sigma) {
    blurPyramid(plane, size.w, size.h, sigma.x, sigma.y);
    return plane;
}

Plane literallyPyramidBlurred(Plane plane, Size size, Sigmas sigma) {
    reference::blurPyramid(plane, size.w, size.h, sigma.x, sigma.y);
    return plane;
}

TEST(GaussKernel, IsTheIdentityForSigmasThatAreNoBlur) {
    for (const double sigma : {0.0, -1.0, NOT_A_NUMBER, ENDLESS, -ENDLESS}) {
        EXPECT_EQ(gaussKernel(sigma), std::vector<float>{1.0f}) << sigma;
    }
}

TEST(GaussKernel, ReachesThreeSigmasAndAtLeastOneSample) {
    EXPECT_EQ(gaussKernel(0.1).size(), 3u);
    EXPECT_EQ(gaussKernel(1.0).size(), 7u);
    EXPECT_EQ(gaussKernel(1.01).size(), 9u);
    EXPECT_EQ(gaussKernel(7.3).size(), 45u);
}

TEST(GaussKernel, RefusesRadiiBeyondTheIntegers) {
    for (const double sigma : {1e10, 1e300, 4e8}) {
        try {
            gaussKernel(sigma);
            FAIL() << sigma << " was accepted";
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "Gaussian radius out of range") << sigma;
        }
    }
}

TEST(GaussKernel, IsSymmetricFallsOffAndSumsToOne) {
    for (const double sigma : {0.02, 0.3, 0.6, 1.0, 2.5, 7.3, 33.0}) {
        const std::vector<float> taps = gaussKernel(sigma);
        EXPECT_NEAR(std::accumulate(taps.begin(), taps.end(), 0.0), 1.0, 1e-6) << sigma;
        for (std::size_t i = 0; i < taps.size() / 2; ++i) {
            EXPECT_EQ(taps[i], taps[taps.size() - 1 - i]) << sigma << " tap " << i;
            EXPECT_LT(taps[i], taps[i + 1]) << sigma << " tap " << i;
        }
    }
}

TEST(GaussKernel, HasTheWeightsOfTheNormalDistribution) {
    // exp(-k*k / 2) over its sum 2.50662803..., for k = 0 .. 3.
    const float expected[4] = {0.39905029f, 0.24203624f, 0.05400558f, 0.00443305f};
    const std::vector<float> taps = gaussKernel(1.0);
    for (std::size_t k = 0; k < 4; ++k)
        EXPECT_NEAR(taps[3 + k], expected[k], 1e-7) << k;
}

TEST(Blur, EqualsItsLiteralFormBitForBit) {
    const Sigmas sigmas[] = {{0.6, 0.6}, {0.1, 0.1},  {0.02, 0.02}, {1.0, 0.4},  {2.0, 0.0},
                             {0.0, 3.7}, {-1.0, 1.3}, {7.3, 7.3},   {3.0, 12.0}, {21.0, 21.0}};
    const Size sizes[] = {{1, 1},  {1, 7},  {7, 1},   {2, 3},   {3, 2},   {5, 4},
                          {13, 3}, {14, 5}, {17, 33}, {40, 31}, {67, 61}, {131, 22}};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : sizes) {
            const Plane plane = scene(size, 1);
            for (const Sigmas sigma : sigmas) {
                EXPECT_TRUE(equalPlanes(literallyBlurred(plane, size, sigma), blurred(plane, size, sigma)))
                    << rowLevelName(level) << ' ' << size.w << 'x' << size.h << " sigma " << sigma.x << ", " << sigma.y;
            }
        }
    }
}

TEST(Blur, SpreadsNotANumberAndInfinityAsTheLiteralFormDoes) {
    const Size size{61, 47};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        // With a sigma of 0.02 the outer taps are 0: an infinity beside a sample then gives NaN.
        for (const double sigma : {0.02, 0.6, 1.0, 4.0}) {
            for (std::uint32_t seed = 0; seed < 3; ++seed) {
                const Plane plane = brokenScene(size, seed);
                EXPECT_TRUE(
                    equalPlanes(literallyBlurred(plane, size, {sigma, sigma}), blurred(plane, size, {sigma, sigma})))
                    << rowLevelName(level) << " sigma " << sigma;
            }
        }
    }
}

TEST(Blur, KeepsWithinItsRowsAboveAndBelowAnInfinity) {
    // One infinite sample: exactly the 5 x 5 samples around it become infinite at sigma 0.6.
    const Size size{23, 29};
    Plane plane(static_cast<std::size_t>(size.w * size.h), 0.25f);
    plane[static_cast<std::size_t>(13 * size.w + 11)] = std::numeric_limits<float>::infinity();
    const Plane got = blurred(plane, size, {0.6, 0.6});
    for (int y = 0; y < size.h; ++y) {
        for (int x = 0; x < size.w; ++x) {
            const bool near = std::abs(y - 13) <= 2 && std::abs(x - 11) <= 2;
            EXPECT_EQ(std::isinf(got[static_cast<std::size_t>(y * size.w + x)]), near) << x << ", " << y;
        }
    }
}

TEST(Blur, GivesTheSameBitsForEveryNumberOfThreads) {
    for (const Size size : {Size{53, 71}, Size{19, 6}, Size{33, 160}}) {
        const Plane plane = brokenScene(size, 3);
        for (const Sigmas sigma : {Sigmas{0.6, 0.6}, Sigmas{2.1, 2.1}, Sigmas{1.0, 9.0}}) {
            const Plane expected = literallyBlurred(plane, size, sigma);
            for (const unsigned threads : {1u, 2u, 3u, 8u}) {
                const WithThreads pool(threads);
                EXPECT_TRUE(equalPlanes(expected, blurred(plane, size, sigma)))
                    << threads << " threads, " << size.w << 'x' << size.h << " sigma " << sigma.x << ", " << sigma.y;
            }
        }
    }
}

TEST(Blur, LeavesAConstantPlaneConstant) {
    for (const Size size : {Size{1, 1}, Size{37, 41}, Size{64, 64}}) {
        for (const double sigma : {0.6, 3.0, 8.01, 30.0}) {
            const Plane plane(static_cast<std::size_t>(size.w * size.h), 0.18f);
            // The taps are rounded to float one by one: their sum is 1 to within 1e-6.
            for (const float v : blurred(plane, size, {sigma, sigma}))
                EXPECT_NEAR(v, 0.18f, 1e-6) << sigma;
            for (const float v : pyramidBlurred(plane, size, {sigma, sigma}))
                EXPECT_NEAR(v, 0.18f, 1e-6) << sigma;
        }
    }
}

TEST(Blur, LeavesASinglePixelUnchanged) {
    for (const double sigma : {0.5, 1.0, 7.3, 20.0}) {
        Plane pixel{0.7310585f};
        EXPECT_NEAR(blurred(pixel, {1, 1}, {sigma, sigma})[0], 0.7310585f, 1e-6) << sigma;
        EXPECT_NEAR(pyramidBlurred(pixel, {1, 1}, {sigma, sigma})[0], 0.7310585f, 1e-6) << sigma;
    }
}

TEST(Blur, WithOneSigmaBlursOneDirection) {
    const Size size{5, 5};
    Plane point(25, 0.0f);
    point[12] = 1.0f;
    const Plane across = blurred(point, size, {0.5, 0.0});
    const Plane down = blurred(point, size, {0.0, 0.5});
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 5; ++x) {
            const std::size_t i = static_cast<std::size_t>(y * 5 + x);
            EXPECT_EQ(across[i] > 0.0f, y == 2) << x << ", " << y;
            EXPECT_EQ(down[i] > 0.0f, x == 2) << x << ", " << y;
        }
    }
}

TEST(Blur, LeavesThePlaneAloneWhenThereIsNothingToDo) {
    const Size size{9, 8};
    const Plane plane = brokenScene(size, 5);
    for (const Sigmas sigma : {Sigmas{0.0, 0.0}, Sigmas{-2.0, 0.0}, Sigmas{NOT_A_NUMBER, 1.0}, Sigmas{1.0, ENDLESS},
                               Sigmas{ENDLESS, ENDLESS}, Sigmas{20.0, NOT_A_NUMBER}, Sigmas{NOT_A_NUMBER, 20.0}}) {
        EXPECT_TRUE(equalPlanes(plane, blurred(plane, size, sigma))) << sigma.x << ", " << sigma.y;
        EXPECT_TRUE(equalPlanes(plane, pyramidBlurred(plane, size, sigma))) << sigma.x << ", " << sigma.y;
    }
    for (const Size nothing : {Size{0, 8}, Size{9, 0}, Size{-3, -3}}) {
        EXPECT_TRUE(equalPlanes(plane, blurred(plane, nothing, {1.0, 1.0})));
        EXPECT_TRUE(equalPlanes(plane, pyramidBlurred(plane, nothing, {1.0, 1.0})));
    }
}

TEST(Blur, PassesAnAbsurdSigmaOn) {
    Plane plane(16, 0.5f);
    EXPECT_THROW(blurSeparable(plane.data(), 4, 4, 1e10, 1.0), std::length_error);
    EXPECT_THROW(blurSeparable(plane.data(), 4, 4, 1.0, 1e10), std::length_error);
    EXPECT_EQ(plane, Plane(16, 0.5f));
}

TEST(PyramidBlur, EqualsItsLiteralFormBitForBit) {
    const Sigmas sigmas[] = {{8.0, 8.0},   {8.01, 8.01}, {12.0, 3.0}, {0.5, 20.0},
                             {25.9, 25.9}, {70.0, 70.0}, {-1.0, 9.0}};
    const Size sizes[] = {{31, 64}, {64, 31}, {32, 32}, {64, 64}, {65, 63}, {97, 130}};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : sizes) {
            const Plane plane = scene(size, 2);
            for (const Sigmas sigma : sigmas) {
                EXPECT_TRUE(
                    equalPlanes(literallyPyramidBlurred(plane, size, sigma), pyramidBlurred(plane, size, sigma)))
                    << rowLevelName(level) << ' ' << size.w << 'x' << size.h << " sigma " << sigma.x << ", " << sigma.y;
            }
        }
    }
}

TEST(PyramidBlur, GivesTheSameBitsForEveryNumberOfThreads) {
    for (const Size size : {Size{64, 90}, Size{71, 39}}) {
        const Plane plane = brokenScene(size, 9);
        const Plane expected = literallyPyramidBlurred(plane, size, {20.0, 17.0});
        for (const unsigned threads : {1u, 2u, 3u, 8u}) {
            const WithThreads pool(threads);
            EXPECT_TRUE(equalPlanes(expected, pyramidBlurred(plane, size, {20.0, 17.0}))) << threads << " threads";
        }
    }
}

TEST(PyramidBlur, IsTheDirectBlurUpToASigmaOfEight) {
    const Size size{80, 64};
    const Plane plane = scene(size, 4);
    EXPECT_TRUE(equalPlanes(blurred(plane, size, {8.0, 8.0}), pyramidBlurred(plane, size, {8.0, 8.0})));
    EXPECT_FALSE(equalPlanes(blurred(plane, size, {8.01, 8.0}), pyramidBlurred(plane, size, {8.01, 8.0})));
}

TEST(PyramidBlur, BlursAtHalfResolutionJustAboveASigmaOfEight) {
    const Size size{64, 64};
    const Plane plane = scene(size, 4);
    Plane level;
    int w = 0;
    int h = 0;
    downsample2x(blurred(plane, size, {1.0, 1.0}), size.w, size.h, level, w, h);
    ASSERT_EQ(w, 32);
    ASSERT_EQ(h, 32);
    const double sigma = std::sqrt(8.01 * 8.01 - 4.0 / 3.0) / 2.0;
    blurSeparable(level.data(), w, h, sigma, sigma);
    Plane expected;
    upsampleBilinear(level, w, h, expected, size.w, size.h);
    EXPECT_TRUE(equalPlanes(expected, pyramidBlurred(plane, size, {8.01, 8.01})));
}

TEST(PyramidBlur, ComesNearTheDirectBlur) {
    const Size size{160, 160};
    Plane plane(static_cast<std::size_t>(size.w * size.h), 0.0f);
    for (int y = 60; y < 100; ++y) {
        for (int x = 60; x < 100; ++x)
            plane[static_cast<std::size_t>(y * size.w + x)] = 1.0f;
    }
    const Plane direct = blurred(plane, size, {18.0, 18.0});
    const Plane ladder = pyramidBlurred(plane, size, {18.0, 18.0});
    // The interpolation back is the coarse part: under 1.5 % of the step's height.
    for (std::size_t i = 0; i < plane.size(); ++i)
        ASSERT_NEAR(ladder[i], direct[i], 0.015) << i;
}

TEST(Downsample, PairsAnOddLastColumnAndRowWithThemselves) {
    Plane src(15);
    std::iota(src.begin(), src.end(), 0.0f); // 5 x 3
    Plane dst;
    int dw = 0;
    int dh = 0;
    downsample2x(src, 5, 3, dst, dw, dh);
    EXPECT_EQ(dw, 3);
    EXPECT_EQ(dh, 2);
    EXPECT_EQ(dst, (Plane{3.0f, 5.0f, 6.5f, 10.5f, 12.5f, 14.0f}));
}

TEST(Downsample, EqualsItsLiteralForm) {
    for (const Size size : {Size{1, 1}, Size{2, 1}, Size{1, 2}, Size{9, 7}, Size{64, 33}, Size{33, 64}}) {
        const Plane src = brokenScene(size, 6);
        Plane expected;
        Plane got;
        int w[2] = {};
        int h[2] = {};
        reference::downsample2x(src, size.w, size.h, expected, w[0], h[0]);
        downsample2x(src, size.w, size.h, got, w[1], h[1]);
        EXPECT_EQ(w[0], w[1]);
        EXPECT_EQ(h[0], h[1]);
        EXPECT_TRUE(equalPlanes(expected, got)) << size.w << 'x' << size.h;
    }
}

TEST(Upsample, WeighsNeighboursAtHalfPixelCentres) {
    Plane dst;
    upsampleBilinear({0.0f, 8.0f}, 2, 1, dst, 4, 1);
    EXPECT_EQ(dst, (Plane{0.0f, 2.0f, 6.0f, 8.0f}));
    upsampleBilinear({0.0f, 8.0f}, 1, 2, dst, 1, 4);
    EXPECT_EQ(dst, (Plane{0.0f, 2.0f, 6.0f, 8.0f}));
    upsampleBilinear({5.0f}, 1, 1, dst, 3, 2);
    EXPECT_EQ(dst, Plane(6, 5.0f));
}

TEST(Upsample, EqualsItsLiteralForm) {
    const Size sizes[][2] = {{{1, 1}, {2, 2}},   {{2, 2}, {3, 3}},    {{16, 9}, {32, 18}}, {{16, 9}, {31, 17}},
                             {{33, 5}, {66, 9}}, {{7, 11}, {13, 22}}, {{20, 20}, {9, 50}}, {{5, 5}, {5, 5}}};
    for (const auto& [from, to] : sizes) {
        const Plane src = scene(from, 8);
        Plane expected;
        Plane got;
        reference::upsampleBilinear(src, from.w, from.h, expected, to.w, to.h);
        upsampleBilinear(src, from.w, from.h, got, to.w, to.h);
        EXPECT_TRUE(equalPlanes(expected, got)) << from.w << 'x' << from.h << " to " << to.w << 'x' << to.h;
    }
}

} // namespace
} // namespace velloid
