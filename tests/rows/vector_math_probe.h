// The elementary functions of rows/vector_math.inl over arrays, at each instruction set.
#pragma once

#include <cstddef>

namespace tarnwell::test {

struct VectorMathProbe {
    void (*exp2)(const double* in, double* out, std::size_t n);
    void (*log2)(const double* in, double* out, std::size_t n);
    void (*sin2Pi)(const double* in, double* out, std::size_t n);
};

extern const VectorMathProbe PROBE_BASELINE;
extern const VectorMathProbe PROBE_AVX2;
extern const VectorMathProbe PROBE_AVX512;

} // namespace tarnwell::test
