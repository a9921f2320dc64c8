// The charts of the gallery, each from tables alone.
#pragma once

#include "tools/gallery/canvas.h"
#include "tools/lookmeter/table_files.h"

#include <array>
#include <string>

namespace gallery {

using lookmeter::LookSet;

// Grey in, grey out for every look, with the local slope and the cast along the axis.
Canvas toneCurves(const LookSet& looks);

// One look on one sheet: ColorChecker before and after, its arrows in the a* b* plane, hue rings on the vectorscope,
// the sweep of hue against exposure, a grey and a skin ramp with their amplified differences.
Canvas lookSheet(const lookmeter::Look& look, lookmeter::LookIndex index);

// Mean CIEDE2000 between every two looks.
Canvas distanceMatrix(const LookSet& looks);

// Push and Pull around their mean.
Canvas pushAndPull(const LookSet& looks);

// What a display shows for linear AWG4: Rec.709, colours beyond it drawn in, power 1/2.4. Scene-range light passes a
// soft shoulder first.
Color shown(const lookmeter::Vec3& awg4, bool sceneRange);

} // namespace gallery
