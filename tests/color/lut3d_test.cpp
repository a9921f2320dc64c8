#include "color/lut3d.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"
#include "tests/color/lut_test_support.h"
#include "tests/reference/lut_reference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace velloid {
namespace {

using namespace lut_test;
namespace reference = tarnwell::reference;

// A fused level may differ from the scalar sampler in one float of a million, by the rounding of a product that lies
// within 2^-24 of a boundary; the baseline uses the scalar sampler's own products.
constexpr double SHARE = 1e-6;
constexpr double ROUNDING = 2.4e-7; // two float steps at 1

std::size_t allowedDifferences(std::size_t floats) {
    return static_cast<std::size_t>(SHARE * floats) + 1;
}

std::vector<RowLevel> supportedLevels() {
    std::vector<RowLevel> levels;
    for (int i = 0; i < ROW_LEVEL_COUNT; ++i) {
        if (rowLevelSupported(static_cast<RowLevel>(i))) levels.push_back(static_cast<RowLevel>(i));
    }
    return levels;
}

void blendRows(RowLevel level, const LUT3D& lut, double strength, Planes& p, std::size_t from, std::size_t to) {
    const LutRowTable table(lut);
    rowKernelsOf(level)->lut.blend(table.grid(), strength, &p.r[from], &p.g[from], &p.b[from], to - from);
}

TEST(LutIdentity, IsUniqueAcrossThreadsAndNeverZero) {
    constexpr int THREADS = 4, EACH = 500;
    std::vector<std::vector<std::uint64_t>> taken(THREADS);
    std::vector<std::thread> threads;
    for (auto& ids : taken)
        threads.emplace_back([&ids] {
            for (int i = 0; i < EACH; ++i)
                ids.push_back(nextLutCacheId());
        });
    for (std::thread& t : threads)
        t.join();
    std::set<std::uint64_t> all;
    for (const auto& ids : taken)
        all.insert(ids.begin(), ids.end());
    EXPECT_EQ(all.size(), static_cast<std::size_t>(THREADS * EACH));
    EXPECT_EQ(all.count(0), 0u);
}

TEST(TetrahedralSampler, ReturnsTheLatticeValuesAtLatticePoints) {
    const LUT3D lut = randomTable(5, 1);
    for (int b = 0; b < 5; ++b)
        for (int g = 0; g < 5; ++g)
            for (int r = 0; r < 5; ++r) {
                const RGB expected = lut.data[static_cast<std::size_t>((b * 5 + g) * 5 + r)];
                const RGB got = sampleLutTetrahedral(lut, r / 4.0, g / 4.0, b / 4.0);
                // At the top of an axis the fraction is 1: c + 1*(d - c) is d up to a float rounding.
                EXPECT_NEAR(got.r, expected.r, 2 * ROUNDING) << r << " " << g << " " << b;
                EXPECT_NEAR(got.g, expected.g, 2 * ROUNDING) << r << " " << g << " " << b;
                EXPECT_NEAR(got.b, expected.b, 2 * ROUNDING) << r << " " << g << " " << b;
            }
}

TEST(TetrahedralSampler, ReturnsTheInputOfAnIdentityTable) {
    const Planes p = testPlanes(2000, 3, 0.f, 1.f);
    for (int size : {2, 3, 17, 33, 65}) {
        const LUT3D lut = identityTable(size);
        for (std::size_t i = 0; i < p.r.size(); ++i) {
            const auto inside = [](float v) { return v >= 0.f && v <= 1.f; };
            if (!inside(p.r[i]) || !inside(p.g[i]) || !inside(p.b[i])) continue;
            const RGB got = sampleLutTetrahedral(lut, p.r[i], p.g[i], p.b[i]);
            ASSERT_NEAR(got.r, p.r[i], ROUNDING) << "size " << size;
            ASSERT_NEAR(got.g, p.g[i], ROUNDING) << "size " << size;
            ASSERT_NEAR(got.b, p.b[i], ROUNDING) << "size " << size;
        }
    }
}

TEST(TetrahedralSampler, HoldsTheFirstAndLastPlaneOutsideTheDomain) {
    LUT3D lut = randomTable(4, 5);
    lut.domainMin = {-0.5f, 0.25f, 1.f};
    lut.domainMax = {0.5f, 0.75f, 3.f};
    const RGB bottom = lut.data.front();
    const RGB top = sampleLutTetrahedral(lut, 0.5, 0.75, 3.0);
    for (double below : {-1e30, -7.0, -HUGE_VAL, double{NOT_A_NUMBER}}) {
        EXPECT_TRUE(sameBits(sampleLutTetrahedral(lut, below, below, below), bottom)) << below;
    }
    for (double above : {1e30, 7.0, HUGE_VAL}) {
        EXPECT_TRUE(sameBits(sampleLutTetrahedral(lut, above, above, above), top)) << above;
    }
    EXPECT_TRUE(sameBits(sampleLutTetrahedral(lut, -9.0, 0.5, 2.0), sampleLutTetrahedral(lut, -0.5, 0.5, 2.0)));
    EXPECT_TRUE(sameBits(sampleLutTetrahedral(lut, 0.1, 0.5, HUGE_VAL), sampleLutTetrahedral(lut, 0.1, 0.5, 3.0)));
}

TEST(TetrahedralSampler, PinsAnAxisWithoutWidthToItsFirstPoint) {
    const LUT3D plain = randomTable(4, 6);
    struct {
        float low, high;
    } const domains[] = {{1.f, 1.f}, {1.f, 0.f}, {-INF, 1.f}, {0.f, INF}, {NOT_A_NUMBER, 1.f}, {0.f, NOT_A_NUMBER}};
    for (const auto& d : domains) {
        LUT3D lut = plain;
        lut.domainMin.g = d.low;
        lut.domainMax.g = d.high;
        for (double v : {-2.0, 0.3, 0.9, 5.0, HUGE_VAL}) {
            const RGB expected = sampleLutTetrahedral(plain, 0.4, 0.0, 0.7);
            EXPECT_TRUE(sameBits(sampleLutTetrahedral(lut, 0.4, v, 0.7), expected)) << d.low << " " << d.high;
            Planes p{{0.4f}, {static_cast<float>(v)}, {0.7f}};
            LutRowTable(lut).blend(&p.r[0], &p.g[0], &p.b[0], 1, 1.0);
            const RGB scalar = sampleLutTetrahedral(plain, 0.4f, 0.0, 0.7f);
            EXPECT_NEAR(p.r[0], scalar.r, ROUNDING);
            EXPECT_NEAR(p.b[0], scalar.b, ROUNDING);
        }
    }
}

// The six walks give different roundings, so a wrong choice among equal fractions shows in the bits.
TEST(TetrahedralSampler, MatchesTheLiteralFormBitForBit) {
    const double steps[] = {0.0, 0.1, 0.25, 1.0 / 3, 0.5, 0.75, 1.0};
    for (int size : {2, 3, 17, 33}) {
        LUT3D lut = randomTable(size, 7);
        for (double r : steps)
            for (double g : steps)
                for (double b : steps) {
                    const RGB got = sampleLutTetrahedral(lut, r, g, b);
                    const RGB expected = reference::sampleLut(lut, r, g, b);
                    ASSERT_TRUE(sameBits(got, expected)) << size << ": " << r << " " << g << " " << b;
                }
        const Planes p = testPlanes(5000, 8, -0.3f, 1.3f);
        lut.domainMin = {-0.1f, 0.05f, 0.f};
        lut.domainMax = {1.1f, 0.8f, 1.f};
        for (std::size_t i = 0; i < p.r.size(); ++i) {
            const RGB got = sampleLutTetrahedral(lut, p.r[i], p.g[i], p.b[i]);
            const RGB expected = reference::sampleLut(lut, p.r[i], p.g[i], p.b[i]);
            ASSERT_TRUE(sameBits(got, expected)) << size << ": " << p.r[i] << " " << p.g[i] << " " << p.b[i];
        }
    }
}

TEST(TetrahedralSampler, KeepsGreysGreyOnANeutralDiagonal) {
    LUT3D lut = randomTable(9, 10);
    for (int i = 0; i < 9; ++i) {
        RGB& e = lut.data[static_cast<std::size_t>((i * 9 + i) * 9 + i)];
        e = {e.g, e.g, e.g};
    }
    for (int i = 0; i <= 100; ++i) {
        const RGB got = sampleLutTetrahedral(lut, i / 100.0, i / 100.0, i / 100.0);
        EXPECT_NEAR(got.r, got.g, 2 * ROUNDING) << i;
        EXPECT_NEAR(got.b, got.g, 2 * ROUNDING) << i;
    }
}

TEST(LutRows, MatchTheScalarSamplerOnEveryLevelSizeAndDomain) {
    struct {
        float low, high;
    } const domains[] = {{0.f, 1.f}, {-0.5f, 1.5f}, {0.f, 0.7f}, {-1e-3f, 65504.f}};
    for (RowLevel level : supportedLevels()) {
        std::size_t different = 0, floats = 0;
        for (int size = 2; size <= 65; size += size < 34 ? 1 : 31) {
            for (const auto& d : domains) {
                LUT3D lut = randomTable(size, 11u + static_cast<unsigned>(size));
                lut.domainMin = {d.low, d.low, d.low};
                lut.domainMax = {d.high, d.high, d.high};
                Planes expected = testPlanes(601, 12u + static_cast<unsigned>(size), d.low, d.high);
                Planes got = expected;
                const int n = static_cast<int>(got.r.size());
                reference::applyCubeLut(expected.r, expected.g, expected.b, n, 1, 0.85, lut);
                blendRows(level, lut, 0.85, got, 0, got.r.size());
                different += countDifferent(got, expected);
                floats += 3 * got.r.size();
                ASSERT_LE(largestError(got, expected), ROUNDING) << rowLevelName(level) << ", size " << size;
            }
        }
        EXPECT_LE(different, allowedDifferences(floats)) << rowLevelName(level) << ", of " << floats;
    }
}

TEST(LutRows, MatchTheScalarSamplerOnTies) {
    const float steps[] = {0.f, 0.1f, 0.25f, 1.f / 3, 0.5f, 0.75f, 1.f};
    const LUT3D lut = randomTable(6, 13);
    Planes p;
    for (float r : steps)
        for (float g : steps)
            for (float b : steps) {
                p.r.push_back(r);
                p.g.push_back(g);
                p.b.push_back(b);
            }
    Planes expected = p;
    const int n = static_cast<int>(p.r.size());
    reference::applyCubeLut(expected.r, expected.g, expected.b, n, 1, 1.0, lut);
    for (RowLevel level : supportedLevels()) {
        Planes got = p;
        blendRows(level, lut, 1.0, got, 0, p.r.size());
        EXPECT_LE(countDifferent(got, expected), 1u) << rowLevelName(level);
        EXPECT_LE(largestError(got, expected), ROUNDING) << rowLevelName(level);
    }
}

TEST(LutRows, GiveTheSameBitsOnEveryFusedLevel) {
    const LUT3D lut = randomTable(33, 14);
    const LutRowTable table(lut);
    const Planes p = testPlanes(5000, 15, -0.2f, 1.2f);
    for (bool log : {false, true}) {
        Planes first;
        for (RowLevel level : supportedLevels()) {
            if (!rowLevelIsFused(level)) continue;
            Planes got = p;
            const LutRows& rows = rowKernelsOf(level)->lut;
            (log ? rows.blendLogC4 : rows.blend)(table.grid(), 0.6, &got.r[0], &got.g[0], &got.b[0], got.r.size());
            if (first.r.empty()) first = got;
            EXPECT_EQ(countDifferent(got, first), 0u) << rowLevelName(level) << (log ? ", LogC4" : "");
        }
    }
}

// No result may depend on where in a row, a block or a register a pixel stands.
TEST(LutRows, GiveEveryPixelTheSameBitsWhereverItStands) {
    LUT3D lut = randomTable(17, 16);
    const Planes p = testPlanes(300, 17, -0.2f, 1.2f);
    for (RowLevel level : supportedLevels()) {
        for (bool log : {false, true}) {
            const LutRowTable table(lut);
            const LutRows& rows = rowKernelsOf(level)->lut;
            const auto kernel = log ? rows.blendLogC4 : rows.blend;
            Planes whole = p;
            kernel(table.grid(), 0.7, &whole.r[0], &whole.g[0], &whole.b[0], 300);
            for (std::size_t cut : {1u, 3u, 7u, 8u, 63u, 64u, 65u, 129u, 299u}) {
                Planes parts = p;
                kernel(table.grid(), 0.7, &parts.r[0], &parts.g[0], &parts.b[0], cut);
                kernel(table.grid(), 0.7, &parts.r[cut], &parts.g[cut], &parts.b[cut], 300 - cut);
                EXPECT_EQ(countDifferent(parts, whole), 0u) << rowLevelName(level) << ", cut at " << cut;
            }
        }
    }
}

TEST(LutRows, TouchNothingBehindTheRun) {
    const LUT3D lut = randomTable(3, 18);
    for (RowLevel level : supportedLevels()) {
        for (std::size_t n = 0; n < 70; ++n) {
            Planes p{Plane(80, 0.3f), Plane(80, 0.4f), Plane(80, 0.5f)};
            blendRows(level, lut, 1.0, p, 0, n);
            for (std::size_t i = n; i < 80; ++i)
                ASSERT_TRUE(p.r[i] == 0.3f && p.g[i] == 0.4f && p.b[i] == 0.5f) << rowLevelName(level) << " " << n;
        }
    }
}

// A table of entries between -largest and largest, which may be more apart than a float can say.
LUT3D wideTable(int size, unsigned seed, double largest) {
    LUT3D lut = emptyTable(size);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-largest, largest);
    const auto next = [&] { return static_cast<float>(value(random)); };
    for (RGB& e : lut.data)
        e = {next(), next(), next()};
    return lut;
}

// A difference of such entries leaves the float range, and its product with a fraction in two parts would be NaN where
// the defined one is infinite.
TEST(LutRows, MatchTheScalarSamplerForEntriesNearTheFloatRange) {
    for (const double largest : {3.4e38, 2e38}) {
        const LUT3D lut = wideTable(5, 19, largest);
        Planes expected = testPlanes(3000, 20, 0.f, 1.f);
        const Planes input = expected;
        reference::applyCubeLut(expected.r, expected.g, expected.b, 3000, 1, 0.5, lut);
        const auto count = [&](auto test) { return std::count_if(expected.r.begin(), expected.r.end(), test); };
        ASSERT_GT(count([](float v) { return std::isfinite(v); }), 500);
        ASSERT_GT(count([](float v) { return std::isinf(v); }), 100);
        for (RowLevel level : supportedLevels()) {
            Planes got = input;
            blendRows(level, lut, 0.5, got, 0, got.r.size());
            EXPECT_LE(largestError(got, expected), ROUNDING) << rowLevelName(level) << ", up to " << largest;
        }
    }
}

TEST(LutRowTable, IsMadeOnceForATableWithAnIdentity) {
    LUT3D lut = randomTable(4, 21);
    const auto first = lutRowTable(lut);
    EXPECT_EQ(lutRowTable(lut), first);
    const LUT3D copy = lut;
    EXPECT_NE(lutRowTable(copy), first) << "a copy holds its own";
    lut.data[0].r += 1.f;
    lut.id = nextLutCacheId();
    EXPECT_NE(lutRowTable(lut), first) << "other contents, other table";
    lut.id = 0;
    EXPECT_NE(lutRowTable(lut), lutRowTable(lut)) << "contents without identity can't be recognised";
}

TEST(LutRowTable, IsSharedByThreadsThatAskAtOnce) {
    const LUT3D lut = randomTable(9, 22);
    std::vector<std::shared_ptr<const LutRowTable>> got(8);
    std::vector<std::thread> threads;
    for (auto& g : got)
        threads.emplace_back([&lut, &g] { g = lutRowTable(lut); });
    for (std::thread& t : threads)
        t.join();
    for (const auto& g : got)
        EXPECT_EQ(g, got[0]);
}

TEST(LutRowTable, RefusesATableWhoseSizeIsNotThatOfItsData) {
    LUT3D lut = randomTable(4, 23);
    lut.size = 5;
    EXPECT_THROW(LutRowTable{lut}, std::invalid_argument);
    EXPECT_THROW(LutRowTable{LUT3D{}}, std::invalid_argument);
    LUT3D point = emptyTable(1);
    EXPECT_THROW(LutRowTable{point}, std::invalid_argument);
}

TEST(CubeLut, LeavesThePlanesUntouchedWithoutStrengthOrTable) {
    const Planes input = testPlanes(64, 24, -1.f, 2.f);
    const LUT3D lut = randomTable(4, 25);
    const LUT3D point = emptyTable(1);
    for (double strength : {0.0, -0.5, -HUGE_VAL, std::nan("")}) {
        Planes p = input;
        applyCubeLut(p.r, p.g, p.b, 8, 8, strength, lut);
        EXPECT_EQ(countDifferent(p, input), 0u) << strength;
    }
    Planes p = input;
    applyCubeLut(p.r, p.g, p.b, 8, 8, 1.0, LUT3D{});
    applyCubeLut(p.r, p.g, p.b, 8, 8, 1.0, point);
    applyCubeLut(p.r, p.g, p.b, 0, 8, 1.0, lut);
    applyCubeLut(p.r, p.g, p.b, 8, -1, 1.0, lut);
    EXPECT_EQ(countDifferent(p, input), 0u);
}

TEST(CubeLut, ExtrapolatesPastTheTableAboveStrengthOne) {
    LUT3D lut = identityTable(2);
    for (RGB& e : lut.data)
        e = {0.75f, 0.5f, 0.25f};
    lut.id = nextLutCacheId();
    Plane r{0.5f}, g{0.5f}, b{0.5f};
    applyCubeLut(r, g, b, 1, 1, 3.0, lut);
    EXPECT_FLOAT_EQ(r[0], 1.25f);
    EXPECT_FLOAT_EQ(g[0], 0.5f);
    EXPECT_FLOAT_EQ(b[0], -0.25f);
}

TEST(CubeLut, GivesTheSameBitsForEveryThreadCount) {
    const Planes input = testPlanes(97 * 13, 26, -0.2f, 1.2f);
    const LUT3D lut = randomTable(17, 27);
    Planes first;
    for (unsigned threads : {1u, 2u, 3u, 7u}) {
        ParallelPool pool(threads);
        useParallelPool(&pool);
        Planes p = input;
        applyCubeLut(p.r, p.g, p.b, 97, 13, 0.8, lut);
        useParallelPool(nullptr);
        if (first.r.empty()) first = p;
        EXPECT_EQ(countDifferent(p, first), 0u) << threads << " threads";
    }
    Planes expected = input;
    reference::applyCubeLut(expected.r, expected.g, expected.b, 97, 13, 0.8, lut);
    EXPECT_LE(countDifferent(first, expected), 1u);
}

TEST(CubeLut, RefusesAPlaneThatIsTooSmall) {
    const LUT3D lut = randomTable(2, 28);
    Plane r(16), g(16), b(15);
    EXPECT_THROW(applyCubeLut(r, g, b, 4, 4, 1.0, lut), std::invalid_argument);
}

TEST(CubeLut, SeesChangedContentsOfATableWithoutIdentity) {
    LUT3D lut = identityTable(2);
    lut.id = 0;
    Plane r{0.5f}, g{0.5f}, b{0.5f};
    applyCubeLut(r, g, b, 1, 1, 1.0, lut);
    EXPECT_FLOAT_EQ(r[0], 0.5f);
    for (RGB& e : lut.data)
        e = {0.125f, 0.125f, 0.125f};
    applyCubeLut(r, g, b, 1, 1, 1.0, lut);
    EXPECT_FLOAT_EQ(r[0], 0.125f);
}

} // namespace
} // namespace velloid
