// Text of a probe; the including file names PROBE_NAMESPACE and PROBE_TABLE. See rows/text.inl for its rules.
#include <cstddef>
#include <cstdint>

#include "tests/rows/vector_math_probe.h"

#if defined(__FMA__) || defined(__aarch64__)
#define ROWS_FUSED 1
#else
#define ROWS_FUSED 0
#endif

namespace velloid::PROBE_NAMESPACE {

#include "rows/lanes.inl"
#include "rows/vector_math.inl"

static void exp2Row(const double* __restrict in, double* __restrict out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = exp2Of(in[i]);
}

static void log2Row(const double* __restrict in, double* __restrict out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = log2Of(in[i]);
}

static void sin2PiRow(const double* __restrict in, double* __restrict out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = sin2PiOf(in[i]);
}

} // namespace velloid::PROBE_NAMESPACE

const tarnwell::test::VectorMathProbe tarnwell::test::PROBE_TABLE = {
    velloid::PROBE_NAMESPACE::exp2Row, velloid::PROBE_NAMESPACE::log2Row, velloid::PROBE_NAMESPACE::sin2PiRow};
