// The row kernels with fused multiply-adds but no vectors beyond the pairs that are written by hand (rows/lanes.inl):
// the same text, otherwise one sample at a time. What a vectorised level must equal bit for bit, also on machines that
// run only one such level. Only for processors that support a fused level (rowLevelIsFused).
#pragma once

#include "rows/kernels.h"

namespace velloid::rows_fused_scalar {

extern const RowKernels KERNELS;

} // namespace velloid::rows_fused_scalar
