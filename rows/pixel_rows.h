// Row kernels: the host's interleaved pixels to planar code values and back. Code values travel in double between here
// and the transfer rows, so that an 8-bit or premultiplied sample is rounded only once, when the plane is stored.
#pragma once

#include <cstddef>

namespace velloid {

enum class RowSample : int { Byte, Short, Float };

struct RowFormat {
    RowSample type;     // byte 0..255, short 0..65535, float as it is
    int components;     // 3 or 4 samples per pixel, packed
    bool premultiplied; // colour is multiplied by alpha; only with 4 components
};

struct PixelRows {
    // n pixels of `source` to code values r, g, b, un-premultiplied (0 where alpha is not finite or at most 1e-12).
    // `alpha`, when not null, receives alpha clamped to [0, 1] (+infinity 1; -infinity and NaN 0).
    void (*importPixels)(const RowFormat& format, const void* source, std::size_t n, double* r, double* g, double* b,
                         float* alpha);
    // n pixels of code values to `output`. Floats are stored unclamped; bytes and shorts clamped to [0, 1] and rounded,
    // halves upwards. With 4 components alpha comes from `alpha` when not null, else unchanged from `source`.
    void (*exportPixels)(const RowFormat& format, const double* r, const double* g, const double* b, const float* alpha,
                         const void* source, std::size_t n, void* output);
};

} // namespace velloid
