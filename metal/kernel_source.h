// The kernel text that the plug-in carries: metal/kernels/library.metal with everything that it includes, made by the
// build. Valid as it stands in the Metal Shading Language and in OpenCL C 1.2, and in C++ with <cmath> and the like
// included before it. The build leaves the same text as tarnwell_kernels.metal.
#pragma once

#include <string>

namespace velloid {

// The whole text.
std::string kernelSource();

} // namespace velloid
