// The kernel tests on the reference device.
#include "tests/metal/frame_rig.h"
#include "tests/metal/kernel_rig.h"
#include "tests/metal/reference_device.h"

namespace velloid::gpu {

RigSource rigSource() {
    auto runtime = std::make_shared<ReferenceRuntime>();
    auto queue = runtime->wrapQueue(runtime->hostQueue(runtime->hostDevice()));
    return {runtime, std::move(queue), {}};
}

FrameRig frameRig() {
    const auto runtime = std::make_shared<ReferenceRuntime>();
    return {runtime, runtime.get(), runtime->hostQueue(runtime->hostDevice()), {}};
}

} // namespace velloid::gpu
