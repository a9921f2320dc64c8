// One frame as one command buffer: validation, the constant record, the passes in film order, commit.
#pragma once

#include "metal/compute_device.h"
#include "metal/frame_params.h"
#include "metal/renderer.h"

namespace velloid::gpu {

// The five operations of renderer.h, on any runtime. None throws.
bool renderFrame(Runtime& runtime, void* queue, void* src, void* dst, const MetalFrameParams& p);
bool renderFrameFromHost(Runtime& runtime, void* queue, const float* src, float* dst, const MetalFrameParams& p);
bool passthrough(Runtime& runtime, void* queue, void* src, void* dst, int width, int height, int components,
                 int srcStride, int dstStride);

// Sets the two matrices of an encoding and whether they apply.
void fillIOMatrices(int io, MetalFrameParamsGPU& g);

// A frame time as the kernels' frame number: half a frame added, then truncated toward zero; 0 when not finite.
int gpuFrameNumber(double time);

} // namespace velloid::gpu
