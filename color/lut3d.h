// A 3D colour lookup table, and the tetrahedral sampler that every CPU consumer shares.
#pragma once

#include <cstdint>
#include <vector>

namespace velloid {

struct RGB {
    float r;
    float g;
    float b;
};
static_assert(sizeof(RGB) == 12, "a vector of RGB is a packed float array");

struct LUT3D {
    std::int32_t size = 0;             // points per axis; 0: empty
    bool logDomain = false;            // indexed by LogC4 codes of the working space (print looks)
    RGB domainMin = {0.f, 0.f, 0.f};   // input value at the first lattice point of each axis
    RGB domainMax = {1.f, 1.f, 1.f};   // input value at the last lattice point of each axis
    std::uint64_t id = 0;              // identity of the contents; never 0 once filled
    std::vector<RGB> data;             // size^3 entries, (b*size + g)*size + r: red varies fastest
};

// A new table identity, unique in this process and never 0.
std::uint64_t nextLutCacheId();

// The table's colour at (r, g, b), interpolated in the tetrahedron that holds the point. Inputs are clamped to the
// table's domain; +infinity samples the top of its axis, -infinity and NaN the bottom. Needs size >= 2.
RGB sampleLutTetrahedral(const LUT3D& lut, double r, double g, double b);

// Blends the table's colour into the planes: v += (lut(v) - v) * strength, in double, stored as float. The table sees
// the values as they are. Does nothing for strength <= 0 or a table below 2 points; strength is not clamped above.
void applyCubeLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                  double strength, const LUT3D& lut);

} // namespace velloid
