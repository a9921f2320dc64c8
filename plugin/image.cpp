#include "plugin/image.h"

#include "plugin/exception_barrier.h"
#include "plugin/frame_request.h"
#include "plugin/host.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace velloid {

namespace {

constexpr double MAX_ANISOTROPY = 64.0;
constexpr std::int64_t MAX_PIXELS = std::int64_t{1} << 31;

bool knownDepth(const std::string& depth) {
    return depth == kOfxBitDepthFloat || depth == kOfxBitDepthShort || depth == kOfxBitDepthByte;
}

bool knownComponents(const std::string& components) {
    return components == kOfxImageComponentRGBA || components == kOfxImageComponentRGB ||
           components == kOfxImageComponentAlpha;
}

int componentCount(const std::string& components) {
    if (components == kOfxImageComponentRGB) return 3;
    if (components == kOfxImageComponentAlpha) return 1;
    return 4;
}

SampleType sampleType(const std::string& depth) {
    if (depth == kOfxBitDepthFloat) return SampleType::Float;
    if (depth == kOfxBitDepthShort) return SampleType::Short;
    return SampleType::Byte;
}

bool sizeFits(std::int64_t width, std::int64_t height) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    return width >= 1 && width <= most && height >= 1 && height <= most;
}

bool rowsHold(const ImageFacts& image, std::int64_t pixelBytes) {
    return image.rowBytes != std::numeric_limits<int>::min() &&
           std::abs(std::int64_t{image.rowBytes}) >= image.width() * pixelBytes;
}

bool formatsAgree(const ImageFacts& source, const ImageFacts& output) {
    return knownDepth(source.depth) && knownComponents(source.components) && output.depth == source.depth &&
           output.components == source.components && source.data && output.data;
}

bool sizesFit(const ImageFacts& source, const ImageFacts& output) {
    const int pixelBytes = layoutOf(source).pixelBytes();
    return sizeFits(source.width(), source.height()) && sizeFits(output.width(), output.height()) &&
           source.width() * source.height() < MAX_PIXELS && rowsHold(source, pixelBytes) &&
           rowsHold(output, pixelBytes);
}

} // namespace

OfxImageClipHandle findClip(OfxImageEffectHandle effect, const char* name) {
    const auto getHandle = gEffectSuite.load()->clipGetHandle;
    OfxImageClipHandle clip = nullptr;
    return getHandle && getHandle(effect, name, &clip, nullptr) == kOfxStatOK ? clip : nullptr;
}

ClipImage::ClipImage(OfxImageClipHandle clip, double time) {
    const auto getImage = gEffectSuite.load()->clipGetImage;
    OfxPropertySetHandle image = nullptr;
    if (getImage && getImage(clip, time, nullptr, &image) == kOfxStatOK) image_ = image;
}

// A host that throws here has lost its image, but must not lose the frame, or itself.
ClipImage::~ClipImage() {
    const auto release = gEffectSuite.load()->clipReleaseImage;
    if (!image_ || !release) return;
    try {
        release(image_);
    } catch (...) {
        settleCaughtException();
    }
}

bool readImageFacts(OfxPropertySetHandle image, ImageFacts& facts) {
    int bounds[4] = {0, 0, 0, 0};
    if (!readPointer(image, kOfxImagePropData, facts.data) || !readInt(image, kOfxImagePropRowBytes, facts.rowBytes) ||
        !readInts(image, kOfxImagePropBounds, 4, bounds)) {
        return false;
    }
    facts.bounds = {bounds[0], bounds[1], bounds[2], bounds[3]};
    facts.depth = readString(image, kOfxImageEffectPropPixelDepth);
    facts.components = readString(image, kOfxImageEffectPropComponents);
    facts.premultiplication = readString(image, kOfxImageEffectPropPreMultiplication);
    double aspect = 1.0;
    const bool known = readDouble(image, kOfxImagePropPixelAspectRatio, aspect);
    facts.pixelAspectRatio = known && std::isnormal(aspect) && aspect > 0.0 ? aspect : 1.0;
    return true;
}

PixelLayout layoutOf(const ImageFacts& facts) {
    PixelLayout layout;
    layout.type = sampleType(facts.depth);
    layout.components = componentCount(facts.components);
    layout.premultiplied = layout.components == 4 && facts.premultiplication == kOfxImagePreMultiplied;
    return layout;
}

OfxStatus checkImages(const ImageFacts& source, const ImageFacts& output, double scaleX, double scaleY) {
    const double sx = scaleX / source.pixelAspectRatio;
    if (!usableScale(sx)) return kOfxStatFailed;
    const double anisotropy = sx / scaleY;
    if (!std::isfinite(anisotropy) || anisotropy < 1.0 / MAX_ANISOTROPY || anisotropy > MAX_ANISOTROPY) {
        return kOfxStatErrUnsupported;
    }
    if (!formatsAgree(source, output)) return kOfxStatErrUnsupported;
    return sizesFit(source, output) ? kOfxStatOK : kOfxStatFailed;
}

ByteRange bytesOf(const ImageFacts& image, const PixelLayout& layout) {
    const auto first = reinterpret_cast<std::uintptr_t>(rowAddress(image, image.bounds.y1));
    const auto last = reinterpret_cast<std::uintptr_t>(rowAddress(image, image.bounds.y2 - 1));
    const auto row = static_cast<std::uintptr_t>(image.width() * layout.pixelBytes());
    return {std::min(first, last), std::max(first, last) + row};
}

bool shareMemory(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout) {
    const auto [sourceBegin, sourceEnd] = bytesOf(source, layout);
    const auto [outputBegin, outputEnd] = bytesOf(output, layout);
    return sourceBegin < outputEnd && outputBegin < sourceEnd;
}

OfxRectI intersect(const OfxRectI& a, const OfxRectI& b) {
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

} // namespace velloid
