// What changes the pixels of a row where they stand: n pixels of three planar rows, which do not overlap.
#pragma once

#include <cstddef>
#include <functional>

namespace velloid {

using RowFunction = std::function<void(float* r, float* g, float* b, std::size_t n)>;

// The same conversion for each of the three; `in` and `out` are one row.
inline RowFunction onEachChannel(void (*convert)(const float* in, float* out, std::size_t n)) {
    return [=](float* r, float* g, float* b, std::size_t n) {
        for (float* row : {r, g, b})
            convert(row, row, n);
    };
}

} // namespace velloid
