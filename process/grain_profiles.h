// The grain of each negative stock: how strong, how coarse, how much its dye layers share. Both render paths read it.
#pragma once

#include "process/grain_tables.h"
#include "process/stock.h"

#include <cstdint>

namespace velloid {

struct GrainProfile {
    const double* tableR; // standard deviation in LogC4 code at each node of GRAIN_NODE_Y, GRAIN_NODE_COUNT values
    const double* tableG;
    const double* tableB;
    double sizeR; // grain clump size: Gaussian sigma, in pixels, that blurs the channel's white noise
    double sizeG;
    double sizeB;
    double corrRG; // share of one channel's grain that shows in the other
    double corrBR;
    double corrGB;
    std::uint32_t grainSeed; // hash salt of the stock
    bool grainMono;          // silver grain: one pattern for all three channels
};

// The profile of a stock; any value outside the menu counts as the first one.
GrainProfile grainProfile(NegativeStock stock);

} // namespace velloid
