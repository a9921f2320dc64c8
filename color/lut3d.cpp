#include "color/lut3d.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace velloid {

namespace {

constexpr int LARGEST_ROW_TABLE = 512; // lattice offsets in floats stay within 32 bits

// One axis of a lookup: the cell's first lattice point and the way into the cell, 0 ... 1.
struct AxisPosition {
    int index;
    double fraction;
};

bool hasWidth(float low, float high) {
    return std::isfinite(low) && std::isfinite(high) && high > low;
}

AxisPosition positionOn(double v, float low, float high, int size) {
    double t = 0.0;
    if (hasWidth(low, high)) t = (v - low) / (static_cast<double>(high) - low);
    t = std::isfinite(t) ? std::clamp(t, 0.0, 1.0) : t > 0.0 ? 1.0 : 0.0;
    const double f = t * (size - 1);
    const int index = std::min(static_cast<int>(std::floor(f)), size - 2);
    return {index, f - index};
}

RGB operator+(const RGB& a, const RGB& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}
RGB operator-(const RGB& a, const RGB& b) {
    return {a.r - b.r, a.g - b.g, a.b - b.b};
}
RGB operator*(double f, const RGB& d) {
    return {static_cast<float>(f * d.r), static_cast<float>(f * d.g), static_cast<float>(f * d.b)};
}

float largestMagnitude(const std::vector<RGB>& data) {
    float largest = 0.f;
    for (const RGB& e : data)
        largest = std::max({largest, std::fabs(e.r), std::fabs(e.g), std::fabs(e.b)});
    return largest;
}

void checkPlanes(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B,
                 std::size_t pixels) {
    if (std::min({R.size(), G.size(), B.size()}) < pixels) {
        throw std::invalid_argument("applyCubeLut: a plane holds fewer than width*height samples");
    }
}

} // namespace

std::uint64_t nextLutCacheId() {
    static std::atomic<std::uint64_t> next{1};
    const std::uint64_t id = next.fetch_add(1, std::memory_order_relaxed);
    return id != 0 ? id : next.fetch_add(1, std::memory_order_relaxed);
}

RGB sampleLutTetrahedral(const LUT3D& lut, double r, double g, double b) {
    const std::size_t n = static_cast<std::size_t>(lut.size);
    const auto [ir, fr] = positionOn(r, lut.domainMin.r, lut.domainMax.r, lut.size);
    const auto [ig, fg] = positionOn(g, lut.domainMin.g, lut.domainMax.g, lut.size);
    const auto [ib, fb] = positionOn(b, lut.domainMin.b, lut.domainMax.b, lut.size);
    const RGB* const base = lut.data.data() + (static_cast<std::size_t>(ib) * n + ig) * n + ir;
    const auto corner = [base, n](int dr, int dg, int db) { return base[(db * n + dg) * n + dr]; };
    const RGB c000 = corner(0, 0, 0);
    const RGB c111 = corner(1, 1, 1);
    if (fr >= fg && fg >= fb) {
        const RGB c100 = corner(1, 0, 0), c110 = corner(1, 1, 0);
        return c000 + fr * (c100 - c000) + fg * (c110 - c100) + fb * (c111 - c110);
    }
    if (fr >= fb && fb > fg) {
        const RGB c100 = corner(1, 0, 0), c101 = corner(1, 0, 1);
        return c000 + fr * (c100 - c000) + fg * (c111 - c101) + fb * (c101 - c100);
    }
    if (fb > fr && fr >= fg) {
        const RGB c001 = corner(0, 0, 1), c101 = corner(1, 0, 1);
        return c000 + fr * (c101 - c001) + fg * (c111 - c101) + fb * (c001 - c000);
    }
    if (fg > fr && fr >= fb) {
        const RGB c010 = corner(0, 1, 0), c110 = corner(1, 1, 0);
        return c000 + fr * (c110 - c010) + fg * (c010 - c000) + fb * (c111 - c110);
    }
    if (fg >= fb && fb > fr) {
        const RGB c010 = corner(0, 1, 0), c011 = corner(0, 1, 1);
        return c000 + fr * (c111 - c011) + fg * (c010 - c000) + fb * (c011 - c010);
    }
    const RGB c001 = corner(0, 0, 1), c011 = corner(0, 1, 1);
    return c000 + fr * (c111 - c011) + fg * (c011 - c001) + fb * (c001 - c000);
}

LutRowTable::LutRowTable(const LUT3D& lut) {
    const std::size_t n = static_cast<std::size_t>(std::max(lut.size, 0));
    if (n < 2 || n > LARGEST_ROW_TABLE || lut.data.size() != n * n * n) {
        throw std::invalid_argument("3D table of size " + std::to_string(lut.size) + " with " +
                                    std::to_string(lut.data.size()) + " entries");
    }
    entries.reserve(lut.data.size() * 4);
    for (const RGB& e : lut.data)
        entries.insert(entries.end(), {e.r, e.g, e.b, 0.f});
    const float low[3] = {lut.domainMin.r, lut.domainMin.g, lut.domainMin.b};
    const float high[3] = {lut.domainMax.r, lut.domainMax.g, lut.domainMax.b};
    for (int axis = 0; axis < 3; ++axis) {
        const bool valid = hasWidth(low[axis], high[axis]);
        view.low[axis] = valid ? low[axis] : 0.0;
        view.width[axis] =
            valid ? static_cast<double>(high[axis]) - low[axis] : std::numeric_limits<double>::infinity();
        view.unitWidth = view.unitWidth && view.width[axis] == 1.0;
    }
    view.entries = entries.data();
    view.size = lut.size;
    view.huge = !(largestMagnitude(lut.data) < std::numeric_limits<float>::max() / 4);
}

void LutRowTable::blend(float* r, float* g, float* b, std::size_t n, double strength) const {
    rowKernels().lut.blend(view, strength, r, g, b, n);
}

void LutRowTable::blendLogC4(float* r, float* g, float* b, std::size_t n, double strength) const {
    rowKernels().lut.blendLogC4(view, strength, r, g, b, n);
}

LutRowTableSlot& LutRowTableSlot::operator=(const LutRowTableSlot&) noexcept {
    std::lock_guard lock(mu);
    table.reset();
    return *this;
}

std::shared_ptr<const LutRowTable> LutRowTableSlot::get(const LUT3D& lut) const {
    if (lut.id == 0) return std::make_shared<const LutRowTable>(lut);
    // Built under the lock, so that a large table is copied once however many frames start with it; the copy is plain
    // and serial, because a thread that waits here may be a worker of the pool.
    std::lock_guard lock(mu);
    if (!table || tableId != lut.id) {
        table = std::make_shared<const LutRowTable>(lut);
        tableId = lut.id;
    }
    return table;
}

std::shared_ptr<const LutRowTable> lutRowTable(const LUT3D& lut) {
    return lut.rowTable.get(lut);
}

void applyCubeLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                  double strength, const LUT3D& lut) {
    if (!(strength > 0.0) || lut.size < 2 || width <= 0 || height <= 0) return;
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    checkPlanes(R, G, B, pixels);
    const std::shared_ptr<const LutRowTable> table = lutRowTable(lut);
    parallelFor(0, width * height, [&](int begin, int end) {
        table->blend(&R[begin], &G[begin], &B[begin], static_cast<std::size_t>(end - begin), strength);
    });
}

} // namespace velloid
