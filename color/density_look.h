// Film as two densities: light blackens a negative, the negative's light blackens a print, the print is projected.
//   negative  D = base + soft*softplus((gamma*log10(x/0.18) + offset - base)/soft)
//   crosstalk D'= each row of the dye matrix, divided by its sum
//   print     a straight line of slope printGamma in D' with a soft toe at Dmin and a soft shoulder at Dmax
//   screen    out = gain*10^-(P - 0.052) + lift
// Scene-linear AWG4 in and out; run only while a table is built, in double. Parameter rows: density_look.cpp.
#pragma once

#include "color/lut3d.h"

namespace velloid {

struct FilmLookParams {
    double negGamma[3];      // contrast of the negative, per channel R, G, B
    double negBase[3];       // its smallest density
    double negOffset;        // its density at 18 % grey
    double negSoft;          // softness of its toe
    double crosstalk[9];     // 3x3, row-major; a row's sum is divided out
    double printGamma[3];    // contrast of the print
    double printDmin[3];     // its smallest density
    double printDmax[3];     // its largest density
    double printOffset;      // its exposure
    double printerLights[3]; // added to it per channel
    double printToeSoft;
    double printShoulderSoft;
    double outGain[3]; // of the projected light
    double outLift[3];
};
static_assert(sizeof(FilmLookParams) == 38 * sizeof(double));

extern const FilmLookParams PREMIERE_FILM;
extern const FilmLookParams CORVEX_STANDARD_FILM;
extern const FilmLookParams CORVEX_A35_FILM;

// The print's colour for scene-linear AWG4 light; values below 1e-6 count as 1e-6.
RGB evalFilmLook(double r, double g, double b, const FilmLookParams& fp);

// Fills `out` with the look as a table from LogC4 codes to LogC4 codes (domain 0 ... 1), `size` points per axis. Throws
// std::invalid_argument for a size below 2.
void buildFilmLookLut(LUT3D& out, const FilmLookParams& fp, int size);

} // namespace velloid
