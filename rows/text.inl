// The whole text of the row kernels. Each file in rows/levels/ names its namespace in ROWS_NAMESPACE and includes this.
//
// Rules of this text, because it is compiled for processors that the rest of the program may not have:
// nothing from the standard library that could be instantiated (the linker may keep that copy for everybody), only
// <cstddef>, <cstdint> and compiler builtins; every function static; multiply-adds written as fmadd; comparisons in the
// order that makes a NaN take the intended side; no pointer may alias another unless its header says so.
#include <cstddef>
#include <cstdint>

#include "rows/kernels.h"
#include "rows/logc4_constants.h"

#if defined(__FMA__) || defined(__aarch64__)
#define ROWS_FUSED 1
#else
#define ROWS_FUSED 0
#endif

namespace velloid::ROWS_NAMESPACE {

#include "rows/lanes.inl"

#include "rows/vector_math.inl"

#include "rows/transfer_rows.inl"

#include "rows/blur_rows.inl"

#include "rows/effect_rows.inl"

#include "rows/grain_rows.inl"

#include "rows/lut_rows.inl"

#include "rows/pixel_rows.inl"

#include "rows/weave_rows.inl"

extern const RowKernels KERNELS;
const RowKernels KERNELS = {TRANSFER_ROWS, BLUR_ROWS, EFFECT_ROWS, GRAIN_ROWS, LUT_ROWS, PIXEL_ROWS, WEAVE_ROWS};

} // namespace velloid::ROWS_NAMESPACE
