#include "tests/bundle/bundle_host.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace velloid::test {

thread_local int InsideHost::depth = 0;

namespace {

Host* gHost = nullptr;

// What a string is handed out in; good until the thread's next call.
thread_local char gLent[4096];

char* lend(const std::string& text) {
    if (text.size() >= sizeof gLent) giveUp("a string is too long to lend: " + text);
    std::memcpy(gLent, text.c_str(), text.size() + 1);
    return gLent;
}

PropertySet* setOf(OfxPropertySetHandle handle) {
    return reinterpret_cast<PropertySet*>(handle);
}

std::string textOf(const Value& value) {
    if (const int* i = std::get_if<int>(&value)) return std::to_string(*i);
    if (const double* d = std::get_if<double>(&value)) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", *d);
        return text;
    }
    if (const std::string* s = std::get_if<std::string>(&value)) return *s;
    return "pointer";
}

std::string nameOf(const PropertySet* set) {
    return set ? set->name : "nothing";
}

// ---- properties ----------------------------------------------------------------------------------------------------

template <typename T>
OfxStatus get(const char* function, OfxPropertySetHandle handle, const char* property, int index, T&& deliver) {
    const InsideHost inside;
    const PropertySet* set = setOf(handle);
    if (!gHost->tell({function, property}, " of " + nameOf(set) + " [" + std::to_string(index) + "]"))
        return kOfxStatFailed;
    if (!set) return kOfxStatErrBadHandle;
    const auto found = set->values.find(std::string_view(property));
    if (found == set->values.end()) return kOfxStatErrUnknown;
    if (index < 0 || static_cast<size_t>(index) >= found->second.size()) return kOfxStatErrBadIndex;
    return deliver(found->second[static_cast<size_t>(index)]) ? kOfxStatOK : kOfxStatErrValue;
}

template <typename T>
OfxStatus getAs(const char* function, OfxPropertySetHandle handle, const char* property, int index, T* out) {
    return get(function, handle, property, index, [out](const Value& value) {
        const T* held = std::get_if<T>(&value);
        if (held) *out = *held;
        return held != nullptr;
    });
}

OfxStatus getString(OfxPropertySetHandle handle, const char* property, int index, char** out) {
    return get("propGetString", handle, property, index, [out](const Value& value) {
        const std::string* held = std::get_if<std::string>(&value);
        if (held) *out = lend(*held);
        return held != nullptr;
    });
}

OfxStatus put(const char* function, OfxPropertySetHandle handle, const char* property, int index, const Value& value) {
    const InsideHost inside;
    PropertySet* set = setOf(handle);
    if (!gHost->tell({function, property},
                     " of " + nameOf(set) + " [" + std::to_string(index) + "] = " + textOf(value)))
        return kOfxStatFailed;
    if (!set) return kOfxStatErrBadHandle;
    std::vector<Value>& list = set->values[property];
    if (static_cast<size_t>(index) >= list.size()) list.resize(static_cast<size_t>(index) + 1);
    list[static_cast<size_t>(index)] = value;
    return kOfxStatOK;
}

// What the plug-in has no use for is null: a call would end the process.
constexpr OfxPropertySuiteV1 PROPERTIES = {
    .propSetPointer = nullptr,
    .propSetString = [](OfxPropertySetHandle set, const char* property, int index,
                        const char* value) { return put("propSetString", set, property, index, std::string(value)); },
    .propSetDouble = [](OfxPropertySetHandle set, const char* property, int index,
                        double value) { return put("propSetDouble", set, property, index, value); },
    .propSetInt = [](OfxPropertySetHandle set, const char* property, int index,
                     int value) { return put("propSetInt", set, property, index, value); },
    .propSetPointerN = nullptr,
    .propSetStringN = nullptr,
    .propSetDoubleN = nullptr,
    .propSetIntN = nullptr,
    .propGetPointer = [](OfxPropertySetHandle set, const char* property, int index,
                         void** value) { return getAs("propGetPointer", set, property, index, value); },
    .propGetString = getString,
    .propGetDouble = [](OfxPropertySetHandle set, const char* property, int index,
                        double* value) { return getAs("propGetDouble", set, property, index, value); },
    .propGetInt = [](OfxPropertySetHandle set, const char* property, int index,
                     int* value) { return getAs("propGetInt", set, property, index, value); },
    .propGetPointerN = nullptr,
    .propGetStringN = nullptr,
    .propGetDoubleN = nullptr,
    .propGetIntN = nullptr,
    .propReset = nullptr,
    .propGetDimension = nullptr,
};

// ---- parameters ----------------------------------------------------------------------------------------------------

OfxStatus defineParameter(OfxParamSetHandle set, const char* type, const char* key, OfxPropertySetHandle* properties) {
    const InsideHost inside;
    if (!gHost->tell({"paramDefine", key}, std::string(" as ") + type)) return kOfxStatFailed;
    if (!set) return kOfxStatErrBadHandle;
    std::vector<Parameter>& parameters = reinterpret_cast<Effect*>(set)->parameters;
    parameters.push_back({key, type, PropertySet(key), nullptr});
    *properties = parameters.back().properties.handle();
    return kOfxStatOK;
}

OfxStatus parameterHandle(OfxParamSetHandle set, const char* key, OfxParamHandle* parameter, OfxPropertySetHandle*) {
    const InsideHost inside;
    if (!gHost->tell({"paramGetHandle", key})) return kOfxStatFailed;
    *parameter = reinterpret_cast<OfxParamHandle>(reinterpret_cast<Effect*>(set)->find(key));
    return *parameter ? kOfxStatOK : kOfxStatErrUnknown;
}

OfxStatus valueAtTime(OfxParamHandle handle, OfxTime time, ...) {
    const InsideHost inside;
    va_list arguments;
    va_start(arguments, time);
    void* out = va_arg(arguments, void*);
    va_end(arguments);
    const Parameter& parameter = *reinterpret_cast<const Parameter*>(handle);
    if (!gHost->tell({"paramGetValueAtTime", parameter.key.c_str(), time}, " at " + textOf(Value(time))))
        return kOfxStatFailed;
    const Value value = parameter.at(time);
    if (const int* i = std::get_if<int>(&value)) *static_cast<int*>(out) = *i;
    if (const double* d = std::get_if<double>(&value)) *static_cast<double*>(out) = *d;
    if (const std::string* s = std::get_if<std::string>(&value)) *static_cast<char**>(out) = lend(*s);
    return kOfxStatOK;
}

constexpr OfxParameterSuiteV1 PARAMETERS = {
    .paramDefine = defineParameter,
    .paramGetHandle = parameterHandle,
    .paramSetGetPropertySet = nullptr,
    .paramGetPropertySet = nullptr,
    .paramGetValue = nullptr,
    .paramGetValueAtTime = valueAtTime,
    .paramGetDerivative = nullptr,
    .paramGetIntegral = nullptr,
    .paramSetValue = nullptr,
    .paramSetValueAtTime = nullptr,
    .paramGetNumKeys = nullptr,
    .paramGetKeyTime = nullptr,
    .paramGetKeyIndex = nullptr,
    .paramDeleteKey = nullptr,
    .paramDeleteAllKeys = nullptr,
    .paramCopy = nullptr,
    .paramEditBegin = nullptr,
    .paramEditEnd = nullptr,
};

// ---- effects -------------------------------------------------------------------------------------------------------

Effect& effectOf(OfxImageEffectHandle handle) {
    return *reinterpret_cast<Effect*>(handle);
}

OfxStatus effectProperties(OfxImageEffectHandle effect, OfxPropertySetHandle* properties) {
    const InsideHost inside;
    if (!gHost->tell({"getPropertySet"})) return kOfxStatFailed;
    *properties = effectOf(effect).properties.handle();
    return kOfxStatOK;
}

OfxStatus parameterSet(OfxImageEffectHandle effect, OfxParamSetHandle* set) {
    const InsideHost inside;
    if (!gHost->tell({"getParamSet"})) return kOfxStatFailed;
    *set = reinterpret_cast<OfxParamSetHandle>(effect);
    return kOfxStatOK;
}

OfxStatus defineClip(OfxImageEffectHandle effect, const char* name, OfxPropertySetHandle* properties) {
    const InsideHost inside;
    if (!gHost->tell({"clipDefine", name})) return kOfxStatFailed;
    std::vector<Clip>& clips = effectOf(effect).clips;
    clips.emplace_back(name);
    *properties = clips.back().properties.handle();
    return kOfxStatOK;
}

OfxStatus clipHandle(OfxImageEffectHandle effect, const char* name, OfxImageClipHandle* handle,
                     OfxPropertySetHandle* properties) {
    const InsideHost inside;
    if (!gHost->tell({"clipGetHandle", name})) return kOfxStatFailed;
    Clip* clip = effectOf(effect).clip(name);
    if (!clip) return kOfxStatErrBadHandle;
    *handle = reinterpret_cast<OfxImageClipHandle>(clip);
    if (properties) *properties = clip->properties.handle();
    return kOfxStatOK;
}

OfxStatus image(OfxImageClipHandle handle, OfxTime time, const OfxRectD*, OfxPropertySetHandle* out) {
    const InsideHost inside;
    Clip& clip = *reinterpret_cast<Clip*>(handle);
    if (!gHost->tell({"clipGetImage", clip.name.c_str(), time}, " at " + textOf(Value(time)))) return kOfxStatFailed;
    ++gHost->lentImages;
    *out = clip.image.handle();
    return kOfxStatOK;
}

OfxStatus releaseImage(OfxPropertySetHandle handle) {
    const InsideHost inside;
    --gHost->lentImages; // also when it throws: the plug-in has done its part
    return gHost->tell({"clipReleaseImage", setOf(handle)->name.c_str()}) ? kOfxStatOK : kOfxStatFailed;
}

constexpr OfxImageEffectSuiteV1 EFFECTS = {
    .getPropertySet = effectProperties,
    .getParamSet = parameterSet,
    .clipDefine = defineClip,
    .clipGetHandle = clipHandle,
    .clipGetPropertySet = nullptr,
    .clipGetImage = image,
    .clipReleaseImage = releaseImage,
    .clipGetRegionOfDefinition = nullptr,
    .abort = nullptr,
    .imageMemoryAlloc = nullptr,
    .imageMemoryFree = nullptr,
    .imageMemoryLock = nullptr,
    .imageMemoryUnlock = nullptr,
};

const void* fetchSuite(OfxPropertySetHandle, const char* name, int version) {
    const InsideHost inside;
    if (!gHost->tell({"fetchSuite", name}, " " + std::to_string(version)) || version != 1) return nullptr;
    const std::string_view suite(name);
    if (suite == kOfxImageEffectSuite) return &EFFECTS;
    if (suite == kOfxPropertySuite) return &PROPERTIES;
    if (suite == kOfxParameterSuite) return &PARAMETERS;
    return nullptr;
}

} // namespace

void giveUp(const std::string& why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::abort();
}

std::string PropertySet::text(const char* property) const {
    const auto found = values.find(std::string_view(property));
    return found == values.end() || found->second.empty() ? "" : textOf(found->second[0]);
}

Parameter* Effect::find(std::string_view key) {
    for (Parameter& parameter : parameters) {
        if (parameter.key == key) return &parameter;
    }
    return nullptr;
}

Clip* Effect::clip(std::string_view name) {
    for (Clip& one : clips) {
        if (one.name == name) return &one;
    }
    return nullptr;
}

Host::Host() {
    if (gHost) giveUp("one host at a time");
    gHost = this;
    record_ = {hostProperties.handle(), fetchSuite};
}

Host::~Host() {
    close();
    gHost = nullptr;
}

void Host::open() {
    library_ = dlopen(TARNWELL_BINARY, RTLD_NOW | RTLD_LOCAL);
    if (!library_) giveUp(dlerror());
    const auto count = reinterpret_cast<OfxGetNumberOfPluginsFunction*>(dlsym(library_, "OfxGetNumberOfPlugins"));
    const auto plugin = reinterpret_cast<OfxGetPluginFunction*>(dlsym(library_, "OfxGetPlugin"));
    if (!count || !plugin || count() != 1 || !plugin(0)) giveUp("the library has not one plug-in");
    plugin_ = plugin(0);
    plugin_->setHost(&record_);
}

void Host::close() {
    if (library_ && dlclose(library_) != 0) giveUp(dlerror());
    library_ = nullptr;
    plugin_ = nullptr;
}

OfxStatus Host::act(const char* action, const void* handle, PropertySet* in, PropertySet* out) {
    return plugin_->mainEntry(action, handle, in ? in->handle() : nullptr, out ? out->handle() : nullptr);
}

OfxStatus Host::describeInContext() {
    descriptor.parameters.clear();
    descriptor.parameters.reserve(64); // the plug-in holds on to one's properties while it defines it
    descriptor.clips.clear();
    descriptor.clips.reserve(8);
    PropertySet in("arguments");
    in.set(kOfxImageEffectPropContext, {std::string(kOfxImageEffectContextFilter)});
    return act(kOfxImageEffectActionDescribeInContext, &descriptor, &in);
}

void Host::start() {
    open();
    if (load() != kOfxStatOK || describe() != kOfxStatOK || describeInContext() != kOfxStatOK)
        giveUp("the plug-in does not start");
}

void Host::record() {
    const std::lock_guard lock(logMu_);
    recording_ = true;
    log_.clear();
}

std::vector<std::string> Host::log() const {
    const std::lock_guard lock(logMu_);
    return log_;
}

bool Host::tell(const Call& call, const std::string& rest) {
    std::memset(gLent, '#', sizeof gLent - 1);
    if (recording_) {
        const std::lock_guard lock(logMu_);
        log_.push_back(std::string(call.function) + (*call.subject ? " " : "") + call.subject + rest);
    }
    if (onCall) onCall(call);
    return !refuses || !refuses(call);
}

} // namespace velloid::test
