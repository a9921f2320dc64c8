// The Objective-C++ of the Metal device, compiled here and run against stand-in objects: selectors, argument order,
// ownership, completion and error paths. That the real framework answers to these selectors only an Apple machine
// shows.
#include "metal/devices/metal_device.h"

#include "color/lut3d.h"
#include "metal/device_context.h"
#include "metal/frame_encoder.h"
#include "tests/metal/failing_new.h"
#include "tests/metal/standin/standin_metal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace velloid::gpu {
namespace {

using testing::IsEmpty;
using testing::Not;

constexpr int W = 21;
constexpr int H = 13;
constexpr std::size_t FLOATS = W * H * 4;

std::vector<float> codes() {
    std::vector<float> image(FLOATS);
    for (std::size_t i = 0; i < FLOATS; ++i)
        image[i] = 0.2f + 0.5f * static_cast<float>(i % 97) / 97.0f;
    return image;
}

template <typename Function>
std::string logOf(Function function) {
    testing::internal::CaptureStderr();
    function();
    return testing::internal::GetCapturedStderr();
}

class MetalDevice : public testing::Test {
protected:
    StandInMetal metal;
    Runtime& runtime = metalFramework();
    void* queue = metal.newQueue();
    void* src = newImage();
    void* dst = newImage();
    MetalFrameParams p;
    LUT3D lut;

    MetalDevice() {
        p.width = W;
        p.height = H;
        p.components = 4;
        lut.size = 2;
        lut.id = 31;
        lut.data.assign(8, RGB{0.25f, 0.5f, 0.75f});
    }

    void TearDown() override {
        metal.reference().resume();
        shutdown();
        const Counters c = counters();
        EXPECT_EQ(c.apiCalls + c.contextWaiters + c.asyncOps, 0u);
        EXPECT_EQ(c.contexts + c.commandBuffers + c.framesInFlight, 0u);
        metal.reference().joinThreads();
        EXPECT_EQ(metal.strayObjects(), 0) << "Metal objects that nobody released";
        for (void* object : {queue, src, dst, metal.device()}) {
            EXPECT_EQ(metal.retainCountOf(object), 1) << "the host's own objects";
        }
        EXPECT_THAT(metal.reference().complaints(), IsEmpty());
    }

    void* newImage() {
        void* image = metal.newBuffer(FLOATS * sizeof(float));
        const std::vector<float> start = codes();
        std::copy(start.begin(), start.end(), metal.floatsOf(image));
        return image;
    }

    void switchEverythingOn() {
        p.detail = p.bloom = p.halation = p.grain = p.color = p.weave = p.bw = p.flicker = 0.5;
        p.look = 2;
        p.alexaSceneFit = true;
        p.outputLut = &lut;
        p.outputLutStrength = 0.5;
    }

    bool render() { return renderFrame(runtime, queue, src, dst, p); }
    bool copy() { return passthrough(runtime, queue, src, dst, W, H, 4, 0, 0); }
    std::vector<float> result(void* image) const { return {metal.floatsOf(image), metal.floatsOf(image) + FLOATS}; }
};

TEST_F(MetalDevice, RendersTheVeryFrameOfTheDeviceBehindIt) {
    switchEverythingOn();
    ReferenceRuntime direct;
    void* directQueue = direct.hostQueue(direct.hostDevice());
    std::vector<float> want(FLOATS);
    ASSERT_TRUE(renderFrameFromHost(direct, directQueue, codes().data(), want.data(), p));
    shutdown(); // lets go of `direct`
    ASSERT_TRUE(render());
    runtime.joinThreads();
    EXPECT_EQ(result(dst), want);
    std::vector<float> copied(FLOATS);
    ASSERT_TRUE(renderFrameFromHost(runtime, queue, codes().data(), copied.data(), p));
    EXPECT_EQ(copied, want);
    EXPECT_EQ(metal.reference().live().libraries, 0) << "a library is not needed once its pipelines are built";
}

TEST_F(MetalDevice, CompilesWithFastMathForOneVersionOfTheLanguage) {
    ASSERT_TRUE(render());
    EXPECT_TRUE(metal.lastFastMath());
    EXPECT_EQ(metal.lastLanguageVersion(), (2 << 16) + 3);
}

TEST_F(MetalDevice, AsksForTheFastMathThatHonoursInfinitiesWhereThereIsOne) {
    metal.offerMathMode(false);
    ASSERT_TRUE(render());
    EXPECT_EQ(metal.lastMathMode(), -1) << "a system that does not know the word";
    shutdown();
    metal.offerMathMode(true);
    ASSERT_TRUE(render());
    EXPECT_EQ(metal.lastMathMode(), 1) << "relaxed";
    metal.offerMathMode(false);
}

TEST_F(MetalDevice, CopiesRows) {
    metal.floatsOf(src)[5] = 9.0f;
    ASSERT_TRUE(passthrough(runtime, queue, src, dst, 4, 8, 2, 30, 25));
    runtime.joinThreads();
    EXPECT_EQ(metal.floatsOf(dst)[5], 9.0f);
    EXPECT_EQ(metal.floatsOf(dst)[7 * 25 + 7], metal.floatsOf(src)[7 * 30 + 7]);
    EXPECT_EQ(metal.reference().executed(), std::vector<std::string>(8, "blit"));
}

TEST_F(MetalDevice, IsTheSameDeviceForQueueAndBuffer) {
    const auto wrapped = runtime.wrapQueue(queue);
    EXPECT_TRUE(sameDevice(wrapped->device(), runtime.wrapBuffer(src)->device()));
    EXPECT_EQ(wrapped->device()->name(), "Stand-in");
    EXPECT_EQ(wrapped->device()->handle(), metal.device());
    EXPECT_EQ(runtime.wrapBuffer(src)->length(), FLOATS * sizeof(float));
    EXPECT_EQ(runtime.wrapBuffer(src)->contents(), nullptr) << "what a host gives is not ours to read";
    EXPECT_EQ(runtime.wrapQueue(nullptr), nullptr);
    EXPECT_EQ(runtime.wrapBuffer(nullptr), nullptr);
}

TEST_F(MetalDevice, RunsHandlersElsewhereAndDropsWhatTheyHold) {
    const auto held = std::make_shared<int>(1);
    std::atomic<bool> elsewhere = false;
    const auto commands = runtime.wrapQueue(queue)->commandBuffer();
    commands->addCompletedHandler([held, &elsewhere, caller = std::this_thread::get_id()](CommandBuffer& done) {
        elsewhere = done.status() == CommandBufferStatus::Completed && std::this_thread::get_id() != caller;
    });
    EXPECT_EQ(commands->status(), CommandBufferStatus::NotCommitted);
    commands->waitUntilCompleted(); // at once: never committed
    commands->commit();
    runtime.joinThreads();
    EXPECT_TRUE(elsewhere);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(commands->status(), CommandBufferStatus::Completed);
    EXPECT_EQ(commands->error(), "");
}

TEST_F(MetalDevice, ForgetsTheHandlersOfACommandBufferThatIsDropped) {
    const auto held = std::make_shared<int>(1);
    runtime.wrapQueue(queue)->commandBuffer()->addCompletedHandler([held](CommandBuffer&) { FAIL(); });
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(MetalDevice, EndsAnEncoderThatIsGivenUp) {
    runtime.wrapQueue(queue)->commandBuffer()->computeCommandEncoder();
    runtime.wrapQueue(queue)->commandBuffer()->blitCommandEncoder();
    EXPECT_THAT(metal.reference().complaints(), IsEmpty());
}

TEST_F(MetalDevice, FailsWithTheWordsOfTheFramework) {
    metal.reference().fail(Fault::Library);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }),
              "[Tarnwell/Metal] Library-Compile fehlgeschlagen: reference device: told to refuse the library\n");
    metal.reference().fail(Fault::Pipeline, 2);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }),
              "[Tarnwell/Metal] Pipeline k_blur_v: reference device: told to refuse the pipeline\n");
    metal.raiseOnFailure(true);
    metal.reference().fail(Fault::Library);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }),
              "[Tarnwell/Metal] Library-Compile fehlgeschlagen: raised: library\n");
    metal.reference().fail(Fault::Pipeline, 2);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }), "[Tarnwell/Metal] Pipeline k_blur_v: raised: pipeline\n");
    std::string error;
    const auto library = runtime.wrapQueue(queue)->device()->newLibraryWithSource("no kernel in here", {true}, error);
    EXPECT_EQ(library, nullptr);
    EXPECT_EQ(error, "raised: library");
}

TEST_F(MetalDevice, HasNoPipelineOfAnUnknownFunction) {
    std::string error;
    const auto library = runtime.wrapQueue(queue)->device()->newLibraryWithSource("KERNEL void k_copy(", {true}, error);
    ASSERT_NE(library, nullptr) << error;
    EXPECT_THAT(library->functionNames(), testing::ElementsAre("k_copy"));
    EXPECT_EQ(library->newComputePipelineState("k_nothing", error), nullptr);
    EXPECT_EQ(error, "no such function");
    EXPECT_NE(library->newComputePipelineState("k_copy", error), nullptr);
}

TEST_F(MetalDevice, FailsQuietlyWithoutCommandBuffersOrEncoders) {
    for (const bool raises : {false, true}) {
        metal.raiseOnFailure(raises);
        for (const Fault fault : {Fault::CommandBuffer, Fault::ComputeEncoder}) {
            metal.reference().fail(fault);
            EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }), "");
        }
        for (const Fault fault : {Fault::CommandBuffer, Fault::BlitEncoder}) {
            metal.reference().fail(fault);
            EXPECT_EQ(logOf([this] { EXPECT_FALSE(copy()); }), "");
        }
    }
    EXPECT_TRUE(render());
}

TEST_F(MetalDevice, GivesEverythingBackWhicheverBufferCanNotBeHad) {
    switchEverythingOn();
    for (const bool raises : {false, true}) {
        metal.raiseOnFailure(raises);
        int failures = 0;
        for (bool rendered = false; !rendered; ++failures) {
            ASSERT_LT(failures, 200);
            shutdown();
            metal.reference().fail(Fault::Buffer, failures);
            const std::string log = logOf([&] { rendered = render(); });
            runtime.joinThreads();
            EXPECT_EQ(log.empty(), failures < 8 || rendered) << "buffer " << failures << ": " << log;
            EXPECT_EQ(counters().framesInFlight, 0u) << "buffer " << failures;
        }
        EXPECT_GT(failures, 20);
        metal.reference().fail(Fault::Buffer, 0, 0);
    }
}

TEST_F(MetalDevice, LogsFramesAndCopiesThatFailOnTheGpu) {
    const auto failing = [this](auto operation) {
        metal.reference().fail(Fault::Execution);
        return logOf([&] {
            EXPECT_TRUE(operation());
            runtime.joinThreads();
        });
    };
    EXPECT_EQ(failing([this] { return render(); }),
              "[Tarnwell/Metal] Asynchroner Frame fehlgeschlagen: reference device: told to fail\n");
    EXPECT_EQ(failing([this] { return copy(); }),
              "[Tarnwell/Metal] Passthrough fehlgeschlagen: reference device: told to fail\n");
    metal.reference().fail(Fault::Execution);
    std::vector<float> out(FLOATS);
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, codes().data(), out.data(), p));
}

TEST_F(MetalDevice, FailsAFrameWhoseCommitTheFrameworkRefuses) {
    metal.raiseOnCommit();
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }),
              "[Tarnwell/Metal] Asynchroner Frame fehlgeschlagen: raised: commit\n");
    EXPECT_EQ(counters().framesInFlight, 0u);
    metal.raiseOnCommit();
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(copy()); }), "[Tarnwell/Metal] Passthrough fehlgeschlagen: raised: commit\n");
    EXPECT_EQ(counters().asyncOps, 0u);
    metal.raiseOnCommit();
    std::vector<float> out(FLOATS);
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, codes().data(), out.data(), p));
    EXPECT_THAT(metal.reference().executed(), IsEmpty());
}

TEST_F(MetalDevice, DropsTheHandlersOfACommitWithoutMemory) {
    if (!NEW_CAN_FAIL) GTEST_SKIP() << "thread sanitizer";
    const auto held = std::make_shared<int>(1);
    {
        const auto commands = runtime.wrapQueue(queue)->commandBuffer();
        commands->addCompletedHandler([held](CommandBuffer&) { FAIL(); });
        allocationsLeft = 0;
        EXPECT_THROW(commands->commit(), std::bad_alloc);
    }
    EXPECT_LT(allocationsLeft, 0) << "nothing was allocated";
    EXPECT_EQ(held.use_count(), 1);
    runtime.joinThreads(); // waits for nothing that will never come
}

TEST_F(MetalDevice, DoesNotCommitWhatCouldNotBeEncoded) {
    p.detail = 1.0;
    metal.raiseWhileEncoding();
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(render()); }),
              "[Tarnwell/Metal] Asynchroner Frame fehlgeschlagen: raised: setBytes\n");
    EXPECT_THAT(metal.reference().executed(), IsEmpty());
    EXPECT_TRUE(render());
    runtime.joinThreads();
    EXPECT_THAT(metal.reference().executed(), Not(IsEmpty()));
    EXPECT_THAT(metal.reference().complaints(), IsEmpty());
}

TEST_F(MetalDevice, SurvivesAPurgeAndAShutdownWithFramesInFlight) {
    switchEverythingOn();
    metal.reference().pause();
    ASSERT_TRUE(render());
    ASSERT_TRUE(copy());
    purgeCaches();
    EXPECT_EQ(counters().framesInFlight, 1u);
    auto ended = std::async(std::launch::async, [] { shutdown(); });
    while (MetalApiGuard())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_FALSE(render());
    metal.reference().resume();
    ended.get();
    EXPECT_EQ(counters().contexts, 0u);
    metal.reference().joinThreads(); // the framework lets go of a command buffer after its handlers
    EXPECT_EQ(metal.strayObjects(), 0) << "every pipeline, plane and table is released";
    EXPECT_TRUE(render()) << "starts afresh";
}

TEST_F(MetalDevice, RendersOnManyThreadsWhileOthersPurgeAndShutDown) {
    p.grain = p.weave = 1.0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, own = metal.newQueue(), in = newImage(), out = newImage()] {
            for (int round = 0; round < 10; ++round) {
                renderFrame(runtime, own, in, out, p);
                passthrough(runtime, own, out, in, W, H, 4, 0, 0);
            }
        });
    }
    threads.emplace_back([] {
        for (int round = 0; round < 30; ++round)
            purgeCaches();
    });
    threads.emplace_back([] {
        for (int round = 0; round < 10; ++round)
            shutdown();
    });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace velloid::gpu
