// Plug-ins that go wrong in one way each; the build picks the way. Built as bundles for the inspect and catalog tests.
#include "ofx/ofx.h"

#include <cstring>

#if defined(ODD_UNRESOLVED)
// A variable that nobody defines: the loader has to find it at once.
extern int gNowhereDefined;
int* gUnresolved = &gNowhereDefined;
#endif

#if defined(ODD_UNRESOLVED_FUNCTION)
// A function that nobody defines: the lazy loader lets it pass.
extern void functionThatNobodyDefines();
#endif

#if defined(ODD_NO_ENTRY_POINTS)

extern "C" __attribute__((visibility("default"))) int somethingElse() {
    return 1;
}

#else

namespace {

OfxHost* gHost = nullptr;

[[maybe_unused]] const OfxPropertySuiteV1& properties() {
    return *static_cast<const OfxPropertySuiteV1*>(gHost->fetchSuite(gHost->host, kOfxPropertySuite, 1));
}

OfxStatus onLoad() {
#if defined(ODD_LOAD_FAILS)
    return kOfxStatErrFatal;
#elif defined(ODD_NEEDS_SUITE)
    return gHost->fetchSuite(gHost->host, "OfxDrawSuite", 1) != nullptr ? kOfxStatOK : kOfxStatErrMissingHostFeature;
#elif defined(ODD_UNRESOLVED_FUNCTION)
    if (gHost == nullptr) functionThatNobodyDefines();
    return kOfxStatOK;
#else
    return kOfxStatOK;
#endif
}

OfxStatus onDescribe(OfxImageEffectHandle effect) {
#if defined(ODD_DESCRIBE_FAILS)
    (void)effect;
    return kOfxStatErrMissingHostFeature;
#else
    const auto& effects =
        *static_cast<const OfxImageEffectSuiteV1*>(gHost->fetchSuite(gHost->host, kOfxImageEffectSuite, 1));
    OfxPropertySetHandle set;
    effects.getPropertySet(effect, &set);
    properties().propSetString(set, kOfxImageEffectPropSupportedContexts, 0, kOfxImageEffectContextFilter);
#if !defined(ODD_NO_DEPTHS)
    properties().propSetString(set, kOfxImageEffectPropSupportedPixelDepths, 0, kOfxBitDepthFloat);
#endif
    return kOfxStatOK;
#endif
}

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle, OfxPropertySetHandle) {
    if (std::strcmp(action, kOfxActionLoad) == 0) return onLoad();
    if (std::strcmp(action, kOfxActionDescribe) == 0)
        return onDescribe(static_cast<OfxImageEffectHandle>(const_cast<void*>(handle)));
    if (std::strcmp(action, kOfxImageEffectActionDescribeInContext) == 0) return kOfxStatOK;
    return kOfxStatReplyDefault;
}

void setHost(OfxHost* host) {
    gHost = host;
}

// Several plug-ins, and several versions of one.
OfxPlugin gPlugins[] = {
    {kOfxImageEffectPluginApi, 1, "tests:odd", 1, 9, setHost, mainEntry},
    {kOfxImageEffectPluginApi, 1, "tests:odd", 2, 0, setHost, mainEntry},
    {kOfxImageEffectPluginApi, 1, "tests:odd", 1, 10, setHost, mainEntry},
    {kOfxImageEffectPluginApi, 1, "tests:other", 1, 0, setHost, mainEntry},
    {"SomeOtherPluginAPI", 1, "tests:foreign", 1, 0, setHost, mainEntry},
};

} // namespace

int OfxGetNumberOfPlugins(void) {
#if defined(ODD_SEVERAL)
    return 5;
#else
    return 1;
#endif
}

OfxPlugin* OfxGetPlugin(int nth) {
    return &gPlugins[nth];
}

#endif
