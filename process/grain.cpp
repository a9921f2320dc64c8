// Film grain: the developed image is a crowd of dye clouds (or silver grains), a random field new on every frame.
//   n_c = amount * sigma_c(code) * deviate(seed, cell, frame, c), blurred to the stock's clump size
//   R += n_R + corrRG n_G + corrBR n_B, G and B alike, but not above max(1, R)
// Planes of log codes (LogC4, in which the density nodes of sigma are given). Amounts per stock: grain_profiles.cpp.
// The field is computed, not stored: a hash of stock, cell and frame gives each pixel's deviate, so that a frame, or a
// tile of it, renders with the same grain every time.
#include "process/grain.h"

#include "process/frame_number.h"
#include "process/frame_planes.h"
#include "process/grain_profiles.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace velloid {

namespace {

constexpr std::uint32_t HASH_COLUMN = 0x9E3779B1u;
constexpr std::uint32_t HASH_ROW = 0x85EBCA77u;
constexpr std::uint32_t HASH_FRAME = 0x27D4EB2Fu;
constexpr std::uint32_t HASH_CHANNEL = 0xC2B2AE3Du;

// Pixels per step of a noise row: three rows of deviates then stay in the first-level cache.
constexpr int STEP = 256;

std::uint32_t cellIndex(int pixel, int origin, double cell) {
    const double position = static_cast<double>(pixel) + origin;
    return static_cast<std::uint32_t>(saturateToInt(std::floor(position / cell)));
}

// The largest float that is not above `node`.
float floatNotAbove(double node) {
    const float nearest = static_cast<float>(node);
    return nearest > node ? std::nextafter(nearest, -HUGE_VALF) : nearest;
}

// A stock's table as segments, with the amount multiplied in.
GrainCurve grainCurve(const double* table, double amount) {
    constexpr int LAST = GRAIN_NODE_COUNT - 1;
    static_assert(GrainCurve::EDGES == GRAIN_NODE_COUNT);
    GrainCurve curve;
    for (int i = 0; i <= LAST; ++i)
        curve.edge[i] = floatNotAbove(GRAIN_NODE_Y[i]);
    curve.segment[0] = {0.0, amount * table[0]};
    for (int i = 0; i < LAST; ++i) {
        const double slope = (table[i + 1] - table[i]) / (GRAIN_NODE_Y[i + 1] - GRAIN_NODE_Y[i]);
        curve.segment[i + 1] = {amount * slope, amount * (table[i] - slope * GRAIN_NODE_Y[i])};
    }
    curve.segment[LAST + 1] = {0.0, amount * table[LAST]};
    return curve;
}

// What every row of one frame's noise has in common.
struct NoiseField {
    std::vector<std::uint32_t> columnKey;
    std::uint32_t frameKey;
    double cellY;
    int originY;
    GrainCurve curve[3];
    bool mono;
};

NoiseField noiseField(const GrainProfile& profile, int width, double amount, int frame, double cellX, double cellY,
                      int originX, int originY) {
    NoiseField field;
    field.columnKey.resize(static_cast<std::size_t>(width));
    for (int x = 0; x < width; ++x) {
        field.columnKey[static_cast<std::size_t>(x)] = cellIndex(x, originX, positiveOrOne(cellX)) * HASH_COLUMN;
    }
    field.cellY = positiveOrOne(cellY);
    field.originY = originY;
    field.frameKey = profile.grainSeed ^ (static_cast<std::uint32_t>(frame) * HASH_FRAME);
    field.curve[0] = grainCurve(profile.tableR, amount);
    field.curve[1] = grainCurve(profile.tableG, amount);
    field.curve[2] = grainCurve(profile.tableB, amount);
    field.mono = profile.grainMono;
    return field;
}

// Noise of `count` pixels from (left, y) on from the three rows of codes.
void noiseRow(const NoiseField& field, int left, int y, const float* const code[3], float* const noise[3], int count) {
    const GrainRows& rows = rowKernels().grain;
    const std::uint32_t rowKey = field.frameKey ^ (cellIndex(y, field.originY, field.cellY) * HASH_ROW);
    double deviate[STEP];
    for (int x = 0; x < count; x += STEP) {
        const std::size_t n = static_cast<std::size_t>(std::min(STEP, count - x));
        for (std::uint32_t c = 0; c < 3; ++c) {
            // Silver grain is one pattern: all channels share the first one's deviates.
            if (c == 0 || !field.mono)
                rows.deviates(field.columnKey.data() + left + x, rowKey ^ (c * HASH_CHANNEL), deviate, n);
            rows.amplify(code[c] + x, deviate, field.curve[c], noise[c] + x, n);
        }
    }
}

// Adds the blurred noise to a row of codes.
void combineRow(const GrainProfile& p, float* const code[3], const float* r, const float* g, const float* b,
                std::size_t n) {
    const GrainRows& rows = rowKernels().grain;
    rows.combine(code[0], r, g, p.corrRG, b, p.corrBR, n);
    rows.combine(code[1], g, r, p.corrRG, b, p.corrGB, n);
    rows.combine(code[2], b, g, p.corrGB, r, p.corrBR, n);
}

class GrainStage : public BlurringStage {
public:
    GrainStage(int w, int h, const GrainProfile& profile, NoiseField noiseOfFrame, double blurScaleX, double blurScaleY)
        : p(profile), field(std::move(noiseOfFrame)) {
        const double size[3] = {p.sizeR, p.sizeG, p.sizeB};
        for (int c = 0; c < 3; ++c)
            taps[c].emplace_back(w, h, size[c] * blurScaleX, size[c] * blurScaleY);
    }

    void enter(int x, int y, std::size_t n, float* const row[3], float* const room[3],
               const float* toBlur[3]) const override {
        for (int c = 0; c < 3; ++c)
            toBlur[c] = room[c];
        noiseRow(field, x, y, row, room, static_cast<int>(n));
    }

    void leave(std::size_t n, float* const row[3], const float* const blurred[3][MAX_BLURS]) const override {
        combineRow(p, row, blurred[0][0], blurred[1][0], blurred[2][0], n);
    }

private:
    GrainProfile p;
    NoiseField field;
};

} // namespace

std::unique_ptr<BlurringStage> grainStage(int w, int h, double amount, NegativeStock stock, double frame,
                                          double blurScaleX, double blurScaleY, double cellX, double cellY, int originX,
                                          int originY) {
    const GrainProfile p = grainProfile(stock);
    return std::make_unique<GrainStage>(
        w, h, p, noiseField(p, w, amount, frameIndex(frame), cellX, cellY, originX, originY), blurScaleX, blurScaleY);
}

void grainNoise(const float* const codes[3], float* const noise[3], int w, int h, double amount, NegativeStock stock,
                double frame, double cellX, double cellY, int originX, int originY) {
    const NoiseField field =
        noiseField(grainProfile(stock), w, amount, frameIndex(frame), cellX, cellY, originX, originY);
    parallelFor(0, h, [&](int begin, int end) {
        for (int y = begin; y < end; ++y) {
            const std::size_t at = samplesOf(w, y);
            const float* const codeRow[3] = {codes[0] + at, codes[1] + at, codes[2] + at};
            float* const row[3] = {noise[0] + at, noise[1] + at, noise[2] + at};
            noiseRow(field, 0, y, codeRow, row, w);
        }
    });
}

void applyGrain(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                NegativeStock stock, double frame, double blurScaleX, double blurScaleY, double cellX, double cellY,
                int originX, int originY) {
    if (amount <= 0.0 || stock == NegativeStock::Off || w < 1 || h < 1) return;
    RowChain chain = chainOf(R, G, B, w, h);
    chain.add("grain", grainStage(w, h, amount, stock, frame, blurScaleX, blurScaleY, cellX, cellY, originX, originY));
    replacePlanes(R, G, B, w, h, chain);
}

} // namespace velloid
