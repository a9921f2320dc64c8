// What changes the pixels of a row where they stand: n pixels of three planar rows, which do not overlap.
#pragma once

#include <cstddef>
#include <functional>

namespace velloid {

using RowFunction = std::function<void(float* r, float* g, float* b, std::size_t n)>;

} // namespace velloid
