#define KERNELS_NAMESPACE kernels
#define KERNELS_FUNCTION compiledKernels
#include "tests/metal/reference_kernels.inl"
