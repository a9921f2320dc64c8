// Frames in flight and frames that fail: what the caller is told, what the log says, and that nothing stays behind.
#include "color/looks.h"
#include "tests/metal/gpu_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>

namespace velloid::gpu {
namespace {

using testing::AnyOf;
using testing::IsEmpty;

constexpr char FAILED[] = "[Tarnwell/Metal] Render-Aufbau fehlgeschlagen: ";

class FrameFailure : public GpuTest {
protected:
    static constexpr int W = 16;
    static constexpr int H = 10;
    void* src = newImage(W * H * 4);
    void* dst = newImage(W * H * 4);
    MetalFrameParams p;
    LUT3D lut;

    FrameFailure() {
        p.width = W;
        p.height = H;
        p.components = 4;
    }

    void switchEverythingOn() {
        p.detail = p.bloom = p.halation = p.grain = p.color = p.weave = p.bw = p.flicker = 0.5;
        p.look = 2;
        p.alexaSceneFit = true;
        lut.size = 2;
        lut.id = 4711;
        lut.data.assign(8, RGB{0.25f, 0.5f, 0.75f});
        p.outputLut = &lut;
        p.outputLutStrength = 1.0;
    }

    bool render() { return renderFrame(runtime, queue, src, dst, p); }
    bool copy() { return passthrough(runtime, queue, src, dst, W, H, 4, 0, 0); }

    // Renders a frame that is to fail while it is encoded; its line in the log.
    std::string logOfFailure() {
        const std::string log = logOf([this] { EXPECT_FALSE(render()); });
        EXPECT_EQ(counters().framesInFlight, 0u) << "the planes were not given back";
        EXPECT_EQ(counters().asyncOps, 0u);
        EXPECT_EQ(counters().commandBuffers, 0u);
        EXPECT_EQ(runtime.live().commandBuffers, 0) << "the command buffer outlives its frame";
        return log;
    }

    void forgetPipeline(const std::string& name) {
        PlaneSet* planes = nullptr;
        DeviceCtx* ctx = contextAndPlanes(newDevice(), 64, planes);
        ctx->pipelines.erase(name);
        releasePlanes(ctx, planes, false);
    }
};

TEST_F(FrameFailure, SaysThatAPipelineIsMissing) {
    forgetPipeline("k_bw");
    p.bw = 1.0;
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "fehlende Metal-Pipeline\n");
    EXPECT_THAT(runtime.executed(), IsEmpty()) << "never committed";
}

TEST_F(FrameFailure, SaysThatThePyramidsPipelineIsMissing) {
    forgetPipeline("k_blur_v_d");
    p.bloom = 1.0;
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "fehlende Metal-Pipeline\n");
}

TEST_F(FrameFailure, SaysThatTheGrainPipelineIsMissing) {
    forgetPipeline("k_grain_prepare");
    p.grain = 1.0;
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "fehlende Grain-Pipeline/Buffer\n");
}

TEST_F(FrameFailure, SaysThatALookCanNotBeLoaded) {
    ASSERT_TRUE(render()); // pipelines and planes are there
    runtime.joinThreads();
    p.color = 1.0;
    p.look = 5;
    runtime.fail(Fault::Buffer, 1); // after the constant record
    const std::string log = logOf([this] { EXPECT_FALSE(render()); });
    EXPECT_EQ(log, std::string(FAILED) + "Print-Look konnte nicht geladen werden\n");
}

TEST_F(FrameFailure, SaysThatAnOutputTableIsInvalid) {
    p.outputLut = &lut;
    p.outputLutStrength = 1.0;
    for (const int size : {0, 1, -3, 4097, 2}) {
        lut.size = size; // and no data
        EXPECT_EQ(logOfFailure(), std::string(FAILED) + "ungültige Output-LUT\n") << size;
    }
    lut.data.resize(9);
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "ungültige Output-LUT\n") << "one entry too many";
}

TEST_F(FrameFailure, SaysThatABlurIsTooWide) {
    p.width = 16;
    p.height = 2000;
    src = newImage(16 * 2000 * 4);
    dst = newImage(16 * 2000 * 4);
    p.bloom = 1.0;
    p.effectScaleX = 64.0; // too narrow for the pyramid, and a sigma of 64 * 0.024 * 2000
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "Gaussian-Radius überschreitet Sicherheitslimit\n");
}

TEST_F(FrameFailure, GivesEverythingBackWhicheverBufferCanNotBeHad) {
    switchEverythingOn();
    int failures = 0;
    for (bool rendered = false; !rendered; ++failures) {
        ASSERT_LT(failures, 200);
        shutdown(); // from scratch: planes, weights, look and table
        runtime.fail(Fault::Buffer, failures);
        const std::string log = logOf([&] {
            rendered = render();
            runtime.joinThreads();
        });
        EXPECT_THAT(log, AnyOf("", std::string(FAILED) + "std::bad_alloc\n",
                               std::string(FAILED) + "Print-Look konnte nicht geladen werden\n"))
            << "buffer " << failures;
        // The planes and the constant record fail quietly, whatever comes after says why.
        EXPECT_EQ(log.empty(), failures < 8 || rendered) << "buffer " << failures;
        EXPECT_EQ(counters().framesInFlight, 0u) << "buffer " << failures;
        EXPECT_EQ(counters().asyncOps, 0u) << "buffer " << failures;
    }
    EXPECT_GT(failures, 20) << "planes, record, weights, grain, look and output table";
    runtime.fail(Fault::Buffer, 0, 0);
}

TEST_F(FrameFailure, FailsQuietlyWithoutACommandBufferOrEncoder) {
    runtime.fail(Fault::CommandBuffer);
    EXPECT_EQ(logOfFailure(), "");
    runtime.fail(Fault::ComputeEncoder);
    EXPECT_EQ(logOfFailure(), "");
    EXPECT_TRUE(render());
}

TEST_F(FrameFailure, FailsWhenTheKernelsDoNotBuild) {
    runtime.fail(Fault::Library);
    EXPECT_EQ(logOfFailure(),
              "[Tarnwell/Metal] Library-Compile fehlgeschlagen: reference device: told to refuse the library\n");
    runtime.fail(Fault::Pipeline, 20);
    EXPECT_EQ(logOfFailure(),
              "[Tarnwell/Metal] Pipeline k_encode_out: reference device: told to refuse the pipeline\n");
    EXPECT_TRUE(render());
}

TEST_F(FrameFailure, LogsAnAsynchronousFrameThatFailsOnTheGpu) {
    runtime.fail(Fault::Execution);
    const std::string log = logOf([this] {
        EXPECT_TRUE(render()) << "committed, so the host has been told that it works";
        runtime.joinThreads();
    });
    EXPECT_EQ(log, "[Tarnwell/Metal] Asynchroner Frame fehlgeschlagen: reference device: told to fail\n");
    EXPECT_EQ(counters().framesInFlight, 0u);
    EXPECT_EQ(counters().asyncOps, 0u);
}

TEST_F(FrameFailure, ReportsASynchronousFrameThatFailsOnTheGpu) {
    runtime.fail(Fault::Execution);
    std::vector<float> pixels(W * H * 4, 0.5f);
    std::vector<float> out(W * H * 4, -1.0f);
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(renderFrameFromHost(runtime, queue, pixels.data(), out.data(), p)); }), "");
    EXPECT_EQ(out, std::vector<float>(W * H * 4, -1.0f));
    EXPECT_EQ(counters().framesInFlight, 0u);
}

TEST_F(FrameFailure, IsFalseForAFrameThatTheQueueDoesNotTake) {
    runtime.fail(Fault::Commit);
    EXPECT_EQ(logOfFailure(),
              "[Tarnwell/Metal] Asynchroner Frame fehlgeschlagen: reference device: told to refuse the commit\n");
    runtime.fail(Fault::Commit);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(copy()); }),
              "[Tarnwell/Metal] Passthrough fehlgeschlagen: reference device: told to refuse the commit\n");
    EXPECT_EQ(counters().asyncOps, 0u);
    runtime.fail(Fault::Commit);
    std::vector<float> pixels(W * H * 4, 0.5f);
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, pixels.data(), pixels.data(), p));
    EXPECT_THAT(runtime.executed(), IsEmpty());
}

TEST_F(FrameFailure, GivesThePlanesBackWhenACommitRunsOutOfMemory) {
    runtime.fail(Fault::CommitMemory);
    EXPECT_EQ(logOfFailure(), std::string(FAILED) + "std::bad_alloc\n");
    runtime.fail(Fault::CommitMemory);
    EXPECT_EQ(logOf([this] { EXPECT_FALSE(copy()); }), std::string(FAILED) + "std::bad_alloc\n");
    EXPECT_EQ(counters().asyncOps, 0u);
    shutdown(); // waits for nothing that will never come
    EXPECT_TRUE(render());
}

TEST_F(FrameFailure, FailsAHostImageWithoutMemoryForIt) {
    std::vector<float> pixels(W * H * 4, 0.5f);
    for (int skip = 0; skip < 2; ++skip) {
        runtime.fail(Fault::Buffer, skip);
        EXPECT_FALSE(renderFrameFromHost(runtime, queue, pixels.data(), pixels.data(), p));
        EXPECT_EQ(runtime.live().buffers, 0);
    }
}

TEST_F(FrameFailure, FailsACopyWithoutACommandBufferOrEncoder) {
    runtime.fail(Fault::CommandBuffer);
    EXPECT_FALSE(copy());
    runtime.fail(Fault::BlitEncoder);
    EXPECT_FALSE(copy());
    EXPECT_EQ(counters().asyncOps, 0u);
    EXPECT_TRUE(copy());
}

TEST_F(FrameFailure, LogsACopyThatFailsOnTheGpu) {
    runtime.fail(Fault::Execution);
    const std::string log = logOf([this] {
        EXPECT_TRUE(copy());
        runtime.joinThreads();
    });
    EXPECT_EQ(log, "[Tarnwell/Metal] Passthrough fehlgeschlagen: reference device: told to fail\n");
    EXPECT_EQ(counters().asyncOps, 0u);
}

// ---- in flight -----------------------------------------------------------------------------------------------------

TEST_F(FrameFailure, KeepsAFramesPlanesUntilItIsDone) {
    runtime.pause();
    ASSERT_TRUE(render());
    EXPECT_EQ(counters().framesInFlight, 1u);
    EXPECT_EQ(counters().asyncOps, 1u);
    EXPECT_EQ(counters().commandBuffers, 1u);
    runtime.resume();
    runtime.joinThreads();
    EXPECT_EQ(counters().framesInFlight, 0u);
    EXPECT_EQ(counters().asyncOps, 0u);
    EXPECT_EQ(counters().commandBuffers, 1u) << "until the next public call";
    purgeCaches();
    EXPECT_EQ(counters().commandBuffers, 0u);
}

TEST_F(FrameFailure, CommitsThreeFramesAndLetsTheFourthWait) {
    runtime.pause();
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(render());
    auto fourth = inBackground([this] { return render(); });
    waitUntil([] { return counters().contextWaiters == 1; });
    EXPECT_EQ(counters().framesInFlight, 3u);
    runtime.resume();
    EXPECT_TRUE(fourth.get());
    runtime.joinThreads();
    EXPECT_EQ(counters().planeSets, 3u);
}

TEST_F(FrameFailure, SurvivesAPurgeWhileAFrameIsExecuting) {
    switchEverythingOn();
    runtime.pause();
    ASSERT_TRUE(render());
    purgeCaches();
    EXPECT_EQ(counters().weights, 0u);
    EXPECT_EQ(counters().planeBytes, 7u * W * H * 4) << "the frame's planes";
    runtime.resume();
    runtime.joinThreads();
    EXPECT_FLOAT_EQ(runtime.hostFloats(dst)[0], 0.25f) << "the constant output table";
}

TEST_F(FrameFailure, WaitsAtShutdownForFramesAndCopiesInFlight) {
    runtime.pause();
    ASSERT_TRUE(render());
    ASSERT_TRUE(copy());
    std::atomic<bool> over = false;
    auto ended = inBackground([&] {
        shutdown();
        over = true;
    });
    waitUntil([] { return !MetalApiGuard(); });
    EXPECT_FALSE(render()) << "no new work";
    EXPECT_FALSE(copy());
    std::vector<float> pixels(W * H * 4);
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, pixels.data(), pixels.data(), p));
    purgeCaches(); // returns at once
    EXPECT_FALSE(over);
    runtime.resume();
    ended.get();
    expectNothingLeft();
    EXPECT_TRUE(render()) << "a later frame starts afresh";
}

} // namespace
} // namespace velloid::gpu
