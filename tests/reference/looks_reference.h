// Print and process looks, literally.
#pragma once

#include <vector>

#include "color/density_look.h"
#include "color/lut3d.h"
#include "color/luminance_look.h"

namespace reference {

double logc4Encode(double x);
double logc4Decode(double v);

velloid::RGB evalFilmLook(double r, double g, double b, const velloid::FilmLookParams& fp);
velloid::RGB evalPrintAnalytic(double r, double g, double b, const velloid::PrintProfile& pp);

void applyPrintLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength, const velloid::LUT3D& lut);

} // namespace reference
