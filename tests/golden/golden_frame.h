// The picture of the golden frames and the hash of what becomes of it. Integer arithmetic: the same on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace velloid::test {

constexpr int GOLDEN_WIDTH = 128;
constexpr int GOLDEN_HEIGHT = 72;

// A made-up night street in LogC4 codes: gradients, two lamps, dark texture.
inline double street(int x, int y, int c) {
    if (c == 3) return 1.0;
    const int wave = (x * 37 + y * 59 + c * 11) % 64;
    const bool lamp = (x - 30) * (x - 30) + (y - 40) * (y - 40) < 16 || (x - 95) * (x - 95) + (y - 20) * (y - 20) < 6;
    return lamp ? 0.875 - 0.03125 * c : (96 + x + 2 * y + wave + 8 * c) / 1024.0;
}

// FNV-1a over the bytes.
inline std::uint64_t hashOf(const void* bytes, std::size_t count) {
    const auto* byte = static_cast<const unsigned char*>(bytes);
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (std::size_t i = 0; i < count; ++i)
        hash = (hash ^ byte[i]) * 0x100000001b3u;
    return hash;
}

inline std::string hex(std::uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(value));
    return text;
}

} // namespace velloid::test
