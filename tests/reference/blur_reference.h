// The blurs of process/blur.h as plain loops on one thread, tap by tap over a row of sums.
#pragma once

#include <vector>

namespace tarnwell::reference {

void blurSeparable(float* data, int w, int h, double sigmaX, double sigmaY);
void blurPyramid(std::vector<float>& plane, int w, int h, double sigmaX, double sigmaY);
void downsample2x(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int& dw, int& dh);
void upsampleBilinear(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int W, int H);

} // namespace tarnwell::reference
