// Detail against its literal form. The LogC4 rows have an exponential and a logarithm of their own, so a code may now
// and then round to the float beside it: nearly every sample is equal, none is more than two units of the last place
// away.
#include "process/detail.h"

#include "tests/process/planes.h"
#include "tests/reference/effect_reference.h"
#include "tests/reference/transfer_reference.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace velloid {
namespace {

using namespace velloid::test;

constexpr double INF = std::numeric_limits<double>::infinity();

// Near black the curve subtracts 64 from 64 and a bit, which leaves an error of some 1e-16 * 64 / A before rounding to
// float; and a code that rounded the other way, 3e-8 at most, moves the linear value by slope * 3e-8 = 4e-9.
constexpr double NEAR_BLACK = 4e-9;

testing::AssertionResult closePlanes(const Plane& expected, const Plane& got) {
    std::size_t unequal = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (sameBits(expected[i], got[i])) continue;
        ++unequal;
        if (ulpsApart(expected[i], got[i]) <= 2 || std::fabs(double{expected[i]} - got[i]) <= NEAR_BLACK) continue;
        return testing::AssertionFailure() << "sample " << i << ": expected " << expected[i] << ", got " << got[i];
    }
    // 1e-6 of the samples of a whole frame; in a small plane at most two.
    if (unequal > 2) return testing::AssertionFailure() << unequal << " samples differ";
    return testing::AssertionSuccess();
}

struct Channels {
    Plane r, g, b;
};

Channels scenes(Size size, Plane (*make)(Size, std::uint32_t) = scene) {
    return {make(size, 1), make(size, 2), make(size, 3)};
}

Channels detailed(Channels c, Size size, double amount, NegativeStock stock, double scaleX, double scaleY) {
    applyDetail(c.r, c.g, c.b, size.w, size.h, amount, stock, scaleX, scaleY);
    return c;
}

Channels literallyDetailed(Channels c, Size size, double amount, NegativeStock stock, double scaleX, double scaleY) {
    reference::applyDetail(c.r, c.g, c.b, size.w, size.h, amount, detailProfile(stock), scaleX, scaleY);
    return c;
}

void expectClose(const Channels& expected, const Channels& got, const std::string& what) {
    EXPECT_TRUE(closePlanes(expected.r, got.r)) << what << " red";
    EXPECT_TRUE(closePlanes(expected.g, got.g)) << what << " green";
    EXPECT_TRUE(closePlanes(expected.b, got.b)) << what << " blue";
}

void expectEqual(const Channels& expected, const Channels& got, const std::string& what) {
    EXPECT_TRUE(equalPlanes(expected.r, got.r)) << what << " red";
    EXPECT_TRUE(equalPlanes(expected.g, got.g)) << what << " green";
    EXPECT_TRUE(equalPlanes(expected.b, got.b)) << what << " blue";
}

TEST(Detail, EqualsItsLiteralFormForEveryStock) {
    const Size size{61, 43};
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
        const NegativeStock stock = static_cast<NegativeStock>(i);
        expectClose(literallyDetailed(scenes(size), size, 0.8, stock, 1.0, 1.0),
                    detailed(scenes(size), size, 0.8, stock, 1.0, 1.0), "stock " + std::to_string(i));
    }
}

TEST(Detail, EqualsItsLiteralFormForAllSizesScalesAndLevels) {
    const NegativeStock stock = NegativeStock::Eastman5254;
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{1, 9}, Size{9, 1}, Size{3, 2}, Size{33, 17}, Size{24, 50}}) {
            for (const double scale : {0.25, 0.5, 1.0, 2.0}) {
                for (const double aspect : {0.5, 1.0, 2.0}) {
                    expectClose(literallyDetailed(scenes(size), size, 1.0, stock, scale / aspect, scale),
                                detailed(scenes(size), size, 1.0, stock, scale / aspect, scale),
                                std::string(rowLevelName(level)) + ' ' + std::to_string(size.w) + 'x' +
                                    std::to_string(size.h) + " scale " + std::to_string(scale) + " aspect " +
                                    std::to_string(aspect));
                }
            }
        }
    }
}

TEST(Detail, TreatsNotANumberAndInfinityAsTheLiteralFormDoes) {
    const Size size{90, 70};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        Channels bad = scenes(size);
        bad.r[1000] = std::numeric_limits<float>::quiet_NaN();
        bad.g[4000] = std::numeric_limits<float>::infinity();
        bad.b[6299] = -std::numeric_limits<float>::infinity();
        expectClose(literallyDetailed(bad, size, 1.0, NegativeStock::Vision500T, 1.0, 1.0),
                    detailed(bad, size, 1.0, NegativeStock::Vision500T, 1.0, 1.0), rowLevelName(level));
    }
}

TEST(Detail, GivesTheSameBitsForEveryNumberOfThreadsAndEveryFusedLevel) {
    const Size size{47, 83};
    const Channels expected = detailed(scenes(size), size, 1.0, NegativeStock::Gold200, 1.0, 1.0);
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        for (const RowLevel level : supportedLevels()) {
            if (rowLevelIsFused(level) != rowLevelIsFused(activeRowLevel())) continue;
            const WithLevel use(level);
            expectEqual(expected, detailed(scenes(size), size, 1.0, NegativeStock::Gold200, 1.0, 1.0),
                        std::to_string(threads) + " threads, " + rowLevelName(level));
        }
    }
}

TEST(Detail, WithoutAmountLeavesEveryBit) {
    const Size size{20, 10};
    for (const double amount : {0.0, -1.0, -INF}) {
        expectEqual(scenes(size, brokenScene),
                    detailed(scenes(size, brokenScene), size, amount, NegativeStock::Vision50D, 1.0, 1.0),
                    std::to_string(amount));
    }
}

TEST(Detail, AboveOneDoesNothingMore) {
    const Size size{31, 27};
    const Channels one = detailed(scenes(size), size, 1.0, NegativeStock::TriX400, 1.0, 1.0);
    for (const double amount : {1.5, 2.0, INF}) {
        expectEqual(one, detailed(scenes(size), size, amount, NegativeStock::TriX400, 1.0, 1.0),
                    std::to_string(amount));
    }
}

TEST(Detail, LeavesAUniformPlaneUntouched) {
    const Size size{30, 24};
    for (const float level : {-0.05f, -0.018f, 0.0f, 0.18f, 1.0f, 469.0f, 500.0f}) {
        const Plane plane(720, level);
        const Channels got = detailed({plane, plane, plane}, size, 1.0, NegativeStock::Eastman5254, 1.0, 1.0);
        // A code near 1 is a float, 6e-8 coarse; decoding turns that into ln2 * 15.4 * 6e-8 of the linear value, and
        // the blurred code differs from it by the rounding of the taps.
        for (const float v : got.g)
            ASSERT_NEAR(v, level, 5e-8 + 4e-6 * std::fabs(level)) << level;
    }
}

double codeOf(double linear) {
    return reference::transferEncode(linear, 0);
}

// A step between two levels, and the same step in LogC4 code without any sharpening.
struct Step {
    Plane before, after;
};

Step step(float low, float high, double sharp) {
    Plane plane;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 80; ++x)
            plane.push_back(x < 40 ? low : high);
    }
    Step result{plane, plane};
    detailChannel(result.before, 80, 8, 0.7, 7.0, 0.0, 1.0, 1.0, 1.0, 1.0);
    detailChannel(result.after, 80, 8, 0.7, 7.0, sharp, 1.0, 1.0, 1.0, 1.0);
    return result;
}

TEST(Detail, OvershootsAtAStepByAtMostItsLimit) {
    const double sharp = 0.34125;
    for (const float high : {0.02f, 0.5f, 20.0f, 400.0f}) {
        const Step s = step(0.001f, high, sharp);
        double most = 0.0;
        for (std::size_t i = 0; i < s.after.size(); ++i) {
            const double code = codeOf(s.before[i]);
            const double moved = std::fabs(codeOf(s.after[i]) - code);
            EXPECT_LE(moved, (0.055 + 0.1 * std::fabs(code)) * sharp + 1e-6) << high << " sample " << i;
            most = std::max(most, moved);
        }
        EXPECT_GT(most, 0.005) << high << ": nothing was sharpened";
    }
}

TEST(Detail, NeverBrightensBeyondCodeOneUnlessThePixelWasThere) {
    const double sharp = 0.3;
    const Step s = step(0.18f, 460.0f, sharp); // 460 is code 0.998
    EXPECT_LE(codeOf(*std::max_element(s.after.begin(), s.after.end())), 1.0 + 1e-6);
    const float beyond = static_cast<float>(reference::transferDecode(1.2, 0));
    const Step t = step(0.18f, beyond, sharp);
    EXPECT_LE(codeOf(*std::max_element(t.after.begin(), t.after.end())), 1.2 + 1e-6);
    for (std::size_t i = 0; i < t.after.size(); ++i) {
        const double code = codeOf(t.before[i]);
        EXPECT_LE(codeOf(t.after[i]), std::max(1.0, code) + 1e-6) << i;
    }
}

TEST(DetailProfile, HasARowPerStockAndTheFirstForAnythingElse) {
    // blur and sharp of red, green, blue.
    const double rows[17][6] = {
        {0.93, 0.257, 0.75, 0.273, 0.64, 0.223},
        {0.744, 0.2056, 0.6, 0.2184, 0.512, 0.1784},
        {0.783, 0.216, 0.632, 0.23, 0.539, 0.188},
        {0.595, 0.165, 0.48, 0.175, 0.41, 0.143},
        {0.93, 0.257, 0.75, 0.273, 0.64, 0.223},
        {1.1625, 0.32125, 0.9375, 0.34125, 0.8, 0.27875},
        {0.8835, 0.24415, 0.7125, 0.25935, 0.608, 0.21185},
        {0.744, 0.2056, 0.6, 0.2184, 0.512, 0.1784},
        {0.837, 0.2313, 0.675, 0.2457, 0.576, 0.2007},
        {0.744, 0.2056, 0.6, 0.2184, 0.512, 0.1784},
        {0.8835, 0.24415, 0.7125, 0.25935, 0.608, 0.21185},
        {1.023, 0.2827, 0.825, 0.3003, 0.704, 0.2453},
        {0.93, 0.257, 0.75, 0.273, 0.64, 0.223},
        {1.023, 0.2827, 0.825, 0.3003, 0.704, 0.2453},
        {0.837, 0.2313, 0.675, 0.2457, 0.576, 0.2007},
        {0.6045, 0.16705, 0.4875, 0.17745, 0.416, 0.14495},
        {0.93, 0.257, 0.75, 0.273, 0.64, 0.223},
    };
    for (int stock = -3; stock < 20; ++stock) {
        const double* row = rows[stock >= 0 && stock < 17 ? stock : 0];
        const DetailProfile p = detailProfile(static_cast<NegativeStock>(stock));
        const double got[6] = {p.blurR, p.sharpR, p.blurG, p.sharpG, p.blurB, p.sharpB};
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(got[i], row[i]) << "stock " << stock << " column " << i;
        EXPECT_EQ(p.broadR, 7.3) << stock;
        EXPECT_EQ(p.broadG, 6.7) << stock;
        EXPECT_EQ(p.broadB, 7.1) << stock;
        EXPECT_EQ(p.blurMix, 1.0) << stock;
    }
}

TEST(Detail, PassesAnAbsurdScaleOn) {
    Plane plane(16, 0.5f);
    EXPECT_THROW(detailChannel(plane, 4, 4, 0.9, 7.3, 0.2, 1.0, 1.0, 1e12, 1.0), std::length_error);
}

} // namespace
} // namespace velloid
