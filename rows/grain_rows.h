// Row kernels: Film grain.
#pragma once

namespace velloid {

struct GrainRows {};

} // namespace velloid
