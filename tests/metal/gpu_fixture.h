// A renderer on the reference device, torn down after each test: every counter has to be back at 0, every device object
// given back, and no rule of the device contract broken.
#pragma once

#include "metal/device_context.h"
#include "metal/frame_encoder.h"
#include "tests/metal/reference_device.h"
#include "tests/metal/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

namespace velloid::gpu {

// Runs a function on a thread of its own; its result is there when get() returns.
template <typename Function>
auto inBackground(Function function) {
    return std::async(std::launch::async, std::move(function));
}

// What `function` writes to standard error.
template <typename Function>
std::string logOf(Function function) {
    testing::internal::CaptureStderr();
    function();
    return testing::internal::GetCapturedStderr();
}

class GpuTest : public testing::Test {
protected:
    ReferenceRuntime runtime;
    void* device = runtime.hostDevice();
    void* queue = runtime.hostQueue(device);

    void TearDown() override {
        runtime.resume();
        shutdown();
        runtime.joinThreads(); // a test that used no frame has not made shutdown wait for the device's own thread
        expectNothingLeft();
        EXPECT_THAT(runtime.complaints(), testing::IsEmpty());
    }

    void expectNothingLeft() const {
        const Counters c = counters();
        EXPECT_EQ(c.apiCalls, 0u);
        EXPECT_EQ(c.contextWaiters, 0u);
        EXPECT_EQ(c.asyncOps, 0u);
        EXPECT_EQ(c.commandBuffers, 0u);
        EXPECT_EQ(c.contexts, 0u);
        EXPECT_EQ(c.framesInFlight, 0u);
        EXPECT_EQ(runtime.live().total(), 0) << "device objects that nobody gave back";
    }

    std::shared_ptr<Device> newDevice() { return runtime.wrapQueue(queue)->device(); }

    // A host image of `floats` floats that starts as a ramp of codes.
    void* newImage(std::size_t floats) {
        void* image = runtime.hostBuffer(device, floats * sizeof(float));
        float* values = runtime.hostFloats(image);
        for (std::size_t i = 0; i < floats; ++i)
            values[i] = 0.2f + 0.5f * static_cast<float>(i % 97) / 97.0f;
        return image;
    }
};

} // namespace velloid::gpu
