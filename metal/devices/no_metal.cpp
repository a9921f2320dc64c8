// The whole story for machines without Metal.
#include "metal/compute_device.h"

namespace velloid::gpu {

Runtime* metalRuntime() {
    return nullptr;
}

} // namespace velloid::gpu
