// The timeline of a batch program: it stands where the frame being rendered stands, and nobody else moves it.
#include "host/effect.h"
#include "host/suite_call.h"
#include "host/suites.h"

namespace tarnwell {

namespace {

Instance* instanceOf(void* handle) {
    const EffectObject* effect = EffectObject::of(static_cast<OfxImageEffectHandle>(handle));
    return effect != nullptr ? effect->instance : nullptr;
}

OfxStatus getTime(void* handle, double* time) {
    return suiteCall("getTime", "", [&]() -> OfxStatus {
        const Instance* instance = instanceOf(handle);
        if (instance == nullptr) return kOfxStatErrBadHandle;
        if (time == nullptr) return kOfxStatErrValue;
        *time = instance->timeLineTime;
        return kOfxStatOK;
    });
}

OfxStatus gotoTime(void* handle, double) {
    return suiteCall("gotoTime", "", [&]() -> OfxStatus {
        return instanceOf(handle) != nullptr ? kOfxStatFailed : kOfxStatErrBadHandle;
    });
}

OfxStatus getTimeBounds(void* handle, double* first, double* last) {
    return suiteCall("getTimeBounds", "", [&]() -> OfxStatus {
        const Instance* instance = instanceOf(handle);
        if (instance == nullptr) return kOfxStatErrBadHandle;
        if (first == nullptr || last == nullptr) return kOfxStatErrValue;
        *first = instance->options().frameRange.min;
        *last = instance->options().frameRange.max;
        return kOfxStatOK;
    });
}

constexpr OfxTimeLineSuiteV1 TIME_LINE_SUITE = {getTime, gotoTime, getTimeBounds};

} // namespace

const OfxTimeLineSuiteV1& timeLineSuite() {
    return TIME_LINE_SUITE;
}

} // namespace tarnwell
