// The kernels' constant records as the host fills them: the very text that the kernels read, held to its layout.
#pragma once

#include <cstddef>

namespace velloid {

#include "metal/kernels/params.h"

using MetalFrameParamsGPU = FrameParams;

// clang-format off
static_assert(sizeof(int) == 4 && sizeof(float) == 4);
static_assert(sizeof(FrameParams) == 308);
static_assert(offsetof(FrameParams, W)              ==   0);
static_assert(offsetof(FrameParams, H)              ==   4);
static_assert(offsetof(FrameParams, io)             ==   8);
static_assert(offsetof(FrameParams, components)     ==  12);
static_assert(offsetof(FrameParams, premultiplied)  ==  16);
static_assert(offsetof(FrameParams, srcStride)      ==  20);
static_assert(offsetof(FrameParams, dstStride)      ==  24);
static_assert(offsetof(FrameParams, ioHasMatrix)    ==  28);
static_assert(offsetof(FrameParams, toAWG4)         ==  32);
static_assert(offsetof(FrameParams, fromAWG4)       ==  68);
static_assert(offsetof(FrameParams, flickR)         == 104);
static_assert(offsetof(FrameParams, flickG)         == 108);
static_assert(offsetof(FrameParams, flickB)         == 112);
static_assert(offsetof(FrameParams, detail)         == 116);
static_assert(offsetof(FrameParams, scatter)        == 120);
static_assert(offsetof(FrameParams, sharpAmtR)      == 124);
static_assert(offsetof(FrameParams, sharpAmtG)      == 128);
static_assert(offsetof(FrameParams, sharpAmtB)      == 132);
static_assert(offsetof(FrameParams, bloom)          == 136);
static_assert(offsetof(FrameParams, bloomKnee)      == 140);
static_assert(offsetof(FrameParams, halStrength)    == 144);
static_assert(offsetof(FrameParams, halKnee)        == 148);
static_assert(offsetof(FrameParams, halW1)          == 152);
static_assert(offsetof(FrameParams, halW2)          == 156);
static_assert(offsetof(FrameParams, halTintR)       == 160);
static_assert(offsetof(FrameParams, halTintG)       == 164);
static_assert(offsetof(FrameParams, halTintB)       == 168);
static_assert(offsetof(FrameParams, grain)          == 172);
static_assert(offsetof(FrameParams, grainSeed)      == 176);
static_assert(offsetof(FrameParams, grainMono)      == 180);
static_assert(offsetof(FrameParams, grainFrame)     == 184);
static_assert(offsetof(FrameParams, corrRG)         == 188);
static_assert(offsetof(FrameParams, corrGB)         == 192);
static_assert(offsetof(FrameParams, corrBR)         == 196);
static_assert(offsetof(FrameParams, color)          == 200);
static_assert(offsetof(FrameParams, lutSize)        == 204);
static_assert(offsetof(FrameParams, lutLogDomain)   == 208);
static_assert(offsetof(FrameParams, lutMinR)        == 212);
static_assert(offsetof(FrameParams, lutMinG)        == 216);
static_assert(offsetof(FrameParams, lutMinB)        == 220);
static_assert(offsetof(FrameParams, lutInvR)        == 224);
static_assert(offsetof(FrameParams, lutInvG)        == 228);
static_assert(offsetof(FrameParams, lutInvB)        == 232);
static_assert(offsetof(FrameParams, bw)             == 236);
static_assert(offsetof(FrameParams, alexaSceneFit)  == 240);
static_assert(offsetof(FrameParams, outLutStrength) == 244);
static_assert(offsetof(FrameParams, outLutSize)     == 248);
static_assert(offsetof(FrameParams, outLutDomain)   == 252);
static_assert(offsetof(FrameParams, outLutActive)   == 256);
static_assert(offsetof(FrameParams, outMinR)        == 260);
static_assert(offsetof(FrameParams, outMinG)        == 264);
static_assert(offsetof(FrameParams, outMinB)        == 268);
static_assert(offsetof(FrameParams, outInvR)        == 272);
static_assert(offsetof(FrameParams, outInvG)        == 276);
static_assert(offsetof(FrameParams, outInvB)        == 280);
static_assert(offsetof(FrameParams, weaveDx)        == 284);
static_assert(offsetof(FrameParams, weaveDy)        == 288);
static_assert(offsetof(FrameParams, weaveCos)       == 292);
static_assert(offsetof(FrameParams, weaveSinX)      == 296);
static_assert(offsetof(FrameParams, weaveSinY)      == 300);
static_assert(offsetof(FrameParams, weaveActive)    == 304);

static_assert(sizeof(GrainParams) == 176);
static_assert(offsetof(GrainParams, nodeY)          ==   0);
static_assert(offsetof(GrainParams, sigR)           ==  44);
static_assert(offsetof(GrainParams, sigG)           ==  88);
static_assert(offsetof(GrainParams, sigB)           == 132);
// clang-format on

} // namespace velloid
