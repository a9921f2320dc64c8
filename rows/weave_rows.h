// Row kernels: The gate weave's warp.
#pragma once

namespace velloid {

struct WeaveRows {};

} // namespace velloid
