// The effect suite fetches and releases images here. Frames on their way are noted in one list, because a plug-in may
// ask for an image on a thread of its own that no render action was sent to.
#include "host/render_job.h"

#include "host/property_tables.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <vector>

namespace tarnwell {

namespace {

thread_local RenderJob* gCurrent = nullptr;

struct ActiveJob {
    const Instance* instance;
    double time;
    RenderJob* job;
};
std::mutex gActiveMutex; // guards gActive
std::vector<ActiveJob> gActive;

std::atomic<unsigned long> gImagesMade{0};

std::string uniqueName(const std::string& clip, double time) {
    return clip + "-" + std::to_string(time) + "-" + std::to_string(++gImagesMade);
}

std::size_t packedRowBytes(const ImageDesc& desc) {
    return bytesPerPixel(desc.depth, desc.components) *
           static_cast<std::size_t>(std::max(0, desc.bounds.x2 - desc.bounds.x1));
}

int rowBytesOf(const ImageDesc& desc) {
    const std::ptrdiff_t bytes = desc.rowBytes != 0 ? desc.rowBytes : static_cast<std::ptrdiff_t>(packedRowBytes(desc));
    if (bytes > INT_MAX || bytes < INT_MIN) throw HostError("a row of the image is too long for the interface");
    return static_cast<int>(bytes);
}

std::vector<int> corners(const OfxRectI& rect) {
    return {rect.x1, rect.y1, rect.x2, rect.y2};
}

} // namespace

std::size_t bytesPerPixel(const std::string& depth, const std::string& components) {
    const std::size_t bytes = depth == kOfxBitDepthFloat                                ? 4
                              : depth == kOfxBitDepthHalf || depth == kOfxBitDepthShort ? 2
                              : depth == kOfxBitDepthByte                               ? 1
                                                                                        : 0;
    const std::size_t channels = components == kOfxImageComponentRGBA    ? 4
                                 : components == kOfxImageComponentRGB   ? 3
                                 : components == kOfxImageComponentAlpha ? 1
                                                                         : 0;
    return bytes * channels;
}

// ---- images -------------------------------------------------------------------------------------------------------

Image::Image(RenderJob& job)
    : PropertySet(imageRows()), job_(job), live_(HandleKind::Image, static_cast<PropertySet*>(this)) {}

Image* Image::of(OfxPropertySetHandle handle) {
    PropertySet* set = fromHandle<PropertySet>(HandleKind::Image, handle);
    return static_cast<Image*>(set);
}

// ---- which frame a call belongs to --------------------------------------------------------------------------------

RenderJob::RenderJob(Instance& instance, const RenderRequest& request) : instance_(instance), request_(request) {
    const std::lock_guard lock(gActiveMutex);
    gActive.push_back({&instance, request.time, this});
}

RenderJob::~RenderJob() {
    const std::lock_guard lock(gActiveMutex);
    gActive.erase(std::find_if(gActive.begin(), gActive.end(), [this](const ActiveJob& a) { return a.job == this; }));
}

RenderJob* RenderJob::of(const Instance& instance, double time) {
    if (gCurrent != nullptr && &gCurrent->instance_ == &instance) return gCurrent;
    const std::lock_guard lock(gActiveMutex);
    RenderJob* any = nullptr;
    for (const ActiveJob& active : gActive) {
        if (active.instance != &instance) continue;
        if (active.time == time) return active.job;
        any = active.job;
    }
    return any;
}

RenderJob* RenderJob::current() {
    return gCurrent;
}

RenderJob::Scope::Scope(RenderJob* job) : former_(gCurrent) {
    gCurrent = job;
}

RenderJob::Scope::~Scope() {
    gCurrent = former_;
}

// ---- fetching -----------------------------------------------------------------------------------------------------

std::optional<ImageDesc> RenderJob::describe(const std::string& clip, double time) const {
    std::optional<ImageDesc> desc;
    const auto other = request_.others.find(clip);
    if (clip == kOfxImageEffectOutputClipName)
        desc = request_.output;
    else if (time != request_.time)
        desc = request_.imageAt ? request_.imageAt(clip, time) : std::nullopt;
    else if (clip == kOfxImageEffectSimpleSourceClipName)
        desc = request_.source;
    else if (other != request_.others.end())
        desc = other->second;
    return desc && desc->isPresent() ? desc : std::nullopt;
}

void RenderJob::fill(Image& image, const ImageDesc& desc, const std::string& clip, double time) const {
    image.putText(kOfxImageEffectPropPixelDepth, desc.depth);
    image.putText(kOfxImageEffectPropComponents, desc.components);
    image.putText(kOfxImageEffectPropPreMultiplication, desc.preMultiplication);
    image.putDoubles(kOfxImageEffectPropRenderScale, {request_.renderScale.x, request_.renderScale.y});
    image.putDouble(kOfxImagePropPixelAspectRatio, desc.pixelAspect.value_or(request_.pixelAspect));
    image.putPointer(kOfxImagePropData, desc.data);
    image.putInts(kOfxImagePropBounds, corners(desc.bounds));
    image.putInts(kOfxImagePropRegionOfDefinition, corners(desc.regionOfDefinition.value_or(desc.bounds)));
    image.putInt(kOfxImagePropRowBytes, rowBytesOf(desc));
    image.putText(kOfxImagePropField, desc.field);
    image.putText(kOfxImagePropUniqueIdentifier,
                  desc.uniqueIdentifier.empty() ? uniqueName(clip, time) : desc.uniqueIdentifier);
    if (desc.adjust) desc.adjust(image);
}

Image* RenderJob::fetch(const Clip& clip, double time) {
    const auto desc = describe(clip.name, time);
    if (!desc) return nullptr;
    auto image = std::make_unique<Image>(*this);
    fill(*image, *desc, clip.name, time);
    const std::lock_guard lock(mutex_);
    ++fetched_;
    return images_.emplace_back(std::move(image)).get();
}

void RenderJob::release(Image& image) {
    const std::lock_guard lock(mutex_);
    images_.remove_if([&](const std::unique_ptr<Image>& held) { return held.get() == &image; });
}

std::optional<OfxRectD> RenderJob::regionOf(const Clip& clip, double time) const {
    const auto desc = describe(clip.name, time);
    if (!desc) return std::nullopt;
    const OfxRectI pixels = desc->regionOfDefinition.value_or(desc->bounds);
    const double perX = desc->pixelAspect.value_or(request_.pixelAspect) / request_.renderScale.x;
    const double perY = 1.0 / request_.renderScale.y;
    return OfxRectD{pixels.x1 * perX, pixels.y1 * perY, pixels.x2 * perX, pixels.y2 * perY};
}

int RenderJob::unreleased() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(images_.size());
}

} // namespace tarnwell
