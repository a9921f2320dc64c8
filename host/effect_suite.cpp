// The image effect suite: effects, clips, images and image memory as a plug-in asks for them, from any thread.
#include "host/effect.h"
#include "host/memory.h"
#include "host/render_job.h"
#include "host/suite_call.h"
#include "host/suites.h"

namespace tarnwell {

namespace {

OfxStatus getPropertySet(OfxImageEffectHandle handle, OfxPropertySetHandle* properties) {
    return suiteCall("getPropertySet", "", properties, [&]() -> OfxStatus {
        EffectObject* effect = EffectObject::of(handle);
        if (effect == nullptr) return kOfxStatErrBadHandle;
        if (properties == nullptr) return kOfxStatErrValue;
        *properties = effect->properties.handle();
        return kOfxStatOK;
    });
}

OfxStatus getParamSet(OfxImageEffectHandle handle, OfxParamSetHandle* parameters) {
    return suiteCall("getParamSet", "", parameters, [&]() -> OfxStatus {
        EffectObject* effect = EffectObject::of(handle);
        if (effect == nullptr) return kOfxStatErrBadHandle;
        if (parameters == nullptr) return kOfxStatErrValue;
        *parameters = effect->parameters.handle();
        return kOfxStatOK;
    });
}

// ---- clips --------------------------------------------------------------------------------------------------------

OfxStatus clipDefine(OfxImageEffectHandle handle, const char* name, OfxPropertySetHandle* properties) {
    return suiteCall("clipDefine", name, properties, [&]() -> OfxStatus {
        EffectObject* effect = EffectObject::of(handle);
        if (effect == nullptr || !effect->acceptsClips) return kOfxStatErrBadHandle;
        if (name == nullptr) return kOfxStatErrValue;
        Clip* clip = effect->clip(name);
        if (clip == nullptr) clip = effect->clips.emplace_back(std::make_unique<Clip>(*effect, name)).get();
        if (properties != nullptr) *properties = clip->properties.handle();
        return kOfxStatOK;
    });
}

OfxStatus clipGetHandle(OfxImageEffectHandle handle, const char* name, OfxImageClipHandle* result,
                        OfxPropertySetHandle* properties) {
    return suiteCall("clipGetHandle", name, result, [&]() -> OfxStatus {
        EffectObject* effect = EffectObject::of(handle);
        Clip* clip = effect != nullptr && effect->instance != nullptr && name != nullptr ? effect->clip(name) : nullptr;
        if (clip == nullptr) return kOfxStatErrBadHandle;
        if (result != nullptr) *result = clip->handle();
        if (properties != nullptr) *properties = clip->properties.handle();
        return kOfxStatOK;
    });
}

const char* nameOf(OfxImageClipHandle handle) {
    const Clip* clip = Clip::of(handle);
    return clip != nullptr ? clip->name.c_str() : "";
}

OfxStatus clipGetPropertySet(OfxImageClipHandle handle, OfxPropertySetHandle* properties) {
    return suiteCall("clipGetPropertySet", nameOf(handle), properties, [&]() -> OfxStatus {
        Clip* clip = Clip::of(handle);
        if (clip == nullptr) return kOfxStatErrBadHandle;
        if (properties == nullptr) return kOfxStatErrValue;
        *properties = clip->properties.handle();
        return kOfxStatOK;
    });
}

// ---- images -------------------------------------------------------------------------------------------------------

// The clip of an instance, or null.
Clip* instanceClip(OfxImageClipHandle handle) {
    Clip* clip = Clip::of(handle);
    return clip != nullptr && clip->effect.instance != nullptr ? clip : nullptr;
}

OfxStatus clipGetImage(OfxImageClipHandle handle, OfxTime time, const OfxRectD*, OfxPropertySetHandle* result) {
    return suiteCall("clipGetImage", nameOf(handle), result, [&]() -> OfxStatus {
        const Clip* clip = instanceClip(handle);
        if (clip == nullptr) return kOfxStatErrBadHandle;
        if (result == nullptr) return kOfxStatErrValue;
        RenderJob* job = RenderJob::of(*clip->effect.instance, time);
        Image* image = job != nullptr ? job->fetch(*clip, time) : nullptr;
        *result = image != nullptr ? image->handle() : nullptr;
        return image != nullptr ? kOfxStatOK : kOfxStatFailed;
    });
}

OfxStatus clipReleaseImage(OfxPropertySetHandle handle) {
    return suiteCall("clipReleaseImage", "", [&]() -> OfxStatus {
        Image* image = Image::of(handle);
        if (image == nullptr) return kOfxStatErrBadHandle;
        image->job().release(*image);
        return kOfxStatOK;
    });
}

// Outside of renders the whole project.
OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle handle, OfxTime time, OfxRectD* bounds) {
    return suiteCall("clipGetRegionOfDefinition", nameOf(handle), [&]() -> OfxStatus {
        const Clip* clip = instanceClip(handle);
        if (clip == nullptr) return kOfxStatErrBadHandle;
        if (bounds == nullptr) return kOfxStatErrValue;
        const Instance& instance = *clip->effect.instance;
        const RenderJob* job = RenderJob::of(instance, time);
        const OfxPointD project = instance.options().projectSize;
        const auto region = job != nullptr ? job->regionOf(*clip, time) : OfxRectD{0.0, 0.0, project.x, project.y};
        *bounds = region.value_or(OfxRectD{0.0, 0.0, 0.0, 0.0});
        return region ? kOfxStatOK : kOfxStatFailed;
    });
}

int isAborted(OfxImageEffectHandle handle) {
    if (faultAt("abort", "").kind != Fault::Kind::None) return 1;
    const EffectObject* effect = EffectObject::of(handle);
    if (effect == nullptr) return kOfxStatErrBadHandle;
    return effect->instance != nullptr && effect->instance->abortRequested ? 1 : 0;
}

// ---- memory -------------------------------------------------------------------------------------------------------

OfxStatus imageMemoryAlloc(OfxImageEffectHandle handle, std::size_t bytes, OfxImageMemoryHandle* result) {
    return suiteCall("imageMemoryAlloc", "", result, [&]() -> OfxStatus {
        if (handle != nullptr && EffectObject::of(handle) == nullptr) return kOfxStatErrBadHandle;
        if (result == nullptr) return kOfxStatErrValue;
        void* block = allocateBlock(bytes);
        if (block == nullptr) return kOfxStatErrMemory;
        *result = reinterpret_cast<OfxImageMemoryHandle>(new ImageMemory(block));
        return kOfxStatOK;
    });
}

template <class Body>
OfxStatus onMemory(const char* function, OfxImageMemoryHandle handle, const Body& body) {
    return suiteCall(function, "", [&]() -> OfxStatus {
        auto* memory = fromHandle<ImageMemory>(HandleKind::ImageMemory, handle);
        return memory != nullptr ? body(*memory) : kOfxStatErrBadHandle;
    });
}

OfxStatus imageMemoryFree(OfxImageMemoryHandle handle) {
    return onMemory("imageMemoryFree", handle, [](ImageMemory& memory) -> OfxStatus {
        freeBlock(memory.block);
        delete &memory;
        return kOfxStatOK;
    });
}

OfxStatus imageMemoryLock(OfxImageMemoryHandle handle, void** result) {
    return onMemory("imageMemoryLock", handle, [&](ImageMemory& memory) -> OfxStatus {
        if (result == nullptr) return kOfxStatErrValue;
        ++memory.locks;
        *result = memory.block;
        return kOfxStatOK;
    });
}

OfxStatus imageMemoryUnlock(OfxImageMemoryHandle handle) {
    return onMemory("imageMemoryUnlock", handle, [](ImageMemory& memory) -> OfxStatus {
        --memory.locks;
        return kOfxStatOK;
    });
}

constexpr OfxImageEffectSuiteV1 EFFECT_SUITE = {
    getPropertySet,     getParamSet,      clipDefine,       clipGetHandle,
    clipGetPropertySet, clipGetImage,     clipReleaseImage, clipGetRegionOfDefinition,
    isAborted,          imageMemoryAlloc, imageMemoryFree,  imageMemoryLock,
    imageMemoryUnlock};

} // namespace

const OfxImageEffectSuiteV1& effectSuite() {
    return EFFECT_SUITE;
}

} // namespace tarnwell
