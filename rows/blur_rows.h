// Row kernels: the passes of the Gaussian blur and the steps of its half-resolution ladder.
//
// A sum runs from the first tap to the last, in double, and is stored as float. A float times a float is exact in
// double, so these sums have the same bits with and without a fused multiply-add. Rows must not overlap.
#pragma once

#include <cstddef>

namespace velloid {

// Output rows that one call of `down` makes at most.
constexpr int BLUR_BLOCK_ROWS = 4;

// What `acrossNear` takes: at most this radius, at least so many samples.
constexpr int BLUR_NEAR_RADIUS = 3;
constexpr int BLUR_NEAR_SAMPLES = 8;

struct BlurRows {
    // padded[i] = row[clamp(i - r, 0, n - 1)] for 0 <= i < n + 2r; n >= 1.
    void (*widen)(const float* row, std::size_t n, std::size_t r, double* padded);

    // out[x] = sum over t of taps[t] * padded[x + t], 0 <= t <= 2r, for n samples.
    void (*across)(const double* padded, const double* taps, std::size_t r, float* out, std::size_t n);

    // The same from floats that nobody widened, `row` being what `padded` is: for 1 <= r <= BLUR_NEAR_RADIUS and
    // n >= BLUR_NEAR_SAMPLES.
    void (*acrossNear)(const float* row, const double* taps, std::size_t r, float* out, std::size_t n);

    // out[k][x] = sum over t of taps[t] * rows[k + t][x], 0 <= t <= 2r, for `count` (1 .. BLUR_BLOCK_ROWS) rows of n
    // samples; `rows` names 2r + count of them.
    void (*down)(const float* const* rows, const double* taps, std::size_t r, float* const* out, int count,
                 std::size_t n);

    // out[x] = mean of the 2 x 2 block at column 2x, summed in float; n source samples give (n + 1) / 2.
    void (*halve)(const float* upper, const float* lower, std::size_t n, float* out);

    // Twice as many samples, interpolated at half-pixel centres: n source samples give 2n.
    void (*doubleRow)(const float* row, std::size_t n, double* out);

    // out[x] = row[left[x]] * (1 - weight[x]) + row[right[x]] * weight[x].
    void (*stretchRow)(const float* row, const int* left, const int* right, const double* weight, double* out,
                       std::size_t n);

    // out = upper * (1 - weight) + lower * weight.
    void (*mix)(const double* upper, const double* lower, double weight, float* out, std::size_t n);
};

} // namespace velloid
