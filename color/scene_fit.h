// Scene fit: the last correction of one print look, after all effects. Each channel becomes a mix of the three LogC4
// codes and of a cubic in their luma, held at or above code 0, and is blended in by the look's strength:
//   c += (max(n(c, y), 0) - c) * strength
// GPU twin: k_alexa_scene_fit.
#pragma once

#include "rows/row_function.h"

#include <vector>

namespace velloid {

// Changes the scene-linear AWG4 planes in place. Strength by the rule of clampStrength; nothing happens at 0 or for an
// empty image. Throws std::invalid_argument when a plane is smaller than width*height.
void applySceneFit(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength);

// The same for the rows of a frame; strength above 0.
RowFunction sceneFitRows(double strength);

} // namespace velloid
