// The host's images: fetching and releasing them, what they say of themselves, and the checks that decide whether a
// frame can be rendered at all.
#pragma once

#include "ofx/ofx.h"

#include <cstdint>
#include <string>

namespace velloid {

// The handle of a clip, or null when the host has none of that name.
OfxImageClipHandle findClip(OfxImageEffectHandle effect, const char* name);

// An image of one clip at one time; released when it goes out of scope.
class ClipImage {
public:
    // Fetches the image; handle() is null when the host has none.
    ClipImage(OfxImageClipHandle clip, double time);
    ~ClipImage();
    ClipImage(const ClipImage&) = delete;
    ClipImage& operator=(const ClipImage&) = delete;

    OfxPropertySetHandle handle() const { return image_; }

private:
    OfxPropertySetHandle image_ = nullptr;
};

// What an image says of itself. Rows go upwards from the pixel at (bounds.x1, bounds.y1); rowBytes may be negative.
struct ImageFacts {
    void* data = nullptr;
    int rowBytes = 0;
    OfxRectI bounds = {0, 0, 0, 0};
    std::string depth;
    std::string components;
    std::string premultiplication;
    double pixelAspectRatio = 1.0;

    std::int64_t width() const { return std::int64_t{bounds.x2} - bounds.x1; }
    std::int64_t height() const { return std::int64_t{bounds.y2} - bounds.y1; }
};

// False when the data pointer, the row bytes or the bounds can't be read.
bool readImageFacts(OfxPropertySetHandle image, ImageFacts& facts);

enum class SampleType { Byte, Short, Float };

// How the pixels of a frame lie in memory; source and output agree.
struct PixelLayout {
    SampleType type = SampleType::Byte;
    int components = 4;
    bool premultiplied = false;

    int componentBytes() const { return type == SampleType::Byte ? 1 : type == SampleType::Short ? 2 : 4; }
    int pixelBytes() const { return componentBytes() * components; }
};

// The layout that the strings of an image mean. Unknown depths count as byte, unknown components as RGBA.
PixelLayout layoutOf(const ImageFacts& facts);

// kOfxStatOK when the frame can be rendered: a pixel aspect that the scales can take, formats that are known and agree,
// sizes and row lengths that hold the pixels.
OfxStatus checkImages(const ImageFacts& source, const ImageFacts& output, double scaleX, double scaleY);

// The address of pixel (bounds.x1, y).
inline std::uint8_t* rowAddress(const ImageFacts& image, int y) {
    return static_cast<std::uint8_t*>(image.data) + (std::int64_t{y} - image.bounds.y1) * image.rowBytes;
}

// The addresses that an image's rows span, of which `end` is the first behind them.
struct ByteRange {
    std::uintptr_t begin;
    std::uintptr_t end;
};
ByteRange bytesOf(const ImageFacts& image, const PixelLayout& layout);

// Whether they overlap: a host that renders in place, or nearly so. Both passed checkImages.
bool shareMemory(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout);

OfxRectI intersect(const OfxRectI& a, const OfxRectI& b);

inline bool isEmpty(const OfxRectI& r) {
    return r.x2 <= r.x1 || r.y2 <= r.y1;
}

} // namespace velloid
