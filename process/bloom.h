// Bloom: a neutral glow around highlights and a soft diffusion of the whole image, as of a mist filter on the lens.
#pragma once

#include "process/row_chain.h"

#include <memory>
#include <vector>

namespace velloid {

// Adds glow and diffusion to three scene-linear planes of w x h samples, in place. Nothing happens for amounts of 0 or
// less; sigmas in pixels of this render. Throws std::length_error for absurd sigmas and std::bad_alloc; the planes are
// then as before.
void applyBloom(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                double sigmaX, double sigmaY);

// The rows of its result, from source planes that stay as they are and must outlive this; amount above 0. The wide
// blurs are made at once, on the workers.
std::unique_ptr<RowOrigin> bloomOrigin(const float* const planes[3], int w, int h, double amount, double sigmaX,
                                       double sigmaY);

} // namespace velloid
