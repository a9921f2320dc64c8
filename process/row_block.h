// A few rows of scratch that a blur writes its block to.
#pragma once

#include "process/scratch.h"
#include "rows/blur_rows.h"

#include <cstddef>

namespace velloid {

class RowBlock {
public:
    explicit RowBlock(int w) : samples(static_cast<std::size_t>(w) * BLUR_BLOCK_ROWS) {
        for (int k = 0; k < BLUR_BLOCK_ROWS; ++k)
            out[k] = samples.data() + static_cast<std::size_t>(w) * k;
    }
    RowBlock(const RowBlock&) = delete;
    RowBlock& operator=(const RowBlock&) = delete;

    float* const* rows() { return out; }
    const float* row(int k) const { return out[k]; }

private:
    Scratch samples;
    float* out[BLUR_BLOCK_ROWS];
};

} // namespace velloid
