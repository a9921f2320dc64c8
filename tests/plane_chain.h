// The chain as plainly as it can be put together: the public effects on whole planes, one after the other. The render
// driver streams rows instead, and must give the same bits.
#pragma once

#include "metal/renderer.h"

#include <vector>

namespace velloid::test {

// The frame that p describes: width * height * components floats without padding, codes of p.io. Strides are ignored;
// scales must be finite and above 0.
std::vector<float> renderPlanes(const std::vector<float>& source, const MetalFrameParams& p);

} // namespace velloid::test
