// What the render action hands to the GPU renderer: every field of its record, each told apart from all others. The
// renderer's functions are defined here instead of metal/renderer.cpp.
#include "metal/renderer.h"
#include "tests/plugin/plugin_under_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace velloid {
namespace {

// The calls of the plug-in, in order.
struct Recorded {
    std::string call;
    void* queue;
    void* src;
    void* dst;
    MetalFrameParams p; // of a copy: the sizes alone
    LUT3D lut;          // what p.outputLut pointed to
};
std::vector<Recorded> recorded;

bool record(const char* call, void* queue, void* src, void* dst, const MetalFrameParams& p) {
    recorded.push_back({call, queue, src, dst, p, p.outputLut ? *p.outputLut : LUT3D()});
    return true;
}

bool recordCopy(const char* call, void* queue, void* src, void* dst, int width, int height, int components,
                int srcStride, int dstStride) {
    MetalFrameParams p;
    p.width = width;
    p.height = height;
    p.components = components;
    p.srcStride = srcStride;
    p.dstStride = dstStride;
    return record(call, queue, src, dst, p);
}

} // namespace

bool metalRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p) {
    return record("metal", queue, src, dst, p);
}
bool metalRenderFrameCPU(void*, const float*, float*, const MetalFrameParams&) {
    return false;
}
bool metalPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                      int dstStride) {
    return recordCopy("metal copy", queue, src, dst, width, height, components, srcStride, dstStride);
}
bool openclRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p) {
    return record("opencl", queue, src, dst, p);
}
bool openclPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                       int dstStride) {
    return recordCopy("opencl copy", queue, src, dst, width, height, components, srcStride, dstStride);
}
bool openclRenderFrameCPU(void*, const float*, float*, const MetalFrameParams&) {
    return false;
}
bool openclAvailable() {
    return true;
}
std::optional<bool> openclDevicePasses(void*, const std::function<std::optional<bool>(const char*)>&) {
    return true;
}
bool openclRead(void*, void*, void*, std::size_t) {
    return false;
}
bool openclWrite(void*, void*, const void*, std::size_t) {
    return false;
}
void metalPurgeCaches() {}
void metalShutdown() {}

namespace test {
namespace {

using tarnwell::PropertySet;

struct Way {
    const char* name;
    const char* enabled;
    const char* queue;
};
const Way WAYS[] = {{"metal", kOfxImageEffectPropMetalEnabled, kOfxImageEffectPropMetalCommandQueue},
                    {"opencl", kOfxImageEffectPropOpenCLEnabled, kOfxImageEffectPropOpenCLCommandQueue}};

tarnwell::HostOptions hostWithOpenCl() {
    tarnwell::HostOptions options;
    options.openCl = true;
    return options;
}

class GpuRecord : public testing::TestWithParam<Way> {
protected:
    PluginUnderTest plugin{hostWithOpenCl()};
    ImageShape shape;
    int queue = 0; // its address is the queue
    const std::string lutPath = testing::TempDir() + "gpu_record_" + GetParam().name + ".cube";

    void SetUp() override {
        recorded.clear();
        shape.width = 12;
        shape.height = 7;
        shape.x1 = 5;
        shape.y1 = -3;
        std::ofstream(lutPath) << "LUT_3D_SIZE 2\nDOMAIN_MIN 0.125 0.25 0.375\nDOMAIN_MAX 0.5 0.625 0.75\n"
                                  "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n0.5 0.25 0.125\n";
        plugin.allOff();
    }
    void TearDown() override { std::remove(lutPath.c_str()); }

    void setLook(PrintProcess process) { plugin.set("colorProcess", std::to_string(menuIndexOf(process))); }

    // The one call that the render action makes for this frame.
    Recorded rendered(double time = 5.0, double scaleX = 1.0, double scaleY = 1.0,
                      const std::function<void(PropertySet&)>& adjustImage = {}) {
        TestImage source(shape);
        ImageShape wider = shape;
        wider.padding = 8;
        TestImage output(wider);
        source.fill(testPicture);
        RenderRequest request = requestFor(source, output, time);
        request.renderScale = {scaleX, scaleY};
        request.source.adjust = request.output.adjust = adjustImage;
        request.adjustInArgs = [this](PropertySet& args) {
            args.putInts(GetParam().enabled, {1});
            args.define({GetParam().queue, tarnwell::PropertyType::Pointer, 1});
            args.set<void*>(GetParam().queue, 0, &queue);
        };
        recorded.clear();
        EXPECT_EQ(plugin.render(request), kOfxStatOK);
        if (recorded.size() != 1) {
            ADD_FAILURE() << recorded.size() << " calls of the renderer";
            return {};
        }
        EXPECT_EQ(recorded[0].queue, &queue);
        EXPECT_EQ(recorded[0].src, request.source.data);
        EXPECT_EQ(recorded[0].dst, request.output.data);
        return recorded[0];
    }
};

INSTANTIATE_TEST_SUITE_P(Ways, GpuRecord, testing::ValuesIn(WAYS), [](const auto& way) { return way.param.name; });

TEST_P(GpuRecord, HasEveryAmountInItsPlace) {
    plugin.setAmounts({{"detail", 0.11},
                       {"grainIntensity", 0.22},
                       {"halationIntensity", 0.33},
                       {"bloom", 0.44},
                       {"flicker", 0.55},
                       {"colorIntensity", 0.66},
                       {"gateWeave", 0.77},
                       {"blackWhite", 0.88}});
    plugin.set("negStock", "3");
    plugin.set("ioSpace", "9");
    setLook(PrintProcess::Kodak2383);
    const Recorded r = rendered(6.25);
    EXPECT_EQ(r.call, GetParam().name);
    EXPECT_EQ(r.p.detail, 0.11);
    EXPECT_EQ(r.p.grain, 0.22);
    EXPECT_EQ(r.p.halation, 0.33);
    EXPECT_EQ(r.p.bloom, 0.44);
    EXPECT_EQ(r.p.flicker, 0.55);
    EXPECT_EQ(r.p.color, 0.66);
    EXPECT_EQ(r.p.weave, 0.77);
    EXPECT_EQ(r.p.bw, 0.88);
    EXPECT_EQ(r.p.stock, 3);
    EXPECT_EQ(r.p.io, 9);
    EXPECT_EQ(r.p.look, static_cast<int>(PrintProcess::Kodak2383));
    EXPECT_EQ(r.p.time, 6.25);
    EXPECT_FALSE(r.p.alexaSceneFit);
    EXPECT_EQ(r.p.outputLut, nullptr);
}

TEST_P(GpuRecord, HasTheImagesGeometry) {
    plugin.set("bloom", 0.5);
    const MetalFrameParams p = rendered().p;
    EXPECT_EQ(p.width, 12);
    EXPECT_EQ(p.height, 7);
    EXPECT_EQ(p.components, 4);
    EXPECT_EQ(p.srcStride, 48);
    EXPECT_EQ(p.dstStride, 50);
    EXPECT_EQ(p.originX, 5);
    EXPECT_EQ(p.originY, -3);
    shape.components = kOfxImageComponentRGB;
    EXPECT_EQ(rendered().p.components, 3);
    EXPECT_EQ(rendered().p.srcStride, 36);
    EXPECT_EQ(rendered().p.dstStride, 38);
}

TEST_P(GpuRecord, ScalesEffectsByThePixelAspectAndGrainByTheScaleAlone) {
    plugin.set("bloom", 0.5);
    const MetalFrameParams p =
        rendered(5.0, 0.5, 0.25, [](PropertySet& image) { image.putDoubles(kOfxImagePropPixelAspectRatio, {2.0}); }).p;
    EXPECT_EQ(p.effectScaleX, 0.25);
    EXPECT_EQ(p.effectScaleY, 0.25);
    EXPECT_EQ(p.grainScaleX, 0.5);
    EXPECT_EQ(p.grainScaleY, 0.25);
    EXPECT_EQ(rendered(5.0, 0.5, 0.75).p.effectScaleX, 0.5);
    EXPECT_EQ(rendered(5.0, 0.5, 0.75).p.effectScaleY, 0.75);
    EXPECT_EQ(rendered(5.0, 0.5, 0.75).p.grainScaleY, 0.75);
}

TEST_P(GpuRecord, SaysWhetherColourIsPremultiplied) {
    plugin.set("bloom", 0.5);
    EXPECT_FALSE(rendered().p.premultiplied);
    shape.preMultiplication = kOfxImagePreMultiplied;
    EXPECT_TRUE(rendered().p.premultiplied);
    shape.preMultiplication = kOfxImageOpaque;
    EXPECT_FALSE(rendered().p.premultiplied);
}

TEST_P(GpuRecord, CouplesTheGrainToPushAndPull) {
    plugin.setAmounts({{"grainIntensity", 0.5}, {"colorIntensity", 0.75}});
    setLook(PrintProcess::Push);
    EXPECT_DOUBLE_EQ(rendered().p.grain, 0.5 * processGrainScale(PrintProcess::Push, 0.75));
    EXPECT_GT(rendered().p.grain, 0.5);
    setLook(PrintProcess::Pull);
    EXPECT_DOUBLE_EQ(rendered().p.grain, 0.5 * processGrainScale(PrintProcess::Pull, 0.75));
    EXPECT_LT(rendered().p.grain, 0.5);
    setLook(PrintProcess::Classic);
    EXPECT_EQ(rendered().p.grain, 0.5);
}

TEST_P(GpuRecord, HasNoGrainWithTheStockOffAndTheProfilesOfTheFirst) {
    plugin.setAmounts({{"grainIntensity", 0.5}, {"halationIntensity", 0.5}});
    plugin.set("negStock", "16");
    EXPECT_EQ(rendered().p.grain, 0.0);
    EXPECT_EQ(rendered().p.stock, 0) << "off switches the grain off, not detail and halation";
}

TEST_P(GpuRecord, WantsTheSceneFitOfOneLookAlone) {
    plugin.setAmounts({{"colorIntensity", 0.5}, {"bloom", 0.5}});
    setLook(PrintProcess::CorvexStandard);
    EXPECT_TRUE(rendered().p.alexaSceneFit);
    EXPECT_EQ(rendered().p.look, 5);
    setLook(PrintProcess::CorvexA35);
    EXPECT_FALSE(rendered().p.alexaSceneFit);
    setLook(PrintProcess::CorvexStandard);
    plugin.set("colorIntensity", 0.0);
    EXPECT_FALSE(rendered().p.alexaSceneFit);
}

TEST_P(GpuRecord, HasNoColourWithTheLookOff) {
    plugin.setAmounts({{"colorIntensity", 0.5}, {"bloom", 0.5}});
    setLook(PrintProcess::Off);
    EXPECT_EQ(rendered().p.color, 0.0);
}

TEST_P(GpuRecord, HasTheOutputTableItsStrengthAndItsDomain) {
    plugin.set("outputLutPath", lutPath);
    plugin.set("outputLutStrength", 0.375);
    for (const int domain : {0, 1}) {
        plugin.set("outputLutDomain", std::to_string(domain));
        const Recorded r = rendered();
        ASSERT_NE(r.p.outputLut, nullptr);
        EXPECT_EQ(r.lut.size, 2);
        EXPECT_EQ(r.lut.data.back().g, 0.25f);
        EXPECT_EQ(r.lut.domainMin.b, 0.375f);
        EXPECT_EQ(r.lut.domainMax.r, 0.5f);
        EXPECT_EQ(r.p.outputLutStrength, 0.375);
        EXPECT_EQ(r.p.outputLutDomain, domain);
    }
}

TEST_P(GpuRecord, IsACopyWhenThereIsNothingToDo) {
    const Recorded r = rendered();
    EXPECT_EQ(r.call, std::string(GetParam().name) + " copy");
    EXPECT_EQ(r.p.width, 12);
    EXPECT_EQ(r.p.height, 7);
    EXPECT_EQ(r.p.components, 4);
    EXPECT_EQ(r.p.srcStride, 48);
    EXPECT_EQ(r.p.dstStride, 50);
}

} // namespace
} // namespace test
} // namespace velloid
