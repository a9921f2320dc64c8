// Gaussian blurs on one plane, row-major without gaps, samples beyond the border repeated from the edge.
//
// Sums run in double, tap by tap from -r to r; each of the two passes stores floats.
#pragma once

#include <vector>

namespace velloid {

// The normalised Gaussian of odd length 2r + 1, r = max(ceil(3 sigma), 1); tap i weights the sample at offset i - r.
// {1} when sigma is not a finite number above 0. Throws std::length_error when r would exceed 2^30 - 1.
std::vector<float> gaussKernel(double sigma);

// Blurs `w` x `h` samples in place; sigmas in pixels. A sigma of 0 or less leaves its direction alone; does nothing
// when a sigma is not finite or the plane is empty. Throws std::length_error for absurd sigmas.
void blurSeparable(float* data, int w, int h, double sigmaX, double sigmaY);

// Approximates blurSeparable for wide sigmas, at the cost of narrow ones: blurs on a ladder of half resolutions. Equal
// to blurSeparable up to a sigma of 8 and for planes under 32 pixels.
void blurPyramid(std::vector<float>& plane, int w, int h, double sigmaX, double sigmaY);

// Averages blocks of 2 x 2 samples; dw = (w + 1) / 2, dh = (h + 1) / 2. An odd last column or row pairs with itself.
void downsample2x(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int& dw, int& dh);

// Resamples `src` (w x h) to `dst` (W x H) bilinearly, sample centres at half pixels.
void upsampleBilinear(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int W, int H);

} // namespace velloid
