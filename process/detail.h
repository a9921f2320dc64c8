// Detail: the slight softness of film, followed by the edge enhancement that development produces at density
// boundaries.
#pragma once

#include "process/detail_profiles.h"
#include "process/row_chain.h"

#include <vector>

namespace velloid {

// Softens and sharpens three scene-linear planes of w x h samples, in place. Nothing happens for amounts of 0 or less;
// amounts above 1 count as 1. `scaleX` and `scaleY` turn the profile's sigmas into pixels of this render. Throws
// std::length_error for absurd scales and std::bad_alloc; the planes are then as before.
void applyDetail(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                 NegativeStock stock, double scaleX, double scaleY);

// One channel of it.
void detailChannel(std::vector<float>& ch, int w, int h, double sigmaBlur, double sigmaBroad, double sharp,
                   double blurMix, double amount, double scaleX, double scaleY);

// Adds it to a chain over frames of w x h: two stages, softening and sharpening; amount above 0.
void addDetail(RowChain& chain, int w, int h, double amount, NegativeStock stock, double scaleX, double scaleY);

} // namespace velloid
