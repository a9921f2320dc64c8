#include "process/wide_blur.h"

#include "process/parallel_pool.h"
#include "process/row_block.h"
#include "rows/kernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace velloid {

namespace {

constexpr double DIRECT_SIGMA = 8.0;          // up to here a direct blur is cheap
constexpr int LADDER_SIZE = 32;               // planes below it are not halved
constexpr double LADDER_SIGMA = 1.0;          // of the blur before each halving
constexpr double LADDER_VARIANCE = 4.0 / 3.0; // added by blurs and boxes of the ladder

struct Level {
    int w;
    int h;
    Scratch plane;
};

bool goesOn(int w, int h, double sigma) {
    return w >= LADDER_SIZE && h >= LADDER_SIZE && sigma > DIRECT_SIGMA;
}

// Blurs a little and halves, in one pass: the blurred rows leave the stream in fours, and pairs of them are averaged.
Level halved(const RowSource& source, RowContent content, int w, int h) {
    Level level{(w - 1) / 2 + 1, (h - 1) / 2 + 1, Scratch(samplesOf((w - 1) / 2 + 1, (h - 1) / 2 + 1))};
    const BlurTaps taps(w, h, LADDER_SIGMA, LADDER_SIGMA);
    forRowStretches(h, [&](int begin, int end) {
        BlurredRows rows(taps, source, {0, w}, begin, content);
        RowBlock block(w);
        forEachBlock(begin, end, [&](int y, int count) {
            rows.next(y, count, block.rows());
            for (int k = 0; k < count; k += 2) {
                const float* lower = block.row(std::min(k + 1, count - 1));
                rowKernels().blur.halve(block.row(k), lower, static_cast<std::size_t>(w),
                                        level.plane.data() + samplesOf(level.w, (y + k) / 2));
            }
        });
    });
    return level;
}

void stretchPlane(const Stretch& stretch, int W, int H, float* out) {
    parallelFor(0, H, [&](int begin, int end) {
        Stretch::Rows rows(stretch, {0, W});
        for (int y = begin; y < end; ++y)
            rows.make(y, out + samplesOf(W, y));
    });
}

// Where output sample X of W lies among w samples: between `left` and `right`, nearer to right with growing weight.
struct Place {
    int left;
    int right;
    double weight;
};

Place placeOf(int X, int w, int W) {
    const double step = static_cast<double>(w) / W;
    const double f = (X + 0.5) * step - 0.5;
    const double base = std::floor(f);
    const int x0 = static_cast<int>(base);
    return {std::max(0, x0), std::min(w - 1, x0 + 1), f - base};
}

} // namespace

Stretch::Stretch(const float* plane, int sourceW, int sourceH, int outW, int outH)
    : src(plane), w(sourceW), h(sourceH), W(outW), H(outH) {
    if (W == 2 * static_cast<long long>(w)) return;
    const std::size_t n = static_cast<std::size_t>(W);
    left.resize(n);
    right.resize(n);
    weight.resize(n);
    for (std::size_t x = 0; x < n; ++x) {
        const Place place = placeOf(static_cast<int>(x), w, W);
        left[x] = place.left;
        right[x] = place.right;
        weight[x] = place.weight;
    }
}

// Doubling a part of a row repeats the part's ends, so two more source columns are doubled than the part needs.
Stretch::Rows::Rows(const Stretch& s, ColumnSpan span)
    : stretch(s), columns(span), doubled{std::max(span.first / 2 - 1, 0), std::min(span.end / 2 + 1, s.w)} {
    for (std::vector<double>& row : cache)
        row.resize(static_cast<std::size_t>(s.left.empty() ? 2 * doubled.size() : columns.size()));
}

// Source row y, stretched; must not take the place of row `other`.
const double* Stretch::Rows::across(int y, int other) {
    const std::size_t first = static_cast<std::size_t>(columns.first);
    const bool doubles = stretch.left.empty();
    const std::size_t skip = doubles ? first - 2 * static_cast<std::size_t>(doubled.first) : 0;
    for (int i = 0; i < 2; ++i) {
        if (cached[i] == y) return cache[i].data() + skip;
    }
    const int i = cached[0] == other ? 1 : 0;
    const float* row = stretch.src + samplesOf(stretch.w, y);
    const BlurRows& kernels = rowKernels().blur;
    if (doubles) {
        kernels.doubleRow(row + doubled.first, static_cast<std::size_t>(doubled.size()), cache[i].data());
    } else {
        kernels.stretchRow(row, stretch.left.data() + first, stretch.right.data() + first,
                           stretch.weight.data() + first, cache[i].data(), static_cast<std::size_t>(columns.size()));
    }
    cached[i] = y;
    return cache[i].data() + skip;
}

void Stretch::Rows::make(int y, float* out) {
    const Place place = placeOf(y, stretch.h, stretch.H);
    const double* upper = across(place.left, place.right);
    const double* lower = across(place.right, place.left);
    rowKernels().blur.mix(upper, lower, place.weight, out, static_cast<std::size_t>(columns.size()));
}

WideBlur::WideBlur(RowSource rowSource, int w, int h, double sigmaX, double sigmaY, RowContent rowContent)
    : source(std::move(rowSource)), content(rowContent), half(0) {
    const double sigma = std::max(sigmaX, sigmaY);
    if (std::isfinite(sigmaX) && std::isfinite(sigmaY) && goesOn(w, h, sigma)) {
        blurOnLadder(w, h, sigmaX, sigmaY);
    } else {
        direct.emplace(w, h, sigmaX, sigmaY);
    }
}

void WideBlur::blurOnLadder(int w, int h, double sigmaX, double sigmaY) {
    const double restX = std::sqrt(std::max(sigmaX * sigmaX - LADDER_VARIANCE, 0.0));
    const double restY = std::sqrt(std::max(sigmaY * sigmaY - LADDER_VARIANCE, 0.0));
    std::vector<std::array<int, 2>> sizes; // of the levels passed below the full plane
    Level level = halved(source, content, w, h);
    double factor = 2.0;
    while (goesOn(level.w, level.h, std::max(restX, restY) / factor)) {
        sizes.push_back({level.w, level.h});
        level = halved(planeRows(level.plane.data(), level.w), content, level.w, level.h);
        factor *= 2.0;
    }
    Level blurred{level.w, level.h, Scratch(samplesOf(level.w, level.h))};
    blurInto(blurred.plane.data(), planeRows(level.plane.data(), level.w), level.w, level.h, restX / factor,
             restY / factor);
    level = std::move(blurred);
    for (; !sizes.empty(); sizes.pop_back()) {
        const auto [W, H] = sizes.back();
        Level up{W, H, Scratch(samplesOf(W, H))};
        stretchPlane(Stretch(level.plane.data(), level.w, level.h, W, H), W, H, up.plane.data());
        level = std::move(up);
    }
    half = std::move(level.plane);
    stretch.emplace(half.data(), level.w, level.h, w, h);
}

WideBlur::Rows::Rows(const WideBlur& blur, ColumnSpan columns, int begin) {
    if (blur.direct) {
        direct.emplace(*blur.direct, blur.source, columns, begin, blur.content);
    } else {
        stretched.emplace(*blur.stretch, columns);
    }
}

void WideBlur::Rows::next(int y, int count, float* const* out) {
    if (direct) return direct->next(y, count, out);
    for (int k = 0; k < count; ++k)
        stretched->make(y + k, out[k]);
}

void blurWideInto(float* plane, const RowSource& source, int w, int h, double sigmaX, double sigmaY) {
    const WideBlur blur(source, w, h, sigmaX, sigmaY);
    forRowStretches(h, [&](int begin, int end) {
        WideBlur::Rows rows(blur, {0, w}, begin);
        forEachBlock(begin, end, [&](int y, int count) {
            float* out[BLUR_BLOCK_ROWS] = {};
            for (int k = 0; k < count; ++k)
                out[k] = plane + samplesOf(w, y + k);
            rows.next(y, count, out);
        });
    });
}

} // namespace velloid
