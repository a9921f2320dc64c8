// One frame: validate, choose the path, then the chain. The chain reads as a list, in film order:
//   flicker, detail, bloom, halation, grain, print look, gate weave, black and white, scene fit, output LUT.
// Planes hold scene-linear AWG4; grain works on LogC4 codes of them. Amounts at 0 skip their stage.
#include "plugin/actions.h"

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/lut3d.h"
#include "color/scene_fit.h"
#include "metal/renderer.h"
#include "plugin/frame_request.h"
#include "plugin/host.h"
#include "plugin/image.h"
#include "plugin/pixel_io.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"
#include "process/parallel_pool.h"

#include <algorithm>

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

using RowFunction = void (*)(const float*, float*, std::size_t);

// One LogC4 conversion over three planes, from one set to another or in place.
void convertPlanes(RowFunction convert, const FramePlanes& from, FramePlanes& to) {
    parallelFor(0, static_cast<int>(from.size()), [&](int begin, int end) {
        const auto first = static_cast<size_t>(begin);
        const auto n = static_cast<size_t>(end - begin);
        convert(&from.R[first], &to.R[first], n);
        convert(&from.G[first], &to.G[first], n);
        convert(&from.B[first], &to.B[first], n);
    });
}

FramePlanes makePlanes(int width, int height) {
    FramePlanes planes{width, height, {}, {}, {}, {}};
    for (Plane* plane : {&planes.R, &planes.G, &planes.B})
        plane->resize(planes.size());
    return planes;
}

// Bloom and halation follow the frame's height, but never fall below a size that still shows at proxy scale.
double glowSize(const Frame& frame, double least, double perHeight, int height) {
    return std::max(least * frame.scaleY(), perHeight * height);
}

void bloomFrame(const Frame& frame, FramePlanes& p) {
    const double size = glowSize(frame, 6.0, 0.024, p.height);
    applyBloom(p.R, p.G, p.B, p.width, p.height, frame.request.bloom, frame.scaleX() * size / frame.scaleY(), size);
}

// The user's intensity is squared, so that the lower half of the slider stays subtle.
void halateFrame(const Frame& frame, FramePlanes& p) {
    const double size = glowSize(frame, 4.0, 0.004, p.height);
    const double intensity = frame.request.halation * frame.request.halation;
    applyHalation(p.R, p.G, p.B, p.width, p.height, intensity, frame.scaleX() * size / frame.scaleY(), size,
                  frame.request.profileStock());
}

void grainFrame(const Frame& frame, FramePlanes& p) {
    const FrameRequest& q = frame.request;
    FramePlanes codes = makePlanes(p.width, p.height);
    convertPlanes(logc4EncodeRow, p, codes);
    applyGrain(codes.R, codes.G, codes.B, p.width, p.height, q.grainAmount(), q.stock, q.args.time, frame.scaleX(),
               frame.scaleY(), q.args.scaleX, q.args.scaleY, frame.source.bounds.x1, frame.source.bounds.y1);
    convertPlanes(logc4DecodeRow, codes, p);
}

void encodePlanes(FramePlanes& p, IOSpace space) {
    parallelFor(0, static_cast<int>(p.size()), [&](int begin, int end) {
        const auto first = static_cast<size_t>(begin);
        encodeRowFromLinearAWG4(&p.R[first], &p.G[first], &p.B[first], static_cast<size_t>(end - begin), space);
    });
}

// The user's table, in the domain that it was made for. In the LogC4 domain the graded planes are blended at export.
ExportColor applyOutputLut(const FrameRequest& q, FramePlanes& p, FramePlanes& graded) {
    if (!q.outputLut) return {};
    if (q.outputLutInLogC4) {
        graded = makePlanes(p.width, p.height);
        convertPlanes(logc4EncodeRow, p, graded);
        applyCubeLut(graded.R, graded.G, graded.B, p.width, p.height, 1.0, *q.outputLut);
        return {false, &graded, q.outputLutStrength};
    }
    encodePlanes(p, q.ioSpace);
    applyCubeLut(p.R, p.G, p.B, p.width, p.height, q.outputLutStrength, *q.outputLut);
    return {true, nullptr, 0.0};
}

void applyEffects(const Frame& frame, FramePlanes& p) {
    const FrameRequest& q = frame.request;
    const int w = p.width;
    const int h = p.height;
    const double sx = frame.scaleX();
    const double sy = frame.scaleY();
    if (q.flicker > 0.0) applyFlicker(p.R, p.G, p.B, w, h, q.flicker, q.args.time);
    if (q.detail > 0.0) applyDetail(p.R, p.G, p.B, w, h, q.detail, q.profileStock(), sx, sy);
    if (q.bloom > 0.0) bloomFrame(frame, p);
    if (q.halation > 0.0) halateFrame(frame, p);
    if (!q.grainOff()) grainFrame(frame, p);
    if (!q.printOff()) applyPrintProcess(p.R, p.G, p.B, w, h, q.process, q.colorIntensity);
    if (q.gateWeave > 0.0) applyGateWeave(p.R, p.G, p.B, w, h, q.gateWeave, q.args.time, sx, sy, p.alphaPlane());
    if (q.blackWhite > 0.0) applyBlackAndWhite(p.R, p.G, p.B, w, h, q.blackWhite);
    if (q.sceneFit()) applySceneFit(p.R, p.G, p.B, w, h, q.colorIntensity);
}

OfxStatus renderOnCpu(const Frame& frame) {
    const OfxRectI area = frame.area();
    if (frame.passThrough()) {
        if (!isEmpty(area)) copyImage(frame.source, frame.output, frame.layout, area);
        return kOfxStatOK;
    }
    const FrameRequest& q = frame.request;
    FramePlanes planes = makePlanes(static_cast<int>(frame.source.width()), static_cast<int>(frame.source.height()));
    if (frame.layout.components == 4 && q.gateWeave > 0.0) planes.alpha.resize(planes.size());
    importImage(frame.source, frame.layout, q.ioSpace, planes);
    applyEffects(frame, planes);
    FramePlanes graded;
    const ExportColor color = applyOutputLut(q, planes, graded);
    if (!isEmpty(area)) exportImage(planes, frame.source, frame.output, frame.layout, q.ioSpace, color, area);
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
    p.detail = q.detail;
    p.grain = q.grainOff() ? 0.0 : q.grainAmount();
    p.stock = static_cast<int>(q.profileStock());
    p.halation = q.halation;
    p.bloom = q.bloom;
    p.flicker = q.flicker;
    p.color = q.printStrength();
    p.look = static_cast<int>(q.process);
    p.weave = q.gateWeave;
    p.bw = q.blackWhite;
    p.time = q.args.time;
    p.alexaSceneFit = q.sceneFit();
    if (q.outputLut) {
        p.outputLut = q.outputLut.get();
        p.outputLutStrength = q.outputLutStrength;
        p.outputLutDomain = q.outputLutInLogC4 ? 1 : 0;
    }
    return p;
}

// A frame that the host wants on the GPU is rendered there or not at all.
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
    const bool done = frame.passThrough()
                          ? gpu.passthrough(queue, source.data, output.data, static_cast<int>(source.width()),
                                            static_cast<int>(source.height()), frame.layout.components,
                                            source.rowBytes / 4, output.rowBytes / 4)
                          : gpu.render(queue, source.data, output.data, gpuParams(frame));
    return done ? kOfxStatOK : kOfxStatFailed;
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
    return gpu ? renderOnGpu(frame, *gpu, inArgs) : renderOnCpu(frame);
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
