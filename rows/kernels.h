// The table of row kernels: functions over a run of samples with no allocation, no lock and no branch per pixel that a
// select can replace. Each family is declared in a header of its own and written once, in the .inl of the same name;
// rows/levels/ compiles that text once per instruction set.
#pragma once

#include "rows/blur_rows.h"
#include "rows/effect_rows.h"
#include "rows/grain_rows.h"
#include "rows/level.h"
#include "rows/lut_rows.h"
#include "rows/pixel_rows.h"
#include "rows/transfer_rows.h"
#include "rows/weave_rows.h"

namespace velloid {

struct RowKernels {
    TransferRows transfer;
    BlurRows blur;
    EffectRows effect;
    GrainRows grain;
    LutRows lut;
    PixelRows pixel;
    WeaveRows weave;
};

// The kernels of the active level.
const RowKernels& rowKernels();

// The kernels of one level, or null when it is not supported here.
const RowKernels* rowKernelsOf(RowLevel level);

} // namespace velloid
