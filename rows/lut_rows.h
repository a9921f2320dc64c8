// Row kernels: tetrahedral lookups in a 3D table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velloid {

// The table as the kernels read it; nothing here is owned.
struct LutGrid {
    const float* entries = nullptr; // size^3 entries of four floats (R, G, B, unused), red index fastest
    std::int32_t size = 0;          // points per axis, 2 ... 512
    double low[3] = {0, 0, 0};      // value at the first lattice point of the red, green and blue axis
    double width[3] = {1, 1, 1};    // value at the last one minus `low`; +infinity pins the axis to its first point
    bool unitWidth = true;          // all three widths are 1: the division is left out
    bool huge = false;              // the difference of two entries may exceed the float range
};

struct LutRows {
    // n pixels of three planar rows in place, v += (table(v) - v) * strength in double. The rows must not overlap.
    void (*blend)(const LutGrid& grid, double strength, float* r, float* g, float* b, std::size_t n);

    // The same around LogC4 codes: e = encode(v), v = decode(e + (table(e) - e) * strength). Rows hold linear AWG4.
    void (*blendLogC4)(const LutGrid& grid, double strength, float* r, float* g, float* b, std::size_t n);
};

} // namespace velloid
