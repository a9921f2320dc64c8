// The OpenFX declarations: layout (checked while compiling, in C and in C++), the strings whose names mislead, and
// calls that cross from one language into the other.
#include "ofx/layout_checks.h"
#include "tests/ofx/declared_in_c.h"

#include <gtest/gtest.h>

#include <cstdarg>

namespace {

// Every macro whose string is not its own name without the k.
TEST(Declarations, KeepTheStringsThatDifferFromTheirNames) {
    EXPECT_STREQ(kOfxImageEffectPluginApi, "OfxImageEffectPluginAPI");
    EXPECT_STREQ(kOfxImageEffectPropSupportsMultipleClipDepths, "OfxImageEffectPropMultipleClipDepths");
    EXPECT_STREQ(kOfxImageEffectPropProjectPixelAspectRatio, "OfxImageEffectPropPixelAspectRatio");
    EXPECT_STREQ(kOfxImagePropPixelAspectRatio, "OfxImagePropPixelAspectRatio");
    EXPECT_STREQ(kOfxImagePreMultiplied, "OfxImageAlphaPremultiplied");
    EXPECT_STREQ(kOfxImageUnPreMultiplied, "OfxImageAlphaUnPremultiplied");
    EXPECT_STREQ(kOfxImageFieldNone, "OfxFieldNone");
    EXPECT_STREQ(kOfxImageFieldLower, "OfxFieldLower");
    EXPECT_STREQ(kOfxImageFieldUpper, "OfxFieldUpper");
    EXPECT_STREQ(kOfxImageFieldBoth, "OfxFieldBoth");
    EXPECT_STREQ(kOfxImageFieldSingle, "OfxFieldSingle");
    EXPECT_STREQ(kOfxImageFieldDoubled, "OfxFieldDoubled");
    EXPECT_STREQ(kOfxImageEffectOutputClipName, "Output");
    EXPECT_STREQ(kOfxImageEffectSimpleSourceClipName, "Source");
    EXPECT_STREQ(kOfxImageEffectTransitionSourceFromClipName, "SourceFrom");
    EXPECT_STREQ(kOfxImageEffectTransitionSourceToClipName, "SourceTo");
    EXPECT_STREQ(kOfxImageEffectTransitionParamName, "Transition");
    EXPECT_STREQ(kOfxImageEffectRetimerParamName, "SourceTime");
    EXPECT_STREQ(kOfxHostNativeOriginBottomLeft, "kOfxImageEffectHostPropNativeOriginBottomLeft");
    EXPECT_STREQ(kOfxHostNativeOriginTopLeft, "kOfxImageEffectHostPropNativeOriginTopLeft");
    EXPECT_STREQ(kOfxHostNativeOriginCenter, "kOfxImageEffectHostPropNativeOriginCenter");
    EXPECT_STREQ(kOfxParamPropUseHostOverlayHandle, "kOfxParamPropUseHostOverlayHandle");
    EXPECT_STREQ(kOfxParamPropCustomInterpCallbackV1, "OfxParamPropCustomCallbackV1");
    EXPECT_STREQ(kOfxActionOpenGLContextDetached, "kOfxActionOpenGLContextDetached");
    EXPECT_STREQ(kOfxImageEffectPluginRenderThreadSafety, "OfxImageEffectPluginRenderThreadSafety");
    EXPECT_STREQ(kOfxImageEffectFrameVarying, "OfxImageEffectFrameVarying");
    EXPECT_STREQ(kOfxParamPropPersistant, "OfxParamPropPersistant");
}

TEST(Declarations, BuildClipPreferenceNamesFromTheirStems) {
    EXPECT_STREQ(kOfxImageClipPropComponentsStem "Output", "OfxImageClipPropComponents_Output");
    EXPECT_STREQ(kOfxImageClipPropDepthStem "Output", "OfxImageClipPropDepth_Output");
}

TEST(Declarations, MeanTheSameRecordInCAndInCpp) {
    const OfxPlugin* plugin = pluginRecordWrittenInC();
    EXPECT_STREQ(plugin->pluginApi, "OfxImageEffectPluginAPI");
    EXPECT_EQ(plugin->apiVersion, 1);
    EXPECT_STREQ(plugin->pluginIdentifier, "c.plugin");
    EXPECT_EQ(plugin->pluginVersionMajor, 3u);
    EXPECT_EQ(plugin->pluginVersionMinor, 4u);
    EXPECT_EQ(plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatReplyDefault);
}

// The value functions are variadic in the type itself, so that each compiler passes their arguments the variadic way.
double gValues[3];

OfxStatus setThree(OfxParamHandle param, ...) {
    va_list values;
    va_start(values, param);
    for (double& value : gValues)
        value = va_arg(values, double);
    va_end(values);
    return kOfxStatOK;
}

OfxStatus getThree(OfxParamHandle, OfxTime time, ...) {
    va_list values;
    va_start(values, time);
    for (double value : gValues)
        *va_arg(values, double*) = value;
    va_end(values);
    return kOfxStatOK;
}

TEST(Declarations, PassParameterValuesAsVariadicArguments) {
    OfxParameterSuiteV1 suite{};
    suite.paramSetValue = setThree;
    suite.paramGetValueAtTime = getThree;
    EXPECT_EQ(lastOfThreeWrittenThroughC(&suite, nullptr), 0.75);
}

} // namespace
