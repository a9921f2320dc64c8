// Row kernels: Element-wise steps of the effects.
#pragma once

namespace velloid {

struct EffectRows {};

} // namespace velloid
