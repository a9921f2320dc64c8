#include "process/scratch.h"

namespace velloid {

Scratch::Scratch(std::size_t floats) : block(std::make_unique_for_overwrite<float[]>(floats)), count(floats) {}

} // namespace velloid
