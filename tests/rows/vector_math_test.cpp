// The polynomials of rows/vector_math.inl against long double, over the whole range that each is made for.
#include "rows/level.h"
#include "tests/rows/vector_math_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using tarnwell::test::VectorMathProbe;
using velloid::RowLevel;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

struct Level {
    RowLevel level;
    const VectorMathProbe* probe;
};

const Level LEVELS[] = {
    {RowLevel::Baseline, &tarnwell::test::PROBE_BASELINE},
#ifdef TARNWELL_X86_LEVELS
    {RowLevel::Avx2, &tarnwell::test::PROBE_AVX2},
    {RowLevel::Avx512, &tarnwell::test::PROBE_AVX512},
#endif
};

using RowFunction = void (*VectorMathProbe::*)(const double*, double*, std::size_t);

std::vector<double> run(const VectorMathProbe& probe, RowFunction function, const std::vector<double>& in) {
    std::vector<double> out(in.size());
    (probe.*function)(in.data(), out.data(), in.size());
    return out;
}

// n points from `from` to `to`, spaced irregularly: no point of a table, no multiple of a power of two.
std::vector<double> pointsBetween(double from, double to, int n) {
    std::vector<double> points;
    for (int i = 0; i < n; ++i)
        points.push_back(from + (to - from) * (i + 0.5 + 0.37 * std::sin(12.9898 * i)) / n);
    return points;
}

struct Worst {
    long double error = 0.0L; // in units of the last place of the exact value
    double at = 0.0;
};

template <class Exact>
Worst worstOf(const VectorMathProbe& probe, RowFunction function, const std::vector<double>& in, Exact exact) {
    const std::vector<double> out = run(probe, function, in);
    Worst worst;
    for (std::size_t i = 0; i < in.size(); ++i) {
        const long double wanted = exact(static_cast<long double>(in[i]));
        int exponent = 0;
        std::frexp(static_cast<double>(wanted), &exponent);
        const long double error = std::fabs(out[i] - wanted) / std::ldexp(1.0L, exponent - 53);
        if (!(error <= worst.error)) worst = {error, in[i]};
    }
    return worst;
}

// Calls check(level, probe) for every level that this machine runs.
template <class Check>
void atEveryLevel(Check check) {
    for (const Level& l : LEVELS) {
        if (!velloid::rowLevelSupported(l.level)) continue;
        SCOPED_TRACE(velloid::rowLevelName(l.level));
        check(l.level, *l.probe);
    }
}

// All but [1/2, 2), which has its own test.
std::vector<double> positivesOfEveryExponent() {
    std::vector<double> points;
    for (int e = -1022; e < 1024; ++e)
        for (double m : pointsBetween(1.0, 2.0, 97))
            if (e != -1 && e != 0) points.push_back(std::ldexp(m, e));
    return points;
}

TEST(VectorMath, Exp2IsWithinItsStatedBoundOverTheWholeRange) {
    std::vector<double> in = pointsBetween(-1022.0, 1024.0, 400000);
    const std::vector<double> near = pointsBetween(-2.0, 2.0, 200000);
    in.insert(in.end(), near.begin(), near.end());
    atEveryLevel([&](RowLevel level, const VectorMathProbe& probe) {
        const Worst worst = worstOf(probe, &VectorMathProbe::exp2, in, [](long double x) { return std::exp2(x); });
        RecordProperty("worst", std::to_string(static_cast<double>(worst.error)));
        EXPECT_LE(worst.error, velloid::rowLevelIsFused(level) ? 1.6L : 1.8L) << "ulp at " << worst.at;
    });
}

TEST(VectorMath, Exp2OfAWholeNumberIsExact) {
    std::vector<double> in;
    for (int e = -1022; e < 1024; ++e)
        in.push_back(e);
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const std::vector<double> out = run(probe, &VectorMathProbe::exp2, in);
        for (std::size_t i = 0; i < in.size(); ++i)
            ASSERT_EQ(out[i], std::ldexp(1.0, static_cast<int>(in[i]))) << "2^" << in[i];
    });
}

TEST(VectorMath, Exp2EndsInZeroInfinityAndNaN) {
    const std::vector<double> in = {1024.0, 1e300, INF, -1022.5, -1e300, -INF, NOT_A_NUMBER, 1023.9999999};
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const std::vector<double> out = run(probe, &VectorMathProbe::exp2, in);
        EXPECT_EQ(out[0], INF);
        EXPECT_EQ(out[1], INF);
        EXPECT_EQ(out[2], INF);
        EXPECT_EQ(out[3], 0.0);
        EXPECT_EQ(out[4], 0.0);
        EXPECT_EQ(out[5], 0.0);
        EXPECT_TRUE(std::isnan(out[6])) << out[6];
        EXPECT_NEAR(out[7] / std::exp2(1023.9999999), 1.0, 1e-15);
    });
}

TEST(VectorMath, Log2IsWithinItsStatedBoundAtEveryExponent) {
    const std::vector<double> in = positivesOfEveryExponent();
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const Worst worst = worstOf(probe, &VectorMathProbe::log2, in, [](long double x) { return std::log2(x); });
        RecordProperty("worst", std::to_string(static_cast<double>(worst.error)));
        EXPECT_LE(worst.error, 1.0L) << "ulp at " << worst.at;
    });
}

TEST(VectorMath, Log2KeepsItsRelativeAccuracyNearOne) {
    std::vector<double> in = pointsBetween(0.5, 2.0, 400000);
    for (int e = 1; e < 52; ++e) {
        in.push_back(1.0 + std::ldexp(1.0, -e));
        in.push_back(1.0 - std::ldexp(1.0, -e));
    }
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const Worst worst = worstOf(probe, &VectorMathProbe::log2, in, [](long double x) { return std::log2(x); });
        RecordProperty("worst", std::to_string(static_cast<double>(worst.error)));
        EXPECT_LE(worst.error, 3.7L) << "ulp at " << worst.at;
    });
}

TEST(VectorMath, Log2OfAPowerOfTwoIsExact) {
    std::vector<double> in;
    for (int e = -1022; e < 1024; ++e)
        in.push_back(std::ldexp(1.0, e));
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const std::vector<double> out = run(probe, &VectorMathProbe::log2, in);
        for (int e = -1022; e < 1024; ++e)
            ASSERT_EQ(out[static_cast<std::size_t>(e + 1022)], e);
    });
}

TEST(VectorMath, Log2PassesInfinityAndNaN) {
    const std::vector<double> in = {INF, NOT_A_NUMBER};
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const std::vector<double> out = run(probe, &VectorMathProbe::log2, in);
        EXPECT_EQ(out[0], INF);
        EXPECT_TRUE(std::isnan(out[1])) << out[1];
    });
}

TEST(VectorMath, SineIsWithinItsStatedBoundOverAQuarterTurnBothWays) {
    std::vector<double> in = pointsBetween(-0.25, 0.25, 400000);
    in.insert(in.end(), {-0.25, 0.25, 0.125, 1e-10, 1e-300});
    const long double turn = 2.0L * std::acos(-1.0L);
    atEveryLevel([&](RowLevel level, const VectorMathProbe& probe) {
        const Worst worst =
            worstOf(probe, &VectorMathProbe::sin2Pi, in, [turn](long double w) { return std::sin(turn * w); });
        RecordProperty("worst", std::to_string(static_cast<double>(worst.error)));
        EXPECT_LE(worst.error, velloid::rowLevelIsFused(level) ? 3.4L : 3.7L) << "ulp at " << worst.at;
    });
}

TEST(VectorMath, SineOfZeroIsZeroWithItsSign) {
    atEveryLevel([&](RowLevel, const VectorMathProbe& probe) {
        const std::vector<double> out = run(probe, &VectorMathProbe::sin2Pi, {0.0, -0.0});
        EXPECT_FALSE(std::signbit(out[0]));
        EXPECT_TRUE(std::signbit(out[1]));
    });
}

TEST(VectorMath, EveryFusedLevelGivesTheBitsOfScalarCode) {
    const std::vector<double> exponents = pointsBetween(-1100.0, 1100.0, 20000);
    const std::vector<double> positives = positivesOfEveryExponent();
    const std::vector<double> turns = pointsBetween(-0.25, 0.25, 20000);
    const VectorMathProbe& scalar = tarnwell::test::PROBE_FUSED_SCALAR;
    int compared = 0;
    atEveryLevel([&](RowLevel level, const VectorMathProbe& probe) {
        if (!velloid::rowLevelIsFused(level)) return;
        EXPECT_EQ(run(probe, &VectorMathProbe::exp2, exponents), run(scalar, &VectorMathProbe::exp2, exponents));
        EXPECT_EQ(run(probe, &VectorMathProbe::log2, positives), run(scalar, &VectorMathProbe::log2, positives));
        EXPECT_EQ(run(probe, &VectorMathProbe::sin2Pi, turns), run(scalar, &VectorMathProbe::sin2Pi, turns));
        ++compared;
    });
    if (compared == 0) GTEST_SKIP() << "this processor has no fused multiply-add";
}

} // namespace
