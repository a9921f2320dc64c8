// Copying a window from one image to another of the same format.
#pragma once

#include "host/effect.h"

namespace tarnwell {

// Copies the window's pixels; those that `from` does not hold become black and transparent. Throws HostError unless
// both have the same depth and components and `to` holds the whole window.
void copyWindow(const ImageDesc& from, const ImageDesc& to, const OfxRectI& window);

} // namespace tarnwell
