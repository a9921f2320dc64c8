#define PROBE_NAMESPACE probe_avx512
#define PROBE_TABLE PROBE_AVX512
#include "tests/rows/vector_math_probe.inl"
