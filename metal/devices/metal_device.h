// The Metal framework of this system behind the GPU contract. Defined where there is one: on Apple, and in the tests on
// a stand-in.
#pragma once

#include "metal/compute_device.h"

namespace velloid::gpu {

Runtime& metalFramework();

} // namespace velloid::gpu
