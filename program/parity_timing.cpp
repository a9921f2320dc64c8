// Called by `tarnwell parity --time`. Medians, so that one slow frame does not count.
#include "program/parity_timing.h"

#include "program/parity_cases.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

namespace tarnwell {

namespace {

constexpr double FIRST_FRAME = 24.0;

// Grain and weave differ from frame to frame, so each has its number. The first one, which compiles kernels, builds
// tables and finds memory, does not count.
double medianMilliseconds(int frames, const std::function<void(double time)>& step) {
    step(FIRST_FRAME);
    std::vector<double> taken;
    for (int i = 1; i <= frames; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        step(FIRST_FRAME + i);
        taken.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
    }
    std::sort(taken.begin(), taken.end());
    return (taken[(taken.size() - 1) / 2] + taken[taken.size() / 2]) / 2.0;
}

// What the operating system calls the processor, where it is asked as on Linux.
std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t colon = line.find(": ");
        if (line.rfind("model name", 0) == 0 && colon != std::string::npos) return line.substr(colon + 2);
    }
    return "processor";
}

} // namespace

Timing timeFrames(PluginSession& session, OpenClFrames& device, const TimingOptions& options) {
    Timing timing{device.description(),
                  fmt::format("{}, {} threads", processorName(), std::thread::hardware_concurrency()), options.frames,
                  options.width, options.height};
    std::vector<float> source = pixelsOf({streetAt, {}}, options.width, options.height);
    std::vector<float> output(source.size());
    InstanceOptions instanceOptions;
    instanceOptions.projectSize = {static_cast<double>(options.width), static_cast<double>(options.height)};
    const auto instance = session.instanceWith(instanceOptions, wholeChain());
    instance->create();

    RenderRequest request;
    request.time = FIRST_FRAME;
    request.window = {0, 0, options.width, options.height};
    request.source.data = source.data();
    request.output.data = output.data();
    for (ImageDesc* image : {&request.source, &request.output}) {
        image->bounds = request.window;
        image->preMultiplication = kOfxImageUnPreMultiplied;
    }
    {
        OpenClFrames::Loaded frame(device, *instance, request);
        timing.upload = medianMilliseconds(options.frames, [&](double) { frame.upload(); });
        timing.gpuFrame = medianMilliseconds(options.frames, [&](double time) { frame.render(time); });
        timing.download = medianMilliseconds(options.frames, [&](double) { frame.fetch(); });
    }
    timing.cpuFrame = medianMilliseconds(options.frames, [&](double time) {
        request.time = time;
        instance->renderFrame(request);
    });
    return timing;
}

} // namespace tarnwell
