// The row kernels regroup the literal sums: six sums along the rows, then one across them, with weights that are
// products instead of quotients. Source positions are computed in the very operations of the literal form. What is left
// is rounding in double, about 1e-15 of the largest sample under a pixel's taps: a stored float differs only where that
// reaches the middle between two floats.
#include "process/gate_weave.h"

#include "rows/kernels.h"
#include "tests/process/planes.h"
#include "tests/reference/temporal_reference.h"

#include <algorithm>
#include <climits>
#include <numbers>
#include <string>

namespace velloid {
namespace {

using namespace velloid::test;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

struct Channels {
    Plane r, g, b, a;
};

struct Motion {
    double dx = 0.0;
    double dy = 0.0;
    double angle = 0.0;
    double scaleX = 1.0;
    double scaleY = 1.0;
};

Channels pictures(Size size, Plane (*make)(Size, std::uint32_t) = scene) {
    Channels c = {make(size, 1), make(size, 2), make(size, 3), make(size, 4)};
    for (float& a : c.a)
        a = std::isfinite(a) ? std::clamp(a * 3.f, 0.f, 1.f) : a;
    return c;
}

// A picture without highlights or noise far above its surround.
Plane soft(Size size, std::uint32_t seed) {
    Numbers numbers(seed);
    Plane plane(static_cast<std::size_t>(size.w) * static_cast<std::size_t>(size.h));
    for (std::size_t i = 0; i < plane.size(); ++i) {
        const double x = static_cast<double>(i % static_cast<std::size_t>(size.w)) / size.w;
        plane[i] = static_cast<float>(0.1 + 0.6 * x + 0.05 * numbers.next());
    }
    return plane;
}

Channels warped(const Channels& in, Size size, const Motion& m) {
    Channels out = in;
    warpLanczosRGB(in.r.data(), in.g.data(), in.b.data(), out.r, out.g, out.b, size.w, size.h, m.dx, m.dy, m.angle,
                   m.scaleX, m.scaleY, in.a.data(), &out.a);
    return out;
}

Channels literallyWarped(const Channels& in, Size size, const Motion& m) {
    Channels out = in;
    reference::warpLanczosRGB(in.r.data(), in.g.data(), in.b.data(), out.r, out.g, out.b, size.w, size.h, m.dx, m.dy,
                              m.angle, m.scaleX, m.scaleY, in.a.data(), &out.a);
    return out;
}

std::string nameOf(Size size, const Motion& m) {
    return std::to_string(size.w) + 'x' + std::to_string(size.h) + " by " + std::to_string(m.dx) + ", " +
           std::to_string(m.dy) + " angle " + std::to_string(m.angle) + " scales " + std::to_string(m.scaleX) + ", " +
           std::to_string(m.scaleY);
}

void expectEqual(const Channels& expected, const Channels& got, const std::string& what) {
    EXPECT_TRUE(equalPlanes(expected.r, got.r)) << what << " red";
    EXPECT_TRUE(equalPlanes(expected.g, got.g)) << what << " green";
    EXPECT_TRUE(equalPlanes(expected.b, got.b)) << what << " blue";
    EXPECT_TRUE(equalPlanes(expected.a, got.a)) << what << " alpha";
}

// Equal but for the rounding described above; NaN and infinities in the same places.
void expectClose(const Plane& expected, const Plane& got, double largestSample, const std::string& what) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (sameBits(expected[i], got[i])) continue;
        const double unit = std::ldexp(std::fabs(expected[i]), -23);
        ASSERT_LE(std::fabs(static_cast<double>(expected[i]) - got[i]), std::max(unit, 2e-14 * largestSample))
            << what << " sample " << i << ": expected " << expected[i] << ", got " << got[i];
    }
}

void expectClose(const Channels& expected, const Channels& got, double largestSample, const std::string& what) {
    expectClose(expected.r, got.r, largestSample, what + " red");
    expectClose(expected.g, got.g, largestSample, what + " green");
    expectClose(expected.b, got.b, largestSample, what + " blue");
    expectClose(expected.a, got.a, 1.0, what + " alpha");
}

TEST(GateWeave, FollowsThePathOfASecondImplementation) {
    // Computed with a second implementation, in Python.
    const struct {
        int frame;
        double amount, scaleX, scaleY, dx, dy, angle;
    } PATH[] = {
        {0, 1.0, 1.0, 1.0, 0.44279014975000336, 0.68455304259798333, 0.00034044589707287311},
        {1, 1.0, 1.0, 1.0, 0.70337696965388463, 0.75695177237835831, 0.00030151203911050681},
        {48, 0.5, 2.0, 1.0, 0.088472793065668298, 0.26896330539611241, -0.00020284965096247097},
        {-17, 0.25, 0.5, 2.0, -0.021501296707602958, -0.21906880216778171, -1.1118363505270344e-05},
        {100000, 1.0, 1.0, 1.0, 0.38311373383799391, 0.30769469221426726, -0.00038818650279095769},
    };
    for (const auto& p : PATH) {
        const WeaveMotion m = weaveMotion(p.frame, p.amount, p.scaleX, p.scaleY);
        EXPECT_NEAR(m.dx, p.dx, 1e-14) << p.frame;
        EXPECT_NEAR(m.dy, p.dy, 1e-14) << p.frame;
        EXPECT_NEAR(m.angle, p.angle, 1e-17) << p.frame;
    }
}

TEST(GateWeave, StaysNearTheGate) {
    for (int frame = -500; frame < 500; ++frame) {
        const WeaveMotion m = weaveMotion(frame, 1.0, 1.0, 1.0);
        EXPECT_LE(std::fabs(m.dx), 1.15) << frame;
        EXPECT_LE(std::fabs(m.dy), 1.15 * 0.82) << frame;
        EXPECT_LE(std::fabs(m.angle), 0.00055 * 0.9 + 0.00008) << frame;
    }
}

TEST(GateWeave, LeavesTheImageAloneWithoutAmountOrRoom) {
    const auto weave = [](Size size, double amount) {
        Channels c = pictures(size, brokenScene);
        applyGateWeave(c.r, c.g, c.b, size.w, size.h, amount, 7.0, 1.0, 1.0, &c.a);
        return c;
    };
    for (const Size size : {Size{23, 8}, Size{1, 8}, Size{8, 1}, Size{1, 1}}) {
        const bool room = size.w > 1 && size.h > 1;
        for (const double amount : {0.0, -1.0, NOT_A_NUMBER, room ? 0.0 : 1.0}) {
            expectEqual(pictures(size, brokenScene), weave(size, amount), nameOf(size, {}));
        }
    }
}

TEST(GateWeave, IsItsLiteralFormOnEveryFrameAndScale) {
    const Size size{37, 21};
    for (const double frame : {0.0, 5.5, -100.0, 1e12, -1e12, NOT_A_NUMBER, INF}) {
        for (const double scale : {0.25, 0.5, 1.0, 2.0, 0.0, NOT_A_NUMBER}) {
            for (const double aspect : {0.5, 1.0, 2.0}) {
                Channels expected = pictures(size);
                Channels got = expected;
                reference::applyGateWeave(expected.r, expected.g, expected.b, size.w, size.h, 1.0, frame,
                                          scale / aspect, scale, &expected.a);
                applyGateWeave(got.r, got.g, got.b, size.w, size.h, 1.0, frame, scale / aspect, scale, &got.a);
                expectClose(expected, got, 500.0, "frame " + std::to_string(frame) + " scale " + std::to_string(scale));
            }
        }
    }
}

TEST(GateWeave, SaturatesTheFrame) {
    const Size size{17, 9};
    const auto at = [&](double frame) {
        Channels c = pictures(size);
        applyGateWeave(c.r, c.g, c.b, size.w, size.h, 1.0, frame, 1.0, 1.0, &c.a);
        return c;
    };
    expectEqual(at(INT_MAX), at(1e12), "1e12");
    expectEqual(at(INT_MIN), at(-1e12), "-1e12");
    expectEqual(at(0.0), at(NOT_A_NUMBER), "NaN");
    EXPECT_NE(at(0.0).r, at(1.0).r);
}

TEST(GateWeave, LeavesAShortAlphaPlaneAlone) {
    const Size size{12, 7};
    Channels c = pictures(size);
    Plane shortAlpha(83, 0.25f);
    applyGateWeave(c.r, c.g, c.b, size.w, size.h, 1.0, 3.0, 1.0, 1.0, &shortAlpha);
    EXPECT_EQ(shortAlpha, Plane(83, 0.25f));
    Channels without = pictures(size);
    applyGateWeave(without.r, without.g, without.b, size.w, size.h, 1.0, 3.0, 1.0, 1.0, nullptr);
    EXPECT_TRUE(equalPlanes(without.r, c.r)) << "alpha does not change the colours";
}

TEST(Warp, ReturnsTheImageWithoutMotion) {
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{1, 6}, Size{6, 1}, Size{31, 17}, Size{150, 9}}) {
            expectEqual(pictures(size), warped(pictures(size), size, {}), nameOf(size, {}));
        }
    }
}

TEST(Warp, MovesByWholePixelsExactlyAndRepeatsTheEdge) {
    const Size size{70, 11};
    const Channels in = pictures(size);
    for (const int sign : {1, -1}) {
        const Channels out = warped(in, size, {.dx = 3.0 * sign, .dy = -2.0 * sign});
        for (int y = 0; y < size.h; ++y) {
            for (int x = 0; x < size.w; ++x) {
                const int from =
                    std::clamp(y + 2 * sign, 0, size.h - 1) * size.w + std::clamp(x - 3 * sign, 0, size.w - 1);
                ASSERT_EQ(out.r[static_cast<std::size_t>(y * size.w + x)], in.r[static_cast<std::size_t>(from)])
                    << x << ", " << y << ", sign " << sign;
            }
        }
    }
}

TEST(Warp, IsItsLiteralFormForAllSizesAndMotions) {
    const Motion motions[] = {
        {.dx = 0.37, .dy = -0.61, .angle = 4e-4},
        {.dx = -1.15, .dy = 0.94, .angle = -6e-4, .scaleX = 0.5, .scaleY = 1.0},
        {.dx = 0.5, .dy = 0.5, .angle = 0.01, .scaleX = 2.0, .scaleY = 0.25},
        {.dx = 12.3, .dy = -40.9, .angle = 0.5},
        {.dx = 0.1, .dy = 0.2, .angle = 1.6},
        {.dx = 0.1, .dy = 0.2, .angle = -3.0, .scaleX = 0.25, .scaleY = 2.0},
        {.dx = -5000.5, .dy = 90000.25},
    };
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size :
             {Size{1, 1}, Size{1, 9}, Size{9, 1}, Size{2, 2}, Size{7, 5}, Size{64, 3}, Size{65, 4}, Size{131, 23}}) {
            const Channels in = pictures(size);
            for (const Motion& m : motions) {
                expectClose(literallyWarped(in, size, m), warped(in, size, m), 500.0,
                            std::string(rowLevelName(level)) + ' ' + nameOf(size, m));
            }
        }
    }
}

TEST(Warp, DiffersFromItsLiteralFormInNoMoreThanOneFloatOf100000) {
    const Size size{261, 121};
    const Motion m = {.dx = 0.37, .dy = -0.61, .angle = 4e-4};
    const Channels in = pictures(size, soft);
    const Channels expected = literallyWarped(in, size, m);
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        const Channels got = warped(in, size, m);
        std::size_t differ = 0;
        for (std::size_t i = 0; i < in.r.size(); ++i) {
            for (const auto plane : {&Channels::r, &Channels::g, &Channels::b}) {
                const std::int64_t apart = ulpsApart((expected.*plane)[i], (got.*plane)[i]);
                EXPECT_LE(apart, 1) << rowLevelName(level) << " sample " << i;
                differ += apart != 0;
            }
        }
        EXPECT_LE(differ, 3 * in.r.size() / 100000) << rowLevelName(level);
    }
}

TEST(Warp, IsItsLiteralFormBesideWholePixels) {
    // Positions a hair off the samples: where a weight's distance nearly vanishes, and where rounding makes a
    // fraction 1.
    const Size size{23, 9};
    const Channels in = pictures(size);
    for (const double hair : {1e-3, 1e-6, 2e-7, 0.9e-7, 1e-8, 1e-12, 1e-15, 1e-17, 1e-160, 5e-324}) {
        for (const double sign : {1.0, -1.0}) {
            for (const double whole : {0.0, 1.0, -2.0}) {
                const Motion m = {.dx = whole + sign * hair, .dy = -sign * hair};
                expectClose(literallyWarped(in, size, m), warped(in, size, m), 500.0, "hair " + std::to_string(hair));
            }
        }
    }
}

TEST(Warp, SpreadsNonFiniteSamplesNoFurtherThanItsTaps) {
    const Size size{70, 19};
    const Channels in = pictures(size, brokenScene);
    const Motion m = {.dx = 0.37, .dy = -0.61, .angle = 4e-4};
    expectClose(literallyWarped(in, size, m), warped(in, size, m), 500.0, "broken scene");
}

TEST(Warp, KeepsThePixelThatHasNoSource) {
    const Size size{11, 6};
    const Channels in = pictures(size);
    for (const Motion& m : {Motion{.dx = 1e12}, Motion{.dx = -1e12}, Motion{.dy = 1e300}}) {
        expectEqual(in, warped(in, size, m), nameOf(size, m));
    }
    for (const Motion& m :
         {Motion{.dx = INF}, Motion{.dy = -INF}, Motion{.dx = 1e12, .angle = 0.1}, Motion{.dx = 0x1p30}}) {
        expectEqual(literallyWarped(in, size, m), warped(in, size, m), nameOf(size, m));
    }
    const Channels lost = warped(in, size, {.angle = NOT_A_NUMBER});
    EXPECT_TRUE(std::isnan(lost.r[0]));
    EXPECT_EQ(lost.a, Plane(lost.a.size(), 0.f));
}

TEST(Warp, KeepsAlphaBetweenZeroAndOne) {
    const Size size{40, 20};
    Channels in = pictures(size);
    for (std::size_t i = 0; i < in.a.size(); ++i)
        in.a[i] = (i / 5 + i / 160) % 2 ? 1.f : 0.f;
    const Motion m = {.dx = 0.5, .dy = 0.5};
    Channels colours = in;
    colours.r = in.a;
    const Channels out = warped(colours, size, m);
    EXPECT_LT(*std::min_element(out.r.begin(), out.r.end()), 0.f) << "colours overshoot";
    EXPECT_GT(*std::max_element(out.r.begin(), out.r.end()), 1.f);
    for (std::size_t i = 0; i < out.a.size(); ++i)
        EXPECT_EQ(out.a[i], std::clamp(out.r[i], 0.f, 1.f)) << i;
}

TEST(Warp, MakesNonFiniteAlphaZeroOrOne) {
    const Size size{13, 13};
    const Motion m = {.dx = 0.25, .dy = 0.25};
    for (const double bad : {INF, -INF, NOT_A_NUMBER}) {
        Channels in = pictures(size);
        in.a[6 * 13 + 6] = static_cast<float>(bad);
        in.r = in.a;
        const Channels out = warped(in, size, m);
        for (std::size_t i = 0; i < out.a.size(); ++i) {
            if (std::isfinite(out.r[i])) continue;
            EXPECT_EQ(out.a[i], out.r[i] > 0.f ? 1.f : 0.f) << i;
        }
        expectClose(literallyWarped(in, size, m), out, 500.0, "alpha " + std::to_string(bad));
    }
}

// The centre of gravity of a plane, from its centre.
struct Point {
    double x;
    double y;
};

Point gravity(const Plane& plane, Size size) {
    double sum = 0.0, x = 0.0, y = 0.0;
    for (int row = 0; row < size.h; ++row) {
        for (int column = 0; column < size.w; ++column) {
            const double v = plane[static_cast<std::size_t>(row * size.w + column)];
            sum += v;
            x += v * (column - (size.w - 1) * 0.5);
            y += v * (row - (size.h - 1) * 0.5);
        }
    }
    return {x / sum, y / sum};
}

// A round spot at (x, y) pixels from the centre.
Plane spot(Size size, double x, double y) {
    Plane plane(static_cast<std::size_t>(size.w) * static_cast<std::size_t>(size.h));
    for (int row = 0; row < size.h; ++row) {
        for (int column = 0; column < size.w; ++column) {
            const double dx = column - (size.w - 1) * 0.5 - x;
            const double dy = row - (size.h - 1) * 0.5 - y;
            plane[static_cast<std::size_t>(row * size.w + column)] =
                static_cast<float>(std::exp(-(dx * dx + dy * dy) / 18.0));
        }
    }
    return plane;
}

TEST(Warp, TurnsTheFilmNotThePixels) {
    // Twice as many pixels across as down per unit of film: a spot turns on a circle of film, an ellipse of pixels.
    const Size size{161, 101};
    const double scaleX = 2.0, scaleY = 1.0, angle = 0.2;
    Channels in;
    in.r = in.g = in.b = in.a = spot(size, 40.0, 0.0);
    const Point at = gravity(warped(in, size, {.angle = angle, .scaleX = scaleX, .scaleY = scaleY}).r, size);
    EXPECT_NEAR(at.x / scaleX, 20.0 * std::cos(angle), 0.02);
    EXPECT_NEAR(at.y / scaleY, 20.0 * std::sin(angle), 0.02);
}

TEST(Warp, ShiftsToTheRightAndDown) {
    const Size size{81, 61};
    Channels in;
    in.r = in.g = in.b = in.a = spot(size, 0.0, 0.0);
    const Point at = gravity(warped(in, size, {.dx = 4.25, .dy = 2.5}).r, size);
    EXPECT_NEAR(at.x, 4.25, 0.03); // six taps do not quite keep the centre of gravity at a quarter pixel
    EXPECT_NEAR(at.y, 2.5, 1e-6);
}

TEST(Warp, KeepsAUniformPlane) {
    const Size size{75, 13};
    Channels in;
    in.r = in.g = in.b = in.a = Plane(75 * 13, 0.18f);
    expectClose(in, warped(in, size, {.dx = 0.3, .dy = 0.7, .angle = 0.02}), 0.18, "uniform");
}

TEST(Warp, IsTheSameForAnyNumberOfThreadsOnEveryFusedLevel) {
    const Size size{203, 29};
    const Channels in = pictures(size);
    for (const Motion& m : {Motion{.dx = 0.37, .dy = -0.61, .angle = 4e-4}, Motion{.dx = 3.1, .angle = 0.3}}) {
        Channels expected;
        for (const RowLevel level : supportedLevels()) {
            if (!rowLevelIsFused(level)) continue;
            const WithLevel use(level);
            for (const unsigned threads : {1u, 2u, 3u, 8u}) {
                const WithThreads pool(threads);
                const Channels out = warped(in, size, m);
                if (expected.r.empty()) expected = out;
                expectEqual(expected, out, std::string(rowLevelName(level)) + " threads " + std::to_string(threads));
            }
        }
    }
}

TEST(Warp, BlendsAPixelAlikeWhereverItsRunStarts) {
    const WeaveRow row = {80.0, 40.0, 0.37, std::cos(4e-4), std::sin(4e-4), 0.011, -12.3};
    std::vector<double> samples[WEAVE_TAPS];
    Numbers numbers(3);
    for (std::vector<double>& line : samples) {
        for (int i = 0; i < WeaveTaps::CAPACITY + WEAVE_TAPS; ++i)
            line.push_back(numbers.next());
    }
    const double* at[WEAVE_TAPS];
    for (const RowLevel level : supportedLevels()) {
        const WeaveRows& rows = rowKernelsOf(level)->weave;
        WeaveTaps taps;
        ASSERT_TRUE(rows.place(row, 5, WeaveTaps::CAPACITY, taps)) << rowLevelName(level);
        float whole[WeaveTaps::CAPACITY];
        for (int j = 0; j < WEAVE_TAPS; ++j)
            at[j] = samples[j].data();
        rows.blend(taps, 0, WeaveTaps::CAPACITY, at, whole);
        for (std::size_t first = 0; first < WeaveTaps::CAPACITY; ++first) {
            float one = 0.f;
            for (int j = 0; j < WEAVE_TAPS; ++j)
                at[j] = samples[j].data() + first;
            rows.blend(taps, first, 1, at, &one);
            EXPECT_TRUE(sameBits(whole[first], one)) << rowLevelName(level) << " pixel " << first;
            WeaveTaps alone;
            rows.place(row, 5 + static_cast<int>(first), 1, alone);
            EXPECT_EQ(taps.column[first], alone.column[0]);
            EXPECT_EQ(taps.columnWeight[2][first], alone.columnWeight[2][0]);
            EXPECT_EQ(taps.rowWeight[4][first], alone.rowWeight[4][0]);
            EXPECT_EQ(taps.scale[first], alone.scale[0]);
        }
    }
}

TEST(Lanczos3, IsAWindowedSinc) {
    EXPECT_EQ(lanczos3(0.0), 1.0);
    EXPECT_EQ(lanczos3(9e-8), 1.0);
    EXPECT_NEAR(lanczos3(1.1e-7), 1.0, 1e-13);
    EXPECT_NEAR(lanczos3(0.5), 2.0 / std::numbers::pi * (3.0 / std::numbers::pi), 1e-15); // sinc(1/2) sinc(1/6)
    EXPECT_NEAR(lanczos3(1.0), 0.0, 1e-16);
    EXPECT_NEAR(lanczos3(2.0), 0.0, 1e-16);
    EXPECT_LT(lanczos3(1.5), 0.0);
    EXPECT_GT(lanczos3(2.5), 0.0);
    for (const double d : {3.0, 3.5, 1e9, INF})
        EXPECT_EQ(lanczos3(d), 0.0) << d;
    for (double d = 0.0; d < 3.2; d += 0.07) {
        EXPECT_EQ(lanczos3(d), lanczos3(-d)) << d;
        EXPECT_NEAR(lanczos3(d), reference::lanczos3(d), 1e-16) << d;
    }
    EXPECT_TRUE(std::isnan(lanczos3(NOT_A_NUMBER)));
}

} // namespace
} // namespace velloid
