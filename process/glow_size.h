// How large the glows are: bloom and halation follow the frame's height, so that a proxy looks like the full frame, but
// never fall below a size that still shows at proxy scale.
#pragma once

#include <algorithm>

namespace velloid {

// Pixels of this render.
struct GlowSize {
    double x;
    double y;
};

// `least` in pixels of a full-size render, `perHeight` as a share of the frame's height of h pixels; scales as those of
// the effects.
inline GlowSize glowSize(double least, double perHeight, double scaleX, double scaleY, int h) {
    const double size = std::max(least * scaleY, perHeight * h);
    return {scaleX * size / scaleY, size};
}

} // namespace velloid
