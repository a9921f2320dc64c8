// A frame on the CPU.
#pragma once

#include "ofx/ofx.h"
#include "ofx/tarnwell_statistics.h"
#include "plugin/frame.h"

namespace velloid {

// Where a host that asks wants to hear of a frame's time and memory; null for all others.
const TarnwellRenderStatistics* wantedStatistics(OfxPropertySetHandle inArgs);

// Renders the frame on the workers and waits. `statistics`: who wants to hear of it, or null. Throws std::bad_alloc.
OfxStatus renderOnCpu(const Frame& frame, const TarnwellRenderStatistics* statistics);

} // namespace velloid
