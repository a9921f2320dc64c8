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
extern const std::array<const char*, NEGATIVE_STOCK_COUNT> kStockNames;

} // namespace velloid
