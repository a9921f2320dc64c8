// The plug-in as a whole: load, describe, describe in context, unload, and the descriptors that it fills while these
// run. Instances and frames: instance.cpp.
#include "host/effect.h"

#include "host/property_tables.h"

#include <algorithm>

namespace tarnwell {

namespace {

bool holds(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isGood(OfxStatus status) {
    return status == kOfxStatOK || status == kOfxStatReplyDefault;
}

PropertySet descriptorProperties(const std::string& bundle) {
    PropertySet properties(effectRows());
    properties.putText(kOfxPluginPropFilePath, bundle);
    properties.follow(kOfxPropLabel, kOfxPropShortLabel);
    properties.follow(kOfxPropLabel, kOfxPropLongLabel);
    return properties;
}

} // namespace

// ---- clips and effect objects -------------------------------------------------------------------------------------

Clip::Clip(EffectObject& owner, const std::string& clipName) : effect(owner), name(clipName), properties(clipRows()) {
    for (const char* property : {kOfxPropName, kOfxPropLabel, kOfxPropShortLabel, kOfxPropLongLabel})
        properties.putText(property, clipName);
    properties.follow(kOfxPropLabel, kOfxPropShortLabel);
    properties.follow(kOfxPropLabel, kOfxPropLongLabel);
}

Clip::Clip(EffectObject& owner, const Clip& definition)
    : effect(owner), name(definition.name), properties(definition.properties) {
    properties.define(clipInstanceRows());
}

bool Clip::isOptional() const {
    return properties.intAt(kOfxImageClipPropOptional) != 0;
}

std::vector<std::string> Clip::components() const {
    return properties.texts(kOfxImageEffectPropSupportedComponents);
}

EffectObject::EffectObject(const std::string& pluginIdentifier, const PropertySet& initial)
    : identifier(pluginIdentifier), properties(initial), parameters(properties) {}

const Clip* EffectObject::clip(const std::string& name) const {
    const auto found = std::find_if(clips.begin(), clips.end(), [&](const auto& held) { return held->name == name; });
    return found != clips.end() ? found->get() : nullptr;
}

Clip* EffectObject::clip(const std::string& name) {
    return const_cast<Clip*>(static_cast<const EffectObject*>(this)->clip(name));
}

// ---- the plug-in --------------------------------------------------------------------------------------------------

Effect::Effect(Host& host, const FoundPlugin& found) : Effect(host, found.binary, found.plugin) {}

Effect::Effect(Host& host, std::shared_ptr<PluginBinary> binary, OfxPlugin* plugin)
    : host_(host), binary_(std::move(binary)), plugin_(plugin),
      descriptor_(std::make_unique<EffectObject>(identifier(), descriptorProperties(bundlePath()))) {}

Effect::~Effect() {
    try {
        unload();
    } catch (const std::exception&) {
        // A plug-in that fails to unload is gone all the same.
    }
}

OfxStatus Effect::send(const char* action, const void* handle, PropertySet* inArgs, PropertySet* outArgs) const {
    try {
        return plugin_->mainEntry(action, handle, inArgs != nullptr ? inArgs->handle() : nullptr,
                                  outArgs != nullptr ? outArgs->handle() : nullptr);
    } catch (const std::exception& error) {
        throw ActionError(identifier(), action, std::string("threw an exception: ") + error.what());
    } catch (...) {
        throw ActionError(identifier(), action, "threw an exception");
    }
}

void Effect::load() {
    if (loaded_) return;
    plugin_->setHost(host_.record());
    const OfxStatus status = send(kOfxActionLoad, nullptr);
    if (!isGood(status)) throw ActionError(identifier(), kOfxActionLoad, status);
    loaded_ = true;
    try {
        describe();
        insistOnUse();
    } catch (...) {
        unload();
        throw;
    }
}

void Effect::describe() {
    descriptor_ = std::make_unique<EffectObject>(identifier(), descriptorProperties(bundlePath()));
    const OfxStatus status = send(kOfxActionDescribe, descriptor_->handle());
    if (!isGood(status)) throw ActionError(identifier(), kOfxActionDescribe, status);
}

// Without a context or a depth in common there is nothing that could be rendered.
void Effect::insistOnUse() const {
    if (contexts().empty()) throw HostError(identifier() + " lists no context");
    if (depths().empty()) throw HostError(identifier() + " lists no pixel depth");
    if (bestDepth().empty()) throw HostError(identifier() + " lists no pixel depth that this host has");
}

void Effect::unload() {
    if (!loaded_) return;
    loaded_ = false;
    {
        const std::lock_guard lock(contextsMutex_);
        contexts_.clear();
    }
    send(kOfxActionUnload, nullptr);
}

EffectObject& Effect::context(const std::string& context) {
    const std::lock_guard lock(contextsMutex_);
    const auto known = contexts_.find(context);
    if (known != contexts_.end()) return *known->second;
    if (!holds(contexts(), context)) throw HostError(identifier() + " does not list the context " + context);

    auto object = std::make_unique<EffectObject>(identifier(), descriptor_->properties);
    PropertySet inArgs;
    inArgs.putText(kOfxImageEffectPropContext, context);
    object->acceptsClips = object->parameters.accepting = true;
    const OfxStatus status = send(kOfxImageEffectActionDescribeInContext, object->handle(), &inArgs);
    object->acceptsClips = object->parameters.accepting = false;
    if (!isGood(status)) throw ActionError(identifier(), kOfxImageEffectActionDescribeInContext, status);
    return *(contexts_[context] = std::move(object));
}

std::string Effect::identifier() const {
    return plugin_->pluginIdentifier;
}

std::string Effect::label() const {
    const std::string label = descriptor_->properties.textAt(kOfxPropLabel);
    return label.empty() ? identifier() : label;
}

std::string Effect::grouping() const {
    return descriptor_->properties.textAt(kOfxImageEffectPluginPropGrouping);
}

std::vector<std::string> Effect::contexts() const {
    return descriptor_->properties.texts(kOfxImageEffectPropSupportedContexts);
}

std::vector<std::string> Effect::depths() const {
    return descriptor_->properties.texts(kOfxImageEffectPropSupportedPixelDepths);
}

std::string Effect::threadSafety() const {
    return descriptor_->properties.textAt(kOfxImageEffectPluginRenderThreadSafety);
}

std::string Effect::bestDepth() const {
    const std::vector<std::string> listed = depths();
    for (const char* depth : {kOfxBitDepthFloat, kOfxBitDepthHalf, kOfxBitDepthShort, kOfxBitDepthByte})
        if (holds(listed, depth)) return depth;
    return "";
}

} // namespace tarnwell
