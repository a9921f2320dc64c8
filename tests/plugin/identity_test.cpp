#include "plugin_under_test.h"

#include <gtest/gtest.h>

#include <limits>

using namespace velloid::test;
using tarnwell::Fault;
using tarnwell::FaultScope;
using tarnwell::PropertyRow;
using tarnwell::PropertySet;
using tarnwell::PropertyType;

namespace {

PropertySet timeArgs(double time) {
    PropertySet args;
    args.putDoubles(kOfxPropTime, {time});
    return args;
}

PropertySet emptyOut() {
    PropertySet out;
    out.putTexts(kOfxPropName, {""});
    out.putDoubles(kOfxPropTime, {0.0});
    return out;
}

OfxStatus identityOf(PluginUnderTest& plugin, double time = 5.0) {
    PropertySet in = timeArgs(time);
    PropertySet out = emptyOut();
    return plugin.instance->send(kOfxImageEffectActionIsIdentity, &in, &out);
}

} // namespace

TEST(Identity, HoldsWhenEveryEffectIsOff) {
    PluginUnderTest plugin;
    plugin.allOff().set("colorProcess", "Off");
    PropertySet in = timeArgs(12.5);
    PropertySet out = emptyOut();
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionIsIdentity, &in, &out), kOfxStatOK);
    EXPECT_EQ(out.textAt(kOfxPropName), "Source");
    EXPECT_EQ(out.doubleAt(kOfxPropTime), 12.5);
}

TEST(Identity, StockOffSwitchesTheGrainOff) {
    PluginUnderTest plugin;
    plugin.allOff().set("grainIntensity", 0.803).set("negStock", "Off");
    EXPECT_EQ(identityOf(plugin), kOfxStatOK);
}

TEST(Identity, NoColourIntensityIsNoPrintWhateverTheProcess) {
    PluginUnderTest plugin;
    plugin.allOff();
    for (int option = 0; option < 16; ++option) {
        plugin.set("colorProcess", std::to_string(option));
        EXPECT_EQ(identityOf(plugin), kOfxStatOK) << option;
    }
}

TEST(Identity, TheProcessOffIsNoPrintWhateverTheIntensity) {
    PluginUnderTest plugin;
    plugin.allOff().set("colorIntensity", 1.0).set("colorProcess", "Off");
    EXPECT_EQ(identityOf(plugin), kOfxStatOK);
}

TEST(Identity, AnyAmountEndsIt) {
    for (const char* key : {"detail", "grainIntensity", "halationIntensity", "colorIntensity", "gateWeave", "flicker",
                            "bloom", "blackWhite"}) {
        PluginUnderTest plugin;
        plugin.allOff().set(key, 0.001);
        EXPECT_EQ(identityOf(plugin), kOfxStatReplyDefault) << key;
    }
}

TEST(Identity, ALutPathEndsItEvenWhenTheFileIsMissing) {
    PluginUnderTest plugin;
    plugin.allOff().set("outputLutPath", "/nowhere/at/all.cube");
    EXPECT_EQ(identityOf(plugin), kOfxStatReplyDefault);
    plugin.set("outputLutStrength", 0.0);
    EXPECT_EQ(identityOf(plugin), kOfxStatOK);
}

TEST(Identity, DoesNotLookAtTheEncoding) {
    PluginUnderTest plugin;
    plugin.allOff();
    for (int space = 0; space < 17; ++space) {
        plugin.set("ioSpace", std::to_string(space));
        EXPECT_EQ(identityOf(plugin), kOfxStatOK) << space;
    }
}

TEST(Identity, DoesNotClampAmounts) {
    PluginUnderTest plugin;
    plugin.allOff();
    plugin.instance->parameters().at("bloom").setDoubles({-3.0});
    plugin.instance->parameters().at("flicker").setDoubles({std::numeric_limits<double>::quiet_NaN()});
    EXPECT_EQ(identityOf(plugin), kOfxStatOK) << "below zero and NaN are not above zero";
    plugin.instance->parameters().at("bloom").setDoubles({7.0});
    EXPECT_EQ(identityOf(plugin), kOfxStatReplyDefault);
}

TEST(Identity, TakesNaNForAnAmountThatIsNotOff) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const char* key : {"grainIntensity", "colorIntensity", "outputLutStrength"}) {
        PluginUnderTest plugin;
        plugin.allOff().set("outputLutPath", "/nowhere/at/all.cube").set("outputLutStrength", 0.0);
        ASSERT_EQ(identityOf(plugin), kOfxStatOK);
        plugin.setAmounts({{key, nan}});
        EXPECT_EQ(identityOf(plugin), kOfxStatReplyDefault) << key;
    }
    for (const char* key : {"detail", "halationIntensity", "gateWeave", "flicker", "bloom", "blackWhite"}) {
        PluginUnderTest plugin;
        plugin.allOff().setAmounts({{key, nan}});
        EXPECT_EQ(identityOf(plugin), kOfxStatOK) << key;
    }
}

TEST(Identity, NeedsATimeThatIsFinite) {
    PluginUnderTest plugin;
    EXPECT_EQ(identityOf(plugin, std::numeric_limits<double>::infinity()), kOfxStatFailed);
    EXPECT_EQ(identityOf(plugin, std::numeric_limits<double>::quiet_NaN()), kOfxStatFailed);
    PropertySet none;
    PropertySet out = emptyOut();
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionIsIdentity, &none, &out), kOfxStatFailed);
}

TEST(Identity, AnswersNullHandlesWithBadHandle) {
    PluginUnderTest plugin;
    PropertySet in = timeArgs(0.0);
    PropertySet out = emptyOut();
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionIsIdentity, nullptr, &out), kOfxStatErrBadHandle);
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionIsIdentity, &in, nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(plugin.effect.send(kOfxImageEffectActionIsIdentity, nullptr, &in, &out), kOfxStatErrBadHandle);
}

TEST(Identity, UnreadableParametersCountAsOff) {
    PluginUnderTest plugin;
    FaultScope hostile([](std::string_view function, std::string_view) {
        return function == "paramGetHandle" ? Fault::status(kOfxStatErrUnknown) : Fault{};
    });
    EXPECT_EQ(identityOf(plugin), kOfxStatOK);
}

// ---- clip preferences ----------------------------------------------------------------------------------------------

namespace {

// Every preference there is, empty, so that what was set shows.
PropertySet emptyPreferences() {
    PropertySet out;
    out.putInts(kOfxImageEffectFrameVarying, {0});
    out.putTexts(kOfxImageEffectPropPreMultiplication, {""});
    out.putTexts("OfxImageClipPropComponents_Output", {""});
    out.putTexts("OfxImageClipPropDepth_Output", {""});
    out.putTexts("OfxImageClipPropComponents_Source", {""});
    out.putTexts("OfxImageClipPropDepth_Source", {""});
    return out;
}

} // namespace

TEST(ClipPreferences, TheOutputTakesAfterTheSourceAndVariesByFrame) {
    tarnwell::InstanceOptions options;
    options.components = kOfxImageComponentRGB;
    options.preMultiplication = kOfxImageOpaque;
    PluginUnderTest plugin({}, options);
    PropertySet out = emptyPreferences();
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionGetClipPreferences, nullptr, &out), kOfxStatOK);
    EXPECT_EQ(out.intAt(kOfxImageEffectFrameVarying), 1);
    EXPECT_EQ(out.textAt(kOfxImageEffectPropPreMultiplication), kOfxImageOpaque);
    EXPECT_EQ(out.textAt("OfxImageClipPropComponents_Output"), kOfxImageComponentRGB);
    EXPECT_EQ(out.textAt("OfxImageClipPropDepth_Output"), kOfxBitDepthFloat);
    EXPECT_EQ(out.textAt("OfxImageClipPropComponents_Source"), "");
    EXPECT_EQ(out.textAt("OfxImageClipPropDepth_Source"), "");
}

TEST(ClipPreferences, ASilentDepthIsLeftToTheHost) {
    PluginUnderTest plugin;
    PropertySet out = emptyPreferences();
    FaultScope hostile([](std::string_view function, std::string_view name) {
        return function == "propGetString" && name == kOfxImageEffectPropPixelDepth ? Fault::nothing() : Fault{};
    });
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionGetClipPreferences, nullptr, &out), kOfxStatOK);
    EXPECT_EQ(out.intAt(kOfxImageEffectFrameVarying), 1);
    EXPECT_EQ(out.textAt("OfxImageClipPropComponents_Output"), kOfxImageComponentRGBA);
    EXPECT_EQ(out.textAt("OfxImageClipPropDepth_Output"), "");
}

TEST(ClipPreferences, WithoutASourceClipOnlyFrameVaryingIsSet) {
    PluginUnderTest plugin;
    PropertySet out = emptyPreferences();
    FaultScope hostile([](std::string_view function, std::string_view) {
        return function == "clipGetHandle" ? Fault::status(kOfxStatErrBadHandle) : Fault{};
    });
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionGetClipPreferences, nullptr, &out), kOfxStatOK);
    EXPECT_EQ(out.intAt(kOfxImageEffectFrameVarying), 1);
    EXPECT_EQ(out.textAt("OfxImageClipPropComponents_Output"), "");
}

TEST(ClipPreferences, AnswersNullHandlesWithBadHandle) {
    PluginUnderTest plugin;
    PropertySet out = emptyPreferences();
    EXPECT_EQ(plugin.instance->send(kOfxImageEffectActionGetClipPreferences, nullptr, nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(plugin.effect.send(kOfxImageEffectActionGetClipPreferences, nullptr, nullptr, &out),
              kOfxStatErrBadHandle);
}
