// How much bloom does. House values; both render paths read them.
#pragma once

#include "process/glow_size.h"

namespace velloid {

constexpr double BLOOM_KNEE = 0.5091168824543142; // scene-linear level where the glow starts
constexpr double BLOOM_NARROW_SIGMA = 0.25;       // of the glow's sigma
constexpr double BLOOM_NARROW_SHARE = 0.35;
constexpr double BLOOM_WIDE_SHARE = 0.65;
constexpr double BLOOM_DIFFUSION = 0.1; // per amount
constexpr double BLOOM_GLOW = 0.22;     // per amount

// Sigmas of the glow.
inline GlowSize bloomSize(double scaleX, double scaleY, int h) {
    return glowSize(6.0, 0.024, scaleX, scaleY, h);
}

} // namespace velloid
