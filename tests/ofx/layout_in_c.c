/* The declarations as a C compiler sees them; the checks happen while compiling. */
#include "ofx/layout_checks.h"

#include "tests/ofx/declared_in_c.h"

static OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                           OfxPropertySetHandle outArgs) {
    (void)action;
    (void)handle;
    (void)inArgs;
    (void)outArgs;
    return kOfxStatReplyDefault;
}

static void setHost(OfxHost* host) {
    (void)host;
}

static OfxPlugin gPlugin = {
    kOfxImageEffectPluginApi, kOfxImageEffectPluginApiVersion, "c.plugin", 3, 4, setHost, mainEntry};

const OfxPlugin* pluginRecordWrittenInC(void) {
    return &gPlugin;
}

double lastOfThreeWrittenThroughC(const OfxParameterSuiteV1* suite, OfxParamHandle param) {
    double x = 0.0, y = 0.0, z = 0.0;
    if (suite->paramSetValue(param, 0.25, 0.5, 0.75) != kOfxStatOK) return -1.0;
    if (suite->paramGetValueAtTime(param, 12.0, &x, &y, &z) != kOfxStatOK) return -2.0;
    return x == 0.25 && y == 0.5 ? z : -3.0;
}
