// The colour configuration that ships with the program: scene-linear Rec.709, ACEScg, ACES2065-1, sRGB, a gentle view
// of scene-range light, and the plug-in's seventeen encodings under the names of its menu. Its reference is
// Linear/AWG4.
#pragma once

#include <OpenColorIO/OpenColorIO.h>

namespace tarnwell {

constexpr const char* SPACE_WORKING = "Linear/AWG4";
constexpr const char* SPACE_LINEAR_REC709 = "Linear Rec.709";
constexpr const char* SPACE_ACESCG = "ACEScg";
constexpr const char* SPACE_ACES = "ACES2065-1";
constexpr const char* SPACE_SRGB = "sRGB";
constexpr const char* SPACE_GENTLE = "sRGB Gentle View";
constexpr const char* SPACE_CINEON = "Cineon (Rec709)";
constexpr const char* SPACE_REC709_G24 = "Rec709 G2.4";

// Built on first use, then shared; safe from any thread.
const OCIO_NAMESPACE::ConstConfigRcPtr& builtInConfig();

} // namespace tarnwell
