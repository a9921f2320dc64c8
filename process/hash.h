// The integer hash that grain, flicker and gate weave share: a bijective mixer of 32 bits. House values.
#pragma once

#include <cstdint>

namespace velloid {

constexpr std::uint32_t hash32(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    x ^= x >> 16;
    return x;
}

// The low 24 bits of a hash as a value in [-1, 1].
constexpr double signedUnit(std::uint32_t x) {
    return (hash32(x) & 0xFFFFFFu) / 8388607.5 - 1.0;
}

} // namespace velloid
