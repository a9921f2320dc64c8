// One frame: validate, choose the path, then the chain. The chain reads as a list, in film order:
//   flicker, detail, bloom, halation, grain, print look, gate weave, black and white, scene fit, output LUT.
// Rows hold scene-linear AWG4; grain turns them into LogC4 codes and back. Amounts at 0 skip their stage.
#include "plugin/actions.h"

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/lut3d.h"
#include "color/scene_fit.h"
#include "metal/renderer.h"
#include "ofx/tarnwell_statistics.h"
#include "plugin/frame_request.h"
#include "plugin/host.h"
#include "plugin/image.h"
#include "plugin/pixel_io.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/frame_planes.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"
#include "process/row_chain.h"
#include "process/scratch.h"
#include "process/stage_clock.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

namespace velloid {

namespace {

// A frame that can be rendered: what is asked for and the two images.
struct Frame {
    const FrameRequest& request;
    const ImageFacts& source;
    const ImageFacts& output;
    PixelLayout layout;

    // Pixels per canonical unit: the sizes of detail, grain and weave follow them.
    double scaleX() const { return request.args.scaleX / source.pixelAspectRatio; }
    double scaleY() const { return request.args.scaleY; }
    // Too little to do, or too few components, for the chain.
    bool passThrough() const { return request.nothingToDo() || layout.components < 3; }
    // Output pixels that the source covers and the host wants.
    OfxRectI area() const { return intersect(intersect(source.bounds, output.bounds), request.args.window); }
};

// ---- CPU -----------------------------------------------------------------------------------------------------------

// The frame's way through the film, as a chain of rows. What needs the whole frame ends a pass: the rows so far are
// computed into planes, and a new chain goes on from there.
class FilmPass {
public:
    // `stageClock` (null: none) gets the time of each stage.
    FilmPass(const Frame& f, StageClock* stageClock)
        : frame(f), q(f.request), w(static_cast<int>(f.source.width())), h(static_cast<int>(f.source.height())),
          sx(f.scaleX()), sy(f.scaleY()), clock(stageClock) {
        chain.emplace(w, h, "import", importOrigin(f.source, f.layout, q.ioSpace));
    }

    void run(const OfxRectI& area) {
        if (q.flicker > 0.0) chain->add("flicker", flickerRows(q.flicker, q.args.time));
        if (q.detail > 0.0) addDetail(*chain, w, h, q.detail, q.profileStock(), sx, sy);
        if (q.bloom > 0.0) bloom();
        if (q.halation > 0.0) halation();
        if (!q.grainOff()) grain();
        if (!q.printOff()) chain->add("print look", printProcessRows(q.process, q.colorIntensity));
        if (q.gateWeave > 0.0) gateWeave();
        if (q.blackWhite > 0.0) chain->add("black and white", blackAndWhiteRows(q.blackWhite));
        if (q.sceneFit()) chain->add("scene fit", sceneFitRows(q.colorIntensity));
        if (q.outputLut) outputLut();
        const ImageFacts& from = frame.source;
        chain->measure(clock, "export");
        chain->run(
            {area.x1 - from.bounds.x1, area.y1 - from.bounds.y1, area.x2 - from.bounds.x1, area.y2 - from.bounds.y1},
            ExportSink(from, frame.output, format));
    }

private:
    // Bloom and halation follow the frame's height, but never fall below a size that still shows at proxy scale.
    double glowSize(double least, double perHeight) const { return std::max(least * sy, perHeight * h); }

    void bloom() {
        const double size = glowSize(6.0, 0.024);
        endPass();
        const float* const channels[3] = {planes->channel(0), planes->channel(1), planes->channel(2)};
        const StageClock::Time::time_point begin = StageClock::Time::now();
        std::unique_ptr<RowOrigin> rows = bloomOrigin(channels, w, h, q.bloom, sx * size / sy, size);
        if (clock) clock->add("bloom", StageClock::secondsSince(begin));
        chain.emplace(w, h, "bloom", std::move(rows));
    }

    // The user's intensity is squared, so that the lower half of the slider stays subtle.
    void halation() {
        const double size = glowSize(4.0, 0.004);
        chain->add("halation", halationStage(w, h, q.halation * q.halation, sx * size / sy, size,
                                             halationProfile(q.profileStock())));
    }

    // The stocks' amounts are given in LogC4 codes.
    void grain() {
        chain->add("grain", onEachChannel(logc4EncodeRow));
        chain->add("grain", grainStage(w, h, q.grainIntensity * q.grainScale(), q.stock, q.args.time, sx, sy,
                                       q.args.scaleX, q.args.scaleY, frame.source.bounds.x1, frame.source.bounds.y1));
        chain->add("grain", onEachChannel(logc4DecodeRow));
    }

    void gateWeave() {
        endPass();
        if (frame.layout.components == 4) {
            const StageClock::Time::time_point begin = StageClock::Time::now();
            alpha.emplace(samplesOf(w, h));
            importAlpha(frame.source, frame.layout, alpha->data());
            if (clock) clock->add("gate weave", StageClock::secondsSince(begin));
            format.ownAlpha = true;
        }
        const float* const alphaPlane = alpha ? alpha->data() : nullptr;
        const float* const channels[3] = {planes->channel(0), planes->channel(1), planes->channel(2)};
        chain.emplace(w, h, "gate weave",
                      w > 1 && h > 1 ? gateWeaveOrigin(channels, alphaPlane, w, h, q.gateWeave, q.args.time, sx, sy)
                                     : planesOrigin(*planes, alphaPlane)); // too small to move
    }

    // The user's table, in the domain that it was made for. In the LogC4 domain its codes are blended in at export.
    void outputLut() {
        std::shared_ptr<const LutRowTable> table = lutRowTable(*q.outputLut);
        if (q.outputLutInLogC4) {
            format.grading = {std::move(table), q.outputLutStrength};
            return;
        }
        format.alreadyEncoded = true;
        chain->add("output LUT", [table = std::move(table), space = q.ioSpace,
                                  strength = q.outputLutStrength](float* r, float* g, float* b, size_t n) {
            encodeRowFromLinearAWG4(r, g, b, n, space);
            if (strength > 0.0) table->blend(r, g, b, n, strength);
        });
    }

    // Computes the frame as far as the chain goes.
    void endPass() {
        FramePlanes result(w, h);
        chain->measure(clock, "planes");
        chain->run({0, 0, w, h}, PlanesSink(result));
        planes = std::move(result);
    }

    const Frame& frame;
    const FrameRequest& q;
    const int w;
    const int h;
    const double sx;
    const double sy;
    StageClock* const clock;
    std::optional<FramePlanes> planes; // what the last pass left
    std::optional<Scratch> alpha;      // as the gate weave needs it
    std::optional<RowChain> chain;
    ExportFormat format{frame.layout, q.ioSpace};
};

// Where a host that asks wants to hear of a frame's time and memory; null for all others.
const TarnwellRenderStatistics* wantedStatistics(OfxPropertySetHandle inArgs) {
    void* wanted = nullptr;
    if (!readPointer(inArgs, kTarnwellPropRenderStatistics, wanted) || !wanted) return nullptr;
    const auto* statistics = static_cast<const TarnwellRenderStatistics*>(wanted);
    const bool whole = statistics->size >= static_cast<int>(sizeof(TarnwellRenderStatistics));
    return whole && statistics->stage && statistics->scratch ? statistics : nullptr;
}

void report(const StageClock& clock, const TarnwellRenderStatistics& statistics) {
    for (const StageClock::Entry& entry : clock.entries())
        statistics.stage(statistics.receiver, entry.stage.c_str(), entry.seconds);
    const ScratchUse use = scratchUse();
    statistics.scratch(statistics.receiver, static_cast<double>(use.peak), static_cast<double>(use.kept));
}

// `statistics`: who wants to hear of it, or null.
OfxStatus renderOnCpu(const Frame& asked, const TarnwellRenderStatistics* statistics) {
    const OfxRectI area = asked.area();
    if (isEmpty(area)) return kOfxStatOK;
    const SeparateSource source(asked.source, asked.output, asked.layout);
    const Frame frame{asked.request, source.image(), asked.output, asked.layout};
    if (frame.passThrough()) {
        copyImage(frame.source, frame.output, frame.layout, area);
    } else {
        StageClock clock;
        FilmPass(frame, statistics ? &clock : nullptr).run(area);
        if (statistics) report(clock, *statistics);
    }
    return kOfxStatOK;
}

// ---- GPU -----------------------------------------------------------------------------------------------------------

// A GPU runtime: how a host asks for it, and the renderer's functions on it.
struct GpuRuntime {
    const char* enabled; // the property that says so
    const char* queue;   // the property with the queue
    decltype(&metalRenderFrame) render;
    decltype(&metalPassthrough) passthrough;
};

constexpr GpuRuntime METAL = {kOfxImageEffectPropMetalEnabled, kOfxImageEffectPropMetalCommandQueue, metalRenderFrame,
                              metalPassthrough};
constexpr GpuRuntime OPENCL = {kOfxImageEffectPropOpenCLEnabled, kOfxImageEffectPropOpenCLCommandQueue,
                               openclRenderFrame, openclPassthrough};

bool isEnabled(OfxPropertySetHandle inArgs, const GpuRuntime& gpu) {
    int enabled = 0;
    return readInt(inArgs, gpu.enabled, enabled) && enabled != 0;
}

// The runtime that the host wants this frame to be rendered with; null for the CPU.
const GpuRuntime* requestedRuntime(OfxPropertySetHandle inArgs) {
    if (isEnabled(inArgs, METAL)) return &METAL;
    return isEnabled(inArgs, OPENCL) && hostRendersWithOpenCl() ? &OPENCL : nullptr;
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

bool runsOn(const GpuRuntime& gpu, void* queue, const Frame& frame) {
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

// A small frame with every effect, rendered by the OpenCL device and by the CPU: whether they agree. A card's fast
// functions are some 1e-5 of a code off, a kernel that is compiled wrongly or does not run a whole picture. Nothing
// when the device did not take the frame.
std::optional<bool> deviceAgrees(void* queue, const char* deviceName) {
    constexpr int WIDTH = 64;
    constexpr int HEIGHT = 48;
    constexpr double TOLERANCE = 1e-3; // of a LogC4 code
    FrameRequest all;
    all.args = {12.0, {0, 0, WIDTH, HEIGHT}, 2.0, 2.0}; // at this scale bloom halves its planes
    all.stock = NegativeStock{};
    all.ioSpace = IOSpace{}; // LogC4
    all.process = PrintProcess::CorvexStandard;
    for (double FrameRequest::*amount :
         {&FrameRequest::detail, &FrameRequest::grainIntensity, &FrameRequest::halation, &FrameRequest::colorIntensity,
          &FrameRequest::gateWeave, &FrameRequest::flicker, &FrameRequest::bloom, &FrameRequest::blackWhite,
          &FrameRequest::outputLutStrength}) {
        all.*amount = 0.5;
    }
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

    double off = 0.0;
    for (std::size_t i = 0; i < SAMPLES; ++i) {
        const double here = std::fabs(double{rendered.data()[i]} - wanted.data()[i]);
        if (!(here <= off)) off = here; // also when it is not a number
    }
    if (off <= TOLERANCE) return true;
    std::fprintf(stderr, "[Tarnwell/OpenCL] %s: Selbsttest weicht um %g ab, Frames werden auf der CPU gerechnet\n",
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

// On a device that has shown that it computes as the CPU does; else on the CPU, which is said once per device, or once
// per frame that a sound device refuses.
OfxStatus renderOnOpenCl(const Frame& frame, void* queue, OfxPropertySetHandle inArgs) {
    std::optional<bool> sound = true; // enough for a copy
    if (!frame.passThrough()) {
        sound = openclDevicePasses(queue, [queue](const char* name) { return deviceAgrees(queue, name); });
    }
    if (sound.value_or(false) && runsOn(OPENCL, queue, frame)) return kOfxStatOK;
    const OfxStatus status = renderDownAndUp(frame, queue, inArgs);
    if (status == kOfxStatOK && sound.value_or(true)) {
        std::fprintf(stderr, "[Tarnwell/OpenCL] Frame abgelehnt, auf der CPU gerechnet\n");
    }
    return status;
}

// A frame that the host wants with Metal is rendered there or not at all.
OfxStatus renderOnGpu(const Frame& frame, const GpuRuntime& gpu, OfxPropertySetHandle inArgs) {
    void* queue = nullptr;
    readPointer(inArgs, gpu.queue, queue);
    const ImageFacts& source = frame.source;
    const ImageFacts& output = frame.output;
    if (!queue || frame.layout.type != SampleType::Float || !rowsOfFloats(source.rowBytes) ||
        !rowsOfFloats(output.rowBytes) || !sameBounds(source.bounds, output.bounds) ||
        !isWithin(output.bounds, frame.request.args.window)) {
        return kOfxStatErrUnsupported;
    }
    if (&gpu == &OPENCL) return renderOnOpenCl(frame, queue, inArgs);
    return runsOn(gpu, queue, frame) ? kOfxStatOK : kOfxStatFailed;
}

// ---- one frame -----------------------------------------------------------------------------------------------------

OfxStatus renderImages(const FrameRequest& request, OfxPropertySetHandle inArgs, const ClipImage& sourceImage,
                       const ClipImage& outputImage) {
    ImageFacts source;
    ImageFacts output;
    if (!readImageFacts(sourceImage.handle(), source) || !readImageFacts(outputImage.handle(), output)) {
        return kOfxStatFailed;
    }
    const OfxStatus usable = checkImages(source, output, request.args.scaleX, request.args.scaleY);
    if (usable != kOfxStatOK) return usable;
    const Frame frame{request, source, output, layoutOf(source)};
    const GpuRuntime* gpu = requestedRuntime(inArgs);
    return gpu ? renderOnGpu(frame, *gpu, inArgs) : renderOnCpu(frame, wantedStatistics(inArgs));
}

} // namespace

OfxStatus onRender(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs) {
    if (!effect || !inArgs || !haveSuites()) return kOfxStatErrBadHandle;
    RenderArgs args;
    const OfxStatus status = readRenderArgs(inArgs, args);
    if (status != kOfxStatOK || args.emptyWindow()) return status;
    const FrameRequest request = readFrameRequest(effect, args);
    const OfxImageClipHandle sourceClip = findClip(effect, kOfxImageEffectSimpleSourceClipName);
    if (!sourceClip) return kOfxStatFailed;
    const OfxImageClipHandle outputClip = findClip(effect, kOfxImageEffectOutputClipName);
    if (!outputClip) return kOfxStatFailed;
    // Released in reverse: the output, the source, and last the request with its table.
    const ClipImage source(sourceClip, args.time);
    if (!source.handle()) return kOfxStatFailed;
    const ClipImage output(outputClip, args.time);
    if (!output.handle()) return kOfxStatFailed;
    return renderImages(request, inArgs, source, output);
}

} // namespace velloid
