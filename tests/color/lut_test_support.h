// Tables, planes and values that the lookup tests share. Everything is a function of its seed.
#pragma once

#include "color/lut3d.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

namespace velloid {

inline void PrintTo(const RGB& v, std::ostream* out) {
    *out << "(" << v.r << ", " << v.g << ", " << v.b << ")";
}

} // namespace velloid

namespace lut_test {

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

using Plane = std::vector<float>;

struct Planes {
    Plane r, g, b;
};

inline bool sameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool sameBits(const velloid::RGB& a, const velloid::RGB& b) {
    return sameBits(a.r, b.r) && sameBits(a.g, b.g) && sameBits(a.b, b.b);
}

// Samples whose bits differ.
inline std::size_t countDifferent(const Plane& a, const Plane& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        count += !sameBits(a[i], b[i]);
    return count;
}

inline std::size_t countDifferent(const Planes& a, const Planes& b) {
    return countDifferent(a.r, b.r) + countDifferent(a.g, b.g) + countDifferent(a.b, b.b);
}

// The largest |a - b| / max(1, |b|); two NaN or two equal infinities count as equal.
inline double largestError(const Plane& a, const Plane& b) {
    double worst = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (sameBits(a[i], b[i])) continue;
        const double error = std::fabs(static_cast<double>(a[i]) - b[i]) / std::max(1.0, std::fabs(double{b[i]}));
        worst = std::max(worst, std::isnan(error) ? HUGE_VAL : error);
    }
    return worst;
}

inline double largestError(const Planes& a, const Planes& b) {
    return std::max({largestError(a.r, b.r), largestError(a.g, b.g), largestError(a.b, b.b)});
}

inline velloid::LUT3D emptyTable(int size) {
    velloid::LUT3D lut;
    lut.size = size;
    lut.id = velloid::nextLutCacheId();
    lut.data.resize(static_cast<std::size_t>(size) * size * size);
    return lut;
}

// Entry (r, g, b) is (r, g, b)/(size - 1), mapped into the domain by the caller if it has another.
inline velloid::LUT3D identityTable(int size) {
    velloid::LUT3D lut = emptyTable(size);
    const double last = size - 1;
    std::size_t at = 0;
    for (int b = 0; b < size; ++b)
        for (int g = 0; g < size; ++g)
            for (int r = 0; r < size; ++r)
                lut.data[at++] = {static_cast<float>(r / last), static_cast<float>(g / last),
                                  static_cast<float>(b / last)};
    return lut;
}

inline velloid::LUT3D randomTable(int size, unsigned seed, float low = -0.25f, float high = 1.25f) {
    velloid::LUT3D lut = emptyTable(size);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(low, high);
    for (velloid::RGB& e : lut.data)
        e = {value(random), value(random), value(random)};
    return lut;
}

// Random values in [low, high], among them lattice points, ties between the axes, values outside, NaN and infinities.
inline Planes testPlanes(std::size_t n, unsigned seed, float low, float high) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(low, high);
    const float special[] = {low,  high,         0.f,    -0.f,    1.f,   0.5f,  2.f * high - low, 2.f * low - high, INF,
                             -INF, NOT_A_NUMBER, 1e-40f, -1e-40f, 3e38f, -3e38f};
    Planes planes{Plane(n), Plane(n), Plane(n)};
    for (std::size_t i = 0; i < n; ++i) {
        const float v[3] = {value(random), value(random), value(random)};
        const unsigned kind = random() % 16;
        const float s = special[random() % std::size(special)];
        planes.r[i] = kind == 0 ? s : v[0];
        planes.g[i] = kind == 1 ? s : kind == 2 || kind == 3 ? planes.r[i] : v[1];
        planes.b[i] = kind == 4 ? s : kind == 3 || kind == 5 ? planes.g[i] : kind == 6 ? planes.r[i] : v[2];
    }
    return planes;
}

} // namespace lut_test
