// Compiled with -ffast-math: the compiler may assume that no value is infinite or not a number, as Metal's may.
#ifndef KERNELS_FUNCTION
#define KERNELS_NAMESPACE fast_math_kernels
#define KERNELS_FUNCTION fastMathKernels
#endif
#include "tests/metal/reference_kernels.inl"
