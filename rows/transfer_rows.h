// Row kernels: transfer curves and pixel matrices.
// Every curve is one of five shapes; its constants come from the table row of its encoding (color/curves/), folded into
// one multiply-add before the power or logarithm and one after it.
#pragma once

#include <cstddef>

namespace velloid {

enum class CurveShape {
    Identity,
    LogToe,      // a straight line below a cut, an exponential or logarithm from it on
    MirroredLog, // the logarithm mirrored at its zero, with or without a straight line between the halves
    Parabola,    // constant, then a parabola, then a logarithm
    Power,       // a pure power of the non-negative part
};

// One direction of one curve. With `in` the value that comes and E the elementary function of the direction
// (2^y for decoding, log2(y) for encoding):
//   LogToe       in < cut:    slope*in + intercept
//                else         gain*E(rate*in + start) + bias
//   MirroredLog  in < cut2:   -(gain*E(start2 - rate*in) + bias2)
//                in < cut:    slope*in + intercept
//                else         gain*E(start + rate*in) + bias
//   Parabola     in >= cut:   gain*E(rate*in + start) + bias
//                in >= cut2:  decode sqrt(slope*in) - intercept, encode slope*(in + intercept)^2
//                else, NaN    floor
//   Power        in > 0: in^rate, else 0
struct CurveRow {
    CurveShape shape = CurveShape::Identity;
    double cut = 0.0;
    double cut2 = 0.0;
    double slope = 0.0;
    double intercept = 0.0;
    double rate = 0.0;
    double start = 0.0;
    double start2 = 0.0;
    double gain = 0.0;
    double bias = 0.0;
    double bias2 = 0.0;
    double floor = 0.0;
};

// The scene fit in LogC4 codes, y the luma of the codes:
//   n = r*code.r + g*code.g + b*code.b + y1*y + y2*y^2 + y3*y^3 + offset, held at or above 0
struct SceneFit {
    struct Channel {
        double r, g, b, y1, y2, y3, offset;
    };
    double luma[3];
    Channel channel[3];
};

struct TransferRows {
    // LogC4 code of n linear AWG4 samples, and back. `out` is `in` or does not overlap it. NaN stays NaN, infinities
    // keep their sign, codes below 0 lie on the straight line.
    void (*logc4Encode)(const float* in, float* out, std::size_t n);
    void (*logc4Decode)(const float* in, float* out, std::size_t n);

    // n pixels of three planar rows in place: non-finite to 0, curve, non-finite to 0, matrix (row-major, null: none),
    // non-finite to 0. The rows must not overlap.
    void (*decode)(float* r, float* g, float* b, std::size_t n, const CurveRow& curve, const double* matrix);

    // The way back: non-finite to 0, matrix, curve, non-finite to 0.
    void (*encode)(float* r, float* g, float* b, std::size_t n, const CurveRow& curve, const double* matrix);

    // The scene fit of n linear AWG4 pixels in place, strength in (0, 1]. Nothing is sanitised. No overlap.
    void (*sceneFit)(float* r, float* g, float* b, std::size_t n, double strength, const SceneFit& fit);
};

} // namespace velloid
