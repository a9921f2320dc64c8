// House values: fitted and set by eye for this project.
#include "tools/lookgen/recipes.h"

namespace lookgen {

// clang-format off
const std::array<Recipe, 8> RECIPES = {{
    {.symbol = "LOOK_KODAK2383_33", .label = "Kodak 2383", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.56, 0.56, 0.56}, .base = {0.05, 0.05, 0.05}, .toe = 0.10, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.73, 3.72, 3.49}, .toe = {0.91, 0.71, 0.69}, .dmin = {0, 0.003, 0.018}, .dmax = {3.72, 4.64, 4.28}, .shoulder = 0.45},
     .couplers = {-0.43, 0.12, -0.50, -0.12, -0.16, -0.37},
     .layers   = { 0.01, 0.01,  0.01,  0.10,  0.02,  0.03},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.80},

    {.symbol = "LOOK_FUJI3513_33", .label = "Fuji 3513", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.55, 0.56, 0.55}, .base = {0.04, 0.04, 0.04}, .toe = 0.09, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {6.00, 3.30, 3.32}, .toe = {1.11, 0.52, 0.53}, .dmin = {0.008, 0.002, 0.012}, .dmax = {5.20, 5.10, 4.80}, .shoulder = 0.45},
     .couplers = {-0.50, 0.12, -0.50, -0.43, -0.29, -0.27},
     .layers   = { 0.01, 0.01,  0.01,  0.11,  0.08,  0.11},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.75},

    {.symbol = "LOOK_FUJI3510_33", .label = "Fuji 3510", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.54, 0.55, 0.54}, .base = {0.06, 0.06, 0.06}, .toe = 0.11, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.01, 2.86, 3.10}, .toe = {0.77, 0.48, 0.52}, .dmin = {0.010, 0.004, 0.012}, .dmax = {4.35, 4.87, 4.46}, .shoulder = 0.50},
     .couplers = {-0.41, 0.12, -0.50, -0.50, -0.47, -0.09},
     .layers   = { 0.01, 0.01,  0.01,  0.10,  0.08,  0.08},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.90},

    {.symbol = "LOOK_TEALORANGE_33", .label = "Teal & Orange", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.56, 0.56, 0.56}, .base = {0.05, 0.05, 0.05}, .toe = 0.11, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.43, 3.00, 3.14}, .toe = {0.42, 0.35, 0.41}, .dmin = {0, 0.002, 0.006}, .dmax = {5.20, 5.20, 4.90}, .shoulder = 0.45},
     .couplers = {-0.70, 0.06, -0.70, 0.01, -0.24, 0.20},
     .layers   = { 0.11, 0.01,  0.16, 0.16,  0.01, 0.02},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.70},

    {.symbol = "LOOK_CROSSPROC_33", .label = "Cross Processing", .points = 33,
     .screen   = {.grey = 0.18, .tint = {0.97, 1.02, 0.97}, .gain = 1},
     .negative = {.gamma = {0.60, 0.58, 0.50}, .base = {0.05, 0.05, 0.10}, .toe = 0.10, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.59, 2.79, 3.13}, .toe = {0.87, 0.27, 0.33}, .dmin = {0.025, 0, 0.10}, .dmax = {5.20, 4.98, 2.17}, .shoulder = 0.40},
     .couplers = {-0.48, -0.16, -0.59, -0.39, 0.02, -0.60},
     .layers   = { 0.01,  0.01,  0.02,  0.11, 0.01,  0.01},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.60},

    {.symbol = "LOOK_PUSH1_33", .label = "Push (+1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.65, 0.64, 0.65}, .base = {0.115, 0.11, 0.13}, .toe = 0.12, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.91, 2.93, 3.08}, .toe = {0.33, 0.34, 0.39}, .dmin = {0, 0.002, 0.008}, .dmax = {4.52, 4.56, 2.40}, .shoulder = 0.45},
     .couplers = {-0.50, 0.04, -0.50, -0.21, -0.05, -0.31},
     .layers   = { 0.01, 0.01,  0.01,  0.07,  0.04,  0.01},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.75},

    {.symbol = "LOOK_PULL1_33", .label = "Pull (-1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.49, 0.49, 0.49}, .base = {0.035, 0.035, 0.035}, .toe = 0.10, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.86, 2.71, 2.78}, .toe = {0.42, 0.39, 0.42}, .dmin = {0, 0.002, 0.008}, .dmax = {2.93, 4.55, 4.46}, .shoulder = 0.45},
     .couplers = {-0.45, 0.12, -0.50, -0.17, -0.17, -0.25},
     .layers   = { 0.01, 0.01,  0.01,  0.09,  0.06,  0.02},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.75},

    {.symbol = "LOOK_KESTRA_P0_65", .label = "A Corvex Classic P0", .points = 65,
     .screen   = {.grey = 0.18, .tint = {1, 1, 1}, .gain = 13},
     .negative = {.gamma = {0.56, 0.56, 0.56}, .base = {-0.13, -0.13, -0.13}, .toe = 0.12, .shoulderStart = 3.2, .shoulderSoft = 0.30},
     .print    = {.gamma = {1.73, 1.71, 1.72}, .toe = {0.48, 0.47, 0.53}, .dmin = {0, 0.004, 0.014}, .dmax = {5.20, 5.20, 5.20}, .shoulder = 0.50},
     .couplers = {-0.50, -0.15, -0.50, -0.50, -0.03, -0.50},
     .layers   = { 0.01,  0.01,  0.01,  0.06,  0.04,  0.05},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.70},
}};
// clang-format on

} // namespace lookgen
