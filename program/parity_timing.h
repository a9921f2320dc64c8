// How long the plug-in takes for a frame with the whole chain on, on the GPU and on the CPU of this machine. The GPU's
// images stay on the device; their way there and back is told apart from the frame.
#pragma once

#include "program/opencl_frames.h"
#include "program/plugin_session.h"

#include <string>

namespace tarnwell {

struct TimingOptions {
    int frames = 0; // after one to warm up; 0: nothing is timed
    int width = 3840, height = 2160;
};

// Medians, in milliseconds.
struct Timing {
    std::string device, processor;
    int frames = 0, width = 0, height = 0;
    double gpuFrame = 0.0, upload = 0.0, download = 0.0, cpuFrame = 0.0;
};

// Throws ActionError and HostError.
Timing timeFrames(PluginSession& session, OpenClFrames& device, const TimingOptions& options);

} // namespace tarnwell
