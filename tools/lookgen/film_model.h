// A photographic reproduction in two stages, and the projector: the model behind the look tables.
//
//   light -> three emulsion layers -> negative (curve, couplers) -> printer -> print (curve, dyes) -> xenon lamp -> eye
//
//   e  = M L                       what each layer is exposed to; AWG4 scene light L, 0.18 = grey card
//   D  = toe and shoulder over log e  density of each layer of the negative
//   D' = K D                       masking couplers and development inhibitors; greys stay grey (rows sum to 1)
//   P  = toe and shoulder over the printing exposure; the printer lights put the grey card where the recipe wants it
//   T  = 10^-(dyes of P)           spectral transmission of the print, 400 ... 720 nm, P in equivalent neutral density
//   o  = G * AWG4 light of lamp * T   1 (or G) is the clear film on the screen, adapted to D65
//
// Every stage is smooth and bounded on all of LogC4's domain, so the corners of a table are ordinary points.
#pragma once

#include "tools/lookgen/spectral.h"
#include "tools/lookgen/triple.h"

namespace lookgen {

// Off-diagonal elements of a matrix whose rows sum to 1. RG is the share of green in the red row, and so on.
struct Mixing {
    double RG, RB, GR, GB, BR, BG;
};

struct Negative {
    Triple gamma;         // slope of the straight line, density per decade of exposure
    Triple base;          // base and fog density; grey has 0.7
    double toe;           // softness of the toe, density
    double shoulderStart; // density at which the shoulder bends
    double shoulderSoft;  // softness of the shoulder, density
};

struct Print {
    Triple gamma;    // slope between toe and shoulder, density per density of the negative
    Triple toe;      // softness of the toe, density: the longer, the softer the highlights
    Triple dmin;     // density of the clear film
    Triple dmax;     // density that the shoulder ends at, above dmin
    double shoulder; // softness of the shoulder, density
};

// Where the printer lights put the grey card on the screen, and how bright the clear film is.
struct Screen {
    double grey; // linear AWG4 of a printed grey card
    Triple tint; // deliberate cast of that grey, factors; 1 1 1: none
    double gain; // linear AWG4 of clear film: 1 for a finished picture, more for a scene-range look
};

struct Recipe {
    const char* symbol; // name of the table in the library
    const char* label;  // what the menu calls it
    int points;         // lattice points per axis
    Screen screen;
    Negative negative;
    Print print;
    Mixing couplers; // K, shares
    Mixing layers;   // M, shares
    DyeSet dyeSet;
    double sideAbsorption; // 0: dyes that absorb in their own third only; 1: with all of their side absorptions
};

// One recipe with everything solved that does not depend on the pixel.
class FilmModel {
public:
    explicit FilmModel(const Recipe& recipe);

    // Linear AWG4 of the scene in, linear AWG4 on the screen out. Any finite light, negative ones included.
    Triple projectedLight(const Triple& scene) const;

    // Equivalent neutral densities of the print, the layer before the dyes.
    Triple printDensity(const Triple& scene) const;

private:
    Triple maskedDensity(const Triple& scene) const;
    double printLayer(int layer, double exposure) const;
    double solvePrinterLight(int layer) const;

    const Recipe& recipe_;
    Matrix layers_;
    Matrix couplers_;
    Triple greyDensity_;
    Triple printerLight_;
    PrintDyes dyes_;
};

} // namespace lookgen
