// Machines that have Metal.
#include "metal/devices/metal_device.h"

namespace velloid::gpu {

Runtime* metalRuntime() {
    return &metalFramework();
}

} // namespace velloid::gpu
