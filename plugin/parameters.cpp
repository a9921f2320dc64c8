#include "plugin/parameters.h"

#include "color/strength.h"
#include "plugin/frame_request.h"
#include "plugin/host.h"

namespace velloid {

namespace {

// The parameter's value at a time, or `fallback` when any step of asking the host fails.
template <typename Value>
Value valueAtTime(OfxImageEffectHandle effect, const char* key, double time, Value fallback) {
    const OfxImageEffectSuiteV1* effects = gEffectSuite;
    const OfxParameterSuiteV1* parameters = gParamSuite;
    if (!effects || !parameters) return fallback;
    if (!effects->getParamSet || !parameters->paramGetHandle || !parameters->paramGetValueAtTime) return fallback;
    OfxParamSetHandle set = nullptr;
    if (effects->getParamSet(effect, &set) != kOfxStatOK || !set) return fallback;
    OfxParamHandle parameter = nullptr;
    if (parameters->paramGetHandle(set, key, &parameter, nullptr) != kOfxStatOK || !parameter) return fallback;
    Value value = fallback;
    return parameters->paramGetValueAtTime(parameter, time, &value) == kOfxStatOK ? value : fallback;
}

} // namespace

int getChoice(OfxImageEffectHandle effect, const char* key, double time) {
    return valueAtTime(effect, key, time, 0);
}

double getDouble(OfxImageEffectHandle effect, const char* key, double time) {
    return valueAtTime(effect, key, time, 0.0);
}

std::string getString(OfxImageEffectHandle effect, const char* key, double time) {
    // The text lives in the host only until its next call: it is copied before anything else is asked. No lock of ours
    // is held meanwhile, because a host may wait in here for another thread that reads a string too.
    const char* text = valueAtTime(effect, key, time, static_cast<const char*>(nullptr));
    return text ? text : "";
}

void readInto(FrameRequest& request, const ParameterRow& row, OfxImageEffectHandle effect, double time) {
    if (row.choose) row.choose(request, getChoice(effect, row.key, time));
    if (row.text) request.*row.text = getString(effect, row.key, time);
    if (row.amount) request.*row.amount = clampStrength(getDouble(effect, row.key, time));
}

} // namespace velloid
