#include "tests/metal/cpu_chain.h"

#include "color/looks.h"
#include "color/scene_fit.h"
#include "plugin/pixel_io.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"

#include <algorithm>

namespace velloid::gpu {

namespace {

ImageFacts factsOf(const float* pixels, const MetalFrameParams& p) {
    ImageFacts facts;
    facts.data = const_cast<float*>(pixels);
    facts.rowBytes = p.width * p.components * 4;
    facts.bounds = {0, 0, p.width, p.height};
    return facts;
}

void grain(FramePlanes& f, const MetalFrameParams& p) {
    for (Plane* plane : {&f.R, &f.G, &f.B})
        logc4EncodeRow(plane->data(), plane->data(), f.size());
    applyGrain(f.R, f.G, f.B, f.width, f.height, p.grain, static_cast<NegativeStock>(p.stock), p.time, p.effectScaleX,
               p.effectScaleY, p.grainScaleX, p.grainScaleY, p.originX, p.originY);
    for (Plane* plane : {&f.R, &f.G, &f.B})
        logc4DecodeRow(plane->data(), plane->data(), f.size());
}

void effects(FramePlanes& f, const MetalFrameParams& p) {
    const int w = f.width;
    const int h = f.height;
    const double sx = p.effectScaleX;
    const double sy = p.effectScaleY;
    const auto stock = static_cast<NegativeStock>(p.stock);
    const double bloomSize = std::max(6.0 * sy, 0.024 * h);
    const double haloSize = std::max(4.0 * sy, 0.004 * h);
    applyFlicker(f.R, f.G, f.B, w, h, p.flicker, p.time);
    applyDetail(f.R, f.G, f.B, w, h, p.detail, stock, sx, sy);
    applyBloom(f.R, f.G, f.B, w, h, p.bloom, sx * bloomSize / sy, bloomSize);
    applyHalation(f.R, f.G, f.B, w, h, p.halation * p.halation, sx * haloSize / sy, haloSize, stock);
    if (p.grain > 0.0) grain(f, p);
    applyPrintProcess(f.R, f.G, f.B, w, h, static_cast<PrintProcess>(p.look), p.color);
    applyGateWeave(f.R, f.G, f.B, w, h, p.weave, p.time, sx, sy, f.alphaPlane());
    applyBlackAndWhite(f.R, f.G, f.B, w, h, p.bw);
    if (p.alexaSceneFit) applySceneFit(f.R, f.G, f.B, w, h, p.color);
}

// Leaves either encoded planes or codes to blend in, as the export takes them.
ExportColor outputLut(FramePlanes& f, FramePlanes& graded, const MetalFrameParams& p) {
    if (!p.outputLut) return {};
    const auto space = static_cast<IOSpace>(p.io);
    if (p.outputLutDomain == 1) {
        graded = f;
        for (Plane* plane : {&graded.R, &graded.G, &graded.B})
            logc4EncodeRow(plane->data(), plane->data(), f.size());
        applyCubeLut(graded.R, graded.G, graded.B, f.width, f.height, 1.0, *p.outputLut);
        return {false, &graded, p.outputLutStrength};
    }
    encodeRowFromLinearAWG4(f.R.data(), f.G.data(), f.B.data(), f.size(), space);
    applyCubeLut(f.R, f.G, f.B, f.width, f.height, p.outputLutStrength, *p.outputLut);
    return {true, nullptr, 0.0};
}

} // namespace

std::vector<float> renderOnCpuChain(const std::vector<float>& source, const MetalFrameParams& p) {
    std::vector<float> result(source.size());
    const ImageFacts from = factsOf(source.data(), p);
    const ImageFacts to = factsOf(result.data(), p);
    const PixelLayout layout{SampleType::Float, p.components, p.components == 4 && p.premultiplied};
    const auto space = static_cast<IOSpace>(p.io);
    FramePlanes planes{p.width, p.height, {}, {}, {}, {}};
    for (Plane* plane : {&planes.R, &planes.G, &planes.B})
        plane->resize(planes.size());
    if (p.components == 4 && p.weave > 0.0) planes.alpha.resize(planes.size());
    importImage(from, layout, space, planes);
    effects(planes, p);
    FramePlanes graded;
    const ExportColor color = outputLut(planes, graded, p);
    exportImage(planes, from, to, layout, space, color, from.bounds);
    return result;
}

} // namespace velloid::gpu
