// Halation per stock. House values. Deliberate: the stock without anti-halation backing halates eight times
// as strongly, wider and almost purely red; the black-and-white stocks get a weak, nearly neutral halo.
#include "process/halation_profiles.h"

#include <iterator>

namespace velloid {

namespace {

// clang-format off
constexpr HalationProfile HALATION_PROFILES[] = {
    // knee  strength  sigma1  sigma2      w1  tintR tintG  tintB
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // 500T
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // 250D
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // 200T
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // 50D
    {  0.0,    1.32,   0.1725,  0.679, 0.02,   1.0,  0.2,  0.05 }, // 800T, no rem-jet
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // Eastman 5254
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.54, 0.3  }, // Eterna 500T
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.54, 0.3  }, // Eterna 250D
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.54, 0.3  }, // Eterna Vivid
    {  0.0,    0.248,  0.1725,  0.485, 0.0355, 1.0,  0.45, 0.22 }, // Portra 160
    {  0.0,    0.248,  0.1725,  0.485, 0.0355, 1.0,  0.45, 0.22 }, // Portra 400
    {  0.0,    0.248,  0.1725,  0.485, 0.0355, 1.0,  0.45, 0.22 }, // Portra 800
    {  0.0,    0.248,  0.1725,  0.485, 0.0355, 1.0,  0.45, 0.22 }, // Gold 200
    {  0.0,    0.248,  0.1725,  0.485, 0.0355, 1.0,  0.45, 0.22 }, // UltraMax 400
    {  0.0,    0.1,    0.1725,  0.43,  0.0355, 1.0,  0.85, 0.7  }, // Tri-X 400
    {  0.0,    0.1,    0.1725,  0.43,  0.0355, 1.0,  0.85, 0.7  }, // T-Max 100
    {  0.0,    0.165,  0.1725,  0.485, 0.0355, 1.0,  0.57, 0.343}, // Off
};
// clang-format on

static_assert(std::size(HALATION_PROFILES) == NEGATIVE_STOCK_COUNT, "one row per stock");

} // namespace

HalationProfile halationProfile(NegativeStock stock) {
    const int row = static_cast<int>(stock);
    return HALATION_PROFILES[row >= 0 && row < NEGATIVE_STOCK_COUNT ? row : 0];
}

} // namespace velloid
