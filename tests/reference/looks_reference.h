// Print and process looks, literally.
#pragma once

#include "color/density_look.h"
#include "color/luminance_look.h"
#include "color/lut3d.h"

#include <vector>

namespace tarnwell::reference {

// The parameters of the three density looks, in the order of FilmLookParams.
extern const double PREMIERE_FILM[38];
extern const double CORVEX_STANDARD_FILM[38];
extern const double CORVEX_A35_FILM[38];

velloid::RGB evalFilmLook(double r, double g, double b, const velloid::FilmLookParams& fp);
velloid::RGB evalPrintAnalytic(double r, double g, double b, const velloid::PrintProfile& pp);

void applyPrintLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength, const velloid::LUT3D& lut);

} // namespace tarnwell::reference
