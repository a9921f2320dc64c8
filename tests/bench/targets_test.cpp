#include "bench/targets.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarnwell::bench {
namespace {

using velloid::RowLevel;

TEST(Targets, DependOnTheInstructionSet) {
    const auto avx2 = targetOf("T1", RowLevel::Avx2);
    const auto avx512 = targetOf("T1", RowLevel::Avx512);
    ASSERT_TRUE(avx2 && avx512);
    EXPECT_DOUBLE_EQ(avx2->limits.floor, 5.0);
    EXPECT_DOUBLE_EQ(avx2->limits.goal, 7.3);
    EXPECT_DOUBLE_EQ(avx512->limits.goal, 12.5);
    EXPECT_FALSE(targetOf("T1", RowLevel::Baseline));
    EXPECT_TRUE(targetOf("T12", RowLevel::Baseline));
    EXPECT_FALSE(targetOf("T12", RowLevel::Avx2));
}

TEST(Targets, AreFoundByTheirWholeId) {
    EXPECT_TRUE(targetOf("T8.ffmpeg", RowLevel::Avx2));
    EXPECT_FALSE(targetOf("T8", RowLevel::Avx2));
    EXPECT_FALSE(targetOf("", RowLevel::Avx2));
}

TEST(Targets, GoalsLieBeyondFloors) {
    for (const char* id : {"T1",
                           "T2",
                           "T3",
                           "T4",
                           "T5",
                           "T6",
                           "T7",
                           "T8.ocio",
                           "T8.ffmpeg",
                           "T9",
                           "T10.literal",
                           "T10.randn",
                           "T11.literal",
                           "T11.lanczos4",
                           "T12",
                           "T13",
                           "T14",
                           "T15.default.share",
                           "T15.default.ulps",
                           "T15.all.share",
                           "T15.all.ulps",
                           "T16",
                           "T17"}) {
        bool known = false;
        for (const RowLevel level : {RowLevel::Baseline, RowLevel::Avx2, RowLevel::Avx512}) {
            const auto target = targetOf(id, level);
            if (!target) continue;
            known = true;
            EXPECT_EQ(judge(*target, target->limits.goal), Verdict::Goal) << id;
            EXPECT_NE(judge(*target, target->limits.floor), Verdict::Missed) << id;
        }
        EXPECT_TRUE(known) << id;
    }
}

TEST(Targets, AreJudgedInTheirOwnDirection) {
    const Target fast{Sense::AtLeast, {5, 7}};
    EXPECT_EQ(judge(fast, 7), Verdict::Goal);
    EXPECT_EQ(judge(fast, 6.99), Verdict::FloorOnly);
    EXPECT_EQ(judge(fast, 4.99), Verdict::Missed);
    const Target small{Sense::AtMost, {10, 6}};
    EXPECT_EQ(judge(small, 6), Verdict::Goal);
    EXPECT_EQ(judge(small, 9), Verdict::FloorOnly);
    EXPECT_EQ(judge(small, 10.1), Verdict::Missed);
    EXPECT_EQ(judge(small, std::numeric_limits<double>::quiet_NaN()), Verdict::Missed);
}

} // namespace
} // namespace tarnwell::bench
