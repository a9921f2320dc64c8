// The OpenCL device against the contract, on the runtime of this machine, as a host application would use it.
#include "metal/devices/opencl_device.h"

#include "metal/compute_device.h"
#include "metal/devices/opencl_api.h"
#include "metal/frame_params.h"
#include "metal/kernel_source.h"
#include "tests/metal/failing_new.h"
#include "tests/metal/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <numeric>
#include <thread>

namespace velloid::gpu {
namespace {

using namespace velloid::opencl;

// Small kernels of the tests' own: these tests are about the device.
constexpr const char* SOURCE = R"(
__kernel void addTo(__global float* values, const float amount, const int count) {
    const int i = (int)get_global_id(0) + 16 * (int)get_global_id(1);
    if (i < count) values[i] += amount;
}
__kernel void twice(__global float* values, const int count) {
    const int i = (int)get_global_id(0) + 16 * (int)get_global_id(1);
    if (i < count) values[i] *= 2.0f;
}
)";

struct OpenClDevice : testing::Test {
    std::unique_ptr<OpenClHostQueue> host = OpenClHostQueue::create();
    std::shared_ptr<CommandQueue> queue;
    std::shared_ptr<Library> library;
    std::string error;

    void SetUp() override {
        if (!host) GTEST_SKIP() << "no OpenCL runtime with a device on this machine";
        queue = openclRuntime()->wrapQueue(host->queue());
        ASSERT_NE(queue, nullptr);
        library = queue->device()->newLibraryWithSource(SOURCE, {true}, error);
        ASSERT_NE(library, nullptr) << error;
    }

    // values[0 .. count) += amount; indices as a kernel of ours would have them, with a gap.
    void add(ComputeCommandEncoder& encoder, const std::shared_ptr<Buffer>& values, float amount, int count) {
        encoder.setComputePipelineState(library->newComputePipelineState("addTo", error));
        encoder.setBytes(&count, sizeof count, 9);
        encoder.setBuffer(values, 0);
        encoder.setBytes(&amount, sizeof amount, 4);
        encoder.dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
    }

    void twice(ComputeCommandEncoder& encoder, const std::shared_ptr<Buffer>& values, int count) {
        encoder.setComputePipelineState(library->newComputePipelineState("twice", error));
        encoder.setBuffer(values, 0);
        encoder.setBytes(&count, sizeof count, 1);
        encoder.dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
    }

    template <typename Encode>
    std::shared_ptr<CommandBuffer> run(Encode encode) {
        return runOn(*queue, encode);
    }

    template <typename Encode>
    static std::shared_ptr<CommandBuffer> runOn(CommandQueue& on, Encode encode) {
        auto commands = on.commandBuffer();
        const auto encoder = commands->computeCommandEncoder();
        encode(*encoder);
        encoder->endEncoding();
        commands->commit();
        commands->waitUntilCompleted();
        return commands;
    }

    std::shared_ptr<Buffer> buffer(const std::vector<float>& values) {
        return queue->device()->newBufferWithBytes(values.data(), values.size() * sizeof(float));
    }

    static std::vector<float> read(Buffer& from) {
        std::vector<float> values(from.length() / sizeof(float));
        const void* bytes = from.contents();
        EXPECT_NE(bytes, nullptr);
        if (bytes) std::memcpy(values.data(), bytes, from.length());
        return values;
    }
};

TEST_F(OpenClDevice, BindsArgumentsByTheRankOfTheirIndexAndRunsInOrder) {
    const auto values = buffer({1, 2, 3});
    const auto done = run([&](ComputeCommandEncoder& encoder) {
        add(encoder, values, 10, 3);
        twice(encoder, values, 2);
        add(encoder, values, 1, 3);
    });
    EXPECT_EQ(done->status(), CommandBufferStatus::Completed) << done->error();
    EXPECT_THAT(read(*values), testing::ElementsAre(23, 25, 14));
}

TEST_F(OpenClDevice, CarriesSharedBytesBothWays) {
    // Below and above the size that keeps a copy on the host, made from bytes and empty.
    for (const std::size_t count : {std::size_t{3}, std::size_t{5000}}) {
        std::vector<float> start(count, 1.0f);
        for (const auto& values :
             {buffer(start), queue->device()->newBufferWithLength(4 * count, StorageMode::Shared)}) {
            auto* host_bytes = static_cast<float*>(values->contents());
            ASSERT_NE(host_bytes, nullptr);
            std::fill_n(host_bytes, count, 5.0f); // after creation, before commit: as the constant record is filled
            run([&](ComputeCommandEncoder& encoder) { add(encoder, values, 1, 2); });
            std::vector<float> got = read(*values);
            EXPECT_EQ(got[1], 6.0f);
            EXPECT_EQ(got[2], 5.0f);
            run([&](ComputeCommandEncoder& encoder) { add(encoder, values, 1, 2); });
            EXPECT_EQ(read(*values)[0], 7.0f);
        }
    }
    EXPECT_EQ(queue->device()->newBufferWithLength(16, StorageMode::Private)->contents(), nullptr);
}

TEST_F(OpenClDevice, CopiesRowsBetweenTheHostsBuffers) {
    std::vector<float> image(12);
    std::iota(image.begin(), image.end(), 0.0f);
    cl_int code = CL_SUCCESS;
    const auto context = static_cast<cl_context>(host->context());
    const cl_mem from =
        api()->clCreateBuffer(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, 48, image.data(), &code);
    std::vector<float> result(12, -1.0f);
    const cl_mem to =
        api()->clCreateBuffer(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, 48, result.data(), &code);
    {
        const auto source = openclRuntime()->wrapBuffer(from);
        const auto destination = openclRuntime()->wrapBuffer(to);
        ASSERT_TRUE(source && destination);
        EXPECT_EQ(source->length(), 48u);
        EXPECT_EQ(source->contents(), nullptr);
        EXPECT_TRUE(sameDevice(source->device(), queue->device()));
        const auto commands = queue->commandBuffer();
        const auto blit = commands->blitCommandEncoder();
        for (std::size_t row = 0; row < 2; ++row)
            blit->copyFromBuffer(source, row * 12, destination, row * 12, 12);
        blit->copyFromBuffer(source, 36, destination, 32, 8); // a row with a gap before it
        blit->endEncoding();
        commands->commit();
        commands->waitUntilCompleted();
        EXPECT_EQ(commands->status(), CommandBufferStatus::Completed) << commands->error();
    }
    openclRuntime()->joinThreads();
    api()->clEnqueueReadBuffer(static_cast<cl_command_queue>(host->queue()), to, CL_TRUE, 0, 48, result.data(), 0,
                               nullptr, nullptr);
    EXPECT_THAT(result, testing::ElementsAre(0, 1, 2, 3, 4, 5, -1, -1, 9, 10, -1, -1));
    cl_uint references = 0;
    api()->clGetMemObjectInfo(from, CL_MEM_REFERENCE_COUNT, sizeof references, &references, nullptr);
    EXPECT_EQ(references, 1u) << "every retain of a host's buffer is matched by a release";
    api()->clReleaseMemObject(from);
    api()->clReleaseMemObject(to);
}

TEST_F(OpenClDevice, GivesBackQueueAndContext) {
    const auto references = [&](auto call, auto handle, cl_uint what) {
        cl_uint count = 0;
        call(handle, what, sizeof count, &count, nullptr);
        return count;
    };
    const auto ofQueue = [&] {
        return references(api()->clGetCommandQueueInfo, static_cast<cl_command_queue>(host->queue()),
                          CL_QUEUE_REFERENCE_COUNT);
    };
    const auto ofContext = [&] {
        return references(api()->clGetContextInfo, static_cast<cl_context>(host->context()),
                          CL_CONTEXT_REFERENCE_COUNT);
    };
    const cl_uint queueBefore = ofQueue();
    const cl_uint contextBefore = ofContext();
    {
        const auto own = openclRuntime()->wrapQueue(host->queue());
        const auto values = own->device()->newBufferWithLength(8192, StorageMode::Shared);
        const auto commands = own->commandBuffer();
        commands->addCompletedHandler([held = values, own](CommandBuffer&) {});
        commands->commit();
        EXPECT_NE(values->contents(), nullptr);
    }
    openclRuntime()->joinThreads();
    // A runtime's own threads may let go a little later.
    waitUntil([&] { return ofQueue() == queueBefore && ofContext() == contextBefore; });
}

TEST_F(OpenClDevice, RunsHandlersOnceOnAThreadOfItsOwnAfterTheStatus) {
    std::atomic<int> runs = 0;
    std::atomic<bool> proper = true;
    for (int i = 0; i < 20; ++i) {
        const auto commands = queue->commandBuffer();
        for (int k = 0; k < 2; ++k) {
            commands->addCompletedHandler([&, caller = std::this_thread::get_id()](CommandBuffer& done) {
                ++runs;
                if (done.status() != CommandBufferStatus::Completed || std::this_thread::get_id() == caller) {
                    proper = false;
                }
            });
        }
        commands->commit();
    }
    openclRuntime()->joinThreads();
    EXPECT_EQ(runs, 40);
    EXPECT_TRUE(proper);
}

TEST_F(OpenClDevice, ServesSeveralThreadsWithOneLibrary) {
    const auto pipeline = library->newComputePipelineState("addTo", error); // one kernel object for all
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const auto values = buffer({0, 0});
            const auto commands = queue->commandBuffer();
            const auto encoder = commands->computeCommandEncoder();
            for (int i = 0; i < 25; ++i) {
                const float amount = static_cast<float>(t + 1);
                const int count = 2;
                encoder->setComputePipelineState(pipeline);
                encoder->setBuffer(values, 0);
                encoder->setBytes(&amount, sizeof amount, 1);
                encoder->setBytes(&count, sizeof count, 2);
                encoder->dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
            }
            encoder->endEncoding();
            commands->commit();
            commands->waitUntilCompleted();
            if (read(*values)[1] == 25.0f * static_cast<float>(t + 1)) ++right;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 4);
}

TEST_F(OpenClDevice, MakesAnUnorderedQueueRunInOrder) {
    cl_int code = CL_SUCCESS;
    cl_device_id device = nullptr;
    const auto context = static_cast<cl_context>(host->context());
    ASSERT_EQ(api()->clGetContextInfo(context, CL_CONTEXT_DEVICES, sizeof device, &device, nullptr), CL_SUCCESS);
    const cl_command_queue loose =
        api()->clCreateCommandQueue(context, device, CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE, &code);
    if (!loose) GTEST_SKIP() << "the runtime has no unordered queues";
    {
        const auto wrapped = openclRuntime()->wrapQueue(loose);
        const auto values = buffer({1, 1});
        const auto done = runOn(*wrapped, [&](ComputeCommandEncoder& encoder) {
            for (int i = 0; i < 8; ++i) {
                add(encoder, values, 1, 2);
                twice(encoder, values, 2);
            }
        });
        EXPECT_EQ(done->status(), CommandBufferStatus::Completed) << done->error();
        EXPECT_EQ(read(*values)[0], 256.0f + 510.0f);
    }
    openclRuntime()->joinThreads();
    api()->clReleaseCommandQueue(loose);
}

TEST_F(OpenClDevice, ReportsWhatTheCompilerSays) {
    EXPECT_EQ(queue->device()->newLibraryWithSource("__kernel void broken(", {true}, error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("clBuildProgram"));
    EXPECT_THAT(error, testing::HasSubstr("error:")) << "the build log";
    error.clear();
    EXPECT_EQ(library->newComputePipelineState("nothing", error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("clCreateKernel"));
    EXPECT_THAT(library->functionNames(), testing::UnorderedElementsAre("addTo", "twice"));
}

TEST_F(OpenClDevice, DoesNotTakeACommandBufferThatItCanNotEnqueue) {
    const auto values = buffer({1});
    const auto held = std::make_shared<int>(1);
    const auto commands = queue->commandBuffer();
    commands->addCompletedHandler([held](CommandBuffer&) { FAIL(); });
    const auto encoder = commands->computeCommandEncoder();
    add(*encoder, values, 10, 1);
    encoder->setComputePipelineState(library->newComputePipelineState("addTo", error));
    encoder->setBuffer(values, 0);
    encoder->dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
    encoder->endEncoding();
    EXPECT_FALSE(commands->commit());
    EXPECT_EQ(read(*values)[0], 11.0f) << "what was enqueued before is over";
    commands->waitUntilCompleted(); // at once
    EXPECT_EQ(commands->status(), CommandBufferStatus::Error);
    EXPECT_EQ(commands->error(), "addTo: 1 arguments bound, 3 declared");
    openclRuntime()->joinThreads();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(OpenClDevice, LosesNothingWhicheverAllocationOfACommitFails) {
    if (!NEW_CAN_FAIL) GTEST_SKIP() << "thread sanitizer";
    const auto values = buffer({0});
    run([&](ComputeCommandEncoder& encoder) { add(encoder, values, 0, 1); }); // whatever the runtime makes only once
    const auto held = std::make_shared<int>(1);
    int failures = 0;
    for (bool committed = false; !committed; ++failures) {
        ASSERT_LT(failures, 50);
        const auto commands = queue->commandBuffer();
        commands->addCompletedHandler([held](CommandBuffer&) {});
        const auto encoder = commands->computeCommandEncoder();
        add(*encoder, values, 1, 1);
        encoder->endEncoding();
        allocationsLeft = failures;
        try {
            committed = commands->commit();
        } catch (const std::bad_alloc&) {
            EXPECT_LT(allocationsLeft, 0);
        }
        allocationsLeft = -1;
        commands->waitUntilCompleted();
        openclRuntime()->joinThreads();
        EXPECT_EQ(commands->status(), committed ? CommandBufferStatus::Completed : CommandBufferStatus::Error)
            << "allocation " << failures;
        EXPECT_EQ(held.use_count(), 1) << "allocation " << failures;
    }
    EXPECT_GT(failures, 1);
}

TEST_F(OpenClDevice, RefusesWhatItCannotMakeOrDoesNotKnow) {
    EXPECT_EQ(queue->device()->newBufferWithLength(0, StorageMode::Private), nullptr);
    EXPECT_EQ(queue->device()->newBufferWithLength(std::size_t{1} << 62, StorageMode::Private), nullptr);
    EXPECT_EQ(openclRuntime()->wrapQueue(nullptr), nullptr);
    EXPECT_EQ(openclRuntime()->wrapBuffer(nullptr), nullptr);
    EXPECT_FALSE(queue->device()->name().empty());
    const auto other = OpenClHostQueue::create();
    EXPECT_FALSE(sameDevice(queue->device(), openclRuntime()->wrapQueue(other->queue())->device()));
}

} // namespace
} // namespace velloid::gpu
