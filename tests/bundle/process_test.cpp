// The plug-in in the life of its host's process: locks of the host, exit, fork, and a library that is closed.
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/child.h"
#include "tests/bundle/sanitizers.h"
#include "tests/bundle/table_file.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

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
    for (int run = 0; run < 15; ++run) {
        ASSERT_TRUE(scenarioEnds({"exit-during-renders", "late", table.path()}, 7)) << "run " << run;
        ASSERT_TRUE(scenarioEnds({"exit-during-renders", "early", table.path()}, 7)) << "run " << run;
    }
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

// The 200 cycles that count every block are in shortage_test.cpp; these run under the sanitizers too.
TEST(Close, AfterUnloadLeavesNoThreadAndNoCode) {
    const int threads = liveThreads();
    std::uint64_t expected = 0;
    for (int cycle = 0; cycle < 10; ++cycle) {
        {
            Host host;
            host.start();
            std::array<std::uint64_t, 3> hashes{};
            std::vector<std::thread> renders;
            for (std::uint64_t& hash : hashes) {
                renders.emplace_back([&] {
                    Instance instance(host);
                    hash = instance.everything().frame(streetOf({40, 24})).hash();
                });
            }
            for (std::thread& render : renders)
                render.join();
            if (cycle == 0) expected = hashes[0];
            for (const std::uint64_t hash : hashes)
                EXPECT_EQ(hash, expected) << "cycle " << cycle;
            EXPECT_GT(liveThreads(), threads) << "the workers wait for the next frame";
            EXPECT_EQ(host.unload(), kOfxStatOK);
        }
        ASSERT_FALSE(libraryIsMapped()) << "cycle " << cycle;
        ASSERT_TRUE(threadsSettleAt(threads)) << "cycle " << cycle;
    }
}

TEST(Unload, LeavesAPluginThatRendersOnItsCallers) {
    const int threads = liveThreads();
    Host host;
    host.start();
    Instance instance(host);
    const std::uint64_t expected = instance.everything().frame(streetOf({40, 24})).hash();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(host.unload(), kOfxStatOK);
        EXPECT_EQ(instance.frame(streetOf({40, 24})).hash(), expected);
        EXPECT_TRUE(threadsSettleAt(threads)) << "no worker is started again";
        EXPECT_EQ(host.load(), kOfxStatOK);
        EXPECT_EQ(instance.frame(streetOf({40, 24})).hash(), expected);
    }
}
