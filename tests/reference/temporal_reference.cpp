#include "tests/reference/temporal_reference.h"

#include "process/frame_number.h"
#include "process/hash.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace velloid::reference {

namespace {

constexpr double PI = 3.141592653589793;

double unit(std::uint32_t x) {
    return (hash32(x) & 0xFFFFFFu) / 8388607.5 - 1.0;
}

double noise(double t, std::uint32_t salt) {
    const int i = static_cast<int>(std::floor(t));
    const double f = t - i;
    const double s = f * f * (3.0 - 2.0 * f);
    const std::uint32_t k = static_cast<std::uint32_t>(i);
    return unit((k * 0x9E3779B1u) ^ salt) +
           (unit(((k + 1u) * 0x9E3779B1u) ^ salt) - unit((k * 0x9E3779B1u) ^ salt)) * s;
}

double positiveOrOne(double v) {
    return std::isfinite(v) && v > 0.0 ? v : 1.0;
}

} // namespace

double flickerGain(int frame, double amount, int channel) {
    const double slow = frame / 48.0;
    const double fast = frame / 9.6;
    const double common = 0.7 * noise(slow, 0xF11C0001u) + 0.3 * noise(fast, 0xF11C0002u);
    const std::uint32_t cs = static_cast<std::uint32_t>(channel) * 0x9E3779B9u + 0xF11C0100u;
    const double chan = 0.7 * noise(slow, cs) + 0.3 * noise(fast, cs ^ 0x5A5A5A5Au);
    return 1.0 + amount * 0.08 * (0.85 * common + 0.15 * chan);
}

void applyFlicker(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                  double frame) {
    if (amount <= 0.0) return;
    const int f = frameIndex(frame);
    const std::size_t n = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    for (std::size_t i = 0; i < n; ++i) {
        R[i] = static_cast<float>(R[i] * flickerGain(f, amount, 0));
        G[i] = static_cast<float>(G[i] * flickerGain(f, amount, 1));
        B[i] = static_cast<float>(B[i] * flickerGain(f, amount, 2));
    }
}

double lanczos3(double d) {
    d = std::fabs(d);
    if (d >= 3.0) return 0.0;
    if (d < 1e-7) return 1.0;
    return std::sin(PI * d) / (PI * d) * (std::sin(PI * d / 3.0) / (PI * d / 3.0));
}

void warpLanczosRGB(const float* srcR, const float* srcG, const float* srcB, std::vector<float>& R,
                    std::vector<float>& G, std::vector<float>& B, int w, int h, double dx, double dy, double angle,
                    double scaleX, double scaleY, const float* srcAlpha, std::vector<float>* alpha) {
    const double cx0 = (w - 1) * 0.5;
    const double cy0 = (h - 1) * 0.5;
    const double c = std::cos(angle);
    const double sn = std::sin(angle);
    const double sinX = sn * scaleX / scaleY;
    const double sinY = sn * scaleY / scaleX;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double tx = x - cx0 - dx;
            const double ty = y - cy0 - dy;
            const double sx = cx0 + c * tx + sinX * ty;
            const double sy = cy0 - sinY * tx + c * ty;
            const std::int64_t ix = saturateToInt(std::floor(sx));
            const std::int64_t iy = saturateToInt(std::floor(sy));
            double kx[6], ky[6];
            for (int t = 0; t < 6; ++t) {
                kx[t] = lanczos3(sx - static_cast<double>(ix - 2 + t));
                ky[t] = lanczos3(sy - static_cast<double>(iy - 2 + t));
            }
            double r = 0.0, g = 0.0, b = 0.0, a = 0.0, wsum = 0.0;
            for (std::int64_t yy = iy - 2; yy <= iy + 3; ++yy) {
                for (std::int64_t xx = ix - 2; xx <= ix + 3; ++xx) {
                    const double k = kx[xx - ix + 2] * ky[yy - iy + 2];
                    const std::int64_t px = std::clamp<std::int64_t>(xx, 0, w - 1);
                    const std::int64_t py = std::clamp<std::int64_t>(yy, 0, h - 1);
                    const std::size_t i = static_cast<std::size_t>(py * w + px);
                    r += k * srcR[i];
                    g += k * srcG[i];
                    b += k * srcB[i];
                    if (srcAlpha) a += k * srcAlpha[i];
                    wsum += k;
                }
            }
            const std::size_t i =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
            R[i] = wsum == 0.0 ? srcR[i] : static_cast<float>(r / wsum);
            G[i] = wsum == 0.0 ? srcG[i] : static_cast<float>(g / wsum);
            B[i] = wsum == 0.0 ? srcB[i] : static_cast<float>(b / wsum);
            if (!srcAlpha || !alpha) continue;
            const double v = wsum == 0.0 ? srcAlpha[i] : a / wsum;
            (*alpha)[i] = static_cast<float>(std::isfinite(v) ? std::clamp(v, 0.0, 1.0) : v > 0.0 ? 1.0 : 0.0);
        }
    }
}

void applyGateWeave(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                    double frame, double scaleX, double scaleY, std::vector<float>* alpha) {
    if (!(w > 1 && h > 1 && amount > 0.0)) return;
    scaleX = positiveOrOne(scaleX);
    scaleY = positiveOrOne(scaleY);
    const int f = frameIndex(frame);
    const double s1 = std::sin(0.173 * f + 0.4);
    const double s2 = std::sin(0.047 * f + 2.1);
    const double s3 = std::sin(0.131 * f + 1.6);
    const double s4 = std::sin(0.061 * f + 0.3);
    const double s5 = std::sin(0.089 * f + 0.9);
    const double s6 = std::sin(0.031 * f + 2.7);
    const std::uint32_t k =
        (static_cast<std::uint32_t>(f) * 0x9E3779B1u) ^ (static_cast<std::uint32_t>(f) * 0x27D4EB2Fu);
    const double jx = unit(k ^ 0xE4096D02u);
    const double jy = unit(k ^ 0xE9BD9D4Bu);
    const double jr = unit(k ^ 0xFB3EA269u);
    const double dx = amount * 1.15 * scaleX * (0.62 * s1 + 0.28 * s2 + 0.1 * jx);
    const double dy = amount * 1.15 * scaleY * (0.52 * s3 + 0.22 * s4 + 0.08 * jy);
    const double angle = amount * (0.00055 * (0.65 * s5 + 0.25 * s6) + 0.00008 * jr);
    const std::vector<float> r = R, g = G, b = B;
    const bool withAlpha = alpha && alpha->size() >= r.size();
    const std::vector<float> a = withAlpha ? *alpha : std::vector<float>();
    warpLanczosRGB(r.data(), g.data(), b.data(), R, G, B, w, h, dx, dy, angle, scaleX, scaleY,
                   withAlpha ? a.data() : nullptr, withAlpha ? alpha : nullptr);
}

} // namespace velloid::reference
