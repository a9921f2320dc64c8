#include "process/scratch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <thread>
#include <vector>

namespace velloid {
namespace {

class ScratchBlocks : public testing::Test {
protected:
    void SetUp() override { purgeScratch(); }
    void TearDown() override { purgeScratch(); }
};

TEST_F(ScratchBlocks, AreKeptForTheNextOfTheirSize) {
    const float* first = nullptr;
    {
        const Scratch block(100000);
        first = block.data();
        EXPECT_GE(scratchUse().lent, 400000u);
        EXPECT_EQ(scratchUse().kept, 0u);
    }
    EXPECT_EQ(scratchUse().lent, 0u);
    EXPECT_GE(scratchUse().kept, 400000u);
    const Scratch next(99000); // a row less
    EXPECT_EQ(next.data(), first);
    EXPECT_EQ(scratchUse().kept, 0u);
}

TEST_F(ScratchBlocks, AreHandedBackByAPurge) {
    { const Scratch block(100000); }
    EXPECT_GT(scratchUse().kept, 0u);
    purgeScratch();
    EXPECT_EQ(scratchUse().kept, 0u);
}

TEST_F(ScratchBlocks, ThatAreInUseSurviveAPurge) {
    Scratch block(1000);
    block.data()[999] = 3.0f;
    purgeScratch();
    EXPECT_EQ(block.data()[999], 3.0f);
}

TEST_F(ScratchBlocks, AreNotKeptWithoutBound) {
    constexpr std::size_t FLOATS = 64u << 20; // 256 MiB each
    {
        const Scratch a(FLOATS);
        const Scratch b(FLOATS);
        const Scratch c(FLOATS);
        const Scratch d(FLOATS);
        const Scratch e(FLOATS);
    }
    EXPECT_LE(scratchUse().kept, std::size_t{1} << 30);
}

TEST_F(ScratchBlocks, OfLargeFramesMakeRoomForThoseOfSmallOnes) {
    {
        std::vector<Scratch> large;
        for (int i = 0; i < 8; ++i)
            large.emplace_back(std::size_t{40} << 20); // 160 MiB each, never touched
    }
    const float* first = nullptr;
    {
        const Scratch small(8000000);
        first = small.data();
    }
    EXPECT_LE(scratchUse().kept, std::size_t{1} << 30);
    EXPECT_EQ(Scratch(8000000).data(), first);
}

TEST_F(ScratchBlocks, StartOnACacheLine) {
    for (const std::size_t floats : {1u, 3u, 1024u, 5000u, 1u << 20}) {
        const Scratch block(floats);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.data()) % 64, 0u) << floats;
    }
}

TEST_F(ScratchBlocks, OfNoSamplesCostNothing) {
    const Scratch none(0);
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(scratchUse().lent, 0u);
}

TEST_F(ScratchBlocks, OfAbsurdSizeAreRefusedAndNotCounted) {
    EXPECT_THROW(Scratch{std::numeric_limits<std::size_t>::max()}, std::bad_alloc);
    EXPECT_THROW(Scratch{std::size_t{1} << 58}, std::bad_alloc);
    EXPECT_EQ(scratchUse().lent, 0u);
}

TEST_F(ScratchBlocks, RememberTheirPeak) {
    resetScratchPeak();
    { const Scratch block(50000); }
    const Scratch smaller(5000);
    EXPECT_GE(scratchUse().peak, 200000u);
    EXPECT_LT(scratchUse().lent, 200000u);
    resetScratchPeak();
    EXPECT_EQ(scratchUse().peak, scratchUse().lent);
}

TEST_F(ScratchBlocks, MayBeTakenAndPurgedByManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                Scratch block(static_cast<std::size_t>(1000 + 137 * (i % 9)));
                block.data()[0] = static_cast<float>(t);
                block.data()[block.size() - 1] = static_cast<float>(t);
                EXPECT_EQ(block.data()[0], static_cast<float>(t));
                if (i % 50 == t) purgeScratch();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(scratchUse().lent, 0u);
}

} // namespace
} // namespace velloid
