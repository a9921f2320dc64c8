// A frame that can be rendered: what is asked for and the two images, which have passed checkImages.
#pragma once

#include "plugin/frame_request.h"
#include "plugin/image.h"

namespace velloid {

struct Frame {
    const FrameRequest& request;
    const ImageFacts& source;
    const ImageFacts& output;
    PixelLayout layout;

    // Pixels per canonical unit: the sizes of detail, grain and weave follow them.
    double scaleX() const { return request.args.scaleX / source.pixelAspectRatio; }
    double scaleY() const { return request.args.scaleY; }
    // Too little to do, or too few components, for the chain.
    bool passThrough() const { return request.nothingToDo() || layout.components < 3; }
    // Output pixels that the source covers and the host wants.
    OfxRectI area() const { return intersect(intersect(source.bounds, output.bounds), request.args.window); }
};

} // namespace velloid
