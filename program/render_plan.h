// What a render command line comes to: which file goes where at which frame. No pixel is touched here.
#pragma once

#include <string>
#include <vector>

namespace tarnwell {

struct PlannedFrame {
    int frame;
    std::string input, output;
};

struct PlanRequest {
    std::string input, output;
    std::string frames; // list of frames, or ""
    bool hasFrame = false;
    int frame = 0;   // with hasFrame: the one frame
    int padding = 0; // digits of frame numbers; 0: as the pattern says
};

// A still: one frame. A pattern as input: the listed frames, or every file that exists. A still as input and a pattern
// as output: the same picture at every listed frame. Throws CommandError: (Usage) for what does not fit together,
// (NoInput) when nothing matches.
std::vector<PlannedFrame> planFrames(const PlanRequest& request);

} // namespace tarnwell
