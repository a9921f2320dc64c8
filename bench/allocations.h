// How much memory a piece of work takes. The program's operator new and delete count; blocks that come from elsewhere
// do not show.
#pragma once

#include <cstddef>

namespace tarnwell::bench {

// Bytes beyond those allocated when it was made, at most, over its life. One at a time.
class PeakMemory {
public:
    PeakMemory();
    std::size_t bytes() const;

private:
    std::size_t start;
};

} // namespace tarnwell::bench
