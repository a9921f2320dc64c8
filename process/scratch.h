// Scratch memory of the effects: a block of floats that starts with whatever was there, because its first use
// overwrites it. Blocks that are done with are kept for the next frame, since fresh pages cost more than most effects
// do to them; purgeScratch hands them back.
#pragma once

#include <cstddef>
#include <utility>

namespace velloid {

// Samples of h rows of w; also the offset of row h in a plane of width w.
inline std::size_t samplesOf(int w, int h) {
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

class Scratch {
public:
    // Room for `count` floats, not initialised, on a cache line. Throws std::bad_alloc.
    explicit Scratch(std::size_t count);
    ~Scratch();
    Scratch(Scratch&& other) noexcept : block(std::exchange(other.block, nullptr)), count(other.count) {}
    Scratch& operator=(Scratch&& other) noexcept {
        std::swap(block, other.block);
        std::swap(count, other.count);
        return *this;
    }

    float* data() { return block; }
    const float* data() const { return block; }
    std::size_t size() const { return count; }

private:
    float* block;
    std::size_t count;
};

// Bytes of scratch in this process.
struct ScratchUse {
    std::size_t lent; // in use
    std::size_t kept; // waiting for the next frame
    std::size_t peak; // largest `lent` since the last resetScratchPeak
};

ScratchUse scratchUse();
void resetScratchPeak();

// Gives the kept blocks back to the system. Callable at any time, from any thread.
void purgeScratch();

} // namespace velloid
