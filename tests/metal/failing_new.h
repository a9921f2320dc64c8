// A test program with an operator new of its own (failing_new.cpp), so that one chosen allocation of a thread fails.
#pragma once

#include "tests/bundle/sanitizers.h"

namespace velloid::gpu {

// Thread sanitizer's own operator new takes no other beside it.
constexpr bool NEW_CAN_FAIL = !test::THREAD_SANITIZER;

// Allocations of this thread that succeed before one fails; negative: none fails, or it has failed.
extern thread_local int allocationsLeft;

} // namespace velloid::gpu
