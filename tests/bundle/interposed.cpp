#include "tests/bundle/interposed.h"

#include "tests/bundle/bundle_host.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <pthread.h>

// The C library's own allocator, under the names that it has for this purpose.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

using velloid::test::InsideHost;
using velloid::test::Refusal;

struct Plan {
    std::atomic<long> n{0}; // 0: refuse nothing
    std::atomic<bool> andAllAfter{false};
    std::atomic<bool> otherThreads{false};
    std::atomic<pthread_t> planner{};
    std::atomic<long> seen{0};
};

constinit Plan gPlan;
constinit std::atomic<long long> gLiveBlocks{0};
constinit std::atomic<long long> gLiveBytes{0};
constinit std::atomic<long> gThreadsAsked{0};
constinit std::atomic<long> gThreadsJoined{0};
constinit std::atomic<long> gThreadRefused{0};
constinit thread_local int gInPthread = 0;

struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};
constinit Range gLoader;

// Where the loader's code lies; found before anything is refused.
int noteLoader(dl_phdr_info* info, std::size_t, void*) {
    if (!std::strstr(info->dlpi_name, "/ld-linux")) return 0;
    gLoader = {UINTPTR_MAX, 0};
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const std::uintptr_t begin = info->dlpi_addr + info->dlpi_phdr[i].p_vaddr;
        if (info->dlpi_phdr[i].p_type != PT_LOAD) continue;
        if (begin < gLoader.begin) gLoader.begin = begin;
        if (begin + info->dlpi_phdr[i].p_memsz > gLoader.end) gLoader.end = begin + info->dlpi_phdr[i].p_memsz;
    }
    return 1;
}

bool refused(const void* caller) {
    const long n = gPlan.n.load();
    if (n == 0 || InsideHost::depth > 0 || gInPthread > 0) return false;
    const auto from = reinterpret_cast<std::uintptr_t>(caller);
    if (from >= gLoader.begin && from < gLoader.end) return false;
    if (gPlan.otherThreads && pthread_equal(gPlan.planner.load(), pthread_self())) return false;
    const long index = ++gPlan.seen;
    const bool no = index == n || (index > n && gPlan.andAllAfter);
    if (no) errno = ENOMEM;
    return no;
}

void* counted(void* block) {
    if (block) ++gLiveBlocks;
    if (block) gLiveBytes += static_cast<long long>(malloc_usable_size(block));
    return block;
}

void* aligned(std::size_t alignment, std::size_t size, const void* caller) {
    return refused(caller) ? nullptr : counted(__libc_memalign(alignment, size));
}

} // namespace

#define SHOWN extern "C" __attribute__((visibility("default")))

SHOWN void* malloc(std::size_t size) {
    return refused(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(size));
}

SHOWN void* calloc(std::size_t count, std::size_t size) {
    return refused(__builtin_return_address(0)) ? nullptr : counted(__libc_calloc(count, size));
}

SHOWN void* realloc(void* block, std::size_t size) {
    if (refused(__builtin_return_address(0))) return nullptr;
    const long long before = block ? static_cast<long long>(malloc_usable_size(block)) : 0;
    void* const moved = __libc_realloc(block, size);
    if (block && (moved || size == 0)) {
        --gLiveBlocks;
        gLiveBytes -= before;
    }
    return counted(moved);
}

SHOWN void* memalign(std::size_t alignment, std::size_t size) {
    return aligned(alignment, size, __builtin_return_address(0));
}

SHOWN void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return aligned(alignment, size, __builtin_return_address(0));
}

SHOWN int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
    void* const block = aligned(alignment, size, __builtin_return_address(0));
    if (!block) return ENOMEM;
    *out = block;
    return 0;
}

SHOWN void free(void* block) {
    if (block) --gLiveBlocks;
    if (block) gLiveBytes -= static_cast<long long>(malloc_usable_size(block));
    __libc_free(block);
}

SHOWN int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (++gThreadsAsked == gThreadRefused) return EAGAIN;
    ++gInPthread;
    const int status = real(thread, attributes, run, argument);
    --gInPthread;
    return status;
}

SHOWN int pthread_join(pthread_t thread, void** result) {
    static const auto real = reinterpret_cast<decltype(&pthread_join)>(dlsym(RTLD_NEXT, "pthread_join"));
    ++gThreadsJoined;
    return real(thread, result);
}

namespace velloid::test {

Refusal::Refusal(long n, Which which, Where where) {
    if (gLoader.end == 0 && dl_iterate_phdr(noteLoader, nullptr) != 1) giveUp("where is the loader?");
    gPlan.seen = 0;
    gPlan.andAllAfter = which == Which::AndAllAfter;
    gPlan.otherThreads = where == Where::OtherThreads;
    gPlan.planner = pthread_self();
    gPlan.n = n;
}

Refusal::~Refusal() {
    gPlan.n = 0;
}

bool Refusal::happened() const {
    return gPlan.seen >= gPlan.n;
}

Memory liveMemory() {
    return {gLiveBlocks, gLiveBytes};
}

Threads refuseThread(long n) {
    gThreadRefused = n;
    return {gThreadsAsked.exchange(0), gThreadsJoined.exchange(0)};
}

} // namespace velloid::test
