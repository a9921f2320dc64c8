// 3x3 matrices between the primaries of each encoding and ARRI Wide Gamut 4. Row-major, applied to a column vector:
//   R = m[0]*r + m[1]*g + m[2]*b,  G = m[3]*r + m[4]*g + m[5]*b,  B = m[6]*r + m[7]*g + m[8]*b
// Both directions are stored; the return matrix is the inverse to within 1e-6 per element.
#pragma once

#include "color/colorspace.h"

namespace velloid {

constexpr int CS_MAT_FIRST_SPACE = 4; // row k of the tables belongs to IOSpace k + 4
constexpr int CS_MAT_COUNT = IO_SPACE_COUNT - CS_MAT_FIRST_SPACE;

// The definitions leave the counts of rows open, so that one too few or too many does not compile.
extern const double CS_MAT_AWG3_TO_AWG4[9];
extern const double CS_MAT_AWG4_TO_AWG3[9];
extern const double CS_MAT_TO_AWG4[CS_MAT_COUNT][9];
extern const double CS_MAT_FROM_AWG4[CS_MAT_COUNT][9];

} // namespace velloid
