#include "tests/host/scripted_plugin.h"

namespace tarnwell::testing {

namespace {

struct Script {
    Handler handler;
    OfxHost* host = nullptr;
    std::mutex mutex; // guards actions
    std::vector<std::string> actions;
};
Script* gScript = nullptr;

OfxStatus onDescribe(OfxImageEffectHandle effect) {
    const auto& properties = ScriptedPlugin::properties();
    OfxPropertySetHandle set;
    ScriptedPlugin::effects().getPropertySet(effect, &set);
    properties.propSetString(set, kOfxImageEffectPropSupportedContexts, 0, kOfxImageEffectContextFilter);
    properties.propSetString(set, kOfxImageEffectPropSupportedPixelDepths, 0, kOfxBitDepthFloat);
    return kOfxStatOK;
}

OfxStatus onDescribeInContext(OfxImageEffectHandle effect) {
    for (const char* clip : {kOfxImageEffectSimpleSourceClipName, kOfxImageEffectOutputClipName}) {
        OfxPropertySetHandle set;
        ScriptedPlugin::effects().clipDefine(effect, clip, &set);
        ScriptedPlugin::properties().propSetString(set, kOfxImageEffectPropSupportedComponents, 0,
                                                   kOfxImageComponentRGBA);
    }
    return kOfxStatOK;
}

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs) {
    const auto effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    {
        const std::lock_guard lock(gScript->mutex);
        gScript->actions.emplace_back(action);
    }
    const OfxStatus answer = gScript->handler ? gScript->handler(action, effect, inArgs, outArgs) : NOT_HANDLED;
    if (answer != NOT_HANDLED) return answer;
    const std::string name = action;
    if (name == kOfxActionDescribe) return onDescribe(effect);
    if (name == kOfxImageEffectActionDescribeInContext) return onDescribeInContext(effect);
    return name == kOfxImageEffectActionRender ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxPlugin gRecord = {
    kOfxImageEffectPluginApi, 1, "tests:scripted", 1, 0, [](OfxHost* host) { gScript->host = host; }, mainEntry};

} // namespace

ScriptedPlugin::ScriptedPlugin(Handler handler) {
    gScript = new Script;
    gScript->handler = std::move(handler);
}

ScriptedPlugin::~ScriptedPlugin() {
    delete gScript;
    gScript = nullptr;
}

OfxPlugin* ScriptedPlugin::record() {
    return &gRecord;
}

std::shared_ptr<PluginBinary> ScriptedPlugin::binary() const {
    return PluginBinary::linked({[] { return 1; }, [](int) { return &gRecord; }, nullptr});
}

std::vector<std::string> ScriptedPlugin::actions() const {
    const std::lock_guard lock(gScript->mutex);
    return gScript->actions;
}

const void* ScriptedPlugin::suite(const char* name, int version) {
    return gScript->host->fetchSuite(gScript->host->host, name, version);
}

const OfxPropertySuiteV1& ScriptedPlugin::properties() {
    return *static_cast<const OfxPropertySuiteV1*>(suite(kOfxPropertySuite, 1));
}

const OfxImageEffectSuiteV1& ScriptedPlugin::effects() {
    return *static_cast<const OfxImageEffectSuiteV1*>(suite(kOfxImageEffectSuite, 1));
}

const OfxParameterSuiteV1& ScriptedPlugin::parameters() {
    return *static_cast<const OfxParameterSuiteV1*>(suite(kOfxParameterSuite, 1));
}

OfxPropertySetHandle ScriptedPlugin::fetchImage(OfxImageEffectHandle effect, const char* clip, double time) {
    OfxImageClipHandle handle = nullptr;
    if (effects().clipGetHandle(effect, clip, &handle, nullptr) != kOfxStatOK) return nullptr;
    OfxPropertySetHandle image = nullptr;
    return effects().clipGetImage(handle, time, nullptr, &image) == kOfxStatOK ? image : nullptr;
}

} // namespace tarnwell::testing
