// The negative stocks of the "negStock" menu: the option index is the value.
#pragma once

namespace velloid {

enum class NegativeStock : int {
    Vision500T,   // "500T (Vision3 5219)"
    Vision250D,   // "250D (Vision3 5207)"
    Vision200T,   // "200T (Vision3 5213)"
    Vision50D,    // "50D (Vision3 5203)"
    Tungsten800T, // "800T (Tungsten, no rem-jet)"
    Eastman5254,  // "Eastman 5254 (ECN-1)"
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

constexpr int NEGATIVE_STOCK_COUNT = 17;

} // namespace velloid
