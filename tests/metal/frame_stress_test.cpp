// Threads that render, copy, purge and shut down at once. What is rendered has to be right; sanitizers watch the rest.
#include "tests/metal/gpu_fixture.h"

#include <gmock/gmock.h>

#include <atomic>

namespace velloid::gpu {
namespace {

class FrameStress : public GpuTest {
protected:
    static constexpr int W = 18;
    static constexpr int H = 14;

    static MetalFrameParams params(int kind) {
        MetalFrameParams p;
        p.width = W - kind % 3; // three sizes, so that plane sets are replaced
        p.height = H;
        p.components = 4;
        p.time = kind;
        p.grain = 1.0;
        p.halation = kind % 2 ? 1.0 : 0.0;
        p.detail = 0.5;
        p.weave = 1.0;
        return p;
    }
    static std::size_t floats(const MetalFrameParams& p) {
        return static_cast<std::size_t>(p.width) * static_cast<std::size_t>(p.height) * 4;
    }

    // The frame as it comes out with nobody else around.
    std::vector<float> expected(int kind) {
        const MetalFrameParams p = params(kind);
        void* in = newImage(floats(p));
        std::vector<float> out(floats(p));
        EXPECT_TRUE(renderFrameFromHost(runtime, queue, runtime.hostFloats(in), out.data(), p));
        return out;
    }
};

TEST_F(FrameStress, RendersRightWhileOthersPurgeAndShutDown) {
    constexpr int KINDS = 8; // renderers; two more threads purge and shut down
    constexpr int ROUNDS = 25;
    std::vector<std::vector<float>> want;
    for (int kind = 0; kind < KINDS; ++kind)
        want.push_back(expected(kind));
    std::atomic<int> rendered = 0;
    std::atomic<int> wrong = 0;
    const auto renderer = [&](int kind) {
        const MetalFrameParams p = params(kind);
        void* own = runtime.hostQueue(device);
        void* in = newImage(floats(p));
        void* out = runtime.hostBuffer(device, floats(p) * sizeof(float));
        std::vector<float> copied(floats(p));
        for (int round = 0; round < ROUNDS; ++round) {
            renderFrame(runtime, own, in, out, p);
            passthrough(runtime, own, out, in, 1, 1, 4, 0, 0); // into a pixel that the next frame reads
            passthrough(runtime, own, in, in, p.width, p.height, 4, 0, 0);
            if (!renderFrameFromHost(runtime, queue, runtime.hostFloats(newImage(floats(p))), copied.data(), p))
                continue;
            ++rendered;
            if (copied != want[static_cast<std::size_t>(kind)]) ++wrong;
        }
    };
    std::vector<std::thread> threads;
    for (int kind = 0; kind < KINDS; ++kind)
        threads.emplace_back(renderer, kind);
    threads.emplace_back([&] {
        for (int round = 0; round < 4 * ROUNDS; ++round) {
            purgeCaches();
            std::this_thread::yield();
        }
    });
    threads.emplace_back([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            shutdown();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    while (rendered == 0)
        renderer(0); // every call so far may have met a shutdown
    shutdown();
    expectNothingLeft();
}

TEST_F(FrameStress, EndsEveryShutdownOfMany) {
    void* in = newImage(W * H * 4);
    void* out = newImage(W * H * 4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                renderFrame(runtime, queue, in, out, params(0));
                shutdown();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    shutdown();
    expectNothingLeft();
}

TEST_F(FrameStress, SurvivesDevicesThatFailNowAndThen) {
    std::vector<std::thread> threads;
    testing::internal::CaptureStderr(); // the failures are meant
    for (int kind = 0; kind < 4; ++kind) {
        threads.emplace_back([&, kind] {
            const MetalFrameParams p = params(kind);
            void* in = newImage(floats(p));
            void* out = newImage(floats(p));
            void* own = runtime.hostQueue(device);
            for (int round = 0; round < 20; ++round) {
                runtime.fail(static_cast<Fault>((round + kind) % static_cast<int>(FAULT_COUNT)), round % 5);
                renderFrame(runtime, own, in, out, p);
                passthrough(runtime, own, in, out, p.width, p.height, 4, 0, 0);
                if (round % 7 == 0) purgeCaches();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    shutdown();
    testing::internal::GetCapturedStderr();
    expectNothingLeft();
}

} // namespace
} // namespace velloid::gpu
