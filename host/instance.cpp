// An instance from creation to its frames: here every action's arguments are filled in and every answer is read.
// Whoever wants frames calls renderFrame; the single actions are for tests and timings that need an order of their own.
#include "host/effect.h"
#include "host/image_copy.h"
#include "host/property_tables.h"
#include "host/render_job.h"

#include <algorithm>
#include <climits>

namespace tarnwell {

namespace {

bool holds(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isGood(OfxStatus status) {
    return status == kOfxStatOK || status == kOfxStatReplyDefault;
}

bool isOutput(const Clip& clip) {
    return clip.name == kOfxImageEffectOutputClipName;
}

std::vector<double> corners(const OfxRectD& rect) {
    return {rect.x1, rect.y1, rect.x2, rect.y2};
}

OfxRectD rectOf(const std::vector<double>& values) {
    return {values.at(0), values.at(1), values.at(2), values.at(3)};
}

// RGBA if the clip takes it, else the first that it lists, else RGBA all the same.
std::string preferredComponents(const Clip& clip) {
    const std::vector<std::string> listed = clip.components();
    return listed.empty() || holds(listed, kOfxImageComponentRGBA) ? kOfxImageComponentRGBA : listed.front();
}

// Sides of an infinite region are the project's.
double finiteSide(double side, double low, double high) {
    return side <= static_cast<double>(INT_MIN) ? low : side >= static_cast<double>(INT_MAX) ? high : side;
}

} // namespace

// ---- building -----------------------------------------------------------------------------------------------------

Instance::Instance(Effect& effect, const InstanceOptions& options)
    : effect_(effect), options_(options), descriptor_(effect.context(options.context)),
      object_(effect.identifier(), PropertySet(instanceRows())) {
    object_.instance = this;
    object_.properties.setParent(&descriptor_.properties);
    describeProject();
    object_.parameters.instantiate(descriptor_.parameters);
    buildClips(descriptor_);
    timeLineTime = options_.frameRange.min;
    if (options_.adjust) options_.adjust(object_);
}

Instance::~Instance() {
    try {
        destroy();
    } catch (const std::exception&) {
        // The host goes on regardless of what a plug-in answers here.
    }
}

void Instance::describeProject() {
    PropertySet& set = object_.properties;
    const PropertySet& described = descriptor_.properties;
    set.putText(kOfxImageEffectPropContext, options_.context);
    set.putPointer(kOfxImageEffectPropPluginHandle, descriptor_.handle());
    set.putDoubles(kOfxImageEffectPropProjectSize, {options_.projectSize.x, options_.projectSize.y});
    set.putDoubles(kOfxImageEffectPropProjectExtent, {options_.projectSize.x, options_.projectSize.y});
    set.putDouble(kOfxImageEffectPropProjectPixelAspectRatio, options_.pixelAspect);
    set.putDouble(kOfxImageEffectPropFrameRate, options_.frameRate);
    set.putDouble(kOfxImageEffectInstancePropEffectDuration, options_.frameRange.max - options_.frameRange.min + 1.0);
    for (const char* name : {kOfxImageEffectInstancePropSequentialRender, kOfxImageEffectPropSupportsTiles})
        set.putInt(name, described.intAt(name));
    set.putText(kOfxImageEffectPropOpenGLRenderSupported, described.textAt(kOfxImageEffectPropOpenGLRenderSupported));
}

void Instance::buildClips(const EffectObject& descriptor) {
    for (const auto& definition : descriptor.clips)
        object_.clips.push_back(std::make_unique<Clip>(object_, *definition));
    if (object_.clip(kOfxImageEffectOutputClipName) == nullptr)
        throw HostError(effect_.identifier() + " defines no clip Output");
    for (const auto& clip : object_.clips) {
        const bool filled = isOutput(*clip) || clip->name == kOfxImageEffectSimpleSourceClipName ||
                            !clip->isOptional() || holds(options_.connected, clip->name);
        if (filled) connect(*clip);
    }
}

void Instance::connect(Clip& clip) {
    const std::string depth = options_.depth.empty() ? effect_.bestDepth() : options_.depth;
    const Clip* source = object_.clip(kOfxImageEffectSimpleSourceClipName);
    const bool likeSource = &clip == source || (isOutput(clip) && options_.context == kOfxImageEffectContextFilter);
    const std::string components = likeSource && !options_.components.empty()
                                       ? options_.components
                                       : preferredComponents(likeSource && source != nullptr ? *source : clip);
    PropertySet& set = clip.properties;
    set.putInt(kOfxImageClipPropConnected, 1);
    for (const char* name : {kOfxImageEffectPropPixelDepth, kOfxImageClipPropUnmappedPixelDepth})
        set.putText(name, depth);
    for (const char* name : {kOfxImageEffectPropComponents, kOfxImageClipPropUnmappedComponents})
        set.putText(name, components);
    set.putText(kOfxImageEffectPropPreMultiplication, options_.preMultiplication);
    set.putDouble(kOfxImagePropPixelAspectRatio, options_.pixelAspect);
    for (const char* name : {kOfxImageEffectPropFrameRate, kOfxImageEffectPropUnmappedFrameRate})
        set.putDouble(name, options_.frameRate);
    for (const char* name : {kOfxImageEffectPropFrameRange, kOfxImageEffectPropUnmappedFrameRange})
        set.putDoubles(name, {options_.frameRange.min, options_.frameRange.max});
}

// ---- sending ------------------------------------------------------------------------------------------------------

OfxStatus Instance::send(const char* action, PropertySet* inArgs, PropertySet* outArgs) {
    return effect_.send(action, object_.handle(), inArgs, outArgs);
}

void Instance::check(const char* action, OfxStatus status) const {
    if (!isGood(status)) throw ActionError(effect_.identifier(), action, status);
}

void Instance::create() {
    check(kOfxActionCreateInstance, send(kOfxActionCreateInstance));
    created_ = true;
    askClipPreferences();
}

void Instance::destroy() {
    if (!created_) return;
    created_ = false;
    send(kOfxActionDestroyInstance);
}

void Instance::purgeCaches() {
    check(kOfxActionPurgeCaches, send(kOfxActionPurgeCaches));
}

// ---- parameters ---------------------------------------------------------------------------------------------------

void Instance::setParameter(const std::string& key, const std::string& written) {
    object_.parameters.at(key).parse(written);
}

void Instance::changeParameter(const std::string& key, const std::string& written, double time) {
    setParameter(key, written);
    sendChanged(key, time);
}

void Instance::sendChanged(const std::string& key, double time, const char* reason) {
    PropertySet bracket;
    bracket.putText(kOfxPropChangeReason, reason);
    PropertySet change(bracket);
    change.putText(kOfxPropType, kOfxTypeParameter);
    change.putText(kOfxPropName, object_.parameters.at(key).key());
    change.putDouble(kOfxPropTime, time);
    change.putDoubles(kOfxImageEffectPropRenderScale, {1.0, 1.0});
    check(kOfxActionBeginInstanceChanged, send(kOfxActionBeginInstanceChanged, &bracket));
    check(kOfxActionInstanceChanged, send(kOfxActionInstanceChanged, &change));
    check(kOfxActionEndInstanceChanged, send(kOfxActionEndInstanceChanged, &bracket));
}

// ---- clip preferences ---------------------------------------------------------------------------------------------

void Instance::fillPreferences(PropertySet& outArgs) const {
    for (const auto& clip : object_.clips) {
        const PropertySet& set = clip->properties;
        outArgs.putText(kOfxImageClipPropComponentsStem + clip->name, set.textAt(kOfxImageEffectPropComponents));
        outArgs.putText(kOfxImageClipPropDepthStem + clip->name, set.textAt(kOfxImageEffectPropPixelDepth));
        outArgs.putDouble(kOfxImageClipPropPARStem + clip->name, set.doubleAt(kOfxImagePropPixelAspectRatio));
    }
    outArgs.putDouble(kOfxImageEffectPropFrameRate, options_.frameRate);
    outArgs.putText(kOfxImageClipPropFieldOrder, kOfxImageFieldNone);
    outArgs.putText(kOfxImageEffectPropPreMultiplication, options_.preMultiplication);
    outArgs.putInt(kOfxImageClipPropContinuousSamples, 0);
    outArgs.putInt(kOfxImageEffectFrameVarying, 0);
}

ClipPreferences Instance::askClipPreferences() {
    PropertySet outArgs;
    fillPreferences(outArgs);
    check(kOfxImageEffectActionGetClipPreferences, send(kOfxImageEffectActionGetClipPreferences, nullptr, &outArgs));
    applyPreferences(outArgs);
    return preferences_;
}

// Depths follow the plug-in only if both sides allow clips of several depths, aspects likewise; components only to what
// the clip lists.
void Instance::applyPreferences(const PropertySet& outArgs) {
    const auto bothAllow = [&](const char* name) {
        return effect_.host().descriptor().intAt(name) != 0 && descriptor_.properties.intAt(name) != 0;
    };
    preferences_ = {};
    for (const auto& clip : object_.clips) {
        const std::string components = outArgs.textAt(kOfxImageClipPropComponentsStem + clip->name);
        const std::string depth = outArgs.textAt(kOfxImageClipPropDepthStem + clip->name);
        const double aspect = outArgs.doubleAt(kOfxImageClipPropPARStem + clip->name);
        preferences_.components[clip->name] = components;
        preferences_.depths[clip->name] = depth;
        preferences_.pixelAspects[clip->name] = aspect;
        if (holds(clip->components(), components)) clip->properties.putText(kOfxImageEffectPropComponents, components);
        if (bothAllow(kOfxImageEffectPropSupportsMultipleClipDepths))
            clip->properties.putText(kOfxImageEffectPropPixelDepth, depth);
        if (bothAllow(kOfxImageEffectPropSupportsMultipleClipPARs))
            clip->properties.putDouble(kOfxImagePropPixelAspectRatio, aspect);
    }
    preferences_.frameRate = outArgs.doubleAt(kOfxImageEffectPropFrameRate);
    preferences_.fieldOrder = outArgs.textAt(kOfxImageClipPropFieldOrder);
    preferences_.preMultiplication = outArgs.textAt(kOfxImageEffectPropPreMultiplication);
    preferences_.continuousSamples = outArgs.intAt(kOfxImageClipPropContinuousSamples) != 0;
    preferences_.frameVarying = outArgs.intAt(kOfxImageEffectFrameVarying) != 0;
    PropertySet& output = object_.clip(kOfxImageEffectOutputClipName)->properties;
    output.putText(kOfxImageEffectPropPreMultiplication, preferences_.preMultiplication);
    output.putInt(kOfxImageClipPropContinuousSamples, preferences_.continuousSamples ? 1 : 0);
}

std::string Instance::depth(const std::string& clip) const {
    const Clip* found = object_.clip(clip);
    return found != nullptr ? found->properties.textAt(kOfxImageEffectPropPixelDepth) : kOfxBitDepthNone;
}

std::string Instance::components(const std::string& clip) const {
    const Clip* found = object_.clip(clip);
    return found != nullptr ? found->properties.textAt(kOfxImageEffectPropComponents) : kOfxImageComponentNone;
}

// ---- regions and frames -------------------------------------------------------------------------------------------

OfxRectD Instance::regionOfDefinition(double time, OfxPointD renderScale, std::optional<OfxRectD> sourceRegion) {
    const OfxRectD project = {0.0, 0.0, options_.projectSize.x, options_.projectSize.y};
    PropertySet inArgs;
    inArgs.putDouble(kOfxPropTime, time);
    inArgs.putDoubles(kOfxImageEffectPropRenderScale, {renderScale.x, renderScale.y});
    PropertySet outArgs;
    outArgs.putDoubles(kOfxImageEffectPropRegionOfDefinition, corners(sourceRegion.value_or(project)));
    check(kOfxImageEffectActionGetRegionOfDefinition,
          send(kOfxImageEffectActionGetRegionOfDefinition, &inArgs, &outArgs));
    const OfxRectD region = rectOf(outArgs.doubles(kOfxImageEffectPropRegionOfDefinition));
    return {finiteSide(region.x1, project.x1, project.x2), finiteSide(region.y1, project.y1, project.y2),
            finiteSide(region.x2, project.x1, project.x2), finiteSide(region.y2, project.y1, project.y2)};
}

std::map<std::string, OfxRectD> Instance::regionsOfInterest(double time, const OfxRectD& region,
                                                            OfxPointD renderScale) {
    PropertySet inArgs;
    inArgs.putDouble(kOfxPropTime, time);
    inArgs.putDoubles(kOfxImageEffectPropRenderScale, {renderScale.x, renderScale.y});
    inArgs.putDoubles(kOfxImageEffectPropRegionOfInterest, corners(region));
    PropertySet outArgs;
    for (const auto& clip : object_.clips)
        if (!isOutput(*clip)) outArgs.putDoubles(kOfxImageClipPropRoIStem + clip->name, corners(region));
    check(kOfxImageEffectActionGetRegionsOfInterest,
          send(kOfxImageEffectActionGetRegionsOfInterest, &inArgs, &outArgs));
    std::map<std::string, OfxRectD> regions;
    for (const auto& clip : object_.clips)
        if (!isOutput(*clip)) regions[clip->name] = rectOf(outArgs.doubles(kOfxImageClipPropRoIStem + clip->name));
    return regions;
}

std::map<std::string, std::vector<OfxRangeD>> Instance::framesNeeded(double time) {
    const bool looksAround = descriptor_.properties.intAt(kOfxImageEffectPropTemporalClipAccess) != 0;
    PropertySet inArgs;
    inArgs.putDouble(kOfxPropTime, time);
    PropertySet outArgs;
    for (const auto& clip : object_.clips) {
        if (isOutput(*clip)) continue;
        const std::string name = kOfxImageClipPropFrameRangeStem + clip->name;
        outArgs.define(PropertyRow{name.c_str(), PropertyType::Double, 0});
        outArgs.putDoubles(name, {time, time});
    }
    if (looksAround)
        check(kOfxImageEffectActionGetFramesNeeded, send(kOfxImageEffectActionGetFramesNeeded, &inArgs, &outArgs));
    std::map<std::string, std::vector<OfxRangeD>> ranges;
    for (const auto& clip : object_.clips) {
        if (isOutput(*clip)) continue;
        const std::vector<double> ends = outArgs.doubles(kOfxImageClipPropFrameRangeStem + clip->name);
        for (std::size_t i = 0; i + 1 < ends.size(); i += 2)
            ranges[clip->name].push_back({ends[i], ends[i + 1]});
    }
    return ranges;
}

// ---- rendering ----------------------------------------------------------------------------------------------------

// What render, begin and end sequence have in common.
void Instance::fillRenderArgs(PropertySet& args, const RenderRequest& request) const {
    args.putDoubles(kOfxImageEffectPropRenderScale, {request.renderScale.x, request.renderScale.y});
    args.putInt(kOfxImageEffectPropSequentialRenderStatus, 0);
    args.putInt(kOfxImageEffectPropInteractiveRenderStatus, request.interactive ? 1 : 0);
}

std::optional<Identity> Instance::isIdentity(const RenderRequest& request) {
    PropertySet inArgs;
    inArgs.putDouble(kOfxPropTime, request.time);
    inArgs.putText(kOfxImageEffectPropFieldToRender, request.field);
    inArgs.putInts(kOfxImageEffectPropRenderWindow,
                   {request.window.x1, request.window.y1, request.window.x2, request.window.y2});
    inArgs.putDoubles(kOfxImageEffectPropRenderScale, {request.renderScale.x, request.renderScale.y});
    PropertySet outArgs;
    outArgs.putText(kOfxPropName, "");
    outArgs.putDouble(kOfxPropTime, request.time);
    const OfxStatus status = send(kOfxImageEffectActionIsIdentity, &inArgs, &outArgs);
    check(kOfxImageEffectActionIsIdentity, status);
    const Identity identity{outArgs.textAt(kOfxPropName), outArgs.doubleAt(kOfxPropTime)};
    if (status == kOfxStatReplyDefault || identity.clip.empty()) return std::nullopt;
    if (object_.clip(identity.clip) == nullptr)
        throw ActionError(effect_.identifier(), kOfxImageEffectActionIsIdentity,
                          "names a clip that is not there: " + identity.clip);
    return identity;
}

namespace {

void fillSequenceArgs(PropertySet& args, const RenderRequest& request) {
    args.putDoubles(kOfxImageEffectPropFrameRange, {request.frameRange.min, request.frameRange.max});
    args.putDouble(kOfxImageEffectPropFrameStep, 1.0);
    args.putInt(kOfxPropIsInteractive, request.interactive ? 1 : 0);
}

} // namespace

void Instance::beginSequence(const RenderRequest& request) {
    PropertySet inArgs;
    fillRenderArgs(inArgs, request);
    fillSequenceArgs(inArgs, request);
    if (request.adjustInArgs) request.adjustInArgs(inArgs);
    check(kOfxImageEffectActionBeginSequenceRender, send(kOfxImageEffectActionBeginSequenceRender, &inArgs));
}

void Instance::endSequence(const RenderRequest& request) {
    PropertySet inArgs;
    fillRenderArgs(inArgs, request);
    fillSequenceArgs(inArgs, request);
    if (request.adjustInArgs) request.adjustInArgs(inArgs);
    check(kOfxImageEffectActionEndSequenceRender, send(kOfxImageEffectActionEndSequenceRender, &inArgs));
}

void Instance::checkDepths(const RenderRequest& request) const {
    if (request.allowUnlistedDepths) return;
    const std::vector<std::string> listed = effect_.depths();
    const auto insist = [&](const ImageDesc& image) {
        if (image.isPresent() && !holds(listed, image.depth))
            throw HostError(effect_.identifier() + " does not list the depth " + image.depth);
    };
    insist(request.source);
    insist(request.output);
    for (const auto& [clip, image] : request.others)
        insist(image);
}

RenderOutcome Instance::tryRender(const RenderRequest& request) {
    checkDepths(request);
    PropertySet inArgs;
    fillRenderArgs(inArgs, request);
    inArgs.putDouble(kOfxPropTime, request.time);
    inArgs.putText(kOfxImageEffectPropFieldToRender, request.field);
    inArgs.putInts(kOfxImageEffectPropRenderWindow,
                   {request.window.x1, request.window.y1, request.window.x2, request.window.y2});
    inArgs.putInt(kOfxImageEffectPropRenderQualityDraft, request.draft ? 1 : 0);
    if (request.adjustInArgs) request.adjustInArgs(inArgs);

    timeLineTime = request.time;
    RenderJob job(*this, request);
    const RenderJob::Scope scope(&job);
    const OfxStatus status = send(kOfxImageEffectActionRender, &inArgs);
    return {status, job.fetched(), job.unreleased()};
}

void Instance::render(const RenderRequest& request) {
    const RenderOutcome outcome = tryRender(request);
    if (outcome.status != kOfxStatOK)
        throw ActionError(effect_.identifier(), kOfxImageEffectActionRender, outcome.status);
    if (outcome.imagesLeaked != 0)
        throw ActionError(effect_.identifier(), kOfxImageEffectActionRender,
                          std::to_string(outcome.imagesLeaked) + " of " + std::to_string(outcome.imagesFetched) +
                              " images were not released");
}

std::optional<ImageDesc> Instance::imageOf(const Identity& identity, const RenderRequest& request) const {
    if (identity.time != request.time)
        return request.imageAt ? request.imageAt(identity.clip, identity.time) : std::nullopt;
    if (identity.clip == kOfxImageEffectSimpleSourceClipName) return request.source;
    const auto other = request.others.find(identity.clip);
    return other != request.others.end() ? std::optional<ImageDesc>(other->second) : std::nullopt;
}

std::optional<Identity> Instance::renderFrame(const RenderRequest& request) {
    if (const auto identity = isIdentity(request)) {
        checkDepths(request);
        if (const auto image = imageOf(*identity, request)) copyWindow(*image, request.output, request.window);
        return identity;
    }
    beginSequence(request);
    render(request);
    endSequence(request);
    return std::nullopt;
}

// ---- messages -----------------------------------------------------------------------------------------------------

std::string Instance::persistentMessage() const {
    const std::lock_guard lock(messageMutex_);
    return persistentMessage_;
}

void Instance::setPersistentMessage(const std::string& text) {
    const std::lock_guard lock(messageMutex_);
    persistentMessage_ = text;
}

} // namespace tarnwell
