#include "tests/reference/blur_reference.h"

#include "process/blur.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tarnwell::reference {

namespace {

std::size_t at(int w, int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
}

} // namespace

void blurSeparable(float* data, int w, int h, double sigmaX, double sigmaY) {
    if (!std::isfinite(sigmaX) || !std::isfinite(sigmaY) || w < 1 || h < 1 || (sigmaX <= 0.0 && sigmaY <= 0.0)) return;
    const std::vector<float> kx = velloid::gaussKernel(sigmaX);
    const std::vector<float> ky = velloid::gaussKernel(sigmaY);
    const int rx = static_cast<int>(kx.size() / 2);
    const int ry = static_cast<int>(ky.size() / 2);
    std::vector<float> tmp(at(w, 0, h));
    std::vector<double> acc(static_cast<std::size_t>(w));
    for (int y = 0; y < h; ++y) {
        std::fill(acc.begin(), acc.end(), 0.0);
        for (int t = -rx; t <= rx; ++t) {
            const double k = kx[static_cast<std::size_t>(t + rx)];
            for (int x = 0; x < w; ++x) {
                acc[static_cast<std::size_t>(x)] +=
                    k * static_cast<double>(data[at(w, std::clamp(x + t, 0, w - 1), y)]);
            }
        }
        for (int x = 0; x < w; ++x)
            tmp[at(w, x, y)] = static_cast<float>(acc[static_cast<std::size_t>(x)]);
    }
    for (int y = 0; y < h; ++y) {
        std::fill(acc.begin(), acc.end(), 0.0);
        for (int t = -ry; t <= ry; ++t) {
            const double k = ky[static_cast<std::size_t>(t + ry)];
            const int sy = std::clamp(y + t, 0, h - 1);
            for (int x = 0; x < w; ++x) {
                acc[static_cast<std::size_t>(x)] += k * static_cast<double>(tmp[at(w, x, sy)]);
            }
        }
        for (int x = 0; x < w; ++x)
            data[at(w, x, y)] = static_cast<float>(acc[static_cast<std::size_t>(x)]);
    }
}

void downsample2x(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int& dw, int& dh) {
    dw = (w + 1) / 2;
    dh = (h + 1) / 2;
    dst.assign(at(dw, 0, dh), 0.0f);
    for (int y = 0; y < dh; ++y) {
        for (int x = 0; x < dw; ++x) {
            const int x1 = std::min(2 * x + 1, w - 1);
            const int y1 = std::min(2 * y + 1, h - 1);
            dst[at(dw, x, y)] =
                (src[at(w, 2 * x, 2 * y)] + src[at(w, x1, 2 * y)] + src[at(w, 2 * x, y1)] + src[at(w, x1, y1)]) * 0.25f;
        }
    }
}

void upsampleBilinear(const std::vector<float>& src, int w, int h, std::vector<float>& dst, int W, int H) {
    dst.assign(at(W, 0, H), 0.0f);
    const double sx = static_cast<double>(w) / W;
    const double sy = static_cast<double>(h) / H;
    for (int Y = 0; Y < H; ++Y) {
        const double fy = (Y + 0.5) * sy - 0.5;
        int y0 = static_cast<int>(std::floor(fy));
        const double ty = fy - y0;
        const int y1 = std::min(h - 1, y0 + 1);
        y0 = std::max(0, y0);
        for (int X = 0; X < W; ++X) {
            const double fx = (X + 0.5) * sx - 0.5;
            int x0 = static_cast<int>(std::floor(fx));
            const double tx = fx - x0;
            const int x1 = std::min(w - 1, x0 + 1);
            x0 = std::max(0, x0);
            const double upper = src[at(w, x0, y0)] * (1 - tx) + src[at(w, x1, y0)] * tx;
            const double lower = src[at(w, x0, y1)] * (1 - tx) + src[at(w, x1, y1)] * tx;
            dst[at(W, X, Y)] = static_cast<float>(upper * (1 - ty) + lower * ty);
        }
    }
}

void blurPyramid(std::vector<float>& plane, int w, int h, double sigmaX, double sigmaY) {
    const double m = std::max(sigmaX, sigmaY);
    if (w < 32 || h < 32 || m <= 8.0 || !std::isfinite(m)) return blurSeparable(plane.data(), w, h, sigmaX, sigmaY);
    const double rsx = std::sqrt(std::max(sigmaX * sigmaX - 4.0 / 3.0, 0.0));
    const double rsy = std::sqrt(std::max(sigmaY * sigmaY - 4.0 / 3.0, 0.0));
    std::vector<std::pair<int, int>> sizes{{w, h}};
    std::vector<float> level;
    int cw = 0;
    int ch = 0;
    blurSeparable(plane.data(), w, h, 1.0, 1.0);
    downsample2x(plane, w, h, level, cw, ch);
    double f = 2.0;
    while (ch >= 32 && cw >= 32 && std::max(rsx, rsy) / f > 8.0) {
        std::vector<float> next;
        blurSeparable(level.data(), cw, ch, 1.0, 1.0);
        sizes.emplace_back(cw, ch);
        downsample2x(std::vector<float>(level), cw, ch, next, cw, ch);
        level = std::move(next);
        f *= 2.0;
    }
    blurSeparable(level.data(), cw, ch, rsx / f, rsy / f);
    for (; !sizes.empty(); sizes.pop_back()) {
        std::vector<float> up;
        upsampleBilinear(level, cw, ch, up, sizes.back().first, sizes.back().second);
        cw = sizes.back().first;
        ch = sizes.back().second;
        level = std::move(up);
    }
    plane = std::move(level);
}

} // namespace tarnwell::reference
