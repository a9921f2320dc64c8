// Detail, bloom, halation and black and white as plain loops over whole planes on one thread.
#pragma once

#include "process/detail_profiles.h"
#include "process/halation_profiles.h"

#include <vector>

namespace tarnwell::reference {

using Plane = std::vector<float>;

void applyHalation(Plane& R, Plane& G, Plane& B, int w, int h, double intensity, double scaleX, double scaleY,
                   const velloid::HalationProfile& p);
void applyBloom(Plane& R, Plane& G, Plane& B, int w, int h, double amount, double sigmaX, double sigmaY);
void applyDetail(Plane& R, Plane& G, Plane& B, int w, int h, double amount, const velloid::DetailProfile& p,
                 double scaleX, double scaleY);
void applyBlackAndWhite(Plane& R, Plane& G, Plane& B, double amount);

} // namespace tarnwell::reference
