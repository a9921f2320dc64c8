// Bloom: a neutral glow around highlights and a soft diffusion of the whole image, as of a mist filter on the lens.
#pragma once

#include <vector>

namespace velloid {

// Adds glow and diffusion to three scene-linear planes of w x h samples, in place. Nothing happens for amounts of 0 or
// less; sigmas in pixels of this render. Throws std::length_error for absurd sigmas and std::bad_alloc; channels
// already processed stay so.
void applyBloom(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                double sigmaX, double sigmaY);

// The same for planes that lie anywhere; amount above 0.
void bloomPlanes(float* const planes[3], int w, int h, double amount, double sigmaX, double sigmaY);

} // namespace velloid
