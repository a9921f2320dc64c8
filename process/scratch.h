// Scratch memory of the effects: a block of floats that starts with whatever was there, because its first use
// overwrites it. All scratch of the effects comes from here, so that blocks can be kept between frames in one place.
#pragma once

#include <cstddef>
#include <memory>

namespace velloid {

// Samples of h rows of w; also the offset of row h in a plane of width w.
inline std::size_t samplesOf(int w, int h) {
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

class Scratch {
public:
    // Room for `count` floats, not initialised. Throws std::bad_alloc.
    explicit Scratch(std::size_t count);

    float* data() { return block.get(); }
    const float* data() const { return block.get(); }
    std::size_t size() const { return count; }

private:
    std::unique_ptr<float[]> block;
    std::size_t count;
};

} // namespace velloid
