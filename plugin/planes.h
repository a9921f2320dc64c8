// One frame between import and export: three planes in scene-linear AWG4, row-major without gaps, indexed from the
// source image's lower left corner, and the alpha plane that only a warped RGBA frame needs.
#pragma once

#include <vector>

namespace velloid {

using Plane = std::vector<float>;

struct FramePlanes {
    int width = 0;  // pixels
    int height = 0; // pixels
    Plane R;
    Plane G;
    Plane B;
    Plane alpha; // empty: the source's alpha leaves as it came

    size_t size() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
    Plane* alphaPlane() { return alpha.empty() ? nullptr : &alpha; }
};

} // namespace velloid
