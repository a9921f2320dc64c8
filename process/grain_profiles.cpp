// Grain per stock, in the order of NegativeStock. Seeds only tell the stocks' patterns apart. House values.
#include "process/grain_profiles.h"

namespace velloid {

namespace {

// clang-format off
const GrainProfile GRAIN_PROFILES[] = {
//   amplitude per channel                            clump sigma, px         shared grain        seed         silver
//   red             green           blue             red    green  blue      RG    BR    GB
    {G500T_R,        G500T_G,        G500T_B,         0.600, 0.617, 0.717,    0.28, 0.20, 0.14,   0x50071F1Bu, false}, // 500T
    {G250D_R,        G250D_G,        G250D_B,         0.480, 0.494, 0.574,    0.22, 0.16, 0.11,   0x250D5207u, false}, // 250D
    {G200T_R,        G200T_G,        G200T_B,         0.505, 0.520, 0.613,    0.22, 0.16, 0.11,   0x2007A11Du, false}, // 200T
    {G50D_R,         G50D_G,         G50D_B,          0.384, 0.395, 0.480,    0.18, 0.12, 0.08,   0x50D51A3Bu, false}, // 50D
    {G800T_R,        G800T_G,        G800T_B,         0.600, 0.617, 0.717,    0.28, 0.20, 0.14,   0x800C4117u, false}, // 800T
    {G5254_R,        G5254_G,        G5254_B,         0.810, 0.833, 0.968,    0.32, 0.24, 0.18,   0x5254EC11u, false}, // Eastman 5254
    {GETERNA500T_R,  GETERNA500T_G,  GETERNA500T_B,   0.570, 0.586, 0.681,    0.26, 0.19, 0.13,   0x8573E7E7u, false}, // Eterna 500T
    {GETERNA250D_R,  GETERNA250D_G,  GETERNA250D_B,   0.480, 0.494, 0.574,    0.22, 0.16, 0.11,   0x8563E25Du, false}, // Eterna 250D
    {GETERNAVIVID_R, GETERNAVIVID_G, GETERNAVIVID_B,  0.540, 0.555, 0.645,    0.25, 0.18, 0.12,   0x854771D1u, false}, // Eterna Vivid
    {GPORTRA160_R,   GPORTRA160_G,   GPORTRA160_B,    0.468, 0.481, 0.559,    0.20, 0.14, 0.10,   0x0160B0BEu, false}, // Portra 160
    {GPORTRA400_R,   GPORTRA400_G,   GPORTRA400_B,    0.552, 0.568, 0.660,    0.24, 0.17, 0.12,   0x0400B0BEu, false}, // Portra 400
    {GPORTRA800_R,   GPORTRA800_G,   GPORTRA800_B,    0.630, 0.648, 0.753,    0.28, 0.20, 0.14,   0x0800B0BEu, false}, // Portra 800
    {GGOLD200_R,     GGOLD200_G,     GGOLD200_B,      0.600, 0.617, 0.717,    0.26, 0.19, 0.13,   0x0200601Du, false}, // Gold 200
    {GULTRAMAX400_R, GULTRAMAX400_G, GULTRAMAX400_B,  0.630, 0.648, 0.753,    0.27, 0.20, 0.14,   0x0400FA51u, false}, // UltraMax 400
    {GTRIX_M,        GTRIX_M,        GTRIX_M,         0.510, 0.510, 0.510,    0.00, 0.00, 0.00,   0x7B1C5400u, true},  // Tri-X 400
    {GTMAX_M,        GTMAX_M,        GTMAX_M,         0.420, 0.420, 0.420,    0.00, 0.00, 0.00,   0x70A50100u, true},  // T-Max 100
    {GZERO,          GZERO,          GZERO,           0.480, 0.480, 0.480,    0.00, 0.00, 0.00,   0x0FF0FF00u, false}, // Off
};
// clang-format on
static_assert(sizeof(GRAIN_PROFILES) / sizeof(GRAIN_PROFILES[0]) == NEGATIVE_STOCK_COUNT, "one row per stock");

} // namespace

GrainProfile grainProfile(NegativeStock stock) {
    const int index = static_cast<int>(stock);
    return GRAIN_PROFILES[index >= 0 && index < NEGATIVE_STOCK_COUNT ? index : 0];
}

} // namespace velloid
