// House values: fitted and set by eye for this project.
#include "tools/lookgen/recipes.h"

namespace lookgen {

// clang-format off
const std::array<Recipe, 8> RECIPES = {{
    {.symbol = "LOOK_KODAK2383_33", .label = "Kodak 2383", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.571, 0.555, 0.565}, .base = {0.051, 0.052, 0.042}, .toe = 0.082, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {4.65, 3.851, 3.521}, .toe = {0.909, 0.723, 0.724}, .dmin = {0.003, 0.003, 0.021}, .dmax = {3.829, 4.663, 4.046}, .shoulder = 0.445},
     .couplers = {-0.46, 0.1, -0.5, -0.179, -0.131, -0.374},
     .layers   = {0.02, 0.011, 0.011, 0.101, 0.016, 0.012},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.739},

    {.symbol = "LOOK_FUJI3513_33", .label = "Fuji 3513", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.551, 0.554, 0.566}, .base = {0.049, 0.052, 0.013}, .toe = 0.077, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.971, 3.539, 3.287}, .toe = {1.131, 0.576, 0.541}, .dmin = {0.01, 0, 0.02}, .dmax = {4.877, 4.577, 4.774}, .shoulder = 0.471},
     .couplers = {-0.493, -0.015, -0.474, -0.498, -0.202, -0.136},
     .layers   = {0.012, 0.017, 0.014, 0.11, 0.068, 0.128},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.631},

    {.symbol = "LOOK_FUJI3510_33", .label = "Fuji 3510", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.546, 0.532, 0.541}, .base = {0.068, 0.071, 0.047}, .toe = 0.106, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.983, 2.986, 3.014}, .toe = {0.809, 0.43, 0.476}, .dmin = {0.01, 0.004, 0.01}, .dmax = {4.298, 4.965, 4.659}, .shoulder = 0.532},
     .couplers = {-0.386, 0.105, -0.5, -0.499, -0.429, -0.061},
     .layers   = {0.01, 0.01, 0.013, 0.085, 0.102, 0.077},
     .dyeSet   = DyeSet::Fuji, .sideAbsorption = 0.862},

    {.symbol = "LOOK_TEALORANGE_33", .label = "Teal & Orange", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.554, 0.55, 0.57}, .base = {0.055, 0.048, 0.046}, .toe = 0.111, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {3.14, 3.097, 3.068}, .toe = {0.348, 0.342, 0.365}, .dmin = {0.002, 0.002, 0.007}, .dmax = {5.262, 5.398, 4.948}, .shoulder = 0.467},
     .couplers = {-0.659, 0.079, -0.7, 0.023, -0.222, 0.121},
     .layers   = {0.1, 0.01, 0.139, 0.16, 0.01, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.676},

    {.symbol = "LOOK_CROSSPROC_33", .label = "Cross Processing", .points = 33,
     .screen   = {.grey = 0.18, .tint = {0.98, 1.018, 0.971}, .gain = 1},
     .negative = {.gamma = {0.614, 0.559, 0.5}, .base = {0.042, 0.026, 0.103}, .toe = 0.145, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {5.466, 3.022, 3.768}, .toe = {0.876, 0.265, 0.414}, .dmin = {0.018, 0.002, 0.102}, .dmax = {5.358, 4.954, 2.038}, .shoulder = 0.366},
     .couplers = {-0.52, -0.148, -0.588, -0.412, 0.046, -0.6},
     .layers   = {0.034, 0.02, 0.031, 0.121, 0.01, 0.02},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.515},

    {.symbol = "LOOK_PUSH1_33", .label = "Push (+1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.647, 0.633, 0.654}, .base = {0.116, 0.11, 0.126}, .toe = 0.118, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.932, 2.923, 3.114}, .toe = {0.341, 0.328, 0.409}, .dmin = {0.001, 0.002, 0.011}, .dmax = {4.43, 4.665, 2.423}, .shoulder = 0.446},
     .couplers = {-0.47, 0.027, -0.488, -0.221, -0.034, -0.294},
     .layers   = {0.022, 0.01, 0.013, 0.071, 0.039, 0.011},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.7},

    {.symbol = "LOOK_PULL1_33", .label = "Pull (-1)", .points = 33,
     .screen   = {.grey = 0.17, .tint = {1, 1, 1}, .gain = 1},
     .negative = {.gamma = {0.488, 0.483, 0.488}, .base = {0.032, 0.033, 0.033}, .toe = 0.109, .shoulderStart = 2.4, .shoulderSoft = 0.35},
     .print    = {.gamma = {2.837, 2.773, 2.715}, .toe = {0.4, 0.382, 0.374}, .dmin = {0, 0.003, 0.007}, .dmax = {2.955, 4.615, 4.477}, .shoulder = 0.455},
     .couplers = {-0.5, 0.115, -0.491, -0.178, -0.137, -0.274},
     .layers   = {0.015, 0.015, 0.017, 0.092, 0.064, 0.021},
     .dyeSet   = DyeSet::Kodak, .sideAbsorption = 0.747},

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
