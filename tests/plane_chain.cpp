#include "tests/plane_chain.h"

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/lut3d.h"
#include "color/scene_fit.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"
#include "rows/kernels.h"

#include <algorithm>

namespace velloid::test {

namespace {

using Plane = std::vector<float>;

// The frame between two effects.
struct Planes {
    int width;
    int height;
    Plane R;
    Plane G;
    Plane B;
    Plane alpha; // only for a warped RGBA frame

    std::size_t size() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

RowFormat formatOf(const MetalFrameParams& p) {
    return {RowSample::Float, p.components, p.components == 4 && p.premultiplied};
}

// Code values of the whole frame, as they travel between pixels and planes.
struct Codes {
    explicit Codes(std::size_t n) : r(n), g(n), b(n) {}
    std::vector<double> r;
    std::vector<double> g;
    std::vector<double> b;
};

Planes imported(const std::vector<float>& source, const MetalFrameParams& p) {
    Planes f{p.width, p.height, {}, {}, {}, {}};
    for (Plane* plane : {&f.R, &f.G, &f.B})
        plane->resize(f.size());
    if (p.components == 4 && p.weave > 0.0) f.alpha.resize(f.size());
    Codes codes(f.size());
    rowKernels().pixel.importPixels(formatOf(p), source.data(), f.size(), codes.r.data(), codes.g.data(),
                                    codes.b.data(), f.alpha.empty() ? nullptr : f.alpha.data());
    decodeRowToLinearAWG4(codes.r.data(), codes.g.data(), codes.b.data(), f.R.data(), f.G.data(), f.B.data(), f.size(),
                          static_cast<IOSpace>(p.io));
    return f;
}

void toLogC4(Planes& f) {
    for (Plane* plane : {&f.R, &f.G, &f.B})
        logc4EncodeRow(plane->data(), plane->data(), f.size());
}

void grain(Planes& f, const MetalFrameParams& p) {
    toLogC4(f);
    applyGrain(f.R, f.G, f.B, f.width, f.height, p.grain, static_cast<NegativeStock>(p.stock), p.time, p.effectScaleX,
               p.effectScaleY, p.grainScaleX, p.grainScaleY, p.originX, p.originY);
    for (Plane* plane : {&f.R, &f.G, &f.B})
        logc4DecodeRow(plane->data(), plane->data(), f.size());
}

void effects(Planes& f, const MetalFrameParams& p) {
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
    applyGateWeave(f.R, f.G, f.B, w, h, p.weave, p.time, sx, sy, f.alpha.empty() ? nullptr : &f.alpha);
    applyBlackAndWhite(f.R, f.G, f.B, w, h, p.bw);
    if (p.alexaSceneFit) applySceneFit(f.R, f.G, f.B, w, h, p.color);
}

// Codes of the output, under the user's table.
Codes encoded(Planes& f, const MetalFrameParams& p) {
    const auto space = static_cast<IOSpace>(p.io);
    Codes codes(f.size());
    if (p.outputLut && p.outputLutDomain != 1) {
        encodeRowFromLinearAWG4(f.R.data(), f.G.data(), f.B.data(), f.size(), space);
        applyCubeLut(f.R, f.G, f.B, f.width, f.height, p.outputLutStrength, *p.outputLut);
        std::copy(f.R.begin(), f.R.end(), codes.r.begin());
        std::copy(f.G.begin(), f.G.end(), codes.g.begin());
        std::copy(f.B.begin(), f.B.end(), codes.b.begin());
        return codes;
    }
    encodeRowFromLinearAWG4(f.R.data(), f.G.data(), f.B.data(), codes.r.data(), codes.g.data(), codes.b.data(),
                            f.size(), space);
    if (!p.outputLut) return codes;
    toLogC4(f);
    applyCubeLut(f.R, f.G, f.B, f.width, f.height, 1.0, *p.outputLut);
    for (std::size_t i = 0; i < f.size(); ++i) {
        codes.r[i] += (f.R[i] - codes.r[i]) * p.outputLutStrength;
        codes.g[i] += (f.G[i] - codes.g[i]) * p.outputLutStrength;
        codes.b[i] += (f.B[i] - codes.b[i]) * p.outputLutStrength;
    }
    return codes;
}

} // namespace

std::vector<float> renderPlanes(const std::vector<float>& source, const MetalFrameParams& p) {
    Planes planes = imported(source, p);
    effects(planes, p);
    const Codes codes = encoded(planes, p);
    std::vector<float> result(source.size());
    rowKernels().pixel.exportPixels(formatOf(p), codes.r.data(), codes.g.data(), codes.b.data(),
                                    planes.alpha.empty() ? nullptr : planes.alpha.data(), source.data(), planes.size(),
                                    result.data());
    return result;
}

} // namespace velloid::test
