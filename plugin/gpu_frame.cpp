#include "plugin/gpu_frame.h"

#include "color/looks.h"
#include "color/lut3d.h"
#include "metal/renderer.h"
#include "plugin/film_pass.h"
#include "plugin/host.h"
#include "process/scratch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace velloid {

namespace {

// How a host asks for a runtime, and the renderer's functions on it.
struct Runtime {
    const char* enabled; // the property that says so
    const char* queue;   // the property with the queue
    decltype(&metalRenderFrame) render;
    decltype(&metalPassthrough) passthrough;
};

constexpr Runtime METAL = {kOfxImageEffectPropMetalEnabled, kOfxImageEffectPropMetalCommandQueue, metalRenderFrame,
                           metalPassthrough};
constexpr Runtime OPENCL = {kOfxImageEffectPropOpenCLEnabled, kOfxImageEffectPropOpenCLCommandQueue, openclRenderFrame,
                            openclPassthrough};

bool isEnabled(OfxPropertySetHandle inArgs, const Runtime& gpu) {
    int enabled = 0;
    return readInt(inArgs, gpu.enabled, enabled) && enabled != 0;
}

bool sameBounds(const OfxRectI& a, const OfxRectI& b) {
    return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2;
}

bool isWithin(const OfxRectI& inner, const OfxRectI& outer) {
    return inner.x1 >= outer.x1 && inner.y1 >= outer.y1 && inner.x2 <= outer.x2 && inner.y2 <= outer.y2;
}

bool rowsOfFloats(int rowBytes) {
    return rowBytes >= 1 && rowBytes % 4 == 0;
}

MetalFrameParams gpuParams(const Frame& frame) {
    const FrameRequest& q = frame.request;
    MetalFrameParams p;
    p.width = static_cast<int>(frame.source.width());
    p.height = static_cast<int>(frame.source.height());
    p.components = frame.layout.components;
    p.srcStride = frame.source.rowBytes / 4;
    p.dstStride = frame.output.rowBytes / 4;
    p.premultiplied = frame.layout.premultiplied;
    p.effectScaleX = frame.scaleX();
    p.effectScaleY = frame.scaleY();
    p.grainScaleX = q.args.scaleX;
    p.grainScaleY = q.args.scaleY;
    p.originX = frame.source.bounds.x1;
    p.originY = frame.source.bounds.y1;
    p.io = static_cast<int>(q.ioSpace);
    for (const ParameterRow& row : PARAMETERS) {
        if (row.gpu) p.*row.gpu = q.amountOf(row);
    }
    p.grain *= q.grainScale();
    p.stock = static_cast<int>(q.profileStock());
    p.look = static_cast<int>(q.process);
    p.time = q.args.time;
    p.alexaSceneFit = q.sceneFit();
    if (q.outputLut) {
        p.outputLut = q.outputLut.get();
        p.outputLutDomain = q.outputLutInLogC4 ? 1 : 0;
    }
    return p;
}

bool runsOn(const Runtime& gpu, void* queue, const Frame& frame) {
    const ImageFacts& source = frame.source;
    const ImageFacts& output = frame.output;
    if (!frame.passThrough()) return gpu.render(queue, source.data, output.data, gpuParams(frame));
    return gpu.passthrough(queue, source.data, output.data, static_cast<int>(source.width()),
                           static_cast<int>(source.height()), frame.layout.components, source.rowBytes / 4,
                           output.rowBytes / 4);
}

// The same image, tight or not, with its first row at other bytes.
ImageFacts movedTo(void* bytes, ImageFacts image) {
    image.data = bytes;
    return image;
}

// A sample that is not a number is infinitely far off.
double largestDifference(const float* a, const float* b, std::size_t n) {
    double largest = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double here = std::fabs(double{a[i]} - b[i]);
        largest = std::max(largest, std::isnan(here) ? std::numeric_limits<double>::infinity() : here);
    }
    return largest;
}

// A small frame with every effect, rendered by the OpenCL device and by the CPU: whether they agree. A card's fast
// functions are some 1e-5 of a code off, a kernel that is compiled wrongly or does not run a whole picture. Nothing
// when the device did not take the frame, which may pass: the next frame then asks again.
std::optional<bool> deviceAgrees(void* queue, const char* deviceName) {
    constexpr int WIDTH = 64;
    constexpr int HEIGHT = 48;
    constexpr double TOLERANCE = 1e-3; // of a LogC4 code
    FrameRequest all;
    all.args = {12.0, {0, 0, WIDTH, HEIGHT}, 2.0, 2.0}; // at this scale bloom halves its planes
    all.stock = NegativeStock{};
    all.ioSpace = IOSpace{}; // LogC4
    all.process = PrintProcess::CorvexStandard;
    for (const ParameterRow& row : PARAMETERS) {
        if (row.amount) all.*row.amount = 0.5;
    }
    all.outputLutPath = "(self-test)";
    LUT3D table;
    table.size = 2;
    table.domainMin = {0, 0, 0};
    table.domainMax = {1, 1, 1};
    for (int i = 0; i < 8; ++i)
        table.data.push_back({0.1f + 0.8f * float(i & 1), 0.4f * float(i & 2), 0.05f + 0.2f * float(i & 4)});
    all.outputLut = std::make_shared<const LUT3D>(std::move(table));

    constexpr std::size_t SAMPLES = std::size_t{WIDTH} * HEIGHT * 4;
    Scratch picture(SAMPLES), wanted(SAMPLES), rendered(SAMPLES);
    for (std::size_t i = 0; i < SAMPLES; ++i)
        picture.data()[i] = i % 4 == 3 ? 1.0f : 0.1f + 0.7f * static_cast<float>(i * 37 % 997) / 997.0f;
    ImageFacts image;
    image.rowBytes = WIDTH * 16;
    image.bounds = all.args.window;
    const ImageFacts source = movedTo(picture.data(), image);
    const ImageFacts output = movedTo(wanted.data(), image);
    const Frame frame{all, source, output, {SampleType::Float, 4, false}};
    renderOnCpu(frame, nullptr);
    if (!openclRenderFrameCPU(queue, picture.data(), rendered.data(), gpuParams(frame))) return std::nullopt;
    const double off = largestDifference(rendered.data(), wanted.data(), SAMPLES);
    if (off <= TOLERANCE) return true;
    std::fprintf(stderr, "[Tarnwell/Metal] %s: Selbsttest weicht um %g ab, Frames werden auf der CPU gerechnet\n",
                 deviceName, off);
    return false;
}

std::size_t bytesIn(const ImageFacts& image, const PixelLayout& layout) {
    const auto [begin, end] = bytesOf(image, layout);
    return end - begin;
}

// A frame in OpenCL buffers that the device does not render: down, through the CPU's chain, and up again.
OfxStatus renderDownAndUp(const Frame& frame, void* queue, OfxPropertySetHandle inArgs) {
    const std::size_t sourceBytes = bytesIn(frame.source, frame.layout);
    const std::size_t outputBytes = bytesIn(frame.output, frame.layout);
    Scratch down(sourceBytes / sizeof(float)), up(outputBytes / sizeof(float));
    // The output too: what lies between its rows stays as it is.
    if (!openclRead(queue, frame.source.data, down.data(), sourceBytes) ||
        !openclRead(queue, frame.output.data, up.data(), outputBytes)) {
        return kOfxStatFailed;
    }
    const ImageFacts source = movedTo(down.data(), frame.source);
    const ImageFacts output = movedTo(up.data(), frame.output);
    const OfxStatus status = renderOnCpu({frame.request, source, output, frame.layout}, wantedStatistics(inArgs));
    if (status != kOfxStatOK) return status;
    return openclWrite(queue, frame.output.data, up.data(), outputBytes) ? kOfxStatOK : kOfxStatFailed;
}

// On a device that has shown that it computes as the CPU does; else on the CPU, which is said once per device that
// computes something else, and once per frame that a device refuses.
OfxStatus renderOnOpenCl(const Frame& frame, void* queue, OfxPropertySetHandle inArgs) {
    std::optional<bool> sound = true; // enough for a copy
    if (!frame.passThrough()) {
        sound = openclDevicePasses(queue, [queue](const char* name) { return deviceAgrees(queue, name); });
    }
    if (sound.value_or(false) && runsOn(OPENCL, queue, frame)) return kOfxStatOK;
    const OfxStatus status = renderDownAndUp(frame, queue, inArgs);
    if (status == kOfxStatOK && sound.value_or(true)) {
        std::fprintf(stderr, "[Tarnwell/Metal] Frame abgelehnt, auf der CPU gerechnet\n");
    }
    return status;
}

} // namespace

GpuRuntime requestedRuntime(OfxPropertySetHandle inArgs) {
    if (isEnabled(inArgs, METAL)) return GpuRuntime::Metal;
    return isEnabled(inArgs, OPENCL) && hostRendersWithOpenCl() ? GpuRuntime::OpenCl : GpuRuntime::None;
}

OfxStatus renderOnGpu(const Frame& frame, GpuRuntime runtime, OfxPropertySetHandle inArgs) {
    const Runtime& gpu = runtime == GpuRuntime::OpenCl ? OPENCL : METAL;
    void* queue = nullptr;
    readPointer(inArgs, gpu.queue, queue);
    const ImageFacts& source = frame.source;
    const ImageFacts& output = frame.output;
    if (!queue || frame.layout.type != SampleType::Float || !rowsOfFloats(source.rowBytes) ||
        !rowsOfFloats(output.rowBytes) || !sameBounds(source.bounds, output.bounds) ||
        !isWithin(output.bounds, frame.request.args.window)) {
        return kOfxStatErrUnsupported;
    }
    if (runtime == GpuRuntime::OpenCl) return renderOnOpenCl(frame, queue, inArgs);
    return runsOn(gpu, queue, frame) ? kOfxStatOK : kOfxStatFailed;
}

} // namespace velloid
