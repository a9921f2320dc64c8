// Row kernels: the noise of film grain, and its addition to the frame.
//
// A deviate is a Gaussian number of standard deviation 1/sqrt(3), drawn by Box-Muller from two hashes of 24 bits each:
//   z = sqrt(-2 ln u1) cos(2 pi u2) / sqrt(3),   u1 = (k1 + 1/2) / 2^24,   u2 = k2 / 2^24
// It depends on nothing but its key, so a pixel's noise is the same in every tile and on every thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velloid {

// Grain amplitude against code: constant below the first node, linear between nodes, constant above the last.
struct GrainCurve {
    static constexpr int EDGES = 11;
    // A code c lies in segment k, the number of edges with c > edge. Each edge is the largest float that is not above
    // its node, which makes the comparison in float the comparison with the node itself.
    float edge[EDGES];
    struct Segment {
        double slope;
        double offset;
    } segment[EDGES + 1];
};

struct GrainRows {
    // deviate[i] = the deviate of key columnKey[i] ^ rowKey.
    void (*deviates)(const std::uint32_t* columnKey, std::uint32_t rowKey, double* deviate, std::size_t n);

    // noise[i] = amplitude at code[i] * deviate[i]. A NaN takes the first node's amplitude; infinities take the end
    // nodes'.
    void (*amplify)(const float* code, const double* deviate, const GrainCurve& curve, float* noise, std::size_t n);

    // code[i] += own[i] + weightA * otherA[i] + weightB * otherB[i], but never above 1 or above itself where it
    // exceeds 1. A NaN stays NaN. The codes must not overlap the noise; noise rows may be one and the same.
    void (*combine)(float* code, const float* own, const float* otherA, double weightA, const float* otherB,
                    double weightB, std::size_t n);
};

} // namespace velloid
