// Frames that a host hands over as OpenCL buffers: declared and taken only where the host offers it, rendered like the
// CPU does, under the layout rules of every GPU frame.
#include "metal/compute_device.h"
#include "metal/device_context.h"
#include "metal/devices/opencl_api.h"
#include "metal/devices/opencl_device.h"
#include "metal/renderer.h"
#include "tests/metal/wait_until.h"
#include "tests/plugin/plugin_under_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace velloid::test {
namespace {

using namespace velloid::opencl;
using gpu::waitUntil;
using tarnwell::PropertySet;

tarnwell::HostOptions hostWithOpenCl() {
    tarnwell::HostOptions options;
    options.openCl = true;
    return options;
}

std::string declaredTo(const tarnwell::HostOptions& options) {
    PluginUnderTest plugin(options);
    return plugin.effect.descriptor().properties.textAt(kOfxImageEffectPropOpenCLRenderSupported);
}

TEST(OpenClDeclaration, IsMadeToAHostThatOffersIt) {
    EXPECT_EQ(declaredTo(hostWithOpenCl()), openclAvailable() ? "true" : "false");
}

TEST(OpenClDeclaration, IsNotMadeToOtherHosts) {
    EXPECT_EQ(declaredTo({}), "false");
    tarnwell::HostOptions silent; // a host from before OpenCL
    silent.adjust = [](PropertySet& host) { host.erase(kOfxImageEffectPropOpenCLRenderSupported); };
    EXPECT_EQ(declaredTo(silent), "false");
    tarnwell::HostOptions odd;
    odd.adjust = [](PropertySet& host) { host.putText(kOfxImageEffectPropOpenCLRenderSupported, "needed"); };
    EXPECT_EQ(declaredTo(odd), "false");
}

class OpenClFrames : public testing::Test {
protected:
    std::unique_ptr<gpu::OpenClHostQueue> device = gpu::OpenClHostQueue::create();
    std::vector<cl_mem> buffers;
    PluginUnderTest plugin{hostWithOpenCl()};
    ImageShape shape;
    TestImage source{shape};
    TestImage output{shape};

    void SetUp() override {
        if (!device) GTEST_SKIP() << "no OpenCL runtime with a device on this machine";
        source.fill(testPicture);
    }
    void TearDown() override {
        for (const cl_mem buffer : buffers)
            api()->clReleaseMemObject(buffer);
    }

    // A host's buffer that starts as the image.
    void* upload(TestImage& image) {
        cl_int code = CL_SUCCESS;
        void* bytes = const_cast<std::uint8_t*>(image.memory().data());
        buffers.push_back(api()->clCreateBuffer(static_cast<cl_context>(device->context()),
                                                CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, image.memory().size(), bytes,
                                                &code));
        EXPECT_EQ(code, CL_SUCCESS);
        return buffers.back();
    }

    // The host's own work on its queue, after the plug-in's.
    void download(void* buffer, TestImage& image) {
        void* bytes = const_cast<std::uint8_t*>(image.memory().data());
        EXPECT_EQ(api()->clEnqueueReadBuffer(static_cast<cl_command_queue>(device->queue()),
                                             static_cast<cl_mem>(buffer), CL_TRUE, 0, image.memory().size(), bytes, 0,
                                             nullptr, nullptr),
                  CL_SUCCESS);
    }

    RenderRequest onQueue(RenderRequest request, void* queue) {
        request.adjustInArgs = [queue](PropertySet& args) {
            args.putInts(kOfxImageEffectPropOpenCLEnabled, {1});
            args.define({kOfxImageEffectPropOpenCLCommandQueue, tarnwell::PropertyType::Pointer, 1});
            args.set<void*>(kOfxImageEffectPropOpenCLCommandQueue, 0, queue);
        };
        return request;
    }

    RenderRequest gpuRequest() {
        RenderRequest request = onQueue(requestFor(source, output, 5.0), device->queue());
        request.source.data = upload(source);
        request.output.data = upload(output);
        return request;
    }

    // Renders on the device into `output`.
    OfxStatus renderOnDevice() {
        const RenderRequest request = gpuRequest();
        const OfxStatus status = plugin.render(request);
        if (status == kOfxStatOK) download(request.output.data, output);
        return status;
    }

    void expectLikeTheCpu(double tolerance) {
        ASSERT_EQ(renderOnDevice(), kOfxStatOK);
        TestImage want(source.shape);
        ASSERT_EQ(plugin.render(requestFor(source, want, 5.0)), kOfxStatOK);
        double worst = 0.0;
        for (int y = 0; y < source.shape.height; ++y) {
            for (int x = 0; x < source.shape.width; ++x) {
                for (int c = 0; c < source.components(); ++c) {
                    const double off = std::fabs(output.get(x, y, c) - want.get(x, y, c));
                    EXPECT_LE(off, tolerance) << x << "," << y << " component " << c;
                    worst = std::max(worst, off);
                }
            }
        }
        RecordProperty("worst", std::to_string(worst));
    }

    void useImages(const ImageShape& wanted) {
        source = TestImage(wanted);
        output = TestImage(wanted);
        source.fill(testPicture);
    }
};

TEST_F(OpenClFrames, LookLikeTheCpusWithTheDefaults) {
    expectLikeTheCpu(5e-5);
}

TEST_F(OpenClFrames, LookLikeTheCpusWithEverythingOn) {
    ImageShape large;
    large.width = 48;
    large.height = 37;
    large.x1 = 3;
    useImages(large);
    for (const char* key : {"detail", "grainIntensity", "halationIntensity", "colorIntensity", "flicker", "bloom"}) {
        plugin.set(key, 0.7);
    }
    // Not the weave: its positions in float show beside the bright spot (see the tests of whole frames).
    plugin.set("gateWeave", 0.0);
    expectLikeTheCpu(5e-5);
}

TEST_F(OpenClFrames, KeepPaddingAndTakeThreeComponents) {
    ImageShape rgb;
    rgb.components = kOfxImageComponentRGB;
    rgb.padding = 20;
    useImages(rgb);
    expectLikeTheCpu(5e-5);
    EXPECT_TRUE(output.paddingUntouched());
}

TEST_F(OpenClFrames, AreCopiedWhenThereIsNothingToDo) {
    plugin.allOff();
    ASSERT_EQ(renderOnDevice(), kOfxStatOK);
    EXPECT_EQ(output.memory(), source.memory());
}

TEST_F(OpenClFrames, AreFinishedBeforeThePluginIsUnloaded) {
    const RenderRequest request = gpuRequest();
    {
        PluginUnderTest shortLived(hostWithOpenCl());
        ASSERT_EQ(shortLived.render(request), kOfxStatOK); // and nobody waits
        shortLived.instance->purgeCaches();
    }
    EXPECT_EQ(gpu::counters().contexts, 0u);
    EXPECT_EQ(gpu::counters().asyncOps, 0u);
    download(request.output.data, output);
    EXPECT_GT(output.get(3, 2, 0), 0.0);
}

TEST_F(OpenClFrames, NeedAQueue) {
    RenderRequest request = onQueue(gpuRequest(), nullptr);
    EXPECT_EQ(plugin.render(request), kOfxStatErrUnsupported);
}

TEST_F(OpenClFrames, NeedFloatsInRowsOfWholeFloatsGoingUp) {
    for (const bool ofSource : {true, false}) {
        for (const int rowBytes : {-8 * 16, 8 * 16 + 2}) {
            RenderRequest request = gpuRequest();
            (ofSource ? request.source : request.output).adjust = [=](PropertySet& image) {
                image.putInts(kOfxImagePropRowBytes, {rowBytes});
            };
            EXPECT_EQ(plugin.render(request), kOfxStatErrUnsupported) << rowBytes;
        }
    }
    ImageShape shorts;
    shorts.depth = kOfxBitDepthShort;
    useImages(shorts);
    EXPECT_EQ(renderOnDevice(), kOfxStatErrUnsupported);
}

TEST_F(OpenClFrames, NeedEqualBoundsInsideTheWindow) {
    RenderRequest partial = gpuRequest();
    partial.window = {0, 0, 7, 6};
    EXPECT_EQ(plugin.render(partial), kOfxStatErrUnsupported);
    RenderRequest shifted = gpuRequest();
    shifted.output.bounds = {1, 0, 9, 6};
    shifted.window = {0, 0, 9, 6};
    EXPECT_EQ(plugin.render(shifted), kOfxStatErrUnsupported);
}

TEST_F(OpenClFrames, FailWithBuffersThatAreTooSmall) {
    TestImage small{[] {
        ImageShape s;
        s.height = 2;
        return s;
    }()};
    RenderRequest request = gpuRequest();
    request.output.data = upload(small);
    EXPECT_EQ(plugin.render(request), kOfxStatFailed);
}

// ---- the host's context --------------------------------------------------------------------------------------------

cl_uint contextReferences(const gpu::OpenClHostQueue& of) {
    cl_uint count = 0;
    api()->clGetContextInfo(static_cast<cl_context>(of.context()), CL_CONTEXT_REFERENCE_COUNT, sizeof count, &count,
                            nullptr);
    return count;
}

TEST_F(OpenClFrames, LeaveNothingInTheHostsContext) {
    RenderRequest request = gpuRequest();
    const cl_uint before = contextReferences(*device);
    for (int frame = 0; frame < 3; ++frame) {
        ASSERT_EQ(plugin.render(request), kOfxStatOK);
        download(request.output.data, output);
        gpu::openclRuntime()->joinThreads();
        EXPECT_EQ(gpu::counters().contexts, 0u);
        waitUntil([&] { return contextReferences(*device) == before; }); // a runtime's own threads may let go later
    }
}

TEST_F(OpenClFrames, AreRenderedInContextsThatComeAndGo) {
    TestImage want(shape);
    ASSERT_EQ(plugin.render(requestFor(source, want, 5.0)), kOfxStatOK);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(renderOnDevice(), kOfxStatOK);
        EXPECT_NEAR(output.get(3, 2, 0), want.get(3, 2, 0), 5e-5) << "context " << i;
        for (const cl_mem buffer : std::exchange(buffers, {}))
            api()->clReleaseMemObject(buffer);
        device = gpu::OpenClHostQueue::create(); // often at the same address
        ASSERT_NE(device, nullptr);
    }
    gpu::openclRuntime()->joinThreads();
    EXPECT_EQ(gpu::counters().contexts, 0u);
    EXPECT_EQ(gpu::counters().planeBytes, 0u);
}

// ---- devices that do not do what they should -----------------------------------------------------------------------

// The machine's runtime, with a kernel that it skips or refuses.
class BrokenRuntime {
public:
    BrokenRuntime(std::string kernel, cl_int answer) {
        broken = std::move(kernel);
        answerOfBroken = answer;
        table().clEnqueueNDRangeKernel = &enqueue;
    }
    ~BrokenRuntime() { table().clEnqueueNDRangeKernel = real; }

private:
    static Api& table() { return const_cast<Api&>(*api()); }

    static cl_int TARNWELL_CL_CALL enqueue(cl_command_queue queue, cl_kernel kernel, cl_uint dimensions,
                                           const std::size_t* offset, const std::size_t* global,
                                           const std::size_t* local, cl_uint count, const cl_event* wait,
                                           cl_event* event) {
        char name[64] = {};
        api()->clGetKernelInfo(kernel, CL_KERNEL_FUNCTION_NAME, sizeof name, name, nullptr);
        if (name == broken) return answerOfBroken;
        return real(queue, kernel, dimensions, offset, global, local, count, wait, event);
    }

    static inline std::string broken;
    static inline cl_int answerOfBroken = CL_SUCCESS;
    static inline const decltype(Api::clEnqueueNDRangeKernel) real = api() ? api()->clEnqueueNDRangeKernel : nullptr;
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

TEST_F(OpenClFrames, AreTheCpusOnADeviceThatComputesSomethingElse) {
    for (const char* kernel : {"k_detail_sharp", "k_up_bilinear", "k_hal_combine", "k_grain_finish", "k_color_lut",
                               "k_weave", "k_bw", "k_alexa_scene_fit", "k_encode_out"}) {
        PluginUnderTest fresh(hostWithOpenCl()); // the verdict on a device holds until unload
        TestImage want(shape);
        ASSERT_EQ(fresh.render(requestFor(source, want, 5.0)), kOfxStatOK);
        const BrokenRuntime without(kernel, CL_SUCCESS);
        const RenderRequest request = gpuRequest();
        testing::internal::CaptureStderr();
        EXPECT_EQ(fresh.render(request), kOfxStatOK);
        EXPECT_EQ(fresh.render(request), kOfxStatOK);
        const std::string log = testing::internal::GetCapturedStderr();
        download(request.output.data, output);
        EXPECT_EQ(output.memory(), want.memory()) << kernel;
        EXPECT_EQ(count(log, "Frames werden auf der CPU gerechnet\n"), 1u) << kernel << ": " << log;
    }
}

TEST_F(OpenClFrames, AreTheCpusWhenTheDeviceRefusesThem) {
    ImageShape rgb;
    rgb.components = kOfxImageComponentRGB;
    rgb.padding = 20;
    useImages(rgb);
    TestImage want(rgb);
    ASSERT_EQ(plugin.render(requestFor(source, want, 5.0)), kOfxStatOK);
    ASSERT_EQ(renderOnDevice(), kOfxStatOK); // the device is sound
    for (const bool takesTheTest : {true, false}) {
        if (!takesTheTest) metalShutdown();           // and it is asked again
        const BrokenRuntime full("k_encode_out", -5); // CL_OUT_OF_RESOURCES
        output = TestImage(rgb);
        testing::internal::CaptureStderr();
        EXPECT_EQ(renderOnDevice(), kOfxStatOK);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(output.memory(), want.memory());
        EXPECT_EQ(count(log, "[Tarnwell/Metal] Frame abgelehnt, auf der CPU gerechnet\n"), 1u) << log;
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderOnDevice(), kOfxStatOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "back on the device";
}

TEST_F(OpenClFrames, AreTheCpusForAHostThatDoesNotOfferOpenCl) {
    PluginUnderTest plain;
    TestImage want(shape);
    ASSERT_EQ(plain.render(requestFor(source, want, 5.0)), kOfxStatOK);
    ASSERT_EQ(plain.render(onQueue(requestFor(source, output, 5.0), device->queue())), kOfxStatOK);
    EXPECT_EQ(output.memory(), want.memory());
}

TEST_F(OpenClFrames, ComeAfterMetal) {
#if defined(__APPLE__)
    GTEST_SKIP() << "this machine has Metal";
#endif
    RenderRequest request = gpuRequest();
    const auto openCl = request.adjustInArgs;
    request.adjustInArgs = [openCl](PropertySet& args) {
        openCl(args);
        args.putInts(kOfxImageEffectPropMetalEnabled, {1});
    };
    EXPECT_EQ(plugin.render(request), kOfxStatErrUnsupported) << "no Metal queue";
}

} // namespace
} // namespace velloid::test
