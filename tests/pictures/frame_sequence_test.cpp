// Lists of frames and numbered files.
#include "pictures/frame_sequence.h"

#include "pictures/picture_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FrameSequence, ReadsListsOfFrames) {
    EXPECT_THAT(parseFrames("7"), ElementsAre(7));
    EXPECT_THAT(parseFrames("1-5"), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(parseFrames("1-9x3"), ElementsAre(1, 4, 7));
    EXPECT_THAT(parseFrames("1-6y3"), ElementsAre(2, 3, 5, 6));
    EXPECT_THAT(parseFrames("3-1"), ElementsAre(3, 2, 1));
    EXPECT_THAT(parseFrames("-2-1"), ElementsAre(-2, -1, 0, 1));
    EXPECT_THAT(parseFrames("-3--2"), ElementsAre(-3, -2));
    EXPECT_THAT(parseFrames("1,8,3-4"), ElementsAre(1, 8, 3, 4));
    EXPECT_THAT(parseFrames("1-3,2-4"), ElementsAre(1, 2, 3, 4));
}

TEST(FrameSequence, RefusesWhatIsNoList) {
    for (const char* text : {"", "a", "1-", "-", "1--", "1,,2", "1-3x", "1-3x0", "1-3z2", "1.5", " 1", "1-2-3",
                             "99999999999", "1-999999999"})
        EXPECT_THROW(parseFrames(text), PictureError) << "\"" << text << "\"";
}

TEST(FrameSequence, FillsTheNumberIn) {
    EXPECT_EQ(FramePattern("a/in.####.exr").pathOf(7), "a/in.0007.exr");
    EXPECT_EQ(FramePattern("in.#.exr").pathOf(7), "in.0007.exr");
    EXPECT_EQ(FramePattern("in.@@@.exr").pathOf(7), "in.007.exr");
    EXPECT_EQ(FramePattern("in.%05d.exr").pathOf(7), "in.00007.exr");
    EXPECT_EQ(FramePattern("in.%d.exr").pathOf(7), "in.7.exr");
    EXPECT_EQ(FramePattern("in.%04d.exr").pathOf(-3), "in.-003.exr");
    EXPECT_EQ(FramePattern("in.##.exr").pathOf(12345), "in.12345.exr");
    EXPECT_EQ(FramePattern("in.####.exr", 6).pathOf(7), "in.000007.exr");
}

TEST(FrameSequence, TellsAPatternFromAName) {
    EXPECT_TRUE(FramePattern::isPattern("in.####.exr"));
    EXPECT_TRUE(FramePattern::isPattern("in.%04d.exr"));
    EXPECT_FALSE(FramePattern::isPattern("in.0001.exr"));
    EXPECT_FALSE(FramePattern::isPattern("folder##/in.exr"));
    EXPECT_THROW(FramePattern("in.exr"), PictureError);
    EXPECT_THROW(FramePattern("##.##.exr"), PictureError);
}

TEST(FrameSequence, FindsOnlyFilesThatThePatternWouldName) {
    const auto folder = std::filesystem::path(testing::TempDir()) / "frame_sequence_test";
    std::filesystem::create_directories(folder);
    for (const char* name : {"in.0007.exr", "in.-003.exr", "in.12345.exr", "in.7.exr", "in.0008.exr.old",
                             "xin.0009.exr", "in.00a1.exr", "in..exr"})
        std::ofstream(folder / name);
    EXPECT_THAT(FramePattern((folder / "in.%04d.exr").string()).existingFrames(), ElementsAre(-3, 7, 12345));
    EXPECT_THAT(FramePattern((folder / "out.%04d.exr").string()).existingFrames(), IsEmpty());
    EXPECT_THAT(FramePattern((folder / "none" / "in.####.exr").string()).existingFrames(), IsEmpty());
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace tarnwell
