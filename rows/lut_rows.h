// Row kernels: 3D table lookups.
#pragma once

namespace velloid {

struct LutRows {};

} // namespace velloid
