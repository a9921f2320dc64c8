#include "tests/reference/grain_reference.h"

#include "process/frame_number.h"
#include "process/grain_profiles.h"
#include "process/hash.h"
#include "tests/reference/blur_reference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace tarnwell::reference {

double grainAmplitude(double v, const double* T) {
    const double* N = velloid::GRAIN_NODE_Y;
    if (std::isnan(v) || v < 0.0) return T[0];
    if (std::isinf(v)) return T[10];
    v = std::min(v, 1.0);
    if (v <= N[0]) return T[0];
    if (v >= N[10]) return T[10];
    int i = 0;
    while (v > N[i + 1])
        ++i;
    return T[i] + (T[i + 1] - T[i]) * (v - N[i]) / (N[i + 1] - N[i]);
}

double grainDeviate(unsigned seed, int gx, int gy, int f, int c) {
    const std::uint32_t h = seed ^ (static_cast<std::uint32_t>(gx) * 0x9E3779B1u) ^
                            (static_cast<std::uint32_t>(gy) * 0x85EBCA77u) ^
                            (static_cast<std::uint32_t>(f) * 0x27D4EB2Fu);
    const std::uint32_t h1 = velloid::hash32(h ^ (static_cast<std::uint32_t>(c) * 0xC2B2AE3Du));
    const std::uint32_t h2 = velloid::hash32(h1 ^ 0x6A09E667u);
    const double u1 = ((h1 & 0xFFFFFFu) + 0.5) / 16777216.0;
    const double u2 = (h2 & 0xFFFFFFu) / 16777216.0;
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(6.283185307179586 * u2) * 0.5773502691896258;
}

namespace {

double cellSize(double value) {
    return std::isfinite(value) && value > 0.0 ? value : 1.0;
}

float sum(float own, double n, double weightA, double otherA, double weightB, double otherB) {
    const double v = own;
    return static_cast<float>(std::min(v + n + weightA * otherA + weightB * otherB, std::max(1.0, v)));
}

} // namespace

void grainNoise(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B, int w, int h,
                double amount, velloid::NegativeStock stock, double frame, double cellX, double cellY, int originX,
                int originY, std::vector<float>& nR, std::vector<float>& nG, std::vector<float>& nB) {
    const velloid::GrainProfile p = velloid::grainProfile(stock);
    const int f = velloid::frameIndex(frame);
    for (int y = 0; y < h; ++y) {
        const int gy = velloid::saturateToInt(std::floor((static_cast<double>(y) + originY) / cellSize(cellY)));
        for (int x = 0; x < w; ++x) {
            const int gx = velloid::saturateToInt(std::floor((static_cast<double>(x) + originX) / cellSize(cellX)));
            const std::size_t at =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
            const int green = p.grainMono ? 0 : 1;
            const int blue = p.grainMono ? 0 : 2;
            nR[at] =
                static_cast<float>(amount * grainAmplitude(R[at], p.tableR) * grainDeviate(p.grainSeed, gx, gy, f, 0));
            nG[at] = static_cast<float>(amount * grainAmplitude(G[at], p.tableG) *
                                        grainDeviate(p.grainSeed, gx, gy, f, green));
            nB[at] = static_cast<float>(amount * grainAmplitude(B[at], p.tableB) *
                                        grainDeviate(p.grainSeed, gx, gy, f, blue));
        }
    }
}

void applyGrain(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                velloid::NegativeStock stock, double frame, double blurScaleX, double blurScaleY, double cellX,
                double cellY, int originX, int originY) {
    if (amount <= 0.0 || stock == velloid::NegativeStock::Off) return;
    const velloid::GrainProfile p = velloid::grainProfile(stock);
    std::vector<float> nR(R.size()), nG(R.size()), nB(R.size());
    grainNoise(R, G, B, w, h, amount, stock, frame, cellX, cellY, originX, originY, nR, nG, nB);
    blurSeparable(nR.data(), w, h, p.sizeR * blurScaleX, p.sizeR * blurScaleY);
    blurSeparable(nG.data(), w, h, p.sizeG * blurScaleX, p.sizeG * blurScaleY);
    blurSeparable(nB.data(), w, h, p.sizeB * blurScaleX, p.sizeB * blurScaleY);
    for (std::size_t i = 0; i < R.size(); ++i) {
        const double r = nR[i];
        const double g = nG[i];
        const double b = nB[i];
        R[i] = sum(R[i], r, p.corrRG, g, p.corrBR, b);
        G[i] = sum(G[i], g, p.corrRG, r, p.corrGB, b);
        B[i] = sum(B[i], b, p.corrGB, g, p.corrBR, r);
    }
}

} // namespace tarnwell::reference
