// Flicker: gain_c(frame) = 1 + 0.08 amount (0.85 common + 0.15 own_c), scene-linear planes, a gain per frame and
// channel. Both parts are value noise, 0.7 of it slow (a lattice point every 48 frames) and 0.3 fast (every 9.6): the
// lamp drifts and trembles. Most of it moves all channels together; the small rest of their own tints it.
#include "process/flicker.h"

#include "process/frame_number.h"
#include "process/hash.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <cmath>
#include <cstdint>

namespace velloid {

namespace {

// House values.
constexpr double SLOW_PERIOD = 48.0; // frames between lattice points
constexpr double FAST_PERIOD = 9.6;
constexpr double SLOW_SHARE = 0.7;
constexpr double FAST_SHARE = 0.3;
constexpr double COMMON_SHARE = 0.85;
constexpr double OWN_SHARE = 0.15;
constexpr double DEPTH = 0.08; // largest change of exposure per unit of amount

constexpr std::uint32_t LATTICE_STEP = 0x9E3779B1u;
constexpr std::uint32_t COMMON_SLOW = 0xF11C0001u;
constexpr std::uint32_t COMMON_FAST = 0xF11C0002u;
constexpr std::uint32_t CHANNEL_STEP = 0x9E3779B9u;
constexpr std::uint32_t CHANNEL_BASE = 0xF11C0100u;
constexpr std::uint32_t CHANNEL_FAST = 0x5A5A5A5Au;

// Smooth noise in [-1, 1]: hashed values at whole t, smoothstep between them.
double valueNoise(double t, std::uint32_t salt) {
    const double cell = std::floor(t);
    const double f = t - cell;
    const double s = f * f * (3.0 - 2.0 * f);
    const std::uint32_t i = static_cast<std::uint32_t>(static_cast<int>(cell));
    const double here = signedUnit((i * LATTICE_STEP) ^ salt);
    const double next = signedUnit(((i + 1u) * LATTICE_STEP) ^ salt);
    return here + (next - here) * s;
}

double twoSpeedNoise(int frame, std::uint32_t slowSalt, std::uint32_t fastSalt) {
    return SLOW_SHARE * valueNoise(frame / SLOW_PERIOD, slowSalt) +
           FAST_SHARE * valueNoise(frame / FAST_PERIOD, fastSalt);
}

} // namespace

double flickerGain(int frame, double amount, int channel) {
    const std::uint32_t salt = static_cast<std::uint32_t>(channel) * CHANNEL_STEP + CHANNEL_BASE;
    const double common = twoSpeedNoise(frame, COMMON_SLOW, COMMON_FAST);
    const double own = twoSpeedNoise(frame, salt, salt ^ CHANNEL_FAST);
    return 1.0 + amount * DEPTH * (COMMON_SHARE * common + OWN_SHARE * own);
}

RowFunction flickerRows(double amount, double frame) {
    const int f = frameIndex(frame);
    const double gain[3] = {flickerGain(f, amount, 0), flickerGain(f, amount, 1), flickerGain(f, amount, 2)};
    return [=](float* r, float* g, float* b, std::size_t n) {
        const EffectRows& rows = rowKernels().effect;
        rows.scaleByGain(r, n, gain[0]);
        rows.scaleByGain(g, n, gain[1]);
        rows.scaleByGain(b, n, gain[2]);
    };
}

void applyFlicker(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                  double frame) {
    if (amount <= 0.0 || w < 1 || h < 1) return;
    const RowFunction scale = flickerRows(amount, frame);
    const std::size_t width = static_cast<std::size_t>(w);
    parallelFor(0, h, [&](int begin, int end) {
        const std::size_t at = static_cast<std::size_t>(begin) * width;
        scale(&R[at], &G[at], &B[at], static_cast<std::size_t>(end - begin) * width);
    });
}

} // namespace velloid
