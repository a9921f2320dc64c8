#include "process/black_and_white.h"

#include "tests/process/planes.h"
#include "tests/reference/effect_reference.h"

namespace velloid {
namespace {

using namespace velloid::test;

TEST(BlackAndWhite, EqualsItsLiteralFormBitForBit) {
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{5, 3}, Size{37, 29}}) {
            for (const double amount : {0.001, 0.5, 1.0}) {
                Plane r[2] = {brokenScene(size, 1), brokenScene(size, 1)};
                Plane g[2] = {brokenScene(size, 2), brokenScene(size, 2)};
                Plane b[2] = {scene(size, 3), scene(size, 3)};
                reference::applyBlackAndWhite(r[0], g[0], b[0], amount);
                applyBlackAndWhite(r[1], g[1], b[1], size.w, size.h, amount);
                EXPECT_TRUE(equalPlanes(r[0], r[1])) << rowLevelName(level) << " amount " << amount;
                EXPECT_TRUE(equalPlanes(g[0], g[1])) << rowLevelName(level) << " amount " << amount;
                EXPECT_TRUE(equalPlanes(b[0], b[1])) << rowLevelName(level) << " amount " << amount;
            }
        }
    }
}

TEST(BlackAndWhite, GivesTheSameBitsForEveryNumberOfThreads) {
    const Size size{23, 19};
    Plane r = scene(size, 1);
    Plane g = scene(size, 2);
    Plane b = scene(size, 3);
    reference::applyBlackAndWhite(r, g, b, 0.3);
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        Plane p[3] = {scene(size, 1), scene(size, 2), scene(size, 3)};
        applyBlackAndWhite(p[0], p[1], p[2], size.w, size.h, 0.3);
        EXPECT_TRUE(equalPlanes(r, p[0]) && equalPlanes(g, p[1]) && equalPlanes(b, p[2])) << threads << " threads";
    }
}

TEST(BlackAndWhite, AtFullAmountHoldsTheLuminanceInEveryChannel) {
    Plane r{1.0f, 0.0f, 0.0f, 1.0f};
    Plane g{0.0f, 1.0f, 0.0f, 1.0f};
    Plane b{0.0f, 0.0f, 1.0f, 1.0f};
    applyBlackAndWhite(r, g, b, 4, 1, 1.0);
    const float expected[4] = {0.254524176404027f, 0.781477732712002f, -0.03600190911602904f, 1.0f};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(r[i], expected[i]) << i;
        EXPECT_FLOAT_EQ(g[i], expected[i]) << i;
        EXPECT_FLOAT_EQ(b[i], expected[i]) << i;
    }
}

TEST(BlackAndWhite, WithoutAmountLeavesEveryBit) {
    const Size size{9, 9};
    Plane p[3] = {brokenScene(size, 1), brokenScene(size, 2), brokenScene(size, 3)};
    for (const double amount : {0.0, -1.0})
        applyBlackAndWhite(p[0], p[1], p[2], size.w, size.h, amount);
    for (std::uint32_t i = 0; i < 3; ++i)
        EXPECT_TRUE(equalPlanes(brokenScene(size, i + 1), p[i])) << i;
}

} // namespace
} // namespace velloid
