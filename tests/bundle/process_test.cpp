// The plug-in in the life of its host's process: locks of the host, exit, fork, and a library that is closed.
#include "tests/bundle/child.h"
#include "tests/bundle/sanitizers.h"
#include "tests/bundle/table_file.h"

#include <gtest/gtest.h>

using namespace velloid::test;

TEST(HostLocks, AStringMayWaitForAnotherInstancesString) {
    EXPECT_TRUE(scenarioEnds({"linked-strings"}));
}

TEST(HostLocks, AStringMayAskThePluginAboutAnotherInstance) {
    EXPECT_TRUE(scenarioEnds({"nested-strings"}));
}

TEST(HostLocks, AHostWithOneBigLockDoesNotHang) {
    EXPECT_TRUE(scenarioEnds({"one-big-lock"}));
}

// What is destroyed too early shows only when a frame is at the wrong place just then.
TEST(Exit, DuringRendersEndsAsTheHostWanted) {
    const TableFile table("exit.cube", 0.5);
    for (int run = 0; run < 15; ++run)
        ASSERT_TRUE(scenarioEnds({"exit-during-renders", table.path()}, 7)) << "run " << run;
}

TEST(Fork, TheChildRendersUnloadsAndEnds) {
    if (THREAD_SANITIZER) GTEST_SKIP() << "thread sanitizer ends a child of a threaded process";
    EXPECT_TRUE(scenarioEnds({"fork-after-a-render"}));
}

TEST(Fork, TheChildRendersWhateverOtherThreadsWereDoing) {
    if (THREAD_SANITIZER) GTEST_SKIP() << "thread sanitizer ends a child of a threaded process";
    EXPECT_TRUE(scenarioEnds({"fork-during-renders"}));
}

TEST(Close, WithoutUnloadHarmsNobody) {
    EXPECT_TRUE(scenarioEnds({"close-without-unload"}));
}
