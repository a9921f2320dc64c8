// A runtime with a queue to render frames on. Each test program links one definition.
#pragma once

#include "metal/compute_device.h"

#include <memory>
#include <string>

namespace velloid::gpu {

struct FrameRig {
    std::shared_ptr<void> owner; // keeps runtime and queue alive
    Runtime* runtime = nullptr;  // null: nothing to run on
    void* queue = nullptr;
    std::string why; // for a skip, when there is no runtime
};
FrameRig frameRig();

} // namespace velloid::gpu
