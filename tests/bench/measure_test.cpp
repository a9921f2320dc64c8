// The discipline of the measurements, on a clock that the test turns itself.
#include "bench/measure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace tarnwell::bench {
namespace {

using testing::DoubleEq;
using testing::ElementsAre;

// A clock that stands still until somebody works.
struct HandClock {
    double now = 100.0;
    Clock read() {
        return [this] { return now; };
    }
    Side side(const std::string& letter, std::vector<double> costs, std::string& diary) {
        return {[this, letter, costs, &diary, turn = std::size_t{0}]() mutable {
                    diary += letter;
                    now += costs.at(turn++);
                },
                {}};
    }
};

TEST(Rounds, SidesTakeTurnsAfterOneWarmUpEach) {
    HandClock clock;
    std::string diary;
    const Rounds rounds =
        timeRounds(clock.side("A", {50, 1, 2, 3}, diary), clock.side("B", {70, 4, 5, 6}, diary), {3, clock.read()});
    EXPECT_EQ(diary, "ABABABAB");
    EXPECT_THAT(rounds.ours, ElementsAre(DoubleEq(1), DoubleEq(2), DoubleEq(3)));
    EXPECT_THAT(rounds.other, ElementsAre(DoubleEq(4), DoubleEq(5), DoubleEq(6)));
}

TEST(Rounds, PreparationIsUnseen) {
    HandClock clock;
    std::string diary;
    Side ours = clock.side("A", {1, 1, 1}, diary);
    ours.prepare = [&] {
        diary += "p";
        clock.now += 1000;
    };
    const Rounds rounds = timeRounds(ours, clock.side("B", {1, 1, 1}, diary), {2, clock.read()});
    EXPECT_EQ(diary, "pABpABpAB");
    EXPECT_THAT(rounds.ours, ElementsAre(DoubleEq(1), DoubleEq(1)));
}

TEST(Median, IsTheMiddleOrTheMeanOfTheMiddleTwo) {
    EXPECT_DOUBLE_EQ(median({3}), 3);
    EXPECT_DOUBLE_EQ(median({9, 1, 2}), 2);
    EXPECT_DOUBLE_EQ(median({9, 1, 2, 4}), 3);
    EXPECT_THROW(median({}), std::invalid_argument);
}

TEST(Summary, RatiosComeFromPairsAndNotFromMedians) {
    // The machine was slow in the last round, for both sides: the ratio does not mind.
    const Summary s = summarise({{1, 2, 10}, {4, 6, 30}}, 1, 1);
    EXPECT_EQ(s.rounds, 3);
    EXPECT_DOUBLE_EQ(s.ours, 2);
    EXPECT_DOUBLE_EQ(s.other, 6);
    EXPECT_DOUBLE_EQ(s.ratioMin, 3);
    EXPECT_DOUBLE_EQ(s.ratioMedian, 3);
    const Summary noisy = summarise({{1, 1, 1}, {5, 2, 9}}, 1, 1);
    EXPECT_DOUBLE_EQ(noisy.ratioMin, 2);
    EXPECT_DOUBLE_EQ(noisy.ratioMedian, 5);
}

TEST(Summary, SidesOfDifferentSizeAreComparedPerUnit) {
    const Summary s = summarise({{2}, {12}}, 4, 8);
    EXPECT_DOUBLE_EQ(s.ours, 0.5);
    EXPECT_DOUBLE_EQ(s.other, 1.5);
    EXPECT_DOUBLE_EQ(s.ratioMedian, 3);
}

TEST(Summary, RefusesRoundsThatAreNoPairs) {
    EXPECT_THROW(summarise({}, 1, 1), std::invalid_argument);
    EXPECT_THROW(summarise({{1, 2}, {1}}, 1, 1), std::invalid_argument);
}

TEST(Scaling, OnlyRoundsOnTwoWholeProcessorsCount) {
    const auto kept = calibratedRounds({{1, 1, 1.89}, {2, 1, 1.9}, {3, 1, 0.0}, {4, 1, 1.99}});
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_DOUBLE_EQ(kept[0].oneThread, 2);
    EXPECT_DOUBLE_EQ(kept[1].oneThread, 4);
}

} // namespace
} // namespace tarnwell::bench
