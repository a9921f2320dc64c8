// Flicker: the exposure of a frame breathes a little, as that of a printer lamp or a projector does.
#pragma once

#include "rows/row_function.h"

#include <vector>

namespace velloid {

// Exposure gain of one channel (0 red, 1 green, 2 blue) on a frame: 1 +- 8 % per unit of amount, the same on every
// call.
double flickerGain(int frame, double amount, int channel);

// Scales scene-linear planes of w * h values by the gains of the frame (rounded to the nearest integer; 0 when not
// finite). Does nothing for amount <= 0.
void applyFlicker(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                  double frame);

// The same for the rows of a frame; amount above 0.
RowFunction flickerRows(double amount, double frame);

} // namespace velloid
