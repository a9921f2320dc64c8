// The .cube reader in the C library's own terms: fgets into 512 bytes, strtod in the process's locale ("C" in a test
// program that did not set another).
#pragma once

#include "color/lut3d.h"

namespace reference {

bool loadCubeLut(const char* path, velloid::LUT3D& out);

} // namespace reference
