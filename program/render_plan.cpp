// A path that exists as it is written is a file, whatever signs its name holds: photo@2x.jpg is no pattern.
#include "program/render_plan.h"

#include "pictures/frame_sequence.h"
#include "program/exit_codes.h"

#include <fmt/format.h>

#include <filesystem>
#include <set>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

bool isSequence(const std::string& path) {
    return FramePattern::isPattern(path) && !fs::exists(path);
}

std::vector<PlannedFrame> planSequence(const PlanRequest& request, const std::vector<int>& listed) {
    const FramePattern input(request.input, request.padding);
    const std::vector<int> frames = listed.empty() ? input.existingFrames() : listed;
    if (frames.empty()) throw CommandError(ExitCode::NoInput, fmt::format("{}: no file matches", request.input));
    std::vector<PlannedFrame> plan;
    bool anyInput = false;
    if (!FramePattern::isPattern(request.output) && frames.size() > 1)
        throw usageError(
            fmt::format("{} frames need an output such as out.####.exr, not \"{}\"", frames.size(), request.output));
    for (const int frame : frames) {
        const bool numbered = FramePattern::isPattern(request.output);
        plan.push_back({frame, input.pathOf(frame),
                        numbered ? FramePattern(request.output, request.padding).pathOf(frame) : request.output});
        anyInput = anyInput || fs::exists(plan.back().input);
    }
    if (!anyInput)
        throw CommandError(ExitCode::NoInput,
                           fmt::format("{}: none of the {} frames exists", request.input, plan.size()));
    return plan;
}

std::vector<PlannedFrame> planStill(const PlanRequest& request, std::vector<int> frames) {
    if (!fs::exists(request.input))
        throw CommandError(ExitCode::NoInput, fmt::format("{}: no such file", request.input));
    if (frames.empty()) frames = {0};
    const bool numbered = isSequence(request.output);
    if (frames.size() > 1 && !numbered)
        throw usageError(
            fmt::format("{} frames need an output such as out.####.exr, not \"{}\"", frames.size(), request.output));
    std::vector<PlannedFrame> plan;
    for (const int frame : frames)
        plan.push_back({frame, request.input,
                        numbered ? FramePattern(request.output, request.padding).pathOf(frame) : request.output});
    return plan;
}

void checkOutputs(const std::vector<PlannedFrame>& plan) {
    std::set<fs::path> outputs;
    for (const PlannedFrame& planned : plan) {
        if (fs::weakly_canonical(planned.input) == fs::weakly_canonical(planned.output))
            throw usageError(fmt::format("{} is input and output", planned.input));
        if (!outputs.insert(planned.output).second)
            throw usageError(fmt::format("{} would be written twice", planned.output));
    }
}

} // namespace

std::vector<PlannedFrame> planFrames(const PlanRequest& request) {
    if (request.hasFrame && !request.frames.empty()) throw usageError("--frame and --frames exclude each other");
    std::vector<int> frames;
    if (request.hasFrame) frames = {request.frame};
    if (!request.frames.empty()) frames = parseFrames(request.frames);
    auto plan = isSequence(request.input) ? planSequence(request, frames) : planStill(request, frames);
    checkOutputs(plan);
    return plan;
}

} // namespace tarnwell
