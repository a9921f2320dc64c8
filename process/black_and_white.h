// Black and white: each channel moves towards the luminance of its pixel.
#pragma once

#include "rows/row_function.h"

#include <vector>

namespace velloid {

// Blends three scene-linear AWG4 planes of w x h samples towards their luminance Y, in place. 0 or less: nothing
// happens; 1: all three planes hold Y.
void applyBlackAndWhite(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h,
                        double amount);

// The same for the rows of a frame; amount above 0.
RowFunction blackAndWhiteRows(double amount);

} // namespace velloid
