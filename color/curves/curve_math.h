// What the makers' curve headers share: scaled forms of the constants, so that a row kernel needs only 2^y and log2(y).
//   10^(y/g) = 2^(y * LOG2_10/g)        g*log10(y) = g*LOG10_2 * log2(y)
#pragma once

#include "rows/transfer_rows.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace velloid {

constexpr double LOG2_10 = 3.321928094887362347870319429489390;
constexpr double LOG10_2 = 0.301029995663981195213738894724493;
constexpr double LOG2_E = 1.442695040888963407359924681001892;
constexpr double LN_2 = 0.693147180559945309417232121458177;

// The next double above a positive one: `x < justAbove(c)` is `x <= c`.
constexpr double justAbove(double positive) {
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(positive) + 1);
}

} // namespace velloid
