#define PROBE_NAMESPACE probe_fused_scalar
#define PROBE_TABLE PROBE_FUSED_SCALAR
#include "tests/rows/vector_math_probe.inl"
