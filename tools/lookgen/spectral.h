// Light through dye: three dyes, a xenon lamp, the 1931 observer, and AWG4 on the other side.
#pragma once

#include "tools/lookgen/triple.h"

#include <vector>

namespace lookgen {

// Two sets of dye shapes. Peaks and side absorptions follow the data sheets of the print stocks that they are named
// after; the shapes between are Gaussians of this project.
enum class DyeSet { Kodak, Fuji };

// The three dyes of a print, their densities in units of equivalent neutral density.
class PrintDyes {
public:
    // sideAbsorption: 0 clean dyes, 1 dyes with the whole side absorption of the set.
    PrintDyes(DyeSet set, double sideAbsorption);

    // Linear AWG4 (D65, clear film without dye = 1 1 1) of light through the print. Density P in all three layers gives
    // exactly 10^-P in all three channels: a neutral is neutral at every density.
    Triple lightThrough(const Triple& neutralDensity) const;

private:
    Triple lightThroughAmounts(const Triple& amounts) const;
    Triple solveNeutral(double density, Triple start) const;
    double amountOf(int dye, double neutralDensity) const;

    std::vector<Triple> dyes_;    // per wavelength: cyan, magenta, yellow absorption at amount 1
    std::vector<Triple> weight_;  // per wavelength: lamp times observer, in AWG4
    std::vector<Triple> amounts_; // dye amounts of neutrals at multiples of DENSITY_STEP, from -DENSITY_STEP
};

} // namespace lookgen
