#include "tests/metal/failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace velloid::gpu {

thread_local int allocationsLeft = -1;

} // namespace velloid::gpu

#if !__has_feature(thread_sanitizer)

void* operator new(std::size_t size) {
    using velloid::gpu::allocationsLeft;
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

// Address sanitizer has one of its own, which would not fit our delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#endif
