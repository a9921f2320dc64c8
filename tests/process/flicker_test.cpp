#include "process/flicker.h"

#include "tests/process/planes.h"
#include "tests/reference/temporal_reference.h"

#include <algorithm>
#include <climits>

namespace velloid {
namespace {

using namespace velloid::test;

struct Channels {
    Plane r, g, b;
};

Channels pictures(Size size, Plane (*make)(Size, std::uint32_t) = scene) {
    return {make(size, 1), make(size, 2), make(size, 3)};
}

Channels flickered(Channels c, Size size, double amount, double frame) {
    applyFlicker(c.r, c.g, c.b, size.w, size.h, amount, frame);
    return c;
}

void expectEqual(const Channels& expected, const Channels& got, double frame) {
    EXPECT_TRUE(equalPlanes(expected.r, got.r)) << "frame " << frame << " red";
    EXPECT_TRUE(equalPlanes(expected.g, got.g)) << "frame " << frame << " green";
    EXPECT_TRUE(equalPlanes(expected.b, got.b)) << "frame " << frame << " blue";
}

// Computed with a second implementation, in Python.
struct Gain {
    int frame;
    double amount;
    int channel;
    double gain;
};

const Gain GAINS[] = {
    {0, 1.0, 0, 1.0358231828584183},        {48, 1.0, 1, 1.0049657135585375}, {96, 1.0, 2, 1.0155189688395838},
    {17, 0.5, 1, 1.0146830876259958},       {-5, 1.0, 2, 1.0432424966838396}, {INT_MAX, 1.0, 0, 1.0251530002084162},
    {INT_MIN, 1.0, 1, 0.96503911808392173},
};

TEST(Flicker, AgreesWithASecondImplementation) {
    for (const Gain& row : GAINS) {
        EXPECT_NEAR(flickerGain(row.frame, row.amount, row.channel), row.gain, 1e-15)
            << "frame " << row.frame << " channel " << row.channel;
    }
}

TEST(Flicker, HasNoGainWithoutAmount) {
    for (const int frame : {INT_MIN, -48, -1, 0, 1, 7, 48, 1000, INT_MAX}) {
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_EQ(flickerGain(frame, 0.0, channel), 1.0) << frame;
    }
}

TEST(Flicker, StaysWithinEightPercentAndMovesGently) {
    // The steepest smoothstep climbs 1.5 * 2 per period, so that a frame changes the gain by no more than this:
    const double step = 0.08 * 3.0 * (0.7 / 48.0 + 0.3 / 9.6);
    for (int channel = 0; channel < 3; ++channel) {
        double before = flickerGain(-3001, 1.0, channel);
        for (int frame = -3000; frame <= 3000; ++frame) {
            const double gain = flickerGain(frame, 1.0, channel);
            EXPECT_GE(gain, 0.92) << frame;
            EXPECT_LE(gain, 1.08) << frame;
            EXPECT_LE(std::fabs(gain - before), step) << frame;
            before = gain;
        }
    }
}

TEST(Flicker, ReallyMoves) {
    double least = 1.0, most = 1.0;
    for (int frame = 0; frame < 2000; ++frame) {
        least = std::min(least, flickerGain(frame, 1.0, 0));
        most = std::max(most, flickerGain(frame, 1.0, 0));
    }
    EXPECT_LT(least, 0.97);
    EXPECT_GT(most, 1.03);
}

TEST(Flicker, RestsOnItsLatticeEvery48Frames) {
    // At a lattice point of the slow noise its smoothstep is flat: what is left of a frame's change is the fast part.
    const double fastStep = 0.08 * 3.0 * 0.3 / 9.6;
    const double slowRemainder = 0.08 * 0.7 * 2.0 * 3.0 / (48.0 * 48.0);
    for (const int frame : {0, 48, 96, -48, 4800}) {
        EXPECT_LE(std::fabs(flickerGain(frame + 1, 1.0, 0) - flickerGain(frame, 1.0, 0)), fastStep + slowRemainder);
        EXPECT_LE(std::fabs(flickerGain(frame, 1.0, 0) - flickerGain(frame - 1, 1.0, 0)), fastStep + slowRemainder);
    }
}

TEST(Flicker, MovesTheChannelsNearlyTogether) {
    for (int frame = 0; frame < 500; ++frame) {
        const double red = flickerGain(frame, 1.0, 0);
        for (const int channel : {1, 2}) {
            EXPECT_LE(std::fabs(flickerGain(frame, 1.0, channel) - red), 2.0 * 0.15 * 0.08) << frame;
        }
    }
    EXPECT_NE(flickerGain(7, 1.0, 0), flickerGain(7, 1.0, 1));
}

TEST(Flicker, IsItsLiteralForm) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        for (const Size size : {Size{1, 1}, Size{5, 1}, Size{1, 5}, Size{37, 11}}) {
            for (const double frame : {0.0, 0.5, -0.5, 12.4, -77.0, 1e12, -1e12, nan, inf, -inf}) {
                Channels expected = pictures(size, brokenScene);
                reference::applyFlicker(expected.r, expected.g, expected.b, size.w, size.h, 0.6, frame);
                expectEqual(expected, flickered(pictures(size, brokenScene), size, 0.6, frame), frame);
            }
        }
    }
}

TEST(Flicker, LeavesThePlanesAloneWithoutAmount) {
    const Size size{9, 4};
    expectEqual(pictures(size, brokenScene), flickered(pictures(size, brokenScene), size, 0.0, 5.0), 5.0);
    expectEqual(pictures(size, brokenScene), flickered(pictures(size, brokenScene), size, -1.0, 5.0), 5.0);
}

TEST(Flicker, SaturatesTheFrame) {
    const Size size{9, 4};
    expectEqual(flickered(pictures(size), size, 1.0, INT_MAX), flickered(pictures(size), size, 1.0, 1e12), 1e12);
    expectEqual(flickered(pictures(size), size, 1.0, INT_MIN), flickered(pictures(size), size, 1.0, -1e12), -1e12);
}

TEST(Flicker, IsTheSameForAnyNumberOfThreads) {
    const Size size{101, 13};
    const Channels expected = flickered(pictures(size), size, 1.0, 9.0);
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        expectEqual(expected, flickered(pictures(size), size, 1.0, 9.0), threads);
    }
}

} // namespace
} // namespace velloid
