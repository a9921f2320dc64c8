// Halation: the red-orange fringe that light, reflected in the film base, leaves around highlights.
#pragma once

#include "process/halation_profiles.h"
#include "process/row_chain.h"

#include <memory>
#include <vector>

namespace velloid {

// Adds the halo to three scene-linear planes of w x h samples, in place. `intensity` scales it (0 or less: nothing
// happens), `scaleX` and `scaleY` are the halation scale in pixels of this render. Throws std::length_error for absurd
// scales and std::bad_alloc; the planes are then as before.
void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, NegativeStock stock);

void applyHalation(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double intensity,
                   double scaleX, double scaleY, const HalationProfile& p);

// The same as a stage of a chain over frames of w x h; intensity above 0.
std::unique_ptr<BlurringStage> halationStage(int w, int h, double intensity, double scaleX, double scaleY,
                                             const HalationProfile& p);

} // namespace velloid
