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
#include "process/frame_planes.h"
#include "process/hash.h"
#include "process/scratch.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

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

// Three source planes, or four with alpha.
struct Sources {
    int count;
    const float* plane[4];
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
void warpPixel(const Warp& warp, const Sources& sources, int x, int y, float* out[4]) {
    const Position s = sourceOf(warp.row(y), x);
    const std::int64_t ix = saturateToInt(std::floor(s.x));
    const std::int64_t iy = saturateToInt(std::floor(s.y));
    double sum[4] = {};
    double weightSum = 0.0;
    for (std::int64_t yy = iy - 2; yy <= iy + 3; ++yy) {
        const double rowWeight = lanczos3(s.y - static_cast<double>(yy));
        const std::size_t row = samplesOf(warp.w, static_cast<int>(std::clamp<std::int64_t>(yy, 0, warp.h - 1)));
        for (std::int64_t xx = ix - 2; xx <= ix + 3; ++xx) {
            const double weight = rowWeight * lanczos3(s.x - static_cast<double>(xx));
            const std::size_t at = row + static_cast<std::size_t>(std::clamp<std::int64_t>(xx, 0, warp.w - 1));
            for (int p = 0; p < sources.count; ++p)
                sum[p] += weight * sources.plane[p][at];
            weightSum += weight;
        }
    }
    for (int p = 0; p < sources.count; ++p) {
        const double value = weightSum == 0.0 ? sources.plane[p][samplesOf(warp.w, y) + static_cast<std::size_t>(x)]
                                              : sum[p] / weightSum;
        *out[p] = static_cast<float>(value);
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

// Output pixels [x, x + n), one row after the other.
class WarpStrip {
public:
    void open(const Warp& w, const Sources& s, int left, int count) {
        warp = &w;
        sources = &s;
        x = left;
        n = count;
        for (int p = 0; p < 4; ++p) {
            if (p < s.count) windows[p].open(s.plane[p], w.w, w.h);
        }
    }

    void makeRow(int y, float* const out[4]) {
        for (int along = 0; along < n; along += WeaveTaps::CAPACITY)
            makeRun(y, along, std::min(WeaveTaps::CAPACITY, n - along), out);
    }

private:
    // `count` pixels of row y from `along` on.
    void makeRun(int y, int along, int count, float* const out[4]) {
        WeaveTaps taps;
        const bool inStep = rowKernels().weave.place(warp->row(y), x + along, static_cast<std::size_t>(count), taps);
        for (int from = 0, to = 0; from < count; from = to) {
            to = inStep ? count : endOfRun(taps, from, count);
            for (int p = 0; p < sources->count; ++p)
                blendRun(taps, from, to, windows[p], along + from, out[p] + along + from);
        }
    }

    const Warp* warp = nullptr;
    const Sources* sources = nullptr;
    int x = 0;
    int n = 0;
    SampleWindow windows[4];
};

// Output columns [left, left + n), one row after the other.
class WarpRows {
public:
    WarpRows(const Warp& w, const Sources& s, int left, int n)
        : warp(w), sources(s), x(left), count(n), plain(!w.withinReach()) {
        if (plain) return;
        stripCount = (n - 1) / STRIP + 1;
        strips.reset(new WarpStrip[static_cast<std::size_t>(stripCount)]); // not zeroed
        for (int i = 0; i < stripCount; ++i) {
            const int first = i * STRIP;
            strip(i).open(warp, sources, left + first, std::min(STRIP, n - first));
        }
    }

    void makeRow(int y, float* const out[4]) {
        if (plain) {
            makePlainly(y, out);
        } else {
            for (int i = 0; i < stripCount; ++i) {
                float* part[4] = {};
                for (int p = 0; p < sources.count; ++p)
                    part[p] = out[p] + i * STRIP;
                strip(i).makeRow(y, part);
            }
        }
        if (sources.count == 4)
            std::transform(out[3], out[3] + count, out[3],
                           [](float a) { return static_cast<float>(clampStrength(a)); });
    }

private:
    WarpStrip& strip(int i) { return strips[static_cast<std::size_t>(i)]; }

    void makePlainly(int y, float* const out[4]) const {
        for (int i = 0; i < count; ++i) {
            float* pixel[4] = {};
            for (int p = 0; p < sources.count; ++p)
                pixel[p] = out[p] + i;
            warpPixel(warp, sources, x + i, y, pixel);
        }
    }

    const Warp& warp;
    const Sources& sources;
    int x;
    int count;
    bool plain;
    int stripCount = 0;
    std::unique_ptr<WarpStrip[]> strips;
};

Warp warpOf(int w, int h, double dx, double dy, double angle, double scaleX, double scaleY) {
    const double sine = std::sin(angle);
    return {w, h, dx, dy, std::cos(angle), sine * scaleX / scaleY, sine * scaleY / scaleX};
}

class WeaveFeed : public RowFeed {
public:
    WeaveFeed(const Warp& warp, const Sources& sources, const Region& region)
        : rows(warp, sources, region.x0, region.width()) {}

    void next(int y, int count, const ColorRows& out) override {
        for (int k = 0; k < count; ++k) {
            float* const row[4] = {out.channel[0][k], out.channel[1][k], out.channel[2][k], out.alpha[k]};
            rows.makeRow(y + k, row);
        }
    }

private:
    WarpRows rows;
};

class WeaveOrigin : public RowOrigin {
public:
    WeaveOrigin(const Warp& w, const Sources& s) : warp(w), sources(s) {}

    std::unique_ptr<RowFeed> open(const Region& region) const override {
        return std::make_unique<WeaveFeed>(warp, sources, region);
    }

private:
    Warp warp;
    Sources sources;
};

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
    const bool withAlpha = alpha && alpha->size() >= samplesOf(w, h);
    const float* const planes[3] = {R.data(), G.data(), B.data()};
    const RowChain chain(
        w, h, "gate weave",
        gateWeaveOrigin(planes, withAlpha ? alpha->data() : nullptr, w, h, amount, frame, scaleX, scaleY));
    replacePlanes(R, G, B, w, h, chain, withAlpha ? alpha : nullptr);
}

void warpLanczosRGB(const float* srcR, const float* srcG, const float* srcB, std::vector<float>& R,
                    std::vector<float>& G, std::vector<float>& B, int w, int h, double dx, double dy, double angle,
                    double scaleX, double scaleY, const float* srcAlpha, std::vector<float>* alpha) {
    if (w < 1 || h < 1) return;
    const bool withAlpha = srcAlpha && alpha;
    const RowChain chain(
        w, h, "gate weave",
        std::make_unique<WeaveOrigin>(warpOf(w, h, dx, dy, angle, scaleX, scaleY),
                                      Sources{withAlpha ? 4 : 3, {srcR, srcG, srcB, withAlpha ? srcAlpha : nullptr}}));
    chain.run({0, 0, w, h}, PlanesSink({{R.data(), G.data(), B.data()}, withAlpha ? alpha->data() : nullptr, w}));
}

std::unique_ptr<RowOrigin> gateWeaveOrigin(const float* const planes[3], const float* alpha, int w, int h,
                                           double amount, double frame, double scaleX, double scaleY) {
    const double sx = positiveOrOne(scaleX);
    const double sy = positiveOrOne(scaleY);
    const WeaveMotion motion = weaveMotion(frameIndex(frame), amount, sx, sy);
    return std::make_unique<WeaveOrigin>(warpOf(w, h, motion.dx, motion.dy, motion.angle, sx, sy),
                                         Sources{alpha ? 4 : 3, {planes[0], planes[1], planes[2], alpha}});
}

} // namespace velloid
