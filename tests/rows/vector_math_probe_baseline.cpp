#define PROBE_NAMESPACE probe_baseline
#define PROBE_TABLE PROBE_BASELINE
#include "tests/rows/vector_math_probe.inl"
