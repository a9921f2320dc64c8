// What callers of the pool may rely on while others use it too: when a call returns, whose chunk is next, which
// exception arrives. Threads wait for events here, never for a time. Pools are declared last, so that they end first.
#include "process/parallel_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cfenv>
#include <cstdlib>
#include <latch>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#if defined(__linux__)
#include <fstream>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED 1
#endif
#endif

using namespace velloid;

namespace {

// Hands the processor on, so that a thread which may go on does: until `done`, or a great many times.
void letOthersRun(const std::atomic<bool>& done) {
    for (int turn = 0; turn < 100000 && !done; ++turn)
        std::this_thread::yield();
}

// Two chunks on two workers: the first throws "first"; the second goes on when the pool is through with that.
template <class Second>
std::string caughtOfTwo(std::atomic<bool>& returned, Second second) {
    std::string caught = "nothing";
    std::latch bothRun(2), firstIsCounted(1);
    ParallelPool pool(2);
    // A third chunk while both workers have one goes to the worker that is rid of its own.
    std::thread third([&] {
        bothRun.wait();
        pool.run(0, 1, 1, 1, [](int, int) {});
        firstIsCounted.count_down();
    });
    try {
        pool.run(0, 2, 1, 2, [&](int chunk, int) {
            bothRun.arrive_and_wait();
            if (chunk == 0) throw std::runtime_error("first");
            firstIsCounted.wait();
            second();
        });
    } catch (const std::runtime_error& error) {
        returned = true;
        caught = error.what();
    }
    third.join();
    return caught;
}

} // namespace

TEST(ParallelFor, ReturnsAnExceptionWhenNoChunkRunsAnyMore) {
    std::atomic<bool> returned{false}, returnedEarly{false};
    EXPECT_EQ(caughtOfTwo(returned,
                          [&] {
                              letOthersRun(returned);
                              returnedEarly = returned.load();
                          }),
              "first");
    EXPECT_FALSE(returnedEarly) << "the second chunk was still running";
}

TEST(ParallelFor, RethrowsTheFirstOfSeveralExceptions) {
    std::atomic<bool> returned{false};
    EXPECT_EQ(caughtOfTwo(returned, [] { throw std::runtime_error("second"); }), "first");
}

// The second caller comes while the first one's chunk 0 runs. That it has not reached the queue before all the other
// chunks are through is possible; a few times in a row it is not.
TEST(ParallelFor, ServesTwoCallersInTurn) {
    constexpr int CHUNKS = 500, ROUNDS = 200;
    std::string order; // a letter per chunk, written by the only worker
    std::size_t met = std::string::npos;
    for (int round = 0; round < ROUNDS && met == std::string::npos; ++round) {
        order.clear();
        std::latch firstRuns(1), secondComes(1);
        ParallelPool pool(1);
        std::thread second([&] {
            firstRuns.wait();
            secondComes.count_down();
            pool.run(0, CHUNKS, 1, CHUNKS, [&](int, int) { order += 'b'; });
        });
        pool.run(0, CHUNKS, 1, CHUNKS, [&](int chunk, int) {
            if (chunk == 0) {
                firstRuns.count_down();
                secondComes.wait();
            }
            order += 'a';
            std::this_thread::yield();
        });
        second.join();
        const std::size_t b = order.find('b');
        if (order.find('a', b) != std::string::npos) met = b;
    }
    ASSERT_NE(met, std::string::npos) << "the second caller was served after the first one's last chunk " << ROUNDS
                                      << " times";
    for (std::size_t i = met; i < order.rfind('a'); ++i)
        ASSERT_NE(order[i], order[i + 1]) << "two chunks of one caller in a row at " << i << ": " << order;
}

TEST(Pool, RoundsToNearestWhateverItsMakerDoes) {
    std::atomic<int> rounding{-1};
    std::thread maker([&] {
        std::fesetround(FE_UPWARD);
        ParallelPool pool(1);
        pool.run(0, 1, 1, 1, [&](int, int) { rounding = std::fegetround(); });
    });
    maker.join();
    EXPECT_EQ(rounding, FE_TONEAREST);
}

TEST(Pool, EveryShutdownReturnsWhenNoChunkRunsAnyMore) {
    std::latch chunkRuns(1), allAsk(3);
    std::atomic<bool> returned{false}, finished{false};
    std::atomic<int> early{0};
    ParallelPool pool(1);
    std::thread caller([&] {
        pool.run(0, 1, 1, 1, [&](int, int) {
            chunkRuns.count_down();
            allAsk.wait();
            letOthersRun(returned);
            finished = true;
        });
    });
    chunkRuns.wait();
    const auto ask = [&] {
        allAsk.count_down();
        pool.shutdown();
        if (!finished) ++early;
        returned = true;
    };
    std::thread first(ask), second(ask), third(ask);
    for (std::thread* thread : {&first, &second, &third, &caller})
        thread->join();
    EXPECT_EQ(early, 0) << "of three calls";
}

#if defined(__linux__) && !defined(SANITIZED)
namespace {

// Leaves the process room for a few more stacks and makes a pool of many threads.
[[noreturn]] void makePoolWithoutRoom() {
    std::size_t pages = 0, stack = 0;
    std::ifstream("/proc/self/statm") >> pages;
    pthread_attr_t defaults;
    pthread_getattr_default_np(&defaults);
    pthread_attr_getstacksize(&defaults, &stack);
    const rlim_t room = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + 4 * stack;
    const rlimit limit{room, room};
    setrlimit(RLIMIT_AS, &limit);
    try {
        ParallelPool pool(64);
    } catch (const std::system_error&) {
        std::_Exit(7);
    }
    std::_Exit(1);
}

} // namespace

TEST(PoolDeathTest, EndsTheThreadsThatItHasWhenOneCannotStart) {
    EXPECT_EXIT(makePoolWithoutRoom(), testing::ExitedWithCode(7), "") << "7: the exception came out";
}
#endif
