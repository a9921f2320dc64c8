#include "plugin/host.h"

namespace velloid {

std::atomic<const OfxHost*> gHost{nullptr};
std::atomic<const OfxImageEffectSuiteV1*> gEffectSuite{nullptr};
std::atomic<const OfxPropertySuiteV1*> gPropSuite{nullptr};
std::atomic<const OfxParameterSuiteV1*> gParamSuite{nullptr};

namespace {

template <typename Suite>
void fetch(const OfxHost& host, const char* name, std::atomic<const Suite*>& global) {
    global = static_cast<const Suite*>(host.fetchSuite(host.host, name, 1));
}

// The property suite's function `member`, or null when the suite or the member is missing.
template <typename Function>
Function propertyFunction(Function OfxPropertySuiteV1::*member) {
    const OfxPropertySuiteV1* suite = gPropSuite;
    return suite ? suite->*member : nullptr;
}

} // namespace

void setHostFunc(OfxHost* host) {
    gHost = host;
}

OfxStatus fetchSuites() {
    const OfxHost* host = gHost;
    if (!host || !host->fetchSuite) return kOfxStatErrMissingHostFeature;
    fetch(*host, kOfxImageEffectSuite, gEffectSuite);
    fetch(*host, kOfxPropertySuite, gPropSuite);
    fetch(*host, kOfxParameterSuite, gParamSuite);
    return haveSuites() ? kOfxStatOK : kOfxStatErrMissingHostFeature;
}

bool haveSuites() {
    return gEffectSuite.load() && gPropSuite.load() && gParamSuite.load();
}

bool hostRendersWithOpenCl() {
    const OfxHost* host = gHost;
    return host && readString(host->host, kOfxImageEffectPropOpenCLRenderSupported) == "true";
}

bool readDouble(OfxPropertySetHandle set, const char* name, double& value) {
    return readDoubles(set, name, 1, &value);
}

// One by one rather than by the N-function: some hosts' clip and argument sets fail the N-function, or answer it
// without filling every entry.
bool readDoubles(OfxPropertySetHandle set, const char* name, int count, double* values) {
    const auto get = propertyFunction(&OfxPropertySuiteV1::propGetDouble);
    if (!get) return false;
    for (int i = 0; i < count; ++i) {
        double value = 0.0;
        if (get(set, name, i, &value) != kOfxStatOK) return false;
        values[i] = value;
    }
    return true;
}

bool readInt(OfxPropertySetHandle set, const char* name, int& value) {
    return readInts(set, name, 1, &value);
}

bool readInts(OfxPropertySetHandle set, const char* name, int count, int* values) {
    const auto get = propertyFunction(&OfxPropertySuiteV1::propGetInt);
    if (!get) return false;
    for (int i = 0; i < count; ++i) {
        int value = 0;
        if (get(set, name, i, &value) != kOfxStatOK) return false;
        values[i] = value;
    }
    return true;
}

bool readPointer(OfxPropertySetHandle set, const char* name, void*& value) {
    const auto get = propertyFunction(&OfxPropertySuiteV1::propGetPointer);
    void* found = nullptr;
    if (!get || get(set, name, 0, &found) != kOfxStatOK) return false;
    value = found;
    return true;
}

std::string readString(OfxPropertySetHandle set, const char* name) {
    const auto get = propertyFunction(&OfxPropertySuiteV1::propGetString);
    char* text = nullptr;
    if (!get || get(set, name, 0, &text) != kOfxStatOK || !text) return {};
    return text;
}

void writeString(OfxPropertySetHandle set, const char* name, const char* value, int index) {
    if (const auto put = propertyFunction(&OfxPropertySuiteV1::propSetString)) put(set, name, index, value);
}

void writeInt(OfxPropertySetHandle set, const char* name, int value) {
    if (const auto put = propertyFunction(&OfxPropertySuiteV1::propSetInt)) put(set, name, 0, value);
}

void writeDouble(OfxPropertySetHandle set, const char* name, double value) {
    if (const auto put = propertyFunction(&OfxPropertySuiteV1::propSetDouble)) put(set, name, 0, value);
}

} // namespace velloid
