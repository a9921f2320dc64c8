// The ladder of checks before a frame renders: which step answers what, and that every image is released again.
#include "plugin/host.h"
#include "plugin_under_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <vector>

using namespace velloid::test;
using tarnwell::Fault;
using tarnwell::FaultScope;
using tarnwell::PropertySet;

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

struct Validation : testing::Test {
    PluginUnderTest plugin;
    TestImage source{ImageShape{}};
    TestImage output{ImageShape{}};

    Validation() { source.fill(testPicture); }

    RenderRequest request() { return requestFor(source, output); }

    // Renders and checks that nothing leaked and, for a refusal, that nothing was written.
    OfxStatus render(const RenderRequest& request) {
        const auto before = output.memory();
        const tarnwell::RenderOutcome outcome = plugin.instance->tryRender(request);
        EXPECT_EQ(outcome.imagesLeaked, 0);
        if (outcome.status != kOfxStatOK) {
            EXPECT_EQ(output.memory(), before) << "a refused frame was written to";
        }
        return outcome.status;
    }

    OfxStatus renderWith(const FaultScope&) { return render(request()); }

    // Renders with a failing read of one property.
    OfxStatus renderWithout(const std::string& property, std::string_view getter) {
        FaultScope hostile([&](std::string_view function, std::string_view name) {
            return function == getter && name == property ? Fault::status(kOfxStatErrUnknown) : Fault{};
        });
        return render(request());
    }
};

} // namespace

TEST_F(Validation, ASoundFrameRenders) {
    EXPECT_EQ(render(request()), kOfxStatOK);
}

TEST_F(Validation, NullHandlesAreBadHandles) {
    PropertySet args;
    EXPECT_EQ(plugin.effect.send(kOfxImageEffectActionRender, nullptr, &args), kOfxStatErrBadHandle);
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionRender, nullptr), kOfxStatErrBadHandle);
}

TEST_F(Validation, ATimeIsNeededAndFinite) {
    EXPECT_EQ(renderWithout(kOfxPropTime, "propGetDouble"), kOfxStatFailed);
    for (const double time : {INF, -INF, NOT_A_NUMBER}) {
        RenderRequest r = request();
        r.time = time;
        EXPECT_EQ(render(r), kOfxStatFailed) << time;
    }
}

TEST_F(Validation, AnEmptyWindowIsDoneBeforeAnythingIsFetched) {
    for (const OfxRectI window : {OfxRectI{3, 0, 3, 6}, OfxRectI{0, 4, 8, 4}, OfxRectI{5, 0, 2, 6}}) {
        const auto before = output.memory();
        RenderRequest r = request();
        r.window = window;
        const auto outcome = plugin.instance->tryRender(r);
        EXPECT_EQ(outcome.status, kOfxStatOK);
        EXPECT_EQ(outcome.imagesFetched, 0);
        EXPECT_EQ(output.memory(), before);
    }
}

TEST_F(Validation, AnEmptyWindowComesBeforeABadScale) {
    RenderRequest r = request();
    r.window = {0, 0, 0, 0};
    r.renderScale = {0.0, 0.0};
    EXPECT_EQ(render(r), kOfxStatOK);
}

TEST_F(Validation, AWindowIsNeeded) {
    EXPECT_EQ(renderWithout(kOfxImageEffectPropRenderWindow, "propGetInt"), kOfxStatFailed);
}

TEST_F(Validation, ARenderScaleIsNeededAndWithinReach) {
    EXPECT_EQ(renderWithout(kOfxImageEffectPropRenderScale, "propGetDouble"), kOfxStatFailed);
    for (const double scale : {0.0, -1.0, 9e-7, 65.0, 64.0001, INF, NOT_A_NUMBER}) {
        RenderRequest r = request();
        r.renderScale = {scale, 1.0};
        EXPECT_EQ(render(r), kOfxStatFailed) << scale;
        r.renderScale = {1.0, scale};
        EXPECT_EQ(render(r), kOfxStatFailed) << scale;
    }
    RenderRequest most = request();
    most.renderScale = {64.0, 64.0};
    EXPECT_EQ(render(most), kOfxStatOK);
}

TEST_F(Validation, BothClipsAndBothImagesAreNeeded) {
    for (const char* function : {"clipGetHandle", "clipGetImage"}) {
        for (const Fault fault : {Fault::status(kOfxStatFailed), Fault::nothing()}) {
            for (int nth = 0; nth < 2; ++nth) {
                int calls = 0;
                FaultScope hostile([&](std::string_view f, std::string_view) {
                    return f == function && calls++ == nth ? fault : Fault{};
                });
                EXPECT_EQ(render(request()), kOfxStatFailed) << function << " call " << nth;
            }
        }
    }
}

TEST_F(Validation, DataRowBytesAndBoundsAreNeeded) {
    EXPECT_EQ(renderWithout(kOfxImagePropData, "propGetPointer"), kOfxStatFailed);
    EXPECT_EQ(renderWithout(kOfxImagePropRowBytes, "propGetInt"), kOfxStatFailed);
    EXPECT_EQ(renderWithout(kOfxImagePropBounds, "propGetInt"), kOfxStatFailed);
}

TEST_F(Validation, APixelAspectThatIsNoNormalPositiveNumberCountsAsOne) {
    TestImage expected(ImageShape{});
    ASSERT_EQ(plugin.render(requestFor(source, expected)), kOfxStatOK);
    for (const double aspect : {0.0, -2.0, INF, NOT_A_NUMBER, 1e-310}) {
        RenderRequest r = request();
        r.pixelAspect = aspect;
        EXPECT_EQ(render(r), kOfxStatOK) << aspect;
        EXPECT_EQ(output.memory(), expected.memory()) << aspect;
    }
    EXPECT_EQ(renderWithout(kOfxImagePropPixelAspectRatio, "propGetDouble"), kOfxStatOK);
    EXPECT_EQ(output.memory(), expected.memory());
}

TEST_F(Validation, AnAspectOutOfReachFailsAndATooNarrowOneIsUnsupported) {
    RenderRequest r = request();
    r.pixelAspect = 1e-3; // scale in x of 1000
    EXPECT_EQ(render(r), kOfxStatFailed);
    r.pixelAspect = 1e7;
    EXPECT_EQ(render(r), kOfxStatFailed);
    r.pixelAspect = 65.0; // scale in x of 1/65
    EXPECT_EQ(render(r), kOfxStatErrUnsupported);
    r.pixelAspect = 64.0;
    EXPECT_EQ(render(r), kOfxStatOK);
    r.pixelAspect = 1.0 / 64.0;
    EXPECT_EQ(render(r), kOfxStatOK);
}

TEST_F(Validation, UnknownFormatsAreUnsupported) {
    for (const char* depth : {kOfxBitDepthHalf, "OfxBitDepthMystery", ""}) {
        RenderRequest r = request();
        r.source.adjust =
            r.output.adjust = [&](PropertySet& image) { image.putTexts(kOfxImageEffectPropPixelDepth, {depth}); };
        EXPECT_EQ(render(r), kOfxStatErrUnsupported) << depth;
    }
    for (const char* components : {kOfxImageComponentNone, "OfxImageComponentMystery", ""}) {
        RenderRequest r = request();
        r.source.adjust =
            r.output.adjust = [&](PropertySet& image) { image.putTexts(kOfxImageEffectPropComponents, {components}); };
        EXPECT_EQ(render(r), kOfxStatErrUnsupported) << components;
    }
}

TEST_F(Validation, UnreadableFormatStringsAreUnsupported) {
    EXPECT_EQ(renderWithout(kOfxImageEffectPropPixelDepth, "propGetString"), kOfxStatErrUnsupported);
    EXPECT_EQ(renderWithout(kOfxImageEffectPropComponents, "propGetString"), kOfxStatErrUnsupported);
}

TEST_F(Validation, SourceAndOutputMustAgree) {
    ImageShape rgb;
    rgb.components = kOfxImageComponentRGB;
    TestImage rgbSource(rgb);
    rgbSource.fill(testPicture);
    EXPECT_EQ(render(requestFor(rgbSource, output)), kOfxStatErrUnsupported);
    ImageShape bytes;
    bytes.depth = kOfxBitDepthByte;
    TestImage byteSource(bytes);
    byteSource.fill(testPicture);
    EXPECT_EQ(render(requestFor(byteSource, output)), kOfxStatErrUnsupported);
}

TEST_F(Validation, ANullDataPointerIsUnsupported) {
    for (int which = 0; which < 2; ++which) {
        RenderRequest r = request();
        (which ? r.source : r.output).adjust = [](PropertySet& image) {
            image.set<void*>(kOfxImagePropData, 0, nullptr);
        };
        EXPECT_EQ(render(r), kOfxStatErrUnsupported);
    }
}

TEST_F(Validation, SizesAndRowsMustHoldThePixels) {
    const auto withBounds = [&](std::vector<int> bounds, bool ofSource) {
        RenderRequest r = request();
        (ofSource ? r.source : r.output).adjust = [=](PropertySet& image) {
            image.putInts(kOfxImagePropBounds, bounds);
        };
        return render(r);
    };
    for (const bool ofSource : {true, false}) {
        EXPECT_EQ(withBounds({0, 0, 0, 6}, ofSource), kOfxStatFailed);
        EXPECT_EQ(withBounds({0, 6, 8, 0}, ofSource), kOfxStatFailed);
        EXPECT_EQ(withBounds({-2147483647, 0, 2147483647, 1}, ofSource), kOfxStatFailed);
        EXPECT_EQ(withBounds({0, 0, 9, 6}, ofSource), kOfxStatFailed) << "rows one pixel too short";
    }
    RenderRequest r = request();
    r.source.adjust = [](PropertySet& image) {
        image.putInts(kOfxImagePropBounds, {0, 0, 65536, 32768});
        image.putInts(kOfxImagePropRowBytes, {65536 * 16});
    };
    EXPECT_EQ(render(r), kOfxStatFailed) << "2^31 pixels";
}

TEST_F(Validation, FormatsAreCheckedBeforeSizes) {
    RenderRequest r = request();
    r.source.adjust = [](PropertySet& image) {
        image.putTexts(kOfxImageEffectPropPixelDepth, {"OfxBitDepthMystery"});
        image.putInts(kOfxImagePropBounds, {0, 0, 0, 0});
    };
    EXPECT_EQ(render(r), kOfxStatErrUnsupported);
}

TEST_F(Validation, ThrowingSuitesNeverCrossTheBoundary) {
    for (const char* function : {"propGetDouble", "propGetInt", "propGetPointer", "propGetString", "getParamSet",
                                 "paramGetHandle", "paramGetValueAtTime", "clipGetHandle", "clipGetImage"}) {
        FaultScope hostile(
            [&](std::string_view f, std::string_view) { return f == function ? Fault::thrown() : Fault{}; });
        EXPECT_EQ(render(request()), kOfxStatFailed) << function;
    }
}

TEST_F(Validation, AThrowingReleaseDoesNotTakeTheFrameDown) {
    FaultScope hostile(
        [](std::string_view f, std::string_view) { return f == "clipReleaseImage" ? Fault::thrown() : Fault{}; });
    EXPECT_EQ(plugin.instance->tryRender(request()).status, kOfxStatOK);
}

// A host may pull the source's memory away with its last release; the output is then out of the plug-in's hands.
TEST_F(Validation, TheOutputIsReleasedBeforeTheSource) {
    static std::map<OfxPropertySetHandle, OfxImageClipHandle> clipOf;
    static std::vector<OfxImageClipHandle> released;
    static const OfxImageEffectSuiteV1* const whole = velloid::gEffectSuite;
    static const OfxImageEffectSuiteV1 watched = [] {
        OfxImageEffectSuiteV1 suite = *whole;
        suite.clipGetImage = [](OfxImageClipHandle clip, OfxTime time, const OfxRectD* region,
                                OfxPropertySetHandle* image) {
            const OfxStatus status = whole->clipGetImage(clip, time, region, image);
            clipOf[*image] = clip;
            return status;
        };
        suite.clipReleaseImage = [](OfxPropertySetHandle image) {
            released.push_back(clipOf[image]);
            return whole->clipReleaseImage(image);
        };
        return suite;
    }();
    const auto clip = [&](const char* name) {
        OfxImageClipHandle handle = nullptr;
        whole->clipGetHandle(plugin.instance->object().handle(), name, &handle, nullptr);
        return handle;
    };
    velloid::gEffectSuite = &watched;
    EXPECT_EQ(render(request()), kOfxStatOK);
    velloid::gEffectSuite = whole;
    EXPECT_EQ(released, (std::vector<OfxImageClipHandle>{clip("Output"), clip("Source")}));
}

TEST_F(Validation, MissingSuitesAreBadHandles) {
    tarnwell::HostOptions options;
    options.suites[{kOfxParameterSuite, 1}] = nullptr;
    tarnwell::Host poor(options);
    OfxGetPlugin(0)->setHost(poor.record());
    EXPECT_EQ(plugin.effect.send(kOfxActionLoad, nullptr), kOfxStatErrMissingHostFeature);
    EXPECT_EQ(render(request()), kOfxStatErrBadHandle);
}

// ---- Metal ---------------------------------------------------------------------------------------------------------

namespace {

struct MetalFrames : Validation {
    RenderRequest metalRequest(void* commandQueue) {
        RenderRequest r = request();
        r.adjustInArgs = [commandQueue](PropertySet& args) {
            args.putInts(kOfxImageEffectPropMetalEnabled, {1});
            args.define({kOfxImageEffectPropMetalCommandQueue, tarnwell::PropertyType::Pointer, 1});
            args.set<void*>(kOfxImageEffectPropMetalCommandQueue, 0, commandQueue);
        };
        return r;
    }

    int queue = 0; // any address serves: the layout is checked before the queue is used
};

} // namespace

TEST_F(MetalFrames, WithoutADeviceFailAndDoNotFallBack) {
#if defined(__APPLE__)
    GTEST_SKIP() << "this machine has Metal";
#endif
    EXPECT_EQ(render(metalRequest(&queue)), kOfxStatFailed);
    plugin.allOff();
    EXPECT_EQ(render(metalRequest(&queue)), kOfxStatFailed);
}

TEST_F(MetalFrames, NeedAQueue) {
    EXPECT_EQ(render(metalRequest(nullptr)), kOfxStatErrUnsupported);
}

TEST_F(MetalFrames, NeedFloats) {
    ImageShape shape;
    shape.depth = kOfxBitDepthShort;
    TestImage shortSource(shape);
    TestImage shortOutput(shape);
    shortSource.fill(testPicture);
    RenderRequest r = metalRequest(&queue);
    r.source = shortSource.desc();
    r.output = shortOutput.desc();
    EXPECT_EQ(plugin.render(r), kOfxStatErrUnsupported);
}

TEST_F(MetalFrames, NeedRowsOfWholeFloatsGoingUp) {
    for (const bool ofSource : {true, false}) {
        for (const int rowBytes : {-8 * 16, 8 * 16 + 2}) {
            RenderRequest r = metalRequest(&queue);
            (ofSource ? r.source : r.output).adjust = [=](PropertySet& image) {
                image.putInts(kOfxImagePropRowBytes, {rowBytes});
            };
            EXPECT_EQ(render(r), kOfxStatErrUnsupported) << rowBytes;
        }
    }
}

TEST_F(MetalFrames, NeedEqualBoundsInsideTheWindow) {
    RenderRequest partial = metalRequest(&queue);
    partial.window = {0, 0, 7, 6};
    EXPECT_EQ(render(partial), kOfxStatErrUnsupported);
    RenderRequest shifted = metalRequest(&queue);
    shifted.output.bounds = {1, 0, 9, 6};
    shifted.window = {0, 0, 9, 6};
    EXPECT_EQ(render(shifted), kOfxStatErrUnsupported);
}

TEST_F(MetalFrames, AreCheckedAfterTheLadder) {
    RenderRequest r = metalRequest(nullptr);
    r.renderScale = {0.0, 1.0};
    EXPECT_EQ(render(r), kOfxStatFailed);
}
