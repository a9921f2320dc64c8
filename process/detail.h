// Detail: the slight softness of film, followed by the edge enhancement that development produces at density
// boundaries.
#pragma once

#include "process/detail_profiles.h"
#include "process/row_chain.h"

#include <memory>
#include <vector>

namespace velloid {

// Softens and sharpens three scene-linear planes of w x h samples, in place. Nothing happens for amounts of 0 or less;
// amounts above 1 count as 1. `scaleX` and `scaleY` turn the profile's sigmas into pixels of this render. Throws
// std::length_error for absurd scales and std::bad_alloc; channels already processed stay so.
void applyDetail(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                 NegativeStock stock, double scaleX, double scaleY);

// One channel of it.
void detailChannel(std::vector<float>& ch, int w, int h, double sigmaBlur, double sigmaBroad, double sharp,
                   double blurMix, double amount, double scaleX, double scaleY);

// The two halves of it as stages of a chain over frames of w x h; amount above 0.
std::unique_ptr<BlurringStage> detailSoftening(int w, int h, double amount, NegativeStock stock, double scaleX,
                                               double scaleY);
std::unique_ptr<BlurringStage> detailSharpening(int w, int h, double amount, NegativeStock stock, double scaleX,
                                                double scaleY);

} // namespace velloid
