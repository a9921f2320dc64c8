// What Instance::renderFrame does in place of a render when the plug-in passes a frame on unchanged.
#include "host/image_copy.h"

#include <algorithm>
#include <cstring>

namespace tarnwell {

namespace {

// Address of a pixel, which may lie outside of the image. Rows run up; row bytes may be negative.
char* pixelAddress(const ImageDesc& image, std::ptrdiff_t bytes, int x, int y) {
    const std::ptrdiff_t packed = bytes * (image.bounds.x2 - image.bounds.x1);
    const std::ptrdiff_t rowBytes = image.rowBytes != 0 ? image.rowBytes : packed;
    return static_cast<char*>(image.data) + (y - image.bounds.y1) * rowBytes + (x - image.bounds.x1) * bytes;
}

bool contains(const OfxRectI& outer, const OfxRectI& inner) {
    return inner.x1 >= outer.x1 && inner.y1 >= outer.y1 && inner.x2 <= outer.x2 && inner.y2 <= outer.y2;
}

} // namespace

void copyWindow(const ImageDesc& from, const ImageDesc& to, const OfxRectI& window) {
    if (from.depth != to.depth || from.components != to.components)
        throw HostError("an unchanged frame cannot be copied: " + from.depth + " " + from.components + " to " +
                        to.depth + " " + to.components);
    if (window.x1 >= window.x2 || window.y1 >= window.y2) return;
    if (!contains(to.bounds, window)) throw HostError("the window leaves the output image");
    const auto bytes = static_cast<std::ptrdiff_t>(bytesPerPixel(to.depth, to.components));
    const int x1 = std::clamp(from.bounds.x1, window.x1, window.x2);
    const int x2 = std::clamp(from.bounds.x2, x1, window.x2);
    for (int y = window.y1; y < window.y2; ++y) {
        std::memset(pixelAddress(to, bytes, window.x1, y), 0,
                    static_cast<std::size_t>(bytes * (window.x2 - window.x1)));
        if (y >= from.bounds.y1 && y < from.bounds.y2 && x1 < x2)
            std::memcpy(pixelAddress(to, bytes, x1, y), pixelAddress(from, bytes, x1, y),
                        static_cast<std::size_t>(bytes * (x2 - x1)));
    }
}

} // namespace tarnwell
