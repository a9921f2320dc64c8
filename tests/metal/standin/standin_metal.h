// A Metal framework of Objective-C objects in front of the reference device: the kernels run as C++ on a thread of
// their own, every call can be told to fail, and every object is counted.
#pragma once

#include "tests/metal/reference_device.h"

#include <cstddef>

namespace velloid::gpu {

class StandInMetal {
public:
    // A device (`id<MTLDevice>`) and what a host makes of it, each with one retain of ours until the end.
    StandInMetal();
    ~StandInMetal();
    StandInMetal(const StandInMetal&) = delete;
    StandInMetal& operator=(const StandInMetal&) = delete;

    void* device() const;
    void* newQueue();                    // id<MTLCommandQueue>
    void* newBuffer(std::size_t length); // id<MTLBuffer>
    float* floatsOf(void* buffer) const;
    int retainCountOf(void* object) const;

    // Failures, pauses and what ran.
    ReferenceRuntime& reference();

    // Lets calls that are told to fail raise an exception instead of returning nil.
    void raiseOnFailure(bool raises);
    // Lets the next commit raise, or the next value that is bound.
    void raiseOnCommit();
    void raiseWhileEncoding();

    // Objects that are alive beyond those that this host holds.
    int strayObjects() const;

    // What the last library was compiled with.
    bool lastFastMath() const;
    int lastLanguageVersion() const;

    // Whether compile options have the `mathMode` of macOS 15, and what it was last set to; -1: not.
    void offerMathMode(bool offers);
    int lastMathMode() const;

    struct State;

private:
    State* state;
};

} // namespace velloid::gpu
