// Memory that plug-ins ask the host for: plain blocks, and the lockable blocks of the effect suite. Every block is
// entered as a handle, so that freeing a stranger or freeing twice is answered and not obeyed.
#pragma once

#include "host/handles.h"

#include <atomic>
#include <cstddef>

namespace tarnwell {

// Enough for any vector type.
constexpr std::size_t BLOCK_ALIGNMENT = 64;

// Null if the machine has not that much.
void* allocateBlock(std::size_t bytes);
// False if it is not a block of ours.
bool freeBlock(void* block);

// A block of the effect suite. Locks nest and are counted; freeing does not ask for them.
struct ImageMemory {
    explicit ImageMemory(void* allocated) : block(allocated) {}

    void* block;
    std::atomic<int> locks{0};

private:
    LiveHandle live_{HandleKind::ImageMemory, this};
};

} // namespace tarnwell
