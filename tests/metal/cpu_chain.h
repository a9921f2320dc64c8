// The CPU chain for a frame that is described in the renderer's terms.
#pragma once

#include "metal/renderer.h"

#include <vector>

namespace velloid::gpu {

// The image as the CPU path renders it: width * height * components floats without padding, codes of p.io. Strides are
// ignored; scales must be finite and above 0.
std::vector<float> renderOnCpuChain(const std::vector<float>& source, const MetalFrameParams& p);

} // namespace velloid::gpu
