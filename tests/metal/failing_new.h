// A test program with an operator new of its own (failing_new.cpp), so that one chosen allocation of a thread fails.
#pragma once

namespace velloid::gpu {

// Allocations of this thread that succeed before one fails; negative: none fails, or it has failed.
extern thread_local int allocationsLeft;

} // namespace velloid::gpu
