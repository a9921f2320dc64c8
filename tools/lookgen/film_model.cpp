#include "tools/lookgen/film_model.h"

#include <cmath>

namespace lookgen {
namespace {

constexpr double GREY_CARD = 0.18;      // linear light
constexpr double GREY_DENSITY = 0.7;    // of the negative, all layers
constexpr double EXPOSURE_FLOOR = 4e-4; // linear light that a layer always sees: base fog and flare

// ln(1 + e^x), without overflow.
double softplus(double x) {
    return x > 30.0 ? x : std::log1p(std::exp(x));
}

Matrix rowsOfOne(const Mixing& m) {
    return {{{1 - m.RG - m.RB, m.RG, m.RB}, {m.GR, 1 - m.GR - m.GB, m.GB}, {m.BR, m.BG, 1 - m.BR - m.BG}}};
}

// Follows the exposure above the floor and bends to a small positive value below it, for negative light too.
double flooredExposure(double e) {
    return 0.5 * (e + std::sqrt(e * e + 4.0 * EXPOSURE_FLOOR * EXPOSURE_FLOOR));
}

double negativeLayer(const Negative& n, int layer, double exposure) {
    const double x = std::log10(flooredExposure(exposure) / GREY_CARD);
    const double d = n.base[layer] + n.toe * softplus((n.gamma[layer] * x + GREY_DENSITY - n.base[layer]) / n.toe);
    return d - n.shoulderSoft * softplus((d - n.shoulderStart) / n.shoulderSoft);
}

} // namespace

FilmModel::FilmModel(const Recipe& recipe)
    : recipe_(recipe), layers_(rowsOfOne(recipe.layers)),
      couplers_(rowsOfOne(recipe.couplers)), greyDensity_{}, printerLight_{},
      dyes_(recipe.dyeSet, recipe.sideAbsorption) {
    greyDensity_ = maskedDensity({GREY_CARD, GREY_CARD, GREY_CARD});
    for (int c = 0; c < 3; ++c)
        printerLight_[c] = solvePrinterLight(c);
}

Triple FilmModel::maskedDensity(const Triple& scene) const {
    Triple density = layers_ * scene;
    for (int c = 0; c < 3; ++c)
        density[c] = negativeLayer(recipe_.negative, c, density[c]);
    return couplers_ * density;
}

// Equivalent neutral density of one layer of the print. exposure: log exposure through the negative, grey at the
// printer light.
double FilmModel::printLayer(int layer, double exposure) const {
    const Print& p = recipe_.print;
    const double t = p.toe[layer] * softplus(p.gamma[layer] * exposure / p.toe[layer]);
    return p.dmin[layer] + t - p.shoulder * softplus((t - (p.dmax[layer] - p.dmin[layer])) / p.shoulder);
}

// The printer's lights are whatever prints the grey card at the density that the screen wants. Density only rises with
// exposure, so halving an interval finds them to the last bit.
double FilmModel::solvePrinterLight(int layer) const {
    const double wanted = -std::log10(recipe_.screen.grey * recipe_.screen.tint[layer] / recipe_.screen.gain);
    double low = -4.0, high = 4.0;
    for (int step = 0; step < 64; ++step) {
        const double middle = 0.5 * (low + high);
        (printLayer(layer, middle) < wanted ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

Triple FilmModel::printDensity(const Triple& scene) const {
    const Triple density = maskedDensity(scene);
    Triple print{};
    for (int c = 0; c < 3; ++c)
        print[c] = printLayer(c, printerLight_[c] - (density[c] - greyDensity_[c]));
    return print;
}

Triple FilmModel::projectedLight(const Triple& scene) const {
    Triple light = dyes_.lightThrough(printDensity(scene));
    for (double& channel : light)
        channel *= recipe_.screen.gain;
    return light;
}

} // namespace lookgen
