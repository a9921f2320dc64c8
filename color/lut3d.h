// A 3D colour lookup table, and the tetrahedral sampler that every CPU consumer shares.
//
// The cube between eight lattice points is cut into six tetrahedra along its diagonal. The order of the three fractions
// names the one that holds the point, and the colour is the walk from the low corner to the high one, an axis at a
// time, the largest fraction first. Four lattice points per sample, and greys stay on the diagonal.
//
// sampleLutTetrahedral is the plain form. Whole rows go through LutRowTable: the same arithmetic in row kernels.
#pragma once

#include "rows/lut_rows.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace velloid {

struct RGB {
    float r;
    float g;
    float b;
};
static_assert(sizeof(RGB) == 12, "a vector of RGB is a packed float array");

struct LUT3D;

// A table made ready for rows of pixels: its entries padded to four floats, so that one load fetches a whole colour.
class LutRowTable {
public:
    // Copies the entries. Throws std::invalid_argument when the size is outside 2 ... 512 or not that of the data.
    explicit LutRowTable(const LUT3D& lut);

    // n pixels of three planar rows in place, which must not overlap: v += (lut(v) - v) * strength on the values as
    // they are. Each pixel as with sampleLutTetrahedral, wherever in a row it stands.
    void blend(float* r, float* g, float* b, std::size_t n, double strength) const;

    // The same in LogC4 codes of scene-linear rows: encode, sample, blend, decode.
    void blendLogC4(float* r, float* g, float* b, std::size_t n, double strength) const;

    const LutGrid& grid() const { return view; }

private:
    std::vector<float> entries;
    LutGrid view;
};

// Where a table keeps its LutRowTable once somebody has asked for it. A copy of the table starts without one.
class LutRowTableSlot {
public:
    LutRowTableSlot() = default;
    LutRowTableSlot(const LutRowTableSlot&) noexcept {}
    LutRowTableSlot& operator=(const LutRowTableSlot&) noexcept;
    std::shared_ptr<const LutRowTable> get(const LUT3D& lut) const;

private:
    mutable std::mutex mu; // guards the two below
    mutable std::shared_ptr<const LutRowTable> table;
    mutable std::uint64_t tableId = 0; // the identity of the contents that `table` was made from
};

struct LUT3D {
    std::int32_t size = 0;           // points per axis; 0: empty
    bool logDomain = false;          // indexed by LogC4 codes of the working space (print looks)
    RGB domainMin = {0.f, 0.f, 0.f}; // input value at the first lattice point of each axis
    RGB domainMax = {1.f, 1.f, 1.f}; // input value at the last lattice point of each axis
    std::uint64_t id = 0;            // identity of the contents; never 0 once filled
    std::vector<RGB> data;           // size^3 entries, (b*size + g)*size + r: red varies fastest
    LutRowTableSlot rowTable = {};   // see lutRowTable
};

// A new table identity, unique in this process and never 0.
std::uint64_t nextLutCacheId();

// The table's colour at (r, g, b), interpolated in the tetrahedron that holds the point. Inputs are clamped to the
// table's domain; +infinity samples the top of its axis, -infinity and NaN the bottom. Needs size >= 2.
RGB sampleLutTetrahedral(const LUT3D& lut, double r, double g, double b);

// The table made ready for rows. Made at the first call and kept beside the data; for a table without an identity
// (id 0), whose changes nobody could notice, made anew each time. Callable from any thread; throws like LutRowTable.
std::shared_ptr<const LutRowTable> lutRowTable(const LUT3D& lut);

// Blends the table's colour into the planes: v += (lut(v) - v) * strength, in double, stored as float. The table sees
// the values as they are. Does nothing for strength <= 0 or NaN or a table below 2 points; strength is not clamped
// above. Throws std::invalid_argument when a plane is smaller than width*height.
void applyCubeLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                  double strength, const LUT3D& lut);

} // namespace velloid
