// Messages and progress. A program without a window shows text on stderr, answers every question with no, and lets
// progress run on unless the frame was asked to stop.
#include "host/effect.h"
#include "host/message.h"
#include "host/suite_call.h"
#include "host/suites.h"

#include <cstdarg>
#include <cstdio>

namespace tarnwell {

namespace {

std::string formatted(const char* format, va_list list) {
    if (format == nullptr) return "";
    va_list again;
    va_copy(again, list);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, list);
    return text;
}

std::string orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

EffectObject* effectOf(void* handle) {
    return EffectObject::of(static_cast<OfxImageEffectHandle>(handle));
}

// The instance behind a handle, or null.
Instance* instanceOf(void* handle) {
    const EffectObject* effect = effectOf(handle);
    return effect != nullptr ? effect->instance : nullptr;
}

OfxStatus message(void* handle, const char* type, const char* id, const char* format, ...) {
    va_list list;
    va_start(list, format);
    const std::string text = formatted(format, list);
    va_end(list);
    return suiteCall("message", type, [&]() -> OfxStatus {
        if (handle != nullptr && effectOf(handle) == nullptr) return kOfxStatErrBadHandle;
        deliverMessage({orEmpty(type), orEmpty(id), text, handle != nullptr ? effectOf(handle)->identifier : ""});
        return orEmpty(type) == kOfxMessageQuestion ? kOfxStatReplyNo : kOfxStatOK;
    });
}

OfxStatus setPersistentMessage(void* handle, const char* type, const char* id, const char* format, ...) {
    va_list list;
    va_start(list, format);
    const std::string text = formatted(format, list);
    va_end(list);
    return suiteCall("setPersistentMessage", type, [&]() -> OfxStatus {
        Instance* instance = instanceOf(handle);
        if (instance == nullptr) return kOfxStatErrBadHandle;
        instance->setPersistentMessage(text);
        deliverMessage({orEmpty(type), orEmpty(id), text, effectOf(handle)->identifier});
        return kOfxStatOK;
    });
}

OfxStatus clearPersistentMessage(void* handle) {
    return suiteCall("clearPersistentMessage", "", [&]() -> OfxStatus {
        Instance* instance = instanceOf(handle);
        if (instance == nullptr) return kOfxStatErrBadHandle;
        instance->setPersistentMessage("");
        return kOfxStatOK;
    });
}

OfxStatus startProgress(void* handle) {
    return suiteCall("progressStart", "",
                     [&]() -> OfxStatus { return instanceOf(handle) != nullptr ? kOfxStatOK : kOfxStatErrBadHandle; });
}

OfxStatus progressStartV1(void* handle, const char*) {
    return startProgress(handle);
}
OfxStatus progressStartV2(void* handle, const char*, const char*) {
    return startProgress(handle);
}

OfxStatus progressUpdate(void* handle, double) {
    return suiteCall("progressUpdate", "", [&]() -> OfxStatus {
        const Instance* instance = instanceOf(handle);
        if (instance == nullptr) return kOfxStatErrBadHandle;
        return instance->abortRequested ? kOfxStatReplyNo : kOfxStatOK;
    });
}

OfxStatus progressEnd(void* handle) {
    return suiteCall("progressEnd", "",
                     [&]() -> OfxStatus { return instanceOf(handle) != nullptr ? kOfxStatOK : kOfxStatErrBadHandle; });
}

constexpr OfxMessageSuiteV1 MESSAGE_SUITE_V1 = {message};
constexpr OfxMessageSuiteV2 MESSAGE_SUITE_V2 = {message, setPersistentMessage, clearPersistentMessage};
constexpr OfxProgressSuiteV1 PROGRESS_SUITE_V1 = {progressStartV1, progressUpdate, progressEnd};
constexpr OfxProgressSuiteV2 PROGRESS_SUITE_V2 = {progressStartV2, progressUpdate, progressEnd};

} // namespace

const OfxMessageSuiteV1& messageSuiteV1() {
    return MESSAGE_SUITE_V1;
}
const OfxMessageSuiteV2& messageSuiteV2() {
    return MESSAGE_SUITE_V2;
}
const OfxProgressSuiteV1& progressSuiteV1() {
    return PROGRESS_SUITE_V1;
}
const OfxProgressSuiteV2& progressSuiteV2() {
    return PROGRESS_SUITE_V2;
}

} // namespace tarnwell
