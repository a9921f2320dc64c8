#include "bench/content.h"

#include "color/colorspace.h"
#include "process/hash.h"
#include "process/parallel_pool.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarnwell::bench {

namespace {

constexpr double NOISE = 0.004; // of code, to either side
constexpr std::uint32_t SEED = 0x5EED0006u;

double noiseAt(std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return NOISE * velloid::signedUnit((x * 0x9E3779B1u) ^ (y * 0x85EBCA77u) ^ (c * 0xC2B2AE3Du) ^ SEED);
}

// Light around a lamp: 1 within `radius`, then falling off over a few radii.
double lampAt(double dx, double dy, double radius) {
    const double beyond = std::sqrt(dx * dx + dy * dy) / radius - 1.0;
    return beyond <= 0.0 ? 1.0 : std::exp(-0.9 * beyond);
}

// Code of one channel; u and v run over the frame's width and height, v upwards, in units of the frame height.
double streetAt(double u, double v, int c) {
    const double tint = 0.03 * (c - 1); // blue above, and a little everywhere
    double code = 0.50 + 0.16 * (v - 0.5) + tint;
    if (v < 0.45) code = 0.40 - 0.22 * (0.45 - v) - 0.5 * tint + 0.012 * std::sin(91.0 * u) * std::cos(67.0 * v);
    const double house = std::floor(u * 9.0);
    const bool wall = v > 0.2 && v < 0.5 + 0.09 * std::fmod(house * 2.7, 3.0) && std::fmod(house, 3.0) > 0.5;
    if (wall) {
        const bool window = std::fmod(u * 72.0, 2.0) < 0.8 && std::fmod(v * 58.0, 2.0) < 0.9;
        code = window ? 0.47 - 2.0 * tint : 0.24 + 0.05 * v + 0.3 * tint;
    }
    const double sun = lampAt(u - 1.25, v - 0.82, 0.035);
    const double street = lampAt(std::fmod(u, 0.31) - 0.155, v - 0.34, 0.006);
    return std::min(0.95, code + 0.5 * sun + 0.45 * street);
}

void fillRow(float* row, const Size& size, int y) {
    for (int x = 0; x < size.width; ++x) {
        const double u = (x + 0.5) / size.height;
        const double v = (y + 0.5) / size.height;
        for (int c = 0; c < 3; ++c) {
            const double noise =
                noiseAt(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), static_cast<std::uint32_t>(c));
            *row++ = static_cast<float>(streetAt(u, v, c) + noise);
        }
        *row++ = 1.0f;
    }
}

Planes planesOf(const std::vector<float>& pixels, std::size_t n) {
    Planes planes(3, Plane(n));
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            planes[c][i] = pixels[4 * i + c];
    }
    return planes;
}

std::shared_ptr<const Picture> makePicture(const Size& size) {
    const auto picture = std::make_shared<Picture>();
    const std::size_t n = size.pixels();
    picture->size = size;
    picture->codes = planesOf(streetPixels(size), n);
    picture->linear = picture->codes;
    Planes& linear = picture->linear;
    velloid::decodeRowToLinearAWG4(linear[0].data(), linear[1].data(), linear[2].data(), n, velloid::IOSpace::SLog3);
    picture->logC4 = linear;
    for (Plane& plane : picture->logC4)
        velloid::logc4EncodeRow(plane.data(), plane.data(), n);
    return picture;
}

} // namespace

std::vector<float> streetPixels(const Size& size) {
    std::vector<float> pixels(4 * size.pixels());
    velloid::parallelFor(0, size.height, [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            fillRow(pixels.data() + 4 * static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width), size, y);
    });
    return pixels;
}

std::shared_ptr<const Picture> pictureOf(const Size& size) {
    static std::shared_ptr<const Picture> last;
    if (!last || last->size.width != size.width || last->size.height != size.height) {
        last.reset();
        last = makePicture(size);
    }
    return last;
}

} // namespace tarnwell::bench
