// Fills a table from a function of the lattice position.
#pragma once

#include "color/lut3d.h"
#include "process/parallel_pool.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velloid {

// Makes `out` a new table over the domain 0 ... 1, not log-domain, of `size` points per axis, with
// f(red, green, blue) -> RGB at the positions index/(size - 1). The planes of equal blue are shared out to the pool.
// `out` is touched only when every entry is there. Throws std::invalid_argument for a size below 2.
template <class F>
void fillLattice(LUT3D& out, int size, const F& f) {
    if (size < 2) throw std::invalid_argument("3D table of size " + std::to_string(size));
    const std::size_t n = static_cast<std::size_t>(size);
    const double last = size - 1;
    std::vector<RGB> data(n * n * n);
    parallelFor(0, size, [&](int begin, int end) {
        RGB* entry = &data[static_cast<std::size_t>(begin) * n * n];
        for (int ib = begin; ib < end; ++ib) {
            for (int ig = 0; ig < size; ++ig) {
                for (int ir = 0; ir < size; ++ir)
                    *entry++ = f(ir / last, ig / last, ib / last);
            }
        }
    });
    out = LUT3D{};
    out.size = size;
    out.id = nextLutCacheId();
    out.data = std::move(data);
}

} // namespace velloid
