// The walk of a plug-in, with one that lives in the test: order of actions, what stops it, leaks, depths, faults.
#include "host/faults.h"
#include "tests/host/scripted_plugin.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tarnwell {

namespace {

using testing::NOT_HANDLED;
using testing::ScriptedPlugin;

// A two by two RGBA float frame to render with.
struct Frame {
    float source[16] = {}, output[16] = {};
    RenderRequest request;

    Frame() {
        request.window = {0, 0, 2, 2};
        request.source.data = source;
        request.output.data = output;
        request.source.bounds = request.output.bounds = {0, 0, 2, 2};
    }
};

std::string errorOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const HostError& error) {
        return error.what();
    }
    return "";
}

// A handler for one action that answers one status.
testing::Handler answering(const char* action, OfxStatus status) {
    return [=](const std::string& sent, auto, auto, auto) { return sent == action ? status : NOT_HANDLED; };
}

TEST(Walk, SendsTheActionsInOrder) {
    ScriptedPlugin plugin;
    {
        Host host;
        Effect effect(host, plugin.binary(), plugin.record());
        effect.load();
        Instance instance(effect);
        instance.create();
        Frame frame;
        instance.renderFrame(frame.request);
    }
    EXPECT_EQ(plugin.actions(),
              (std::vector<std::string>{kOfxActionLoad, kOfxActionDescribe, kOfxImageEffectActionDescribeInContext,
                                        kOfxActionCreateInstance, kOfxImageEffectActionGetClipPreferences,
                                        kOfxImageEffectActionIsIdentity, kOfxImageEffectActionBeginSequenceRender,
                                        kOfxImageEffectActionRender, kOfxImageEffectActionEndSequenceRender,
                                        kOfxActionDestroyInstance, kOfxActionUnload}));
}

TEST(Walk, NamesActionAndStatusOfEveryFailure) {
    for (const char* action : {kOfxActionLoad, kOfxActionDescribe, kOfxImageEffectActionDescribeInContext,
                               kOfxActionCreateInstance, kOfxImageEffectActionGetClipPreferences,
                               kOfxImageEffectActionIsIdentity, kOfxImageEffectActionBeginSequenceRender,
                               kOfxImageEffectActionRender, kOfxImageEffectActionEndSequenceRender}) {
        ScriptedPlugin plugin(answering(action, kOfxStatErrMissingHostFeature));
        const std::string error = errorOf([&] {
            Host host;
            Effect effect(host, plugin.binary(), plugin.record());
            effect.load();
            Instance instance(effect);
            instance.create();
            Frame frame;
            instance.renderFrame(frame.request);
        });
        EXPECT_EQ(error, std::string("tests:scripted: ") + action + " answered kOfxStatErrMissingHostFeature (4)");
    }
}

TEST(Walk, DestroysOnlyWhatWasCreatedAndUnloadsOnlyWhatWasLoaded) {
    ScriptedPlugin plugin(answering(kOfxActionCreateInstance, kOfxStatFailed));
    {
        Host host;
        Effect effect(host, plugin.binary(), plugin.record());
        effect.load();
        Instance instance(effect);
        EXPECT_THROW(instance.create(), ActionError);
    }
    const std::vector<std::string> sent = plugin.actions();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), kOfxActionDestroyInstance), 0);
    EXPECT_EQ(std::count(sent.begin(), sent.end(), kOfxActionUnload), 1);
}

TEST(Walk, RefusesTheDefaultAnswerToARender) {
    ScriptedPlugin plugin(answering(kOfxImageEffectActionRender, kOfxStatReplyDefault));
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    EXPECT_THROW(instance.render(frame.request), ActionError);
}

TEST(Walk, TurnsAnExceptionOfThePluginIntoAnError) {
    ScriptedPlugin plugin([](const std::string& action, auto, auto, auto) -> OfxStatus {
        if (action == kOfxActionDescribe) throw std::runtime_error("out of film");
        return NOT_HANDLED;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    EXPECT_NE(errorOf([&] { effect.load(); }).find("threw an exception: out of film"), std::string::npos);
}

TEST(Walk, LoadsAgainAfterUnload) {
    ScriptedPlugin plugin;
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    for (int round = 0; round < 3; ++round) {
        effect.load();
        Instance(effect).create();
        effect.unload();
        effect.unload();
    }
    const std::vector<std::string> sent = plugin.actions();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), kOfxActionLoad), 3);
    EXPECT_EQ(std::count(sent.begin(), sent.end(), kOfxActionUnload), 3);
}

// ---- images -------------------------------------------------------------------------------------------------------

TEST(Images, ThatAreNotReleasedAreCounted) {
    ScriptedPlugin plugin([](const std::string& action, OfxImageEffectHandle effect, auto, auto) -> OfxStatus {
        if (action != kOfxImageEffectActionRender) return NOT_HANDLED;
        ScriptedPlugin::fetchImage(effect, "Source", 0.0);
        ScriptedPlugin::effects().clipReleaseImage(ScriptedPlugin::fetchImage(effect, "Output", 0.0));
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    const RenderOutcome outcome = instance.tryRender(frame.request);
    EXPECT_EQ(outcome.status, kOfxStatOK);
    EXPECT_EQ(outcome.imagesFetched, 2);
    EXPECT_EQ(outcome.imagesLeaked, 1);
    EXPECT_EQ(errorOf([&] { instance.render(frame.request); }),
              "tests:scripted: OfxImageEffectActionRender: 1 of 2 images were not released");
}

TEST(Images, HaveAFreshHandleEachAndDieOnRelease) {
    static bool differ, secondRelease, deadAfter;
    static OfxPropertySetHandle kept;
    ScriptedPlugin plugin([](const std::string& action, OfxImageEffectHandle effect, auto, auto) -> OfxStatus {
        if (action != kOfxImageEffectActionRender) return NOT_HANDLED;
        OfxPropertySetHandle a = ScriptedPlugin::fetchImage(effect, "Source", 0.0);
        kept = ScriptedPlugin::fetchImage(effect, "Source", 0.0);
        differ = a != kept;
        ScriptedPlugin::effects().clipReleaseImage(a);
        secondRelease = ScriptedPlugin::effects().clipReleaseImage(a) == kOfxStatErrBadHandle;
        int rowBytes = 0;
        deadAfter =
            ScriptedPlugin::properties().propGetInt(a, kOfxImagePropRowBytes, 0, &rowBytes) == kOfxStatErrBadHandle;
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    instance.tryRender(frame.request);
    EXPECT_TRUE(differ);
    EXPECT_TRUE(secondRelease);
    EXPECT_TRUE(deadAfter);
    EXPECT_EQ(ScriptedPlugin::effects().clipReleaseImage(kept), kOfxStatErrBadHandle) << "dead after the action";
}

TEST(Images, AreNoneOutsideOfARenderOrOfAnotherTime) {
    static OfxPropertySetHandle outside, otherTime, around;
    ScriptedPlugin plugin([](const std::string& action, OfxImageEffectHandle effect, auto, auto) -> OfxStatus {
        if (action == kOfxActionCreateInstance) outside = ScriptedPlugin::fetchImage(effect, "Source", 0.0);
        if (action != kOfxImageEffectActionRender) return NOT_HANDLED;
        otherTime = ScriptedPlugin::fetchImage(effect, "Source", 1.0);
        around = ScriptedPlugin::fetchImage(effect, "Source", -1.0);
        ScriptedPlugin::effects().clipReleaseImage(around);
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    const ImageDesc source = frame.request.source;
    frame.request.imageAt = [&](const std::string&, double time) {
        return time == -1.0 ? std::optional<ImageDesc>(source) : std::nullopt;
    };
    instance.render(frame.request);
    EXPECT_EQ(outside, nullptr);
    EXPECT_EQ(otherTime, nullptr);
    EXPECT_NE(around, nullptr);
}

TEST(Images, CanLackOrBendAnyProperty) {
    static OfxStatus aspect, rowBytes;
    static int bent;
    ScriptedPlugin plugin([](const std::string& action, OfxImageEffectHandle effect, auto, auto) -> OfxStatus {
        if (action != kOfxImageEffectActionRender) return NOT_HANDLED;
        double number = 0.0;
        OfxPropertySetHandle image = ScriptedPlugin::fetchImage(effect, "Source", 0.0);
        aspect = ScriptedPlugin::properties().propGetDouble(image, kOfxImagePropPixelAspectRatio, 0, &number);
        rowBytes = ScriptedPlugin::properties().propGetInt(image, kOfxImagePropRowBytes, 0, &bent);
        return ScriptedPlugin::effects().clipReleaseImage(image);
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    frame.request.source.adjust = [](PropertySet& image) {
        image.erase(kOfxImagePropPixelAspectRatio);
        image.putInt(kOfxImagePropRowBytes, 17);
    };
    instance.render(frame.request);
    EXPECT_EQ(aspect, kOfxStatErrUnknown);
    EXPECT_EQ(rowBytes, kOfxStatOK);
    EXPECT_EQ(bent, 17);
}

// ---- depths -------------------------------------------------------------------------------------------------------

TEST(Depths, ThatThePluginDidNotListAreNotHandedOver) {
    ScriptedPlugin plugin;
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    frame.request.source.depth = kOfxBitDepthByte;
    EXPECT_EQ(errorOf([&] { instance.render(frame.request); }),
              "tests:scripted does not list the depth OfxBitDepthByte");
    frame.request.allowUnlistedDepths = true;
    EXPECT_EQ(errorOf([&] { instance.render(frame.request); }), "");
}

TEST(Depths, MustBeListedAtAll) {
    ScriptedPlugin plugin(answering(kOfxActionDescribe, kOfxStatOK));
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    EXPECT_EQ(errorOf([&] { effect.load(); }), "tests:scripted lists no context");
    EXPECT_FALSE(effect.isLoaded());
    EXPECT_EQ(plugin.actions().back(), kOfxActionUnload);
}

// ---- clip preferences ---------------------------------------------------------------------------------------------

TEST(ClipPreferences, AreAskedWithEveryDefaultInPlace) {
    static std::vector<std::string> missing;
    missing.clear();
    ScriptedPlugin plugin([](const std::string& action, auto, auto, OfxPropertySetHandle outArgs) -> OfxStatus {
        if (action != kOfxImageEffectActionGetClipPreferences) return NOT_HANDLED;
        for (const char* name :
             {"OfxImageClipPropComponents_Source", "OfxImageClipPropComponents_Output", "OfxImageClipPropDepth_Output",
              "OfxImageClipPropPAR_Source", "OfxImageEffectPropFrameRate", "OfxImageClipPropFieldOrder",
              "OfxImageEffectPropPreMultiplication", "OfxImageClipPropContinuousSamples",
              "OfxImageEffectFrameVarying"}) {
            int count = 0;
            if (ScriptedPlugin::properties().propGetDimension(outArgs, name, &count) != kOfxStatOK || count != 1)
                missing.emplace_back(name);
        }
        ScriptedPlugin::properties().propSetInt(outArgs, kOfxImageEffectFrameVarying, 0, 1);
        ScriptedPlugin::properties().propSetString(outArgs, kOfxImageEffectPropPreMultiplication, 0, kOfxImageOpaque);
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    EXPECT_TRUE(missing.empty()) << missing.front();
    EXPECT_TRUE(instance.clipPreferences().frameVarying);
    EXPECT_EQ(instance.clipPreferences().preMultiplication, kOfxImageOpaque);
    EXPECT_EQ(instance.object().clip("Output")->properties.textAt(kOfxImageEffectPropPreMultiplication),
              kOfxImageOpaque);
}

TEST(Identity, OfAnUnknownClipIsABreach) {
    ScriptedPlugin plugin([](const std::string& action, auto, auto, OfxPropertySetHandle outArgs) -> OfxStatus {
        if (action != kOfxImageEffectActionIsIdentity) return NOT_HANDLED;
        ScriptedPlugin::properties().propSetString(outArgs, kOfxPropName, 0, "Nowhere");
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    EXPECT_NE(errorOf([&] { instance.renderFrame(frame.request); }).find("Nowhere"), std::string::npos);
}

// ---- properties ---------------------------------------------------------------------------------------------------

TEST(Properties, OfAnInstanceFallThroughToItsDescriptor) {
    ScriptedPlugin plugin;
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    const PropertySet& set = instance.object().properties;
    EXPECT_EQ(set.textAt(kOfxImageEffectPropSupportedPixelDepths), kOfxBitDepthFloat);
    EXPECT_EQ(set.textAt(kOfxPropType), kOfxTypeImageEffectInstance);
    EXPECT_EQ(set.textAt(kOfxImageEffectPropContext), kOfxImageEffectContextFilter);
}

TEST(Properties, OfTheHostAreAllThereForWrappersThatThrow) {
    Host host;
    const PropertySet& set = host.descriptor();
    for (const char* name : {kOfxImageEffectHostPropIsBackground, kOfxImageEffectPropSupportsOverlays,
                             kOfxImageEffectPropSupportsMultiResolution, kOfxImageEffectPropSupportsTiles,
                             kOfxImageEffectPropTemporalClipAccess, kOfxImageEffectPropSupportsMultipleClipDepths,
                             kOfxImageEffectPropSupportsMultipleClipPARs, kOfxImageEffectPropSetableFrameRate,
                             kOfxImageEffectPropSetableFielding, kOfxParamHostPropSupportsCustomInteract,
                             kOfxParamHostPropSupportsStringAnimation, kOfxParamHostPropSupportsChoiceAnimation,
                             kOfxParamHostPropSupportsBooleanAnimation, kOfxParamHostPropSupportsCustomAnimation,
                             kOfxParamHostPropMaxParameters, kOfxParamHostPropMaxPages})
        EXPECT_NO_THROW(set.intAt(name)) << name;
    EXPECT_EQ(set.dimensionOf(kOfxParamHostPropPageRowColumnCount), 2);
    EXPECT_EQ(set.textAt(kOfxPropType), kOfxTypeImageEffectHost);
    EXPECT_EQ(set.textAt(kOfxImageEffectPropOpenCLRenderSupported), "false");
    HostOptions options;
    options.openCl = true;
    options.adjust = [](PropertySet& bent) { bent.erase(kOfxPropAPIVersion); };
    Host other(options);
    EXPECT_EQ(other.descriptor().textAt(kOfxImageEffectPropOpenCLRenderSupported), "true");
    EXPECT_FALSE(other.descriptor().has(kOfxPropAPIVersion));
}

TEST(Arguments, OfARenderCanBeBentByTheTest) {
    static int metal;
    static OfxStatus scale;
    ScriptedPlugin plugin([](const std::string& action, auto, OfxPropertySetHandle inArgs, auto) -> OfxStatus {
        if (action != kOfxImageEffectActionRender) return NOT_HANDLED;
        double number = 0.0;
        ScriptedPlugin::properties().propGetInt(inArgs, kOfxImageEffectPropMetalEnabled, 0, &metal);
        scale = ScriptedPlugin::properties().propGetDouble(inArgs, kOfxImageEffectPropRenderScale, 0, &number);
        return kOfxStatOK;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    instance.create();
    Frame frame;
    frame.request.adjustInArgs = [](PropertySet& args) {
        args.putInt(kOfxImageEffectPropMetalEnabled, 1);
        args.erase(kOfxImageEffectPropRenderScale);
    };
    instance.render(frame.request);
    EXPECT_EQ(metal, 1);
    EXPECT_EQ(scale, kOfxStatErrUnknown);
}

// ---- faults -------------------------------------------------------------------------------------------------------

TEST(Faults, ReachEverySuiteFunctionInEveryKind) {
    ScriptedPlugin plugin;
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    OfxPropertySetHandle set = reinterpret_cast<OfxPropertySetHandle>(&set);
    const OfxImageEffectHandle handle = instance.object().handle();
    const auto& effects = ScriptedPlugin::effects();
    {
        const FaultScope scope([](std::string_view function, std::string_view) {
            return function == "getPropertySet" ? Fault::status(kOfxStatErrMemory) : Fault{};
        });
        EXPECT_EQ(effects.getPropertySet(handle, &set), kOfxStatErrMemory);
    }
    {
        const FaultScope scope([](std::string_view, std::string_view) { return Fault::nothing(); });
        EXPECT_EQ(effects.getPropertySet(handle, &set), kOfxStatOK);
        EXPECT_EQ(set, nullptr);
        EXPECT_EQ(ScriptedPlugin::suite(kOfxPropertySuite, 1), nullptr) << "suites too";
    }
    {
        const FaultScope scope([](std::string_view function, std::string_view name) {
            return function == "propGetString" && name == kOfxPropType ? Fault::nothing() : Fault{};
        });
        char* text = nullptr;
        EXPECT_EQ(ScriptedPlugin::properties().propGetString(host.descriptor().handle(), kOfxPropType, 0, &text),
                  kOfxStatOK);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(ScriptedPlugin::properties().propGetString(host.descriptor().handle(), kOfxPropName, 0, &text),
                  kOfxStatOK);
        EXPECT_STREQ(text, "tarnwell.host");
    }
    {
        const FaultScope scope([](std::string_view, std::string_view) { return Fault::thrown(); });
        EXPECT_THROW(effects.getPropertySet(handle, &set), std::runtime_error);
    }
    EXPECT_EQ(effects.getPropertySet(handle, &set), kOfxStatOK);
}

TEST(Clips, AreDefinedOnlyInAContextAndFoundOnlyOnInstances) {
    static OfxStatus inDescribe, inContext;
    ScriptedPlugin plugin([](const std::string& action, OfxImageEffectHandle effect, auto, auto) -> OfxStatus {
        OfxImageClipHandle clip = nullptr;
        if (action == kOfxActionDescribe) inDescribe = ScriptedPlugin::effects().clipDefine(effect, "Source", nullptr);
        if (action == kOfxImageEffectActionDescribeInContext)
            inContext = ScriptedPlugin::effects().clipGetHandle(effect, "Source", &clip, nullptr);
        return NOT_HANDLED;
    });
    Host host;
    Effect effect(host, plugin.binary(), plugin.record());
    effect.load();
    Instance instance(effect);
    EXPECT_EQ(inDescribe, kOfxStatErrBadHandle);
    EXPECT_EQ(inContext, kOfxStatErrBadHandle);
    OfxImageClipHandle clip = nullptr;
    const auto& effects = ScriptedPlugin::effects();
    EXPECT_EQ(effects.clipGetHandle(instance.object().handle(), "Source", &clip, nullptr), kOfxStatOK);
    EXPECT_EQ(effects.clipGetHandle(instance.object().handle(), "Mask", &clip, nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(effects.clipGetHandle(nullptr, "Source", &clip, nullptr), kOfxStatErrBadHandle);
    OfxRectD region{};
    EXPECT_EQ(effects.clipGetRegionOfDefinition(clip, 0.0, &region), kOfxStatOK);
    EXPECT_EQ(region.x2, 1920.0);
}

} // namespace

} // namespace tarnwell
