#define PROBE_NAMESPACE probe_avx2
#define PROBE_TABLE PROBE_AVX2
#include "tests/rows/vector_math_probe.inl"
