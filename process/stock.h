// The negative stocks of the "negStock" menu: the option index is the value.
#pragma once

#include <array>

namespace velloid {

enum class NegativeStock : int {
    Vision500T,
    Vision250D,
    Vision200T,
    Vision50D,
    Tungsten800T,
    Eastman5254,
    Eterna500T,
    Eterna250D,
    EternaVivid,
    Portra160,
    Portra400,
    Portra800,
    Gold200,
    UltraMax400,
    TriX400,
    TMax100,
    Off, // no grain; detail and halation then take the first row of their tables
};

constexpr int NEGATIVE_STOCK_COUNT = static_cast<int>(NegativeStock::Off) + 1; // the last one

// Options of the menu. Labels are the user's: projects store them or their index, so rows are only ever appended,
// behind "Off" too.
inline constexpr std::array kStockNames = {
    "500T (Vision3 5219)",
    "250D (Vision3 5207)",
    "200T (Vision3 5213)",
    "50D (Vision3 5203)",
    "800T (Tungsten, no rem-jet)",
    "Eastman 5254 (ECN-1)",
    "Eterna 500T",
    "Eterna 250D",
    "Eterna Vivid",
    "Portra 160",
    "Portra 400",
    "Portra 800",
    "Gold 200",
    "UltraMax 400",
    "Tri-X 400 (B&W)",
    "T-Max 100 (B&W)",
    "Off",
};
static_assert(kStockNames.size() == NEGATIVE_STOCK_COUNT, "one label per stock");

} // namespace velloid
