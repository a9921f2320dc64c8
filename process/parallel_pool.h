// The process-wide worker pool: parallelFor cuts a range into one contiguous chunk per worker and waits for all of
// them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace velloid {

// Thread-locals that a thread finds in place: to get room for them at first use, and to register a destructor, the C
// library needs memory, and ends the process when there is none.
#if defined(__linux__)
#define TARNWELL_THREAD_LOCAL thread_local __attribute__((tls_model("initial-exec")))
#else
#define TARNWELL_THREAD_LOCAL thread_local
#endif

namespace detail_par {

// Room for a row of doubles, which stays allocated until release().
class RowRoom {
public:
    // Room for `count` samples; they hold anything. Throws std::bad_alloc.
    double* atLeast(std::size_t count);
    void release() noexcept;

private:
    double* samples = nullptr; // no destructor: see TARNWELL_THREAD_LOCAL
    std::size_t size = 0;
};

// True for the whole life of a pool worker's loop: nested loops then run inline, so no worker waits for its own pool.
extern constinit TARNWELL_THREAD_LOCAL bool inPoolWorker;
// Row accumulator of the separable blur; each worker grows it to the width it needs and keeps it until it ends. On
// other threads it lasts as long as the loop that runs there.
extern constinit TARNWELL_THREAD_LOCAL RowRoom blurAccumulator;

} // namespace detail_par

class ParallelPool {
public:
    // Starts one worker per hardware thread (4 where the platform reports none). Throws std::system_error when a
    // thread can't be started, after joining those that were.
    ParallelPool() : ParallelPool(std::thread::hardware_concurrency()) {}
    // The same with a given number of workers; 0 means "unknown" and gives 4.
    explicit ParallelPool(unsigned threads);
    ~ParallelPool();
    ParallelPool(const ParallelPool&) = delete;
    ParallelPool& operator=(const ParallelPool&) = delete;

    // Calls fn(b, e) on [begin + k*chunk, min(begin + (k+1)*chunk, end)) for k = 0 .. chunks-1 and returns when all are
    // done. Rethrows the first exception that a chunk threw. On a stopped pool: one call fn(begin, end) on the caller.
    void run(int begin, int end, int chunk, int chunks, const std::function<void(int, int)>& fn);

    // parallelFor on this pool: at most one chunk per worker.
    void forRange(int begin, int end, const std::function<void(int, int)>& fn);

    // Stops and joins the workers; queued jobs are finished first. Idempotent, callable from any thread at once; from a
    // worker it only requests the stop.
    void shutdown();

    int threads() const { return threadCount; }

    // The pool of the process, created on first use and never destroyed. Throws as the constructor does.
    static ParallelPool& instance();

    // The pool of the process; null before its construction, and in a forked child until that makes its own.
    static std::atomic<ParallelPool*> live_;

private:
    struct Job;

    // Jobs in the order in which they are served. They are linked through themselves, so queueing allocates nothing.
    class Queue {
    public:
        bool empty() const { return !first; }
        void pushBack(std::shared_ptr<Job> job) noexcept;
        std::shared_ptr<Job> popFront() noexcept;

    private:
        std::shared_ptr<Job> first;
        Job* last = nullptr;
    };

    void workerLoop() noexcept;
    static void runChunk(Job& job, int index) noexcept;

    std::mutex queueMu;                 // guards queue and stop
    std::mutex shutdownMu;              // guards joining and joined
    std::condition_variable shutdownCv; // a second shutdown() waits here for the first
    std::condition_variable workCv;     // idle workers wait here
    std::vector<std::thread> workers;   // written by the constructor, joined and dropped by shutdown()
    Queue queue;
    int threadCount = 0;
    bool stop = false;    // no job is queued any more
    bool joining = false; // a shutdown() is joining
    bool joined = false;
};

// Calls fn(b, e) on disjoint half-open ranges that cover [begin, end) once, on the pool's workers; returns when all are
// done and rethrows the first exception. Runs inline on the caller for fewer than two indices, inside a pool worker and
// after shutdown. Any two ints make a range.
void parallelFor(int begin, int end, const std::function<void(int, int)>& fn);

// Calls fn(i) once for each i in [0, count), on the pool's workers, which take the next one as they get free; returns
// when all are done and rethrows the first exception. Inline inside a pool worker and after shutdown only: the caller
// is a host's thread, and what a worker keeps for itself should not stay behind on it.
void parallelTasks(int count, const std::function<void(int)>& fn);

// Into how many chunks parallelFor cuts a long range when called here: the threads of its pool, 1 inside a worker.
int parallelThreads();

// Lets every parallelFor of this process use `pool` instead of the process's own; null restores that. For tests and
// benchmarks of thread counts; not while a loop runs.
void useParallelPool(ParallelPool* pool);

} // namespace velloid
