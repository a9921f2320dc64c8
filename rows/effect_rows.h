// Row kernels: the element-wise steps of flicker, halation, bloom, detail and black and white.
//
// Every function takes `n` samples of each row. Rows of different names must not overlap; a row that is read and written
// has one name. A NaN counts as 0 where a value is cut at 0 and stays NaN elsewhere.
#pragma once

#include <cstddef>

namespace velloid {

struct EffectRows {
    // data *= gain, the product in double.
    void (*scaleByGain)(float* data, std::size_t n, double gain);
};

} // namespace velloid
