// The picture that everything is measured on: a made-up evening street in S-Log3 codes. Gradients, hard edges, texture,
// a sun and lamps near clipping, slight noise: tables and branches meet the mixture that a camera gives them, where
// noise alone would flatter some programs and punish others. The same on every run.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace tarnwell::bench {

struct Size {
    int width;
    int height;
    const char* name;

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

constexpr Size SMALL{256, 256, "256x256"};
constexpr Size HD{1920, 1080, "1080p"};
constexpr Size UHD{3840, 2160, "2160p"};
constexpr Size EIGHT_K{7680, 4320, "4320p"};

using Plane = std::vector<float>;
using Planes = std::vector<Plane>; // R, G, B or one alone

// Interleaved RGBA codes of S-Log3/S-Gamut3.Cine, lower row first, alpha 1.
std::vector<float> streetPixels(const Size& size);

// The street as the stages meet it.
struct Picture {
    Size size;
    Planes codes;  // S-Log3/S-Gamut3.Cine
    Planes linear; // scene-linear AWG4
    Planes logC4;  // LogC4 codes of it
};

// The picture of the size last asked for is kept, so that the rows of one size share it.
std::shared_ptr<const Picture> pictureOf(const Size& size);

} // namespace tarnwell::bench
