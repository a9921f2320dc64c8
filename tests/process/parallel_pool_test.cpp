// The worker pool: which ranges are cut how, who runs them, what happens to exceptions and after shutdown.
#include "process/parallel_pool.h"

#include "tests/bundle/sanitizers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace velloid;

namespace {

using Range = std::pair<int, int>;

// Every call of one loop, in no particular order.
class Calls {
public:
    void operator()(int begin, int end) {
        std::lock_guard lock(mutex_);
        ranges_.insert({begin, end});
        threads_.insert(std::this_thread::get_id());
    }

    std::multiset<Range> ranges() const { return ranges_; }
    std::set<std::thread::id> threads() const { return threads_; }

private:
    std::mutex mutex_; // guards both
    std::multiset<Range> ranges_;
    std::set<std::thread::id> threads_;
};

std::multiset<Range> rangesOn(ParallelPool& pool, int begin, int end) {
    Calls calls;
    pool.forRange(begin, end, std::ref(calls));
    return calls.ranges();
}

} // namespace

TEST(ParallelFor, NeverCallsForAnEmptyRange) {
    int calls = 0;
    parallelFor(5, 5, [&](int, int) { ++calls; });
    parallelFor(5, 4, [&](int, int) { ++calls; });
    parallelFor(0, -2147483647, [&](int, int) { ++calls; });
    EXPECT_EQ(calls, 0);
}

TEST(ParallelFor, RunsASingleIndexOnTheCaller) {
    Calls calls;
    parallelFor(0, 1, std::ref(calls));
    EXPECT_EQ(calls.ranges(), (std::multiset<Range>{{0, 1}}));
    EXPECT_EQ(calls.threads(), std::set{std::this_thread::get_id()});
}

TEST(ParallelFor, CutsEqualChunksWithAShorterLast) {
    ParallelPool pool(8);
    EXPECT_EQ(rangesOn(pool, 0, 10), (std::multiset<Range>{{0, 2}, {2, 4}, {4, 6}, {6, 8}, {8, 10}}));
    const auto rows = rangesOn(pool, 0, 1080);
    EXPECT_EQ(rows.size(), 8u);
    EXPECT_EQ(*rows.begin(), Range(0, 135));
    EXPECT_EQ(*rows.rbegin(), Range(945, 1080));
    EXPECT_EQ(rangesOn(pool, -3, 4).size(), 7u);
}

TEST(ParallelFor, TakesTheLargestRanges) {
    constexpr int LEAST = std::numeric_limits<int>::min();
    constexpr int MOST = std::numeric_limits<int>::max();
    for (const Range& range :
         {Range(0, MOST - 1), Range(0, MOST), Range(1, MOST), Range(LEAST, MOST), Range(LEAST, 0)}) {
        for (const unsigned threads : {1u, 2u, 3u, 64u}) {
            ParallelPool pool(threads);
            int next = range.first;
            for (const Range& chunk : rangesOn(pool, range.first, range.second)) {
                EXPECT_EQ(chunk.first, next) << "of " << range.first << " to " << range.second << " on " << threads;
                EXPECT_LT(chunk.first, chunk.second);
                next = chunk.second;
            }
            EXPECT_EQ(next, range.second) << "from " << range.first << " on " << threads;
        }
    }
}

TEST(ParallelFor, CoversEveryIndexOnce) {
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        ParallelPool pool(threads);
        for (const int n : {1, 2, 3, 7, 8, 9, 63, 1000}) {
            std::vector<std::atomic<int>> hits(static_cast<size_t>(n));
            pool.forRange(10, 10 + n, [&](int b, int e) {
                for (int i = b; i < e; ++i)
                    ++hits[static_cast<size_t>(i - 10)];
            });
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(hits[static_cast<size_t>(i)], 1) << n << " on " << threads;
        }
    }
}

TEST(ParallelFor, ANestedLoopRunsWholeOnItsWorker) {
    ParallelPool pool(4);
    std::atomic<int> wrong{0};
    pool.forRange(0, 8, [&](int, int) {
        const auto self = std::this_thread::get_id();
        int calls = 0;
        parallelFor(0, 100, [&](int b, int e) {
            ++calls;
            if (b != 0 || e != 100 || std::this_thread::get_id() != self) ++wrong;
        });
        if (calls != 1) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
}

TEST(ParallelFor, RunsNothingOnTheWaitingCaller) {
    ParallelPool pool(3);
    Calls calls;
    pool.forRange(0, 30, std::ref(calls));
    EXPECT_EQ(calls.threads().count(std::this_thread::get_id()), 0u);
}

TEST(ParallelFor, SkipsChunksOnceOneHasThrown) {
    ParallelPool pool(1); // one worker takes the chunks in order
    std::vector<int> ran;
    EXPECT_THROW(pool.run(0, 6, 1, 6,
                          [&](int b, int) {
                              ran.push_back(b);
                              if (b == 2) throw std::logic_error("enough");
                          }),
                 std::logic_error);
    EXPECT_EQ(ran, (std::vector<int>{0, 1, 2}));
}

TEST(ParallelFor, WorksAgainAfterAnException) {
    ParallelPool pool(4);
    EXPECT_THROW(pool.forRange(0, 9, [](int, int) { throw 1; }), int);
    EXPECT_EQ(rangesOn(pool, 0, 8).size(), 4u);
}

TEST(ParallelFor, AnEmptyFunctionIsABadCall) {
    const std::function<void(int, int)> nothing;
    EXPECT_THROW(parallelFor(0, 1, nothing), std::bad_function_call);
    ParallelPool pool(2);
    EXPECT_THROW(pool.forRange(0, 9, nothing), std::bad_function_call);
}

TEST(ParallelFor, ServesManyCallersAtOnce) {
    ParallelPool pool(3);
    std::vector<std::thread> callers;
    std::atomic<int> wrong{0};
    for (int c = 0; c < 8; ++c) {
        callers.emplace_back([&, c] {
            for (int round = 0; round < 40; ++round) {
                std::vector<int> out(50 + static_cast<size_t>(c), 0);
                const bool throws = (round + c) % 5 == 0;
                try {
                    pool.forRange(0, static_cast<int>(out.size()), [&](int b, int e) {
                        for (int i = b; i < e; ++i)
                            out[static_cast<size_t>(i)] = i + c;
                        parallelFor(0, 4, [](int, int) {});
                        if (throws) throw c;
                    });
                    if (throws) ++wrong;
                    for (size_t i = 0; i < out.size(); ++i)
                        wrong += out[i] != static_cast<int>(i) + c;
                } catch (const int thrown) {
                    wrong += thrown != c || !throws;
                }
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(wrong, 0);
}

// ---- construction and shutdown -------------------------------------------------------------------------------------

TEST(Pool, UnknownHardwareGetsFourWorkers) {
    ParallelPool pool(0);
    EXPECT_EQ(pool.threads(), 4);
}

TEST(Pool, OfTheProcessHasOneWorkerPerHardwareThread) {
    const unsigned hardware = std::thread::hardware_concurrency();
    EXPECT_EQ(ParallelPool::instance().threads(), hardware == 0 ? 4 : static_cast<int>(hardware));
    EXPECT_EQ(&ParallelPool::instance(), ParallelPool::live_.load());
}

TEST(Pool, IsCreatedByTheFirstLoopOfTwoIndices) {
    if (ParallelPool::live_.load()) GTEST_SKIP() << "another test of this process has made it; run me alone";
    parallelFor(0, 1, [](int, int) {});
    EXPECT_EQ(ParallelPool::live_.load(), nullptr) << "one index needs no pool";
    parallelFor(0, 2, [](int, int) {});
    EXPECT_NE(ParallelPool::live_.load(), nullptr);
}

#if defined(__unix__) || defined(__APPLE__)
// The child has one thread, the one that forked: the workers it knows of do not exist there.
TEST(Pool, AForkedChildMakesItsOwn) {
    if (velloid::test::THREAD_SANITIZER) GTEST_SKIP() << "thread sanitizer ends a child of a threaded process";
    std::atomic<int> covered{0};
    const auto cover = [&](int begin, int end) { covered += end - begin; };
    parallelFor(0, 100, cover);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        const bool none = ParallelPool::live_.load() == nullptr;
        parallelFor(0, 100, cover);
        _exit(none && covered == 200 && ParallelPool::live_.load() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

TEST(Pool, StoppedStillCoversTheRangeOnTheCaller) {
    ParallelPool pool(4);
    pool.shutdown();
    Calls calls;
    pool.forRange(0, 100, std::ref(calls));
    EXPECT_EQ(calls.ranges(), (std::multiset<Range>{{0, 100}}));
    EXPECT_EQ(calls.threads(), std::set{std::this_thread::get_id()});
}

TEST(Pool, ShutdownWhileOthersRenderLosesNoWork) {
    for (int round = 0; round < 20; ++round) {
        ParallelPool pool(3);
        std::atomic<int> done{0};
        std::vector<std::thread> callers;
        for (int c = 0; c < 4; ++c) {
            callers.emplace_back([&] {
                for (int i = 0; i < 10; ++i)
                    pool.forRange(0, 12, [&](int b, int e) { done += e - b; });
            });
        }
        std::thread first([&] { pool.shutdown(); });
        std::thread second([&] { pool.shutdown(); });
        for (std::thread& caller : callers)
            caller.join();
        first.join();
        second.join();
        EXPECT_EQ(done, 4 * 10 * 12);
    }
}

TEST(Pool, AWorkerMayAskForShutdownWithoutJoiningItself) {
    ParallelPool pool(2);
    pool.forRange(0, 2, [&](int, int) { pool.shutdown(); });
    pool.shutdown();
    Calls calls;
    pool.forRange(0, 9, std::ref(calls));
    EXPECT_EQ(calls.ranges(), (std::multiset<Range>{{0, 9}}));
}
