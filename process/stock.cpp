#include "process/stock.h"

#include <iterator>

namespace velloid {

namespace {

constexpr const char* LABELS[] = {
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
static_assert(std::size(LABELS) == NEGATIVE_STOCK_COUNT, "one label per stock");

} // namespace

constinit const std::array<const char*, NEGATIVE_STOCK_COUNT> kStockNames = std::to_array(LABELS);

} // namespace velloid
