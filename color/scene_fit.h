// Scene fit: the last correction of the one look that was matched to a photographed scene. A fitted quadratic-cubic
// colour mix in LogC4 codes, blended in by the look's strength. GPU twin: k_alexa_scene_fit.
#pragma once

#include <vector>

namespace velloid {

// Changes the scene-linear AWG4 planes in place. Strength by the rule of clampStrength; nothing happens at 0 or for an
// empty image. Throws std::invalid_argument when a plane is smaller than width*height.
void applySceneFit(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength);

} // namespace velloid
