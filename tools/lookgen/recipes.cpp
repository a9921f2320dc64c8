// House values: fitted and set by eye for this project.
#include "tools/lookgen/recipes.h"

namespace lookgen {

// clang-format off
const std::array<Recipe, 8> RECIPES = {{
    {.symbol = "LOOK_KODAK2383_33", .label = "Kodak 2383", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.564, 0.559, 0.566}, .base = {0.052, 0.051, 0.045}, .toe = 0.091, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.778, 3.797, 3.521}, .toe = {0.922, 0.727, 0.728}, .dmin = {0.003, 0.003, 0.02}, .dmax = {3.802, 4.614, 4.188}, .shoulder = 0.44},
     .couplers = {-0.445, 0.103, -0.5, -0.151, -0.152, -0.36},
     .layers   = {0.013, 0.016, 0.01, 0.102, 0.011, 0.018},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.77},

    {.symbol = "LOOK_FUJI3513_33", .label = "Fuji 3513", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.559, 0.55, 0.558}, .base = {0.048, 0.05, 0.021}, .toe = 0.087, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {6.073, 3.412, 3.34}, .toe = {1.186, 0.522, 0.541}, .dmin = {0.009, 0.001, 0.016}, .dmax = {5.3, 4.872, 4.709}, .shoulder = 0.48},
     .couplers = {-0.5, -0.013, -0.496, -0.477, -0.241, -0.17},
     .layers   = {0.01, 0.016, 0.018, 0.101, 0.076, 0.13},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.663},

    {.symbol = "LOOK_FUJI3510_33", .label = "Fuji 3510", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.545, 0.54, 0.541}, .base = {0.063, 0.063, 0.054}, .toe = 0.107, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.077, 2.914, 3.043}, .toe = {0.828, 0.434, 0.48}, .dmin = {0.01, 0.004, 0.01}, .dmax = {4.367, 5.014, 4.679}, .shoulder = 0.525},
     .couplers = {-0.413, 0.119, -0.5, -0.499, -0.428, -0.047},
     .layers   = {0.017, 0.01, 0.012, 0.082, 0.102, 0.077},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.878},

    {.symbol = "LOOK_TEALORANGE_33", .label = "Teal & Orange", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.554, 0.552, 0.57}, .base = {0.055, 0.043, 0.047}, .toe = 0.11, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.213, 3.123, 3.087}, .toe = {0.376, 0.365, 0.379}, .dmin = {0.002, 0.003, 0.007}, .dmax = {5.202, 5.392, 4.922}, .shoulder = 0.456},
     .couplers = {-0.657, 0.066, -0.7, 0.008, -0.218, 0.136},
     .layers   = {0.097, 0.01, 0.148, 0.16, 0.01, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.687},

    {.symbol = "LOOK_CROSSPROC_33", .label = "Cross Processing", .points = 33,
     .screen   = {.grey = 0.18, .tint = {0.986, 1.019, 0.974}, .gain = 1},
     .negative = {.gamma = {0.609, 0.563, 0.504}, .base = {0.045, 0.03, 0.103}, .toe = 0.145, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.476, 3.002, 3.658}, .toe = {0.865, 0.267, 0.395}, .dmin = {0.02, 0.003, 0.103}, .dmax = {5.282, 5.015, 2.06}, .shoulder = 0.365},
     .couplers = {-0.472, -0.179, -0.591, -0.418, 0.034, -0.6},
     .layers   = {0.027, 0.024, 0.029, 0.127, 0.01, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.538},

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
     .negative = {.gamma = {0.558, 0.565, 0.552}, .base = {-0.131, -0.126, -0.124}, .toe = 0.124, .shoulderStart = 3.2, .shoulderSoft = 0.30},
     .print    = {.gamma = {1.754, 1.685, 1.76}, .toe = {0.483, 0.491, 0.533}, .dmin = {0.001, 0.005, 0.014}, .dmax = {5.208, 5.218, 5.077}, .shoulder = 0.508},
     .couplers = {-0.5, -0.17, -0.5, -0.495, -0.014, -0.492},
     .layers   = {0.011, 0.011, 0.016, 0.063, 0.036, 0.058},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.698},
}};
// clang-format on

} // namespace lookgen
