// The kernel tests on the machine's OpenCL runtime.
#include "metal/devices/opencl_device.h"
#include "tests/metal/frame_rig.h"
#include "tests/metal/kernel_rig.h"

#include <iostream>

namespace velloid::gpu {

RigSource rigSource() {
    const std::shared_ptr<OpenClHostQueue> own = OpenClHostQueue::create();
    if (!own) return {nullptr, nullptr, "no OpenCL runtime with a device on this machine"};
    std::cout << "OpenCL device: " << own->deviceName() << "\n";
    return {own, openclRuntime()->wrapQueue(own->queue()), {}};
}

FrameRig frameRig() {
    const std::shared_ptr<OpenClHostQueue> own = OpenClHostQueue::create();
    if (!own) return {nullptr, nullptr, nullptr, "no OpenCL runtime with a device on this machine"};
    return {own, openclRuntime(), own->queue(), {}};
}

} // namespace velloid::gpu
