// The recipes: one film and laboratory per look.
//
// What is published, and is therefore matched or leaned on:
//   negative   slopes R .47 G .55 B .53 over three decades of exposure, Dmax 1.86 2.57 2.75: Kodak data sheets of 5219,
//              5207, 5213. Grey prints to visual density 1.0: Kodak's LAD method (J. Pytlak, A. Fleischer 1976; H-61)
//   2383       toes, slopes (3 ... 3.6 at density 1, 4.1 ... 4.7 at 2), Dmax 4.1, dye peaks 658 543 446 nm: Kodak
//              H-1-2383t. A projected print's greys: cyan-blue lower mids, yellowish white
//   3513       slopes (2.5 ... 3.6 at density 1, 4.4 ... 5.5 at 2), Dmax 4.8 ... 5.0, dye peaks 665 550 455 nm with
//              about twice the side absorptions: Fujifilm data sheet of 3513DI
//   push       slopes +19 ... +22 % at one stop, fog about unchanged: Kodak E-4040 (Portra 800); "more contrast, curves
//   no
//              longer parallel, smoky blue shadows": Kodak, Essential Reference Guide for Filmmakers; pull: the reverse
//   skin       preferred hue 50.5 degrees, C* 25 at L* 65: Chen, Chen, Ohta, Luo, J. Imaging Sci. Technol. 57(3), 2013
// No data sheet of the 3510 was at hand; 3510, Teal & Orange, Cross Processing and Classic P0 are definitions of this
// project. All numbers below are house values: fitted to these figures and to the bounds of tools/lookmeter, then
// judged on the pictures of docs/gallery. docs/looks.md tells what was weighed.
//
// Order of couplers and layers: RG RB GR GB BR BG. Densities are equivalent neutral densities. A print takes about half
// of the casts that a projected print measures: the eye adapts to a screen, not to a display.
#include "tools/lookgen/recipes.h"

namespace lookgen {

// clang-format off
const std::array<Recipe, 8> RECIPES = {{
    // The reference release print. Dense steep shadows, long soft toe: white is reached only near +5 stops. The red layer
    // is steepest, so lower mids are cool and highlights warm, about grey. Golden skin, skies and blues toward cyan, greens
    // and oranges toward yellow.
    {.symbol = "LOOK_KODAK2383_33", .label = "Kodak 2383", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.584, 0.547, 0.556}, .base = {0.054, 0.053, 0.033}, .toe = 0.081, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.586, 4.027, 3.507}, .toe = {0.948, 0.749, 0.703}, .dmin = {0.002, 0.003, 0.025}, .dmax = {3.639, 4.656, 3.879}, .shoulder = 0.413},
     .couplers = {-0.485, 0.117, -0.463, -0.155, -0.133, -0.382},
     .layers   = {0.017, 0.017, 0.017, 0.104, 0.024, 0.027},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.717},

    // A little more contrast than 2383 and a deeper black, green-cyan shadows, faintly green whites. Skin pinker than on
    // 2383, foliage toward blue-green, blues strongly toward cyan. Less of the base's yellow than the data sheet has.
    {.symbol = "LOOK_FUJI3513_33", .label = "Fuji 3513", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.576, 0.569, 0.562}, .base = {0.078, 0.042, 0.018}, .toe = 0.079, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.713, 3.508, 3.617}, .toe = {1.132, 0.59, 0.616}, .dmin = {0.011, 0.001, 0.019}, .dmax = {4.376, 4.455, 4.891}, .shoulder = 0.473},
     .couplers = {-0.494, -0.014, -0.455, -0.495, -0.176, -0.147},
     .layers   = {0.019, 0.021, 0.016, 0.114, 0.067, 0.153},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.584},

    // The older, softer companion: gentle slope, lifted black, three quarters of the chroma, a faint cyan-green over all
    // tones, pale skin, muted reds and magentas, natural skies.
    {.symbol = "LOOK_FUJI3510_33", .label = "Fuji 3510", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.55, 0.539, 0.548}, .base = {0.067, 0.065, 0.06}, .toe = 0.127, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.891, 2.921, 2.968}, .toe = {0.742, 0.413, 0.447}, .dmin = {0.014, 0.002, 0.013}, .dmax = {4.442, 4.957, 4.678}, .shoulder = 0.491},
     .couplers = {-0.43, 0.12, -0.5, -0.483, -0.453, -0.04},
     .layers   = {0.012, 0.027, 0.011, 0.106, 0.085, 0.09},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.893},

    // A modern print base with neutral greys. Strong couplers between red and green and a wide overlap of the layers swing
    // every hue toward the axis from orange to teal; the row sums of 1 leave greys alone, skin stays on its line.
    {.symbol = "LOOK_TEALORANGE_33", .label = "Teal & Orange", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.554, 0.55, 0.57}, .base = {0.055, 0.048, 0.046}, .toe = 0.111, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.14, 3.097, 3.068}, .toe = {0.348, 0.342, 0.365}, .dmin = {0.002, 0.002, 0.007}, .dmax = {5.262, 5.398, 4.948}, .shoulder = 0.467},
     .couplers = {-0.659, 0.079, -0.7, 0.023, -0.222, 0.121},
     .layers   = {0.1, 0.01, 0.139, 0.16, 0.01, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.676},

    // Slide film in negative developer: the only look that colours greys on purpose. Blue-cyan shadows (the blue layer's
    // low Dmax), yellow-green highlights (its Dmin), grey nearly neutral, highlights blown by +3 stops.
    {.symbol = "LOOK_CROSSPROC_33", .label = "Cross Processing", .points = 33,
     .screen   = {.grey = 0.18, .tint = {0.98, 1.018, 0.971}, .gain = 1},
     .negative = {.gamma = {0.614, 0.559, 0.5}, .base = {0.042, 0.026, 0.103}, .toe = 0.145, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.466, 3.022, 3.768}, .toe = {0.876, 0.265, 0.414}, .dmin = {0.018, 0.002, 0.102}, .dmax = {5.358, 4.954, 2.038}, .shoulder = 0.366},
     .couplers = {-0.52, -0.148, -0.588, -0.412, 0.046, -0.6},
     .layers   = {0.034, 0.02, 0.031, 0.121, 0.01, 0.02},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.515},

    // One stop more in the developer: a fifth more slope, brighter highlights, fogged black with blue smoke (the blue
    // layer's low Dmax), more chroma. Shares grey and hues with Pull.
    {.symbol = "LOOK_PUSH1_33", .label = "Push (+1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.647, 0.633, 0.654}, .base = {0.116, 0.11, 0.126}, .toe = 0.118, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.932, 2.923, 3.114}, .toe = {0.341, 0.328, 0.409}, .dmin = {0.001, 0.002, 0.011}, .dmax = {4.43, 4.665, 2.423}, .shoulder = 0.446},
     .couplers = {-0.47, 0.027, -0.488, -0.221, -0.034, -0.294},
     .layers   = {0.022, 0.01, 0.013, 0.071, 0.039, 0.011},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.7},

    // One stop less: a sixth less slope, open shadows, gentle highlights, clean greys, a fifth less chroma.
    {.symbol = "LOOK_PULL1_33", .label = "Pull (-1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.488, 0.483, 0.488}, .base = {0.032, 0.033, 0.033}, .toe = 0.109, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.837, 2.773, 2.715}, .toe = {0.4, 0.382, 0.374}, .dmin = {0, 0.003, 0.007}, .dmax = {2.955, 4.615, 4.477}, .shoulder = 0.455},
     .couplers = {-0.5, 0.115, -0.491, -0.178, -0.137, -0.274},
     .layers   = {0.015, 0.015, 0.017, 0.092, 0.064, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.747},

    // Scene range: what a good camera look does before the display transform. Clear film is 13 times white; slope just
    // under 1, four stops of shoulder from +3 on, gently warm lights, calm chroma, a black that leaves the display its own.
    {.symbol = "LOOK_KESTRA_P0_65", .label = "A Corvex Classic P0", .points = 65,
     .screen   = {.grey = 0.18, .tint = {1, 1, 1}, .gain = 13},
     .negative = {.gamma = {0.558, 0.565, 0.552}, .base = {-0.131, -0.126, -0.125}, .toe = 0.124, .shoulderStart = 3.2, .shoulderSoft = 0.30},
     .print    = {.gamma = {1.758, 1.688, 1.767}, .toe = {0.482, 0.49, 0.533}, .dmin = {0, 0.005, 0.014}, .dmax = {5.195, 5.239, 5.061}, .shoulder = 0.508},
     .couplers = {-0.5, -0.171, -0.5, -0.499, -0.011, -0.49},
     .layers   = {0.01, 0.011, 0.016, 0.063, 0.036, 0.057},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.691},
}};
// clang-format on

} // namespace lookgen
