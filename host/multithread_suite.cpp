// Host threads for plug-ins: real ones, started per call and joined before it returns. A function that is called on
// them may not start more (kOfxStatErrExists). Mutexes are recursive, as plug-ins expect.
#include "host/handles.h"
#include "host/render_job.h"
#include "host/suite_call.h"
#include "host/suites.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace tarnwell {

namespace {

thread_local bool gIsSpawned = false;
thread_local unsigned int gThreadIndex = 0;

unsigned int cpuCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

// Hands out indices 0 .. count - 1 until there are none left.
struct ThreadedCall {
    OfxThreadFunctionV1* function;
    unsigned int count;
    void* argument;
    std::atomic<unsigned int> next{0};
    std::atomic<bool> failed{false};

    void work() {
        gIsSpawned = true;
        for (unsigned int index = next++; index < count; index = next++) {
            gThreadIndex = index;
            try {
                function(index, count, argument);
            } catch (...) {
                failed = true;
            }
        }
        gIsSpawned = false;
        gThreadIndex = 0;
    }
};

// The caller's frame goes along, so that an image fetched on a host thread belongs to it.
OfxStatus runThreads(OfxThreadFunctionV1* function, unsigned int count, void* argument) {
    ThreadedCall call{function, count, argument};
    RenderJob* const job = RenderJob::current();
    std::vector<std::thread> threads;
    const unsigned int helpers = std::min(count, cpuCount()) - 1;
    for (unsigned int i = 0; i < helpers; ++i)
        threads.emplace_back([&call, job] {
            const RenderJob::Scope scope(job);
            call.work();
        });
    call.work();
    for (std::thread& thread : threads)
        thread.join();
    return call.failed ? kOfxStatFailed : kOfxStatOK;
}

OfxStatus multiThread(OfxThreadFunctionV1 function, unsigned int count, void* argument) {
    return suiteCall("multiThread", "", [&]() -> OfxStatus {
        if (function == nullptr) return kOfxStatFailed;
        if (gIsSpawned) return kOfxStatErrExists;
        return runThreads(function, count != 0 ? count : cpuCount(), argument);
    });
}

OfxStatus multiThreadNumCPUs(unsigned int* count) {
    return suiteCall("multiThreadNumCPUs", "", [&]() -> OfxStatus {
        if (count == nullptr) return kOfxStatFailed;
        // On a host thread there is one to be had: itself.
        *count = gIsSpawned ? 1 : cpuCount();
        return kOfxStatOK;
    });
}

OfxStatus multiThreadIndex(unsigned int* index) {
    return suiteCall("multiThreadIndex", "", [&]() -> OfxStatus {
        if (index == nullptr) return kOfxStatFailed;
        *index = gThreadIndex;
        return kOfxStatOK;
    });
}

int multiThreadIsSpawnedThread() {
    return gIsSpawned ? 1 : 0;
}

// ---- mutexes ------------------------------------------------------------------------------------------------------

// Recursive, born with a number of locks that belong to its maker, and fit to be destroyed while locked.
class RecursiveMutex {
public:
    explicit RecursiveMutex(int locks) : owner_(std::this_thread::get_id()), locks_(std::max(0, locks)) {}

    OfxMutexHandle handle() { return reinterpret_cast<OfxMutexHandle>(this); }
    static RecursiveMutex* of(OfxMutexHandle handle) { return fromHandle<RecursiveMutex>(HandleKind::Mutex, handle); }

    void lock() {
        std::unique_lock guard(state_);
        freed_.wait(guard, [this] { return mayEnter(); });
        enter();
    }

    bool tryLock() {
        const std::lock_guard guard(state_);
        if (!mayEnter()) return false;
        enter();
        return true;
    }

    // False if the caller does not hold it.
    bool unlock() {
        const std::lock_guard guard(state_);
        if (locks_ == 0 || owner_ != std::this_thread::get_id()) return false;
        if (--locks_ == 0) freed_.notify_one();
        return true;
    }

private:
    bool mayEnter() const { return locks_ == 0 || owner_ == std::this_thread::get_id(); }
    void enter() {
        owner_ = std::this_thread::get_id();
        ++locks_;
    }

    std::mutex state_; // guards owner_ and locks_
    std::condition_variable freed_;
    std::thread::id owner_;
    int locks_;
    LiveHandle live_{HandleKind::Mutex, this};
};

OfxStatus mutexCreate(OfxMutexHandle* mutex, int locks) {
    return suiteCall("mutexCreate", "", mutex, [&]() -> OfxStatus {
        if (mutex == nullptr) return kOfxStatFailed;
        *mutex = (new RecursiveMutex(locks))->handle();
        return kOfxStatOK;
    });
}

template <class Body>
OfxStatus onMutex(const char* function, OfxMutexHandle handle, const Body& body) {
    return suiteCall(function, "", [&]() -> OfxStatus {
        RecursiveMutex* mutex = RecursiveMutex::of(handle);
        return mutex != nullptr ? body(*mutex) : kOfxStatErrBadHandle;
    });
}

OfxStatus mutexDestroy(const OfxMutexHandle handle) {
    return onMutex("mutexDestroy", handle, [](RecursiveMutex& mutex) -> OfxStatus {
        delete &mutex;
        return kOfxStatOK;
    });
}

OfxStatus mutexLock(const OfxMutexHandle handle) {
    return onMutex("mutexLock", handle, [](RecursiveMutex& mutex) -> OfxStatus {
        mutex.lock();
        return kOfxStatOK;
    });
}

OfxStatus mutexUnLock(const OfxMutexHandle handle) {
    return onMutex("mutexUnLock", handle, [](RecursiveMutex& mutex) -> OfxStatus {
        return mutex.unlock() ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}

OfxStatus mutexTryLock(const OfxMutexHandle handle) {
    return onMutex("mutexTryLock", handle,
                   [](RecursiveMutex& mutex) -> OfxStatus { return mutex.tryLock() ? kOfxStatOK : kOfxStatFailed; });
}

constexpr OfxMultiThreadSuiteV1 MULTI_THREAD_SUITE = {
    multiThread, multiThreadNumCPUs, multiThreadIndex, multiThreadIsSpawnedThread, mutexCreate, mutexDestroy,
    mutexLock,   mutexUnLock,        mutexTryLock};

} // namespace

const OfxMultiThreadSuiteV1& multiThreadSuite() {
    return MULTI_THREAD_SUITE;
}

} // namespace tarnwell
