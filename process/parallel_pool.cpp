// Jobs and chunks: a job is queued once; the worker that pops it claims one chunk and puts the job back at the end of
// the queue while chunks remain. Jobs of several render threads are thereby served in turn. The caller of run() only
// waits.
#include "process/parallel_pool.h"

#include "lifetime/process_wide.h"

#include <algorithm>
#include <cfenv>
#include <exception>
#include <limits>
#include <new>
#include <utility>

namespace velloid {

namespace detail_par {

constinit TARNWELL_THREAD_LOCAL bool inPoolWorker = false;
constinit TARNWELL_THREAD_LOCAL RowRoom blurAccumulator;

double* RowRoom::atLeast(std::size_t count) {
    if (size < count) {
        release();
        samples = new double[count];
        size = count;
    }
    return samples;
}

void RowRoom::release() noexcept {
    delete[] std::exchange(samples, nullptr);
    size = 0;
}

} // namespace detail_par

constinit std::atomic<ParallelPool*> ParallelPool::live_{nullptr};

namespace {

constinit std::atomic<ParallelPool*> gSubstitute{nullptr};

// Where the pool of the process stands once it is made.
struct ProcessPool {
    ProcessPool() noexcept { ParallelPool::live_ = nullptr; }
    std::mutex mu; // guards the making
    alignas(ParallelPool) unsigned char storage[sizeof(ParallelPool)];
};
ProcessWide<ProcessPool> gPool;

// The whole range at once on the calling thread. What a worker would keep for the next loop does not stay behind on a
// thread of the host's.
void runInline(int begin, int end, const std::function<void(int, int)>& fn) {
    struct Tidy {
        ~Tidy() {
            if (!detail_par::inPoolWorker) detail_par::blurAccumulator.release();
        }
    } tidy;
    fn(begin, end);
}

} // namespace

struct ParallelPool::Job {
    Job(const std::function<void(int, int)>& f, int b, int e, int chunkLength, int chunkCount)
        : fn(f), begin(b), end(e), chunk(chunkLength), chunks(chunkCount), remaining(chunkCount) {}

    const std::function<void(int, int)> fn;
    const int begin;
    const int end;
    const int chunk;
    const int chunks;
    std::atomic<int> next{0};        // next chunk to hand out
    std::atomic<int> remaining;      // chunks not yet finished
    std::atomic<bool> failed{false}; // a chunk threw: the rest is counted, not run
    std::mutex doneMu;               // makes the last worker's notification visible to the waiting caller
    std::condition_variable doneCv;
    std::mutex errMu; // guards error
    std::exception_ptr error;
    std::shared_ptr<Job> behind; // the next in the queue; under its lock
};

void ParallelPool::Queue::pushBack(std::shared_ptr<Job> job) noexcept {
    Job* const added = job.get();
    (first ? last->behind : first) = std::move(job);
    last = added;
}

std::shared_ptr<ParallelPool::Job> ParallelPool::Queue::popFront() noexcept {
    std::shared_ptr<Job> job = std::move(first);
    first = std::move(job->behind);
    return job;
}

ParallelPool::ParallelPool(unsigned threads) {
    threadCount = threads == 0 ? 4 : static_cast<int>(threads);
    workers.reserve(static_cast<size_t>(threadCount));
    try {
        for (int i = 0; i < threadCount; ++i)
            workers.emplace_back([this] { workerLoop(); });
    } catch (...) {
        {
            std::lock_guard lock(queueMu);
            stop = true;
        }
        workCv.notify_all();
        for (std::thread& worker : workers)
            worker.join();
        throw;
    }
}

ParallelPool::~ParallelPool() {
    shutdown();
    ParallelPool* self = this;
    live_.compare_exchange_strong(self, nullptr);
}

ParallelPool& ParallelPool::instance() {
    if (ParallelPool* made = live_.load(std::memory_order_acquire)) return *made;
    std::lock_guard lock(gPool->mu);
    if (ParallelPool* made = live_.load(std::memory_order_acquire)) return *made;
    live_ = new (gPool->storage) ParallelPool;
    return *live_;
}

void ParallelPool::forRange(int begin, int end, const std::function<void(int, int)>& fn) {
    const long long n = static_cast<long long>(end) - begin;
    const long long parts = std::min<long long>(threadCount, n);
    if (parts <= 1) return runInline(begin, end, fn);
    const long long chunk = std::min<long long>((n - 1 + parts) / parts, std::numeric_limits<int>::max());
    run(begin, end, static_cast<int>(chunk), static_cast<int>((n - 1 + chunk) / chunk), fn);
}

void ParallelPool::run(int begin, int end, int chunk, int chunks, const std::function<void(int, int)>& fn) {
    if (detail_par::inPoolWorker) return fn(begin, end);
    const auto job = std::make_shared<Job>(fn, begin, end, chunk, chunks);
    std::unique_lock lock(queueMu);
    if (stop) {
        lock.unlock();
        return runInline(begin, end, fn);
    }
    queue.pushBack(job);
    lock.unlock();
    workCv.notify_all();
    {
        std::unique_lock done(job->doneMu);
        job->doneCv.wait(done, [&] { return job->remaining.load(std::memory_order_acquire) == 0; });
    }
    std::exception_ptr error;
    {
        std::lock_guard guard(job->errMu);
        error = std::exchange(job->error, nullptr); // the last worker to drop the job must not be the one to end it
    }
    if (error) std::rethrow_exception(error);
}

void ParallelPool::runChunk(Job& job, int index) noexcept {
    if (!job.failed.load(std::memory_order_acquire)) {
        const long long first = job.begin + static_cast<long long>(job.chunk) * index;
        const int last = static_cast<int>(std::min<long long>(first + job.chunk, job.end));
        try {
            if (first < last) job.fn(static_cast<int>(first), last);
        } catch (...) {
            {
                std::lock_guard guard(job.errMu);
                if (!job.error) job.error = std::current_exception();
            }
            job.failed = true;
        }
    }
    if (job.remaining.fetch_sub(1) == 1) {
        std::lock_guard done(job.doneMu);
        job.doneCv.notify_one();
    }
}

// Nothing here needs memory: what does, happens inside a job's function and fails that job.
void ParallelPool::workerLoop() noexcept {
    detail_par::inPoolWorker = true;
    std::fesetenv(FE_DFL_ENV); // a thread inherits that of its maker: a thread of the host's
    for (;;) {
        std::unique_lock lock(queueMu);
        workCv.wait(lock, [this] { return stop || !queue.empty(); });
        if (queue.empty()) break;
        const std::shared_ptr<Job> job = queue.popFront();
        const int index = job->next.fetch_add(1, std::memory_order_relaxed);
        const bool more = index + 1 < job->chunks;
        if (more) queue.pushBack(job);
        lock.unlock();
        if (more) workCv.notify_one();
        runChunk(*job, index);
    }
    detail_par::blurAccumulator.release();
    detail_par::inPoolWorker = false;
}

void ParallelPool::shutdown() {
    {
        std::lock_guard lock(queueMu);
        stop = true;
    }
    workCv.notify_all();
    if (detail_par::inPoolWorker) return;
    std::unique_lock lock(shutdownMu);
    if (joined) return;
    if (joining) return shutdownCv.wait(lock, [this] { return joined; });
    joining = true;
    lock.unlock();
    for (std::thread& worker : workers) {
        if (worker.joinable()) worker.join();
    }
    workers = std::vector<std::thread>(); // a stopped pool owns nothing
    lock.lock();
    joining = false;
    joined = true;
    lock.unlock();
    shutdownCv.notify_all();
}

void parallelFor(int begin, int end, const std::function<void(int, int)>& fn) {
    if (end <= begin) return;
    if (detail_par::inPoolWorker) return fn(begin, end);
    ParallelPool* substitute = gSubstitute.load(std::memory_order_acquire);
    if (substitute) return substitute->forRange(begin, end, fn);
    if (end - 1 == begin) return runInline(begin, end, fn);
    ParallelPool::instance().forRange(begin, end, fn);
}

void parallelTasks(int count, const std::function<void(int)>& fn) {
    const auto each = [&](int begin, int end) {
        for (int i = begin; i < end; ++i)
            fn(i);
    };
    if (count <= 0) return;
    if (detail_par::inPoolWorker) return each(0, count);
    ParallelPool* substitute = gSubstitute.load(std::memory_order_acquire);
    (substitute ? *substitute : ParallelPool::instance()).run(0, count, 1, count, each);
}

int parallelThreads() {
    if (detail_par::inPoolWorker) return 1;
    ParallelPool* substitute = gSubstitute.load(std::memory_order_acquire);
    return substitute ? substitute->threads() : ParallelPool::instance().threads();
}

void useParallelPool(ParallelPool* pool) {
    gSubstitute.store(pool, std::memory_order_release);
}

} // namespace velloid
