#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__APPLE__)
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif

namespace {

std::atomic<std::size_t> gLive{0};
std::atomic<std::size_t> gPeak{0};

std::size_t sizeOf(void* block) {
#if defined(__APPLE__)
    return malloc_size(block);
#else
    return malloc_usable_size(block);
#endif
}

void* counted(void* block) {
    if (!block) throw std::bad_alloc();
    const std::size_t live = gLive.fetch_add(sizeOf(block), std::memory_order_relaxed) + sizeOf(block);
    std::size_t peak = gPeak.load(std::memory_order_relaxed);
    while (live > peak && !gPeak.compare_exchange_weak(peak, live, std::memory_order_relaxed)) {
    }
    return block;
}

void release(void* block) noexcept {
    if (!block) return;
    gLive.fetch_sub(sizeOf(block), std::memory_order_relaxed);
    std::free(block);
}

void* aligned(std::size_t bytes, std::align_val_t alignment) {
    void* block = nullptr;
    if (posix_memalign(&block, static_cast<std::size_t>(alignment), bytes ? bytes : 1) != 0) throw std::bad_alloc();
    return counted(block);
}

} // namespace

// The other forms (arrays, nothrow, sized) are defined by the standard library in terms of these.
void* operator new(std::size_t bytes) {
    return counted(std::malloc(bytes ? bytes : 1));
}

void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return aligned(bytes, alignment);
}

void operator delete(void* block) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    release(block);
}

void operator delete(void* block, std::align_val_t) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    release(block);
}

namespace tarnwell::bench {

PeakMemory::PeakMemory() : start(gLive.load()) {
    gPeak.store(start);
}

std::size_t PeakMemory::bytes() const {
    return gPeak.load() - start;
}

} // namespace tarnwell::bench
