// A frame in a GPU's buffers.
#pragma once

#include "ofx/ofx.h"
#include "plugin/frame.h"

namespace velloid {

// A GPU runtime: how a host asks for it.
enum class GpuRuntime { None, Metal, OpenCl };

// The runtime that the host wants this frame to be rendered with.
GpuRuntime requestedRuntime(OfxPropertySetHandle inArgs);

// Renders the frame with the runtime, on the queue of the arguments. kOfxStatErrUnsupported for images that the GPU
// renderer does not take. With Metal the frame is rendered there or the answer is kOfxStatFailed; an OpenCL device that
// refuses it, or has not shown that it computes right, leaves it to the CPU.
OfxStatus renderOnGpu(const Frame& frame, GpuRuntime runtime, OfxPropertySetHandle inArgs);

} // namespace velloid
