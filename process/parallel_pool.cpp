// Jobs and chunks: a job is queued once; the worker that pops it claims one chunk and puts the job back at the end of
// the queue while chunks remain. Jobs of several render threads are thereby served in turn. The caller of run() only
// waits.
#include "process/parallel_pool.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace velloid {

namespace detail_par {
thread_local bool inPoolWorker = false;
thread_local std::vector<double> blurAccumulator;
} // namespace detail_par

std::atomic<ParallelPool*> ParallelPool::live_{nullptr};

namespace {
std::atomic<ParallelPool*> gSubstitute{nullptr};
}

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
};

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
    struct ProcessPool : ParallelPool {
        ProcessPool() { live_ = this; }
    };
    static ProcessPool pool;
    return pool;
}

void ParallelPool::forRange(int begin, int end, const std::function<void(int, int)>& fn) {
    const int n = end - begin;
    const int parts = std::min(threadCount, n);
    if (parts <= 1) return fn(begin, end);
    const int chunk = (n - 1 + parts) / parts;
    run(begin, end, chunk, (n - 1 + chunk) / chunk, fn);
}

void ParallelPool::run(int begin, int end, int chunk, int chunks, const std::function<void(int, int)>& fn) {
    if (detail_par::inPoolWorker) return fn(begin, end);
    const auto job = std::make_shared<Job>(fn, begin, end, chunk, chunks);
    std::unique_lock lock(queueMu);
    if (stop) {
        lock.unlock();
        return fn(begin, end);
    }
    queue.push_back(job);
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

void ParallelPool::runChunk(Job& job, int index) {
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

void ParallelPool::workerLoop() {
    detail_par::inPoolWorker = true;
    for (;;) {
        std::unique_lock lock(queueMu);
        workCv.wait(lock, [this] { return stop || !queue.empty(); });
        if (queue.empty()) break;
        std::shared_ptr<Job> job = std::move(queue.front());
        queue.pop_front();
        const int index = job->next.fetch_add(1, std::memory_order_relaxed);
        const bool more = index + 1 < job->chunks;
        if (more) queue.push_back(job);
        lock.unlock();
        if (more) workCv.notify_one();
        runChunk(*job, index);
    }
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
    if (end - begin == 1) return fn(begin, end);
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
