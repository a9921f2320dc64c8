#include "tests/reference/chain_reference.h"

#include "color/matrix_tables.h"
#include "process/detail_profiles.h"
#include "process/halation_profiles.h"
#include "tests/reference/effect_reference.h"
#include "tests/reference/grain_reference.h"
#include "tests/reference/looks_reference.h"
#include "tests/reference/lut_reference.h"
#include "tests/reference/temporal_reference.h"
#include "tests/reference/transfer_reference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarnwell::reference {

namespace {

using velloid::NegativeStock;
using velloid::PrintProcess;

const double* toWorkingSpace(int space) {
    if (space == 2 || space == 3) return velloid::CS_MAT_AWG3_TO_AWG4;
    return space >= 4 ? velloid::CS_MAT_TO_AWG4[space - 4] : nullptr;
}

const double* fromWorkingSpace(int space) {
    if (space == 2 || space == 3) return velloid::CS_MAT_AWG4_TO_AWG3;
    return space >= 4 ? velloid::CS_MAT_FROM_AWG4[space - 4] : nullptr;
}

ChainPlanes split(const std::vector<float>& pixels, std::size_t n) {
    ChainPlanes p{std::vector<float>(n), std::vector<float>(n), std::vector<float>(n), std::vector<float>(n)};
    for (std::size_t i = 0; i < n; ++i) {
        p.R[i] = pixels[4 * i];
        p.G[i] = pixels[4 * i + 1];
        p.B[i] = pixels[4 * i + 2];
        p.A[i] = std::clamp(pixels[4 * i + 3], 0.0f, 1.0f);
    }
    return p;
}

double grainScale(PrintProcess process, double color) {
    if (color <= 0.0) return 1.0;
    if (process == PrintProcess{11}) return 1.0 + 0.2 * color;
    return process == PrintProcess{12} ? 1.0 - 0.15 * color : 1.0;
}

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

// Encodes pixel i in double, blends the graded codes over it and stores the floats.
void exportPixel(const ChainPlanes& p, const ChainPlanes& graded, std::size_t i, const ChainSettings& s, float* out) {
    const double linear[3] = {finiteOr0(p.R[i]), finiteOr0(p.G[i]), finiteOr0(p.B[i])};
    const double* m = fromWorkingSpace(s.ioSpace);
    const std::vector<float>* lut[3] = {&graded.R, &graded.G, &graded.B};
    for (int c = 0; c < 3; ++c) {
        double native = linear[c];
        if (m) native = std::fma(m[3 * c + 2], linear[2], std::fma(m[3 * c], linear[0], m[3 * c + 1] * linear[1]));
        double code = finiteOr0(transferEncode(native, s.ioSpace));
        if (!lut[c]->empty()) code += ((*lut[c])[i] - code) * s.outputLutStrength;
        out[c] = static_cast<float>(code);
    }
}

} // namespace

ChainPlanes importPixels(const std::vector<float>& pixels, std::size_t n, int ioSpace) {
    ChainPlanes p = split(pixels, n);
    decodeRow(p.R.data(), p.G.data(), p.B.data(), n, ioSpace, toWorkingSpace(ioSpace));
    return p;
}

void exportPixels(const ChainPlanes& planes, const ChainPlanes& graded, const ChainSettings& s,
                  std::vector<float>& pixels) {
    for (std::size_t i = 0; i < planes.R.size(); ++i)
        exportPixel(planes, graded, i, s, &pixels[4 * i]);
}

void renderChain(std::vector<float>& pixels, int w, int h, const ChainSettings& s) {
    const std::size_t n = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    const double sx = s.scaleX / s.pixelAspect;
    const double sy = s.scaleY;
    const bool printOff = s.color <= 0.0 || s.process == PrintProcess{15};
    const NegativeStock profile = s.stock == NegativeStock::Off ? NegativeStock::Vision500T : s.stock;
    ChainPlanes p = importPixels(pixels, n, s.ioSpace);
    if (s.flicker > 0.0) applyFlicker(p.R, p.G, p.B, w, h, s.flicker, s.time);
    if (s.detail > 0.0) applyDetail(p.R, p.G, p.B, w, h, s.detail, velloid::detailProfile(profile), sx, sy);
    if (s.bloom > 0.0) {
        const double m = std::max(6.0 * sy, 0.024 * h);
        applyBloom(p.R, p.G, p.B, w, h, s.bloom, sx * m / sy, m);
    }
    if (s.halation > 0.0) {
        const double m = std::max(4.0 * sy, 0.004 * h);
        applyHalation(p.R, p.G, p.B, w, h, s.halation * s.halation, sx * m / sy, m, velloid::halationProfile(profile));
    }
    if (s.grain > 0.0 && s.stock != NegativeStock::Off) {
        for (auto* plane : {&p.R, &p.G, &p.B})
            logc4EncodeRow(plane->data(), plane->data(), n);
        applyGrain(p.R, p.G, p.B, w, h, s.grain * grainScale(s.process, printOff ? 0.0 : s.color), s.stock, s.time, sx,
                   sy, s.scaleX, s.scaleY, s.originX, s.originY);
        for (auto* plane : {&p.R, &p.G, &p.B})
            logc4DecodeRow(plane->data(), plane->data(), n);
    }
    if (!printOff) reference::applyPrintLut(p.R, p.G, p.B, w, h, s.color, velloid::printLut(s.process));
    if (s.weave > 0.0) applyGateWeave(p.R, p.G, p.B, w, h, s.weave, s.time, sx, sy, &p.A);
    if (s.blackWhite > 0.0) applyBlackAndWhite(p.R, p.G, p.B, s.blackWhite);
    if (s.color > 0.0 && s.process == PrintProcess{5}) sceneFitRow(p.R.data(), p.G.data(), p.B.data(), n, s.color);
    ChainPlanes graded;
    if (s.outputLut && s.outputLutInLogC4) {
        graded = p;
        for (auto* plane : {&graded.R, &graded.G, &graded.B})
            logc4EncodeRow(plane->data(), plane->data(), n);
        reference::applyCubeLut(graded.R, graded.G, graded.B, w, h, 1.0, *s.outputLut);
    }
    if (s.outputLut && !s.outputLutInLogC4) {
        encodeRow(p.R.data(), p.G.data(), p.B.data(), n, s.ioSpace, fromWorkingSpace(s.ioSpace));
        reference::applyCubeLut(p.R, p.G, p.B, w, h, s.outputLutStrength, *s.outputLut);
    }
    const bool encoded = s.outputLut && !s.outputLutInLogC4;
    if (!encoded) exportPixels(p, graded, s, pixels);
    for (std::size_t i = 0; i < n; ++i) {
        if (encoded) {
            pixels[4 * i] = p.R[i];
            pixels[4 * i + 1] = p.G[i];
            pixels[4 * i + 2] = p.B[i];
        }
        if (s.weave > 0.0) pixels[4 * i + 3] = p.A[i];
    }
}

} // namespace tarnwell::reference
