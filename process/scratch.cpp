// Blocks come in size classes, a quarter of a power of two apart, so that a block of one frame fits the next although
// its margins differ by a row. What is kept is bounded: beyond the bound the largest blocks go back to the system.
#include "process/scratch.h"

#include "lifetime/process_wide.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace velloid {

namespace {

constexpr std::size_t SMALLEST = 4096;                    // bytes of the smallest class
constexpr std::size_t MOST_KEPT = std::size_t{1} << 30;   // house value: an 8K frame with all effects
constexpr std::size_t MOST_FLOATS = std::size_t{1} << 44; // more than any machine has
constexpr std::size_t CACHE_LINE = 64;
constexpr std::size_t HUGE_PAGE = 2u << 20;

// Bytes of the class that holds `bytes`.
std::size_t classOf(std::size_t bytes) {
    if (bytes <= SMALLEST) return SMALLEST;
    const std::size_t step = std::bit_floor(bytes - 1) / 4;
    return (bytes - 1) / step * step + step;
}

std::size_t alignmentOf(std::size_t bytes) {
    return bytes >= HUGE_PAGE ? HUGE_PAGE : CACHE_LINE;
}

float* fresh(std::size_t bytes) {
    void* block = ::operator new (bytes, std::align_val_t{alignmentOf(bytes)});
#if defined(__linux__)
    // One fault instead of 512; the kernel may say no, which costs nothing.
    if (bytes >= HUGE_PAGE) madvise(block, bytes / HUGE_PAGE * HUGE_PAGE, MADV_HUGEPAGE);
#endif
    return static_cast<float*>(block);
}

void giveBack(float* block, std::size_t bytes) {
    ::operator delete (block, std::align_val_t{alignmentOf(bytes)});
}

class ScratchStore {
public:
    ScratchStore() = default;
    ScratchStore(const ScratchStore&) = delete;
    ScratchStore& operator=(const ScratchStore&) = delete;

    float* take(std::size_t bytes) {
        {
            std::lock_guard lock(mu);
            std::vector<float*>& blocks = kept[bytes];
            use.lent += bytes;
            use.peak = std::max(use.peak, use.lent);
            if (!blocks.empty()) {
                float* const block = blocks.back();
                blocks.pop_back();
                use.kept -= bytes;
                return block;
            }
        }
        try {
            return fresh(bytes);
        } catch (...) {
            std::lock_guard lock(mu);
            use.lent -= bytes;
            throw;
        }
    }

    void put(float* block, std::size_t bytes) noexcept {
        std::unique_lock lock(mu);
        use.lent -= bytes;
        if (bytes > MOST_KEPT || !keep(block, bytes)) {
            lock.unlock();
            return giveBack(block, bytes);
        }
        while (use.kept > MOST_KEPT)
            dropLargest(lock);
    }

    void purge() {
        std::map<std::size_t, std::vector<float*>> gone;
        {
            std::lock_guard lock(mu);
            gone.swap(kept);
            use.kept = 0;
        }
        for (const auto& [bytes, blocks] : gone) {
            for (float* block : blocks)
                giveBack(block, bytes);
        }
    }

    ScratchUse now() const {
        std::lock_guard lock(mu);
        return use;
    }

    void resetPeak() {
        std::lock_guard lock(mu);
        use.peak = use.lent;
    }

private:
    // Smaller frames never ask for the largest blocks again. Unlocks while memory goes back to the system.
    void dropLargest(std::unique_lock<std::mutex>& lock) {
        const auto largest = std::prev(kept.end());
        if (largest->second.empty()) {
            kept.erase(largest);
            return;
        }
        const std::size_t bytes = largest->first;
        float* const block = largest->second.back();
        largest->second.pop_back();
        use.kept -= bytes;
        lock.unlock();
        giveBack(block, bytes);
        lock.lock();
    }

    bool keep(float* block, std::size_t bytes) noexcept {
        try {
            kept[bytes].push_back(block);
        } catch (const std::bad_alloc&) {
            return false;
        }
        use.kept += bytes;
        return true;
    }

    mutable std::mutex mu;                           // guards all below
    std::map<std::size_t, std::vector<float*>> kept; // by size
    ScratchUse use{};
};

ProcessWide<ScratchStore> gStore;

} // namespace

Scratch::Scratch(std::size_t floats) : block(nullptr), count(floats) {
    if (count == 0) return;
    if (count > MOST_FLOATS) throw std::bad_alloc();
    block = gStore->take(classOf(count * sizeof(float)));
}

Scratch::~Scratch() {
    if (block) gStore->put(block, classOf(count * sizeof(float)));
}

ScratchUse scratchUse() {
    return gStore->now();
}

void resetScratchPeak() {
    gStore->resetPeak();
}

void purgeScratch() {
    gStore->purge();
}

} // namespace velloid
