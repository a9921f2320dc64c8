#include "plugin/parameters.h"

#include "plugin/host.h"

#include <mutex>

namespace velloid {

namespace {

// A returned string lives in the host only until its next call, and some hosts hand every thread the same buffer:
// reading and copying one string is one step. Guards nothing of our own.
std::mutex gStringReadMu;

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

PrintProcess processOfMenu(int menuIndex) {
    const auto row = static_cast<unsigned>(menuIndex);
    return row < kProcessMenu.size() ? kProcessMenu[row].process : PrintProcess{15};
}

int getChoice(OfxImageEffectHandle effect, const char* key, double time) {
    return valueAtTime(effect, key, time, 0);
}

double getDouble(OfxImageEffectHandle effect, const char* key, double time) {
    return valueAtTime(effect, key, time, 0.0);
}

std::string getString(OfxImageEffectHandle effect, const char* key, double time) {
    std::lock_guard lock(gStringReadMu);
    const char* text = valueAtTime(effect, key, time, static_cast<const char*>(nullptr));
    return text ? text : "";
}

} // namespace velloid
