// The reference device keeps the contract and notices who does not.
#include "tests/metal/reference_device.h"

#include "metal/kernel_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace velloid::gpu {
namespace {

struct ReferenceDevice : testing::Test {
    ReferenceRuntime runtime;
    void* device = runtime.hostDevice();
    void* hostQueue = runtime.hostQueue(device);
    std::shared_ptr<CommandQueue> queue = runtime.wrapQueue(hostQueue);
    std::string error;

    std::shared_ptr<ComputePipelineState> pipeline(const char* name) {
        const auto library = queue->device()->newLibraryWithSource(kernelSource(), {true}, error);
        return library ? library->newComputePipelineState(name, error) : nullptr;
    }

    // Halves a 4 x 4 plane of `source` into `destination`.
    void encodeHalve(CommandBuffer& commands, const std::shared_ptr<Buffer>& source,
                     const std::shared_ptr<Buffer>& destination) {
        const int dims[4] = {4, 4, 2, 2};
        const auto encoder = commands.computeCommandEncoder();
        encoder->setComputePipelineState(pipeline("k_down2"));
        encoder->setBuffer(source, 0);
        encoder->setBuffer(destination, 1);
        encoder->setBytes(dims, sizeof dims, 2);
        encoder->dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
        encoder->endEncoding();
    }

    std::shared_ptr<Buffer> ones() {
        const std::vector<float> values(16, 1.0f);
        return queue->device()->newBufferWithBytes(values.data(), 64);
    }
};

TEST_F(ReferenceDevice, RunsAKernelAndThenTheHandlerOnAThreadOfItsOwn) {
    const auto source = ones();
    const auto destination = queue->device()->newBufferWithLength(16, StorageMode::Shared);
    const auto commands = queue->commandBuffer();
    encodeHalve(*commands, source, destination);
    std::atomic<bool> elsewhere = false;
    commands->addCompletedHandler([&, caller = std::this_thread::get_id()](CommandBuffer& done) {
        elsewhere = done.status() == CommandBufferStatus::Completed && std::this_thread::get_id() != caller;
    });
    EXPECT_EQ(commands->status(), CommandBufferStatus::NotCommitted);
    commands->commit();
    commands->waitUntilCompleted();
    EXPECT_EQ(commands->status(), CommandBufferStatus::Completed);
    EXPECT_EQ(static_cast<float*>(destination->contents())[3], 1.0f);
    runtime.joinThreads();
    EXPECT_TRUE(elsewhere);
    EXPECT_THAT(runtime.complaints(), testing::IsEmpty());
    EXPECT_THAT(runtime.executed(), testing::ElementsAre("k_down2"));
}

TEST_F(ReferenceDevice, CopiesBetweenHostBuffersInOrder) {
    void* a = runtime.hostBuffer(device, 32);
    void* b = runtime.hostBuffer(device, 32);
    std::memset(runtime.hostFloats(a), 0, 32);
    runtime.hostFloats(a)[2] = 5.0f;
    const auto from = runtime.wrapBuffer(a);
    const auto to = runtime.wrapBuffer(b);
    EXPECT_EQ(from->contents(), nullptr);
    const auto commands = queue->commandBuffer();
    const auto blit = commands->blitCommandEncoder();
    blit->copyFromBuffer(from, 8, to, 0, 4);
    blit->copyFromBuffer(to, 0, to, 16, 4);
    blit->endEncoding();
    commands->commit();
    commands->waitUntilCompleted();
    EXPECT_EQ(runtime.hostFloats(b)[0], 5.0f);
    EXPECT_EQ(runtime.hostFloats(b)[4], 5.0f);
    EXPECT_THAT(runtime.complaints(), testing::IsEmpty());
}

TEST_F(ReferenceDevice, FailsWhereItIsTold) {
    runtime.fail(Fault::Library);
    EXPECT_EQ(pipeline("k_copy"), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("library"));
    runtime.fail(Fault::Pipeline);
    EXPECT_EQ(pipeline("k_copy"), nullptr);
    EXPECT_NE(pipeline("k_copy"), nullptr) << "only once";
    EXPECT_EQ(pipeline("k_nothing"), nullptr);
    runtime.fail(Fault::Buffer, 1);
    EXPECT_NE(ones(), nullptr);
    EXPECT_EQ(ones(), nullptr);
    runtime.fail(Fault::CommandBuffer);
    EXPECT_EQ(queue->commandBuffer(), nullptr);
    const auto commands = queue->commandBuffer();
    runtime.fail(Fault::ComputeEncoder);
    EXPECT_EQ(commands->computeCommandEncoder(), nullptr);
    runtime.fail(Fault::BlitEncoder);
    EXPECT_EQ(commands->blitCommandEncoder(), nullptr);
    runtime.fail(Fault::Execution);
    commands->commit();
    commands->waitUntilCompleted();
    EXPECT_EQ(commands->status(), CommandBufferStatus::Error);
    EXPECT_FALSE(commands->error().empty());
    EXPECT_EQ(runtime.calls(Fault::BlitEncoder), 1);
}

TEST_F(ReferenceDevice, HoldsCommandsBackWhilePaused) {
    runtime.pause();
    const auto commands = queue->commandBuffer();
    commands->commit();
    EXPECT_EQ(commands->status(), CommandBufferStatus::Committed);
    runtime.resume();
    commands->waitUntilCompleted();
    EXPECT_EQ(commands->status(), CommandBufferStatus::Completed);
}

TEST_F(ReferenceDevice, NoticesBindingsThatAreNotTheKernels) {
    const auto buffer = ones();
    const auto commands = queue->commandBuffer();
    const auto encoder = commands->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline("k_copy"));
    encoder->setBuffer(buffer, 0);
    encoder->setBuffer(buffer, 1); // and no constant record at 9
    encoder->dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
    encoder->endEncoding();
    EXPECT_THAT(runtime.complaints(), testing::ElementsAre(testing::HasSubstr("k_copy")));
}

TEST_F(ReferenceDevice, NoticesABufferGivenBackTooEarly) {
    runtime.pause();
    const auto commands = queue->commandBuffer();
    encodeHalve(*commands, ones(), ones());
    commands->commit();
    runtime.resume();
    commands->waitUntilCompleted();
    EXPECT_EQ(commands->status(), CommandBufferStatus::Error);
    EXPECT_THAT(runtime.complaints(), testing::ElementsAre(testing::HasSubstr("given back")));
}

TEST_F(ReferenceDevice, NoticesAnEncoderLeftOpen) {
    queue->commandBuffer()->computeCommandEncoder();
    EXPECT_THAT(runtime.complaints(), testing::ElementsAre(testing::HasSubstr("endEncoding")));
}

TEST_F(ReferenceDevice, CountsWhatIsAlive) {
    const int before = runtime.live().total();
    {
        const auto buffer = ones();
        const auto commands = queue->commandBuffer();
        EXPECT_EQ(runtime.live().buffers, 1);
        EXPECT_EQ(runtime.live().commandBuffers, 1);
        commands->addCompletedHandler([held = ones()](CommandBuffer&) {});
        commands->commit();
        commands->waitUntilCompleted();
    }
    runtime.joinThreads();
    EXPECT_EQ(runtime.live().total(), before) << "handlers are dropped with what they hold";
}

TEST_F(ReferenceDevice, TellsDevicesApart) {
    void* other = runtime.hostDevice();
    EXPECT_TRUE(sameDevice(queue->device(), runtime.wrapQueue(hostQueue)->device()));
    EXPECT_FALSE(sameDevice(queue->device(), runtime.wrapBuffer(runtime.hostBuffer(other, 4))->device()));
    EXPECT_EQ(runtime.wrapQueue(nullptr), nullptr);
    EXPECT_EQ(runtime.wrapBuffer(this), nullptr);
}

} // namespace
} // namespace velloid::gpu
