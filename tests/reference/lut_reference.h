// 3D tables, literally: one pixel after the other, one channel after the other.
#pragma once

#include "color/lut3d.h"

#include <vector>

namespace tarnwell::reference {

velloid::RGB sampleLut(const velloid::LUT3D& lut, double r, double g, double b);

void applyCubeLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                  double strength, const velloid::LUT3D& lut);

} // namespace tarnwell::reference
