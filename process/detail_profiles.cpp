// Softness and adjacency per stock. House values. Deliberate: faster stocks are softer and show the
// stronger adjacency effect; red, the deepest layer, is softest, blue sharpest.
#include "process/detail_profiles.h"

#include <iterator>

namespace velloid {

namespace {

// clang-format off
constexpr DetailProfile DETAIL_PROFILES[] = {
    // red: blur broad    sharp    green: blur broad    sharp    blue: blur broad    sharp   mix
    {0.93,       7.3, 0.257,       0.75,        6.7, 0.273,      0.64,       7.1, 0.223,     1.0}, // 500T
    {0.744,      7.3, 0.2056,      0.6,         6.7, 0.2184,     0.512,      7.1, 0.1784,    1.0}, // 250D
    {0.783,      7.3, 0.216,       0.632,       6.7, 0.23,       0.539,      7.1, 0.188,     1.0}, // 200T
    {0.595,      7.3, 0.165,       0.48,        6.7, 0.175,      0.41,       7.1, 0.143,     1.0}, // 50D
    {0.93,       7.3, 0.257,       0.75,        6.7, 0.273,      0.64,       7.1, 0.223,     1.0}, // 800T
    {1.1625,     7.3, 0.32125,     0.9375,      6.7, 0.34125,    0.8,        7.1, 0.27875,   1.0}, // Eastman 5254
    {0.8835,     7.3, 0.24415,     0.7125,      6.7, 0.25935,    0.608,      7.1, 0.21185,   1.0}, // Eterna 500T
    {0.744,      7.3, 0.2056,      0.6,         6.7, 0.2184,     0.512,      7.1, 0.1784,    1.0}, // Eterna 250D
    {0.837,      7.3, 0.2313,      0.675,       6.7, 0.2457,     0.576,      7.1, 0.2007,    1.0}, // Eterna Vivid
    {0.744,      7.3, 0.2056,      0.6,         6.7, 0.2184,     0.512,      7.1, 0.1784,    1.0}, // Portra 160
    {0.8835,     7.3, 0.24415,     0.7125,      6.7, 0.25935,    0.608,      7.1, 0.21185,   1.0}, // Portra 400
    {1.023,      7.3, 0.2827,      0.825,       6.7, 0.3003,     0.704,      7.1, 0.2453,    1.0}, // Portra 800
    {0.93,       7.3, 0.257,       0.75,        6.7, 0.273,      0.64,       7.1, 0.223,     1.0}, // Gold 200
    {1.023,      7.3, 0.2827,      0.825,       6.7, 0.3003,     0.704,      7.1, 0.2453,    1.0}, // UltraMax 400
    {0.837,      7.3, 0.2313,      0.675,       6.7, 0.2457,     0.576,      7.1, 0.2007,    1.0}, // Tri-X 400
    {0.6045,     7.3, 0.16705,     0.4875,      6.7, 0.17745,    0.416,      7.1, 0.14495,   1.0}, // T-Max 100
    {0.93,       7.3, 0.257,       0.75,        6.7, 0.273,      0.64,       7.1, 0.223,     1.0}, // Off
};
// clang-format on

static_assert(std::size(DETAIL_PROFILES) == NEGATIVE_STOCK_COUNT, "one row per stock");

} // namespace

DetailProfile detailProfile(NegativeStock stock) {
    const int row = static_cast<int>(stock);
    return DETAIL_PROFILES[row >= 0 && row < NEGATIVE_STOCK_COUNT ? row : 0];
}

} // namespace velloid
