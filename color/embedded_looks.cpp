// The order in which the print looks find their 33-point tables.
#include "color/look_tables.h"

namespace velloid {

const float* embeddedLookDataByIndex(int i) {
    static constexpr const float* LOOK_TABLES[] = {
        LOOK_KODAK2383_33, LOOK_FUJI3513_33, LOOK_FUJI3510_33, LOOK_TEALORANGE_33,
        LOOK_CROSSPROC_33, LOOK_PUSH1_33,    LOOK_PULL1_33,
    };
    static_assert(sizeof LOOK_TABLES / sizeof *LOOK_TABLES == 7, "one table per print look of 33 points");
    return LOOK_TABLES[i >= 0 && i < 7 ? i : 0];
}

} // namespace velloid
