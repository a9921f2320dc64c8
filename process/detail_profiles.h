// How soft each negative stock is, and how strongly its development sharpens edges.
#pragma once

#include "process/stock.h"

namespace velloid {

// Sigmas in pixels of a full-size render, per channel.
struct DetailProfile {
    double blurR;  // softening by the film
    double broadR; // the surround that an edge is compared with
    double sharpR; // strength of the adjacency effect
    double blurG;
    double broadG;
    double sharpG;
    double blurB;
    double broadB;
    double sharpB;
    double blurMix; // how far the softened image replaces the unsoftened one
};

// The profile of a stock; values outside the enumeration take the first row.
DetailProfile detailProfile(NegativeStock stock);

} // namespace velloid
