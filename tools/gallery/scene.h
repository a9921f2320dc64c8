// A small scene that holds what a look is judged by: sky, sun, foliage, skin in light and shade, coloured lamps, a
// white window. Computed, so that its light is known.
#pragma once

#include "tools/gallery/pictures.h"

namespace gallery {

// The scene through every look, without one first.
Canvas sceneSheet(const LookSet& looks);

} // namespace gallery
