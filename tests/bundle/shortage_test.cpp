// A system that has run short: of memory, at every allocation of a frame in turn; of threads; of stack. And one that
// must not run short because of us: 200 loads and unloads leave nothing behind.
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/interposed.h"
#include "tests/bundle/table_file.h"
#include "tests/golden/golden_frame.h"

#include <gtest/gtest.h>

#include <climits>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <pthread.h>
#include <thread>

using namespace velloid::test;

namespace {

constexpr Size SMALL{40, 24};

struct Shortage {
    const char* name;
    Refusal::Which which;
    Refusal::Where where;
};

std::ostream& operator<<(std::ostream& out, const Shortage& shortage) {
    return out << shortage.name;
}

class MemoryShortage : public testing::TestWithParam<Shortage> {
protected:
    // A frame with every effect and a table, of a library that was loaded just now: nothing is there yet.
    struct Fresh {
        explicit Fresh(const TableFile& table) {
            host.start();
            instance.emplace(host);
            instance->everything().set("outputLutPath", table.path());
        }
        ~Fresh() {
            instance.reset();
            EXPECT_EQ(host.unload(), kOfxStatOK);
        }

        Host host;
        std::optional<Instance> instance;
    };

    // Renders with the n-th allocation refused, then once more with all the memory that there is. False when the frame
    // had fewer.
    bool frameShortOfAllocation(long n, Fresh& fresh, std::uint64_t expected) {
        Picture source = streetOf(SMALL);
        Picture output(SMALL);
        fresh.instance->prepare(source, output, {});
        OfxStatus status = kOfxStatOK;
        bool happened = false;
        {
            const Refusal refusal(n, GetParam().which, GetParam().where);
            status = fresh.instance->render();
            happened = refusal.happened();
        }
        EXPECT_EQ(fresh.host.lentImages, 0) << "allocation " << n;
        EXPECT_EQ(std::uncaught_exceptions(), 0) << "allocation " << n;
        if (status == kOfxStatOK) {
            EXPECT_EQ(output.hash(), expected) << "allocation " << n << ": the frame is wrong and does not say so";
        } else {
            EXPECT_EQ(status, kOfxStatErrMemory) << "allocation " << n;
            EXPECT_TRUE(happened);
        }
        EXPECT_EQ(fresh.instance->frame(streetOf(SMALL)).hash(), expected) << "after allocation " << n;
        return happened;
    }
};

// Threads of `bytes` of stack, while it lives, unless they ask for another size.
class SmallStacks {
public:
    explicit SmallStacks(size_t bytes) {
        pthread_getattr_default_np(&before_);
        pthread_attr_t small;
        pthread_attr_init(&small);
        EXPECT_EQ(pthread_attr_setstacksize(&small, bytes), 0);
        EXPECT_EQ(pthread_setattr_default_np(&small), 0);
        pthread_attr_destroy(&small);
    }
    ~SmallStacks() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    SmallStacks(const SmallStacks&) = delete;
    SmallStacks& operator=(const SmallStacks&) = delete;

private:
    pthread_attr_t before_{};
};

} // namespace

TEST_P(MemoryShortage, AtAnyAllocationOfAFirstFrameEndsThatFrameAlone) {
    const TableFile table("first.cube", 0.5);
    const std::uint64_t expected = Fresh(table).instance->frame(streetOf(SMALL)).hash();
    long n = 1;
    for (bool more = true; more && !HasFailure(); ++n) {
        Fresh fresh(table);
        more = frameShortOfAllocation(n, fresh, expected);
    }
    RecordProperty("allocations", static_cast<int>(n - 2));
    EXPECT_GT(n, 10) << "a frame allocates";
}

TEST_P(MemoryShortage, AtAnyAllocationOfALaterFrameEndsThatFrameAlone) {
    const TableFile table("later.cube", 0.5);
    Fresh fresh(table);
    const std::uint64_t expected = fresh.instance->frame(streetOf(SMALL)).hash();
    long n = 1;
    for (bool more = true; more && !HasFailure(); ++n) {
        if (n % 2) fresh.host.purge(); // with and without what the last frame left
        more = frameShortOfAllocation(n, fresh, expected);
    }
    RecordProperty("allocations", static_cast<int>(n - 2));
}

INSTANTIATE_TEST_SUITE_P(
    Of, MemoryShortage,
    testing::Values(Shortage{"One", Refusal::Which::Only, Refusal::Where::AnyThread},
                    Shortage{"AllFromOneOn", Refusal::Which::AndAllAfter, Refusal::Where::AnyThread},
                    Shortage{"AllOfTheWorkersFromOneOn", Refusal::Which::AndAllAfter, Refusal::Where::OtherThreads}),
    [](const auto& tested) { return tested.param.name; });

TEST(ThreadShortage, EndsTheFrameThatNeededThemAndLeavesNoneBehind) {
    refuseThread(0);
    std::uint64_t expected = 0;
    {
        Host host;
        host.start();
        expected = Instance(host).everything().frame(streetOf(SMALL)).hash();
        EXPECT_EQ(host.unload(), kOfxStatOK);
    }
    const auto [needed, ended] = refuseThread(0);
    ASSERT_GE(needed, 1);
    EXPECT_EQ(ended, needed) << "unload waits for the workers";
    for (long k = 1; k <= needed; ++k) {
        const int before = liveThreads();
        Host host;
        host.start();
        Instance instance(host);
        instance.everything();
        Picture source = streetOf(SMALL);
        Picture output(SMALL);
        instance.prepare(source, output, {});
        refuseThread(k);
        EXPECT_EQ(instance.render(), kOfxStatFailed) << "thread " << k;
        const Threads threads = refuseThread(0);
        EXPECT_EQ(threads.asked, k) << "none is asked for after the one that was refused";
        EXPECT_EQ(threads.joined, k - 1) << "those that started have ended before the frame answers";
        EXPECT_TRUE(threadsSettleAt(before)) << "thread " << k << " was refused, and others run on";
        EXPECT_EQ(host.lentImages, 0);
        EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), expected) << "the next frame has its threads";
        EXPECT_EQ(refuseThread(0).asked, needed);
        EXPECT_EQ(host.unload(), kOfxStatOK);
    }
}

// Half of what musl gives a thread, and a hundredth of what glibc does.
TEST(SmallStack, OfCallerAndWorkersIsEnough) {
    constexpr size_t ENOUGH = size_t{64} << 10;
    ASSERT_GE(ENOUGH, static_cast<size_t>(PTHREAD_STACK_MIN));
    const TableFile table("stack.cube", 0.5);
    std::uint64_t usual = 0;
    std::uint64_t small = 0;
    std::uint64_t alone = 0;
    const auto frame = [&](Host& host) {
        Instance instance(host);
        instance.everything().set("outputLutPath", table.path());
        return instance.frame(streetOf({GOLDEN_WIDTH, GOLDEN_HEIGHT})).hash();
    };
    const auto frames = [&](std::uint64_t& withWorkers, std::uint64_t& onTheCaller) {
        Host host;
        host.start();
        withWorkers = frame(host);
        EXPECT_EQ(host.unload(), kOfxStatOK);
        onTheCaller = frame(host);
    };
    frames(usual, alone);
    EXPECT_EQ(alone, usual);
    {
        const SmallStacks stacks(ENOUGH);
        std::thread([&] { frames(small, alone); }).join();
    }
    EXPECT_EQ(small, usual);
    EXPECT_EQ(alone, usual);
}

TEST(Cycles, OfLoadAndUnloadLeaveNothingBehind) {
    const TableFile table("cycle.cube", 0.5);
    const int threads = liveThreads();
    std::uint64_t expected = 0;
    Memory early;
    for (int cycle = 1; cycle <= 200; ++cycle) {
        {
            Host host;
            host.start();
            std::uint64_t hashes[2] = {};
            const auto render = [&](std::uint64_t& hash) {
                Instance instance(host);
                hash = instance.everything().set("outputLutPath", table.path()).frame(streetOf(SMALL)).hash();
            };
            std::thread beside([&] { render(hashes[0]); });
            render(hashes[1]);
            beside.join();
            if (cycle == 1) expected = hashes[0];
            ASSERT_EQ(hashes[0], expected) << "cycle " << cycle;
            ASSERT_EQ(hashes[1], expected) << "cycle " << cycle;
            ASSERT_EQ(host.unload(), kOfxStatOK);
        }
        ASSERT_FALSE(libraryIsMapped()) << "cycle " << cycle;
        ASSERT_TRUE(threadsSettleAt(threads)) << "cycle " << cycle;
        if (cycle == 20) early = liveMemory();
    }
    EXPECT_EQ(liveMemory().blocks, early.blocks) << "after 200 cycles, beside after 20";
    EXPECT_NEAR(static_cast<double>(liveMemory().bytes), static_cast<double>(early.bytes), 4096.0)
        << "a block is a few bytes larger than asked for, or not";
}
