// The memory suite, and the blocks behind it and behind the effect suite's image memory.
#include "host/memory.h"
#include "host/suite_call.h"
#include "host/suites.h"

#include <cstdlib>

namespace tarnwell {

void* allocateBlock(std::size_t bytes) {
    // Whole multiples of the alignment, at least one, and no wrap-around.
    if (bytes > static_cast<std::size_t>(-1) - BLOCK_ALIGNMENT) return nullptr;
    const std::size_t rounded = (bytes / BLOCK_ALIGNMENT + 1) * BLOCK_ALIGNMENT;
    void* block = std::aligned_alloc(BLOCK_ALIGNMENT, rounded);
    if (block != nullptr) enterHandle(HandleKind::Memory, block);
    return block;
}

bool freeBlock(void* block) {
    if (!leaveHandle(HandleKind::Memory, block)) return false;
    std::free(block);
    return true;
}

namespace {

OfxStatus memoryAlloc(void*, std::size_t bytes, void** result) {
    return suiteCall("memoryAlloc", "", result, [&]() -> OfxStatus {
        if (result == nullptr) return kOfxStatErrValue;
        *result = allocateBlock(bytes);
        return *result != nullptr ? kOfxStatOK : kOfxStatErrMemory;
    });
}

OfxStatus memoryFree(void* block) {
    return suiteCall("memoryFree", "", [&] { return freeBlock(block) ? kOfxStatOK : kOfxStatErrBadHandle; });
}

constexpr OfxMemorySuiteV1 MEMORY_SUITE = {memoryAlloc, memoryFree};

} // namespace

const OfxMemorySuiteV1& memorySuite() {
    return MEMORY_SUITE;
}

} // namespace tarnwell
