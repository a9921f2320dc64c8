// Row kernels: the warp of the gate weave, a Lanczos-3 resampling of pixels that moved almost alike.
//
// A pixel at source position s = i + f (i whole, 0 <= f <= 1) takes the samples i - 2 .. i + 3 of each axis. With
// d = f + 2 .. f - 3 the weight sinc(d) sinc(d/3) is, up to a factor that all six share, +-sin(pi d / 3) / d^2; and
// only three such sines differ: A = sin(pi f/3), C = sin(pi (1-f)/3) and B = sin(pi (f+1)/3) = A + C. Multiplying by
// the six squares instead of dividing by one leaves a second shared factor. The sum over the weights takes both out
// again.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velloid {

constexpr int WEAVE_TAPS = 6;

// Source positions along one output row: x' = (centreX + cosine tx) + alongX and y' = (centreY - sinY tx) + alongY,
// tx = (x - centreX) - dx.
struct WeaveRow {
    double centreX;
    double centreY;
    double dx;
    double cosine;
    double sinY;
    double alongX; // sinX ty
    double alongY; // cosine ty
};

// Taps of a run of output pixels.
struct WeaveTaps {
    static constexpr int CAPACITY = 128;
    std::int32_t column[CAPACITY]; // whole part of the source position
    std::int32_t row[CAPACITY];
    double columnWeight[WEAVE_TAPS][CAPACITY]; // unnormalised
    double rowWeight[WEAVE_TAPS][CAPACITY];
    double scale[CAPACITY]; // 1 / (sum of the column weights * sum of the row weights)
};

struct WeaveRows {
    // Taps of output pixels x .. x + n - 1, n <= WeaveTaps::CAPACITY. Source positions must lie within +-2^30. Returns
    // true when all pixels lie on one source row and column[i] = column[0] + i.
    bool (*place)(const WeaveRow& row, int x, std::size_t n, WeaveTaps& taps);

    // Samples to double.
    void (*widen)(const float* samples, double* widened, std::size_t n);

    // out[i] = the sample at pixel first + i of the taps, whose n pixels must be in step as `place` reports it.
    // samples[j][i + k] is the source at tap row j, tap column k of output i.
    void (*blend)(const WeaveTaps& taps, std::size_t first, std::size_t n, const double* const samples[WEAVE_TAPS],
                  float* out);
};

} // namespace velloid
