// Row kernels: Gaussian blur passes.
#pragma once

namespace velloid {

struct BlurRows {};

} // namespace velloid
