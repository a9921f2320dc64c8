// Gate weave: perforations and pins leave the film some play, so each frame lands a little beside the last one.
//   out(p) = Lanczos-3 sample of the source at  centre + rotation(angle) (p - centre - (dx, dy))
// The path is a sum of slow sines of incommensurate frequency, so that it does not repeat, and a small hashed jitter.
// Scene-linear planes, the border repeating the edge. GPU twin: the weave kernel, which reads the same motion.
//
// Neighbouring pixels move nearly alike: along a row the source position advances by almost exactly one pixel and stays
// on one source row for hundreds. So rows are warped in strips; in each run of pixels that are in step the samples
// under their taps are contiguous, widened to double once and shared by all runs that need them. Strips are wide,
// because memory gives neighbouring samples of a row several times as fast as samples one below the other, and narrow
// enough for the widened rows to stay in the second-level cache.
#include "process/gate_weave.h"

#include "color/strength.h"
#include "process/frame_number.h"
#include "process/hash.h"
#include "process/parallel_pool.h"
#include "process/scratch.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>

namespace velloid {

namespace {

// House values, as are the frequencies of the path.
constexpr double REACH = 1.15;   // pixels of the reference resolution per unit of amount
constexpr double SWAY = 0.00055; // radians
constexpr double ANGLE_JITTER = 0.00008;

// Where an output pixel finds its light.
struct Warp {
    int w;
    int h;
    double dx;
    double dy;
    double cosine;
    double sinX; // with pixels that are not square, a rotation of the film mixes columns and rows unequally
    double sinY;

    WeaveRow row(int y) const {
        const double centreX = (w - 1) * 0.5;
        const double centreY = (h - 1) * 0.5;
        const double ty = y - centreY - dy;
        return {centreX, centreY, dx, cosine, sinY, sinX * ty, cosine * ty};
    }

    // True when every source position lies within the range of the row kernels. The map is affine: corners suffice.
    bool withinReach() const;
};

struct Position {
    double x;
    double y;
};

// Source position of pixel x, in the very operations of the row kernels.
Position sourceOf(const WeaveRow& row, int x) {
    const double tx = x - row.centreX - row.dx;
    return {row.centreX + row.cosine * tx + row.alongX, row.centreY - row.sinY * tx + row.alongY};
}

bool Warp::withinReach() const {
    constexpr double REACH_OF_ROWS = 0x1p30;
    for (const int y : {0, h - 1}) {
        for (const int x : {0, w - 1}) {
            const Position at = sourceOf(row(y), x);
            // In this form a NaN is out of reach.
            if (!(std::fabs(at.x) < REACH_OF_ROWS && std::fabs(at.y) < REACH_OF_ROWS)) return false;
        }
    }
    return true;
}

struct Planes {
    int count; // 3, or 4 with alpha
    const float* source[4];
    float* result[4];
};

// Output columns that are warped together, row after row.
constexpr int STRIP = 8 * WeaveTaps::CAPACITY;

// Part of one source plane as doubles: rows are widened when first asked for, the border repeated.
class SampleWindow {
public:
    void open(const float* source, int width, int height) {
        plane = source;
        w = width;
        h = height;
        moveTo(0);
    }

    // The samples of source row y from column x on that n pixels in step have under their taps. They are the strip's
    // pixels from `along` on: a window that has to move takes the place where the whole strip would have its samples.
    const double* at(int x, int y, int along, int n) {
        if (x < left || x + n + WEAVE_TAPS - 1 > left + COLUMNS) moveTo(x - along - SLACK / 2);
        y = std::clamp(y, 0, h - 1);
        const int slot = y % SLOTS;
        if (rowIn[slot] != y) widen(slot, y);
        return samples[slot] + (x - left);
    }

private:
    static constexpr int SLOTS = 8; // more than WEAVE_TAPS, so that the rows of one run never evict each other
    static constexpr int SLACK = 26;
    static constexpr int COLUMNS = STRIP + WEAVE_TAPS + SLACK;

    void moveTo(int x) {
        left = x;
        std::fill(rowIn, rowIn + SLOTS, -1);
    }

    void widen(int slot, int y) {
        const float* row = plane + static_cast<std::size_t>(y) * static_cast<std::size_t>(w);
        const int begin = std::clamp(-left, 0, COLUMNS); // first window column inside the image
        const int end = std::clamp(w - left, begin, COLUMNS);
        double* out = samples[slot];
        if (begin < end)
            rowKernels().weave.widen(row + left + begin, out + begin, static_cast<std::size_t>(end - begin));
        std::fill(out, out + begin, static_cast<double>(row[0]));
        std::fill(out + end, out + COLUMNS, static_cast<double>(row[w - 1]));
        rowIn[slot] = y;
    }

    const float* plane = nullptr;
    int w = 0;
    int h = 0;
    int left = 0;
    int rowIn[SLOTS] = {};
    double samples[SLOTS][COLUMNS];
};

// The plain form of one pixel: 36 weights and their sum. Positions beyond the reach of the row kernels come here.
void warpPixel(const Warp& warp, const Planes& planes, int x, int y) {
    const Position s = sourceOf(warp.row(y), x);
    const std::int64_t ix = saturateToInt(std::floor(s.x));
    const std::int64_t iy = saturateToInt(std::floor(s.y));
    double sum[4] = {};
    double weightSum = 0.0;
    for (std::int64_t yy = iy - 2; yy <= iy + 3; ++yy) {
        const double rowWeight = lanczos3(s.y - static_cast<double>(yy));
        const std::size_t row =
            static_cast<std::size_t>(std::clamp<std::int64_t>(yy, 0, warp.h - 1)) * static_cast<std::size_t>(warp.w);
        for (std::int64_t xx = ix - 2; xx <= ix + 3; ++xx) {
            const double weight = rowWeight * lanczos3(s.x - static_cast<double>(xx));
            const std::size_t at = row + static_cast<std::size_t>(std::clamp<std::int64_t>(xx, 0, warp.w - 1));
            for (int p = 0; p < planes.count; ++p)
                sum[p] += weight * planes.source[p][at];
            weightSum += weight;
        }
    }
    const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(warp.w) + static_cast<std::size_t>(x);
    for (int p = 0; p < planes.count; ++p) {
        const double value = weightSum == 0.0 ? planes.source[p][at] : sum[p] / weightSum;
        planes.result[p][at] = static_cast<float>(value);
    }
}

// The end of the pixels from `from` on that are in step: on one source row, on consecutive source columns.
int endOfRun(const WeaveTaps& taps, int from, int n) {
    int to = from + 1;
    while (to < n && taps.row[to] == taps.row[from] && taps.column[to] == taps.column[from] + (to - from))
        ++to;
    return to;
}

// Writes pixels [from, to) of the taps, which are in step and lie from `along` on in the strip, to `out`.
void blendRun(const WeaveTaps& taps, int from, int to, SampleWindow& window, int along, float* out) {
    const double* samples[WEAVE_TAPS];
    for (int j = 0; j < WEAVE_TAPS; ++j)
        samples[j] = window.at(taps.column[from] - 2, taps.row[from] - 2 + j, along, to - from);
    rowKernels().weave.blend(taps, static_cast<std::size_t>(from), static_cast<std::size_t>(to - from), samples, out);
}

// Output pixels [x, x + n) of row y, `along` of the strip before them.
void warpRun(const Warp& warp, const Planes& planes, SampleWindow* windows, int x, int n, int y, int along) {
    WeaveTaps taps;
    const bool inStep = rowKernels().weave.place(warp.row(y), x, static_cast<std::size_t>(n), taps);
    const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(warp.w) + static_cast<std::size_t>(x);
    for (int from = 0, to = 0; from < n; from = to) {
        to = inStep ? n : endOfRun(taps, from, n);
        for (int p = 0; p < planes.count; ++p)
            blendRun(taps, from, to, windows[p], along + from, planes.result[p] + at + from);
    }
}

// Output pixels [x, x + n) of rows [begin, end).
void warpStrip(const Warp& warp, const Planes& planes, SampleWindow* windows, int x, int n, int begin, int end) {
    for (int p = 0; p < planes.count; ++p)
        windows[p].open(planes.source[p], warp.w, warp.h);
    for (int y = begin; y < end; ++y) {
        for (int along = 0; along < n; along += WeaveTaps::CAPACITY)
            warpRun(warp, planes, windows, x + along, std::min(WeaveTaps::CAPACITY, n - along), y, along);
    }
}

void warpRows(const Warp& warp, const Planes& planes, int begin, int end) {
    std::vector<SampleWindow> windows(static_cast<std::size_t>(planes.count));
    for (int x = 0; x < warp.w; x += STRIP)
        warpStrip(warp, planes, windows.data(), x, std::min(STRIP, warp.w - x), begin, end);
}

void warpRowsPlainly(const Warp& warp, const Planes& planes, int begin, int end) {
    for (int y = begin; y < end; ++y) {
        for (int x = 0; x < warp.w; ++x)
            warpPixel(warp, planes, x, y);
    }
}

void clampAlphaRows(float* alpha, std::size_t width, int begin, int end) {
    float* const first = alpha + static_cast<std::size_t>(begin) * width;
    float* const last = alpha + static_cast<std::size_t>(end) * width;
    std::transform(first, last, first, [](float a) { return static_cast<float>(clampStrength(a)); });
}

void warpPlanes(const Warp& warp, const Planes& planes) {
    const bool plain = !warp.withinReach();
    parallelFor(0, warp.h, [&](int begin, int end) {
        if (plain) {
            warpRowsPlainly(warp, planes, begin, end);
        } else {
            warpRows(warp, planes, begin, end);
        }
        if (planes.count == 4) clampAlphaRows(planes.result[3], static_cast<std::size_t>(warp.w), begin, end);
    });
}

double positiveOrOne(double value) {
    return std::isfinite(value) && value > 0.0 ? value : 1.0;
}

// A copy of `area` samples, made by all workers.
Scratch copyOf(const std::vector<float>& plane, int w, int h) {
    const std::size_t width = static_cast<std::size_t>(w);
    Scratch copy(width * static_cast<std::size_t>(h));
    parallelFor(0, h, [&](int begin, int end) {
        const std::size_t first = static_cast<std::size_t>(begin) * width;
        std::copy_n(plane.data() + first, static_cast<std::size_t>(end - begin) * width, copy.data() + first);
    });
    return copy;
}

} // namespace

double lanczos3(double d) {
    d = std::fabs(d);
    if (d >= 3.0) return 0.0;
    if (d < 1e-7) return 1.0;
    const double x = std::numbers::pi * d;
    return std::sin(x) / x * (std::sin(x / 3.0) / (x / 3.0));
}

WeaveMotion weaveMotion(int frame, double amount, double scaleX, double scaleY) {
    const double f = frame;
    const std::uint32_t bits = static_cast<std::uint32_t>(frame);
    const std::uint32_t key = (bits * 0x9E3779B1u) ^ (bits * 0x27D4EB2Fu);
    const double jitterX = signedUnit(key ^ 0xE4096D02u);
    const double jitterY = signedUnit(key ^ 0xE9BD9D4Bu);
    const double jitterAngle = signedUnit(key ^ 0xFB3EA269u);
    const double pathX = 0.62 * std::sin(0.173 * f + 0.4) + 0.28 * std::sin(0.047 * f + 2.1) + 0.1 * jitterX;
    const double pathY = 0.52 * std::sin(0.131 * f + 1.6) + 0.22 * std::sin(0.061 * f + 0.3) + 0.08 * jitterY;
    const double sway = 0.65 * std::sin(0.089 * f + 0.9) + 0.25 * std::sin(0.031 * f + 2.7);
    return {amount * REACH * positiveOrOne(scaleX) * pathX, amount * REACH * positiveOrOne(scaleY) * pathY,
            amount * (SWAY * sway + ANGLE_JITTER * jitterAngle)};
}

void applyGateWeave(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                    double frame, double scaleX, double scaleY, std::vector<float>* alpha) {
    if (w <= 1 || h <= 1 || !(amount > 0.0)) return;
    const double sx = positiveOrOne(scaleX);
    const double sy = positiveOrOne(scaleY);
    const WeaveMotion motion = weaveMotion(frameIndex(frame), amount, sx, sy);
    const bool withAlpha = alpha && alpha->size() >= static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    const Scratch r = copyOf(R, w, h);
    const Scratch g = copyOf(G, w, h);
    const Scratch b = copyOf(B, w, h);
    const std::optional<Scratch> a = withAlpha ? std::optional(copyOf(*alpha, w, h)) : std::nullopt;
    warpLanczosRGB(r.data(), g.data(), b.data(), R, G, B, w, h, motion.dx, motion.dy, motion.angle, sx, sy,
                   a ? a->data() : nullptr, a ? alpha : nullptr);
}

void warpLanczosRGB(const float* srcR, const float* srcG, const float* srcB, std::vector<float>& R,
                    std::vector<float>& G, std::vector<float>& B, int w, int h, double dx, double dy, double angle,
                    double scaleX, double scaleY, const float* srcAlpha, std::vector<float>* alpha) {
    if (w < 1 || h < 1) return;
    const double sine = std::sin(angle);
    const Warp warp = {w, h, dx, dy, std::cos(angle), sine * scaleX / scaleY, sine * scaleY / scaleX};
    const bool withAlpha = srcAlpha && alpha;
    warpPlanes(warp, {withAlpha ? 4 : 3,
                      {srcR, srcG, srcB, srcAlpha},
                      {R.data(), G.data(), B.data(), withAlpha ? alpha->data() : nullptr}});
}

} // namespace velloid
