// The noise is drawn with the row kernels' own logarithm and sine and with the curve in the form slope * code + offset.
// Each is as good as the C library's double, so that a stored float differs from the literal form only where the exact
// value lies within about 1e-15 of the middle between two floats: at most 1e-5 of the samples, by one unit at the size
// of the larger of code and noise (a sum that nearly cancels has smaller units than its parts).
#include "process/grain.h"

#include "process/grain_profiles.h"
#include "rows/kernels.h"
#include "tests/process/planes.h"
#include "tests/reference/grain_reference.h"

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <string>

namespace velloid {
namespace {

using namespace velloid::test;

struct Channels {
    Plane r, g, b;
};

struct Grain {
    double amount = 0.8;
    NegativeStock stock = NegativeStock::Vision500T;
    double frame = 12.0;
    double blurX = 1.0;
    double blurY = 1.0;
    double cellX = 1.0;
    double cellY = 1.0;
    int originX = 0;
    int originY = 0;
};

constexpr NegativeStock SILVER = NegativeStock::TriX400;

Channels grained(Channels c, Size size, const Grain& n) {
    applyGrain(c.r, c.g, c.b, size.w, size.h, n.amount, n.stock, n.frame, n.blurX, n.blurY, n.cellX, n.cellY, n.originX,
               n.originY);
    return c;
}

Channels literallyGrained(Channels c, Size size, const Grain& n) {
    reference::applyGrain(c.r, c.g, c.b, size.w, size.h, n.amount, n.stock, n.frame, n.blurX, n.blurY, n.cellX, n.cellY,
                          n.originX, n.originY);
    return c;
}

Plane flat(Size size, float code) {
    return Plane(static_cast<std::size_t>(size.w) * static_cast<std::size_t>(size.h), code);
}

Channels flatGrey(Size size, float code) {
    return {flat(size, code), flat(size, code), flat(size, code)};
}

// Log codes of a picture: mostly inside [0, 1], some below, some above, some far above.
Plane codes(Size size, std::uint32_t seed) {
    Plane plane = scene(size, seed);
    for (float& v : plane)
        v = v > 100.f ? v : v * 2.5f;
    return plane;
}

Channels pictures(Size size) {
    return {codes(size, 1), codes(size, 2), codes(size, 3)};
}

struct Difference {
    std::size_t samples = 0;
    std::size_t differ = 0;
    std::size_t beyond = 0; // by more than one unit
    std::string first;
};

void compare(const Plane& expected, const Plane& got, const std::string& what, Difference& d) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ++d.samples;
        if (sameBits(expected[i], got[i])) continue;
        ++d.differ;
        const float unit = std::ldexp(std::max(std::fabs(expected[i]), 0.0625f), -23);
        if (std::fabs(expected[i] - got[i]) <= unit) continue;
        if (d.beyond++ == 0) {
            d.first = what + " sample " + std::to_string(i) + ": expected " + std::to_string(expected[i]) + ", got " +
                      std::to_string(got[i]);
        }
    }
}

void compare(const Channels& expected, const Channels& got, const std::string& what, Difference& d) {
    compare(expected.r, got.r, what + " red", d);
    compare(expected.g, got.g, what + " green", d);
    compare(expected.b, got.b, what + " blue", d);
}

void expectNearly(const Difference& d) {
    EXPECT_EQ(d.beyond, 0u) << d.first;
    EXPECT_LE(d.differ, 1 + d.samples / 100000) << "of " << d.samples;
}

void expectEqual(const Channels& expected, const Channels& got, const std::string& what) {
    EXPECT_TRUE(equalPlanes(expected.r, got.r)) << what << " red";
    EXPECT_TRUE(equalPlanes(expected.g, got.g)) << what << " green";
    EXPECT_TRUE(equalPlanes(expected.b, got.b)) << what << " blue";
}

// What the grain added, of one channel.
std::vector<double> added(const Plane& before, const Plane& after) {
    std::vector<double> n(before.size());
    for (std::size_t i = 0; i < n.size(); ++i)
        n[i] = static_cast<double>(after[i]) - before[i];
    return n;
}

double correlation(const std::vector<double>& a, const std::vector<double>& b) {
    double ab = 0.0, aa = 0.0, bb = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += a[i] * b[i];
        aa += a[i] * a[i];
        bb += b[i] * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

TEST(Grain, LeavesThePlanesAloneWithoutAmountOrStock) {
    const Size size{13, 9};
    const Channels in = {brokenScene(size, 1), brokenScene(size, 2), brokenScene(size, 3)};
    expectEqual(in, grained(in, size, {.amount = 0.0}), "amount 0");
    expectEqual(in, grained(in, size, {.amount = -0.5}), "amount -0.5");
    expectEqual(in, grained(in, size, {.stock = NegativeStock::Off}), "stock off");
}

TEST(Grain, IsItsLiteralFormForEveryStock) {
    const Size size{61, 37};
    for (const RowLevel level : supportedLevels()) {
        const WithLevel use(level);
        Difference d;
        for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
            for (const double blur : {0.0, 1.0}) {
                const Grain n = {.stock = static_cast<NegativeStock>(i), .blurX = blur, .blurY = blur};
                compare(literallyGrained(pictures(size), size, n), grained(pictures(size), size, n),
                        std::string(rowLevelName(level)) + " stock " + std::to_string(i), d);
            }
        }
        expectNearly(d);
    }
}

TEST(Grain, IsItsLiteralFormForAllSizesScalesOriginsAndCells) {
    Difference d;
    for (const Size size : {Size{1, 1}, Size{1, 7}, Size{7, 1}, Size{2, 2}, Size{17, 5}, Size{259, 3}, Size{513, 2}}) {
        for (const double scale : {0.25, 0.5, 1.0, 2.0}) {
            for (const double aspect : {0.5, 1.0, 2.0}) {
                const Grain n = {.blurX = scale / aspect,
                                 .blurY = scale,
                                 .cellX = scale / aspect,
                                 .cellY = scale,
                                 .originX = -37,
                                 .originY = 4001};
                compare(literallyGrained(pictures(size), size, n), grained(pictures(size), size, n),
                        std::to_string(size.w) + 'x' + std::to_string(size.h) + " scale " + std::to_string(scale) +
                            " aspect " + std::to_string(aspect),
                        d);
            }
        }
    }
    expectNearly(d);
}

TEST(Grain, IsItsLiteralFormForNonFiniteCodesWhereverTheyLie) {
    const Size size{67, 21};
    const Channels in = {brokenScene(size, 4), brokenScene(size, 5), brokenScene(size, 6)};
    Difference d;
    for (const NegativeStock stock : {NegativeStock::Vision500T, SILVER}) {
        compare(literallyGrained(in, size, {.stock = stock}), grained(in, size, {.stock = stock}), "broken scene", d);
    }
    expectNearly(d);
}

TEST(Grain, IsItsLiteralFormOnEveryFrame) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Size size{33, 9};
    Difference d;
    for (const double frame : {0.0, 0.49, 0.5, -0.5, -1.0, -1234.0, 86400.0, 1e12, -1e12, inf, -inf, nan}) {
        compare(literallyGrained(pictures(size), size, {.frame = frame}),
                grained(pictures(size), size, {.frame = frame}), "frame " + std::to_string(frame), d);
    }
    expectNearly(d);
}

TEST(Grain, RoundsAndSaturatesTheFrame) {
    const Size size{19, 6};
    const auto at = [&](double frame) { return grained(pictures(size), size, {.frame = frame}); };
    expectEqual(at(2147483647.0), at(1e12), "1e12");
    expectEqual(at(-2147483648.0), at(-1e12), "-1e12");
    expectEqual(at(0.0), at(std::numeric_limits<double>::quiet_NaN()), "NaN");
    expectEqual(at(0.0), at(-std::numeric_limits<double>::infinity()), "-infinity");
    expectEqual(at(3.0), at(2.5), "2.5");
    expectEqual(at(2.0), at(2.49), "2.49");
    EXPECT_NE(at(2.0).r, at(3.0).r) << "frames 2 and 3";
}

// The deviate of the first pixel of silver grain.
double silverDeviate(int frame) {
    return reference::grainDeviate(grainProfile(SILVER).grainSeed, 0, 0, frame, 0);
}

// A frame whose first pixel gets darker by about one amplitude, so that the cap does not interfere.
int darkeningFrame() {
    int frame = 0;
    while (silverDeviate(frame) > -0.9)
        ++frame;
    return frame;
}

// The first pixel's noise, divided by its deviate: the amplitude at a code. Silver, unblurred: no channel sees another.
double amplitudeAt(float code) {
    const Size one{1, 1};
    const int frame = darkeningFrame();
    const double at = frame;
    const Grain n = {.amount = 1.0, .stock = SILVER, .frame = at, .blurX = 0.0, .blurY = 0.0};
    return (static_cast<double>(grained(flatGrey(one, code), one, n).g[0]) - code) / silverDeviate(frame);
}

TEST(Grain, FollowsTheStocksCurve) {
    const double* table = grainProfile(SILVER).tableG;
    const double tolerance = 4e-7; // one unit of a code near 1 over the deviate
    EXPECT_NEAR(amplitudeAt(0.05f), table[0], tolerance);
    EXPECT_NEAR(amplitudeAt(-3.0f), table[0], tolerance);
    EXPECT_NEAR(amplitudeAt(0.2149f), table[5], tolerance);
    EXPECT_NEAR(amplitudeAt(0.5f * (0.326f + 0.4161f)), 0.5 * (table[7] + table[8]), tolerance);
    EXPECT_NEAR(amplitudeAt(0.9991f), table[10], tolerance);
    EXPECT_NEAR(amplitudeAt(1.5f), table[10], tolerance);
    for (int i = 0; i < GRAIN_NODE_COUNT; ++i) {
        EXPECT_NEAR(amplitudeAt(static_cast<float>(GRAIN_NODE_Y[i])), table[i], tolerance) << "node " << i;
    }
}

TEST(Grain, TakesTheEndsOfTheCurveForCodesThatAreNoNumbers) {
    // A NaN in red stays NaN there, but its noise reaches green.
    const Size one{1, 1};
    const Grain plain = {.amount = 1.0, .blurX = 0.0, .blurY = 0.0};
    const float inf = std::numeric_limits<float>::infinity();
    const auto green = [&](float red) { return grained({{red}, {0.3f}, {0.3f}}, one, plain).g[0]; };
    EXPECT_EQ(green(std::numeric_limits<float>::quiet_NaN()), green(0.05f));
    EXPECT_EQ(green(-inf), green(0.05f));
    EXPECT_EQ(green(-0.01f), green(0.05f));
    EXPECT_EQ(green(inf), green(1.0f));
    EXPECT_NE(green(inf), green(0.05f));
    EXPECT_TRUE(std::isnan(grained({{std::numeric_limits<float>::quiet_NaN()}, {0.3f}, {0.3f}}, one, plain).r[0]));
    EXPECT_EQ(grained({{inf}, {0.3f}, {-inf}}, one, plain).r[0], inf);
    EXPECT_EQ(grained({{inf}, {0.3f}, {-inf}}, one, plain).b[0], -inf);
}

TEST(Grain, SharesOneDeviateInACell) {
    const Size size{12, 8};
    const Grain n = {.blurX = 0.0, .blurY = 0.0, .cellX = 2.0, .cellY = 2.0};
    const Channels out = grained(flatGrey(size, 0.3f), size, n);
    int distinct = 0;
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t x = 0; x < 12; ++x) {
            EXPECT_EQ(out.g[y * 12 + x], out.g[(y & ~1u) * 12 + (x & ~1u)]) << x << ", " << y;
        }
        distinct += out.g[y * 12] != out.g[y * 12 + 2];
    }
    EXPECT_EQ(distinct, 8) << "neighbouring cells differ";
}

TEST(Grain, CountsImpossibleCellsAsOnePixel) {
    const Size size{9, 5};
    const Channels one = grained(pictures(size), size, {});
    for (const double cell :
         {0.0, -2.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        expectEqual(one, grained(pictures(size), size, {.cellX = cell, .cellY = cell}), "cell " + std::to_string(cell));
    }
}

// The part of a plane that starts at (x, y).
Plane crop(const Plane& plane, Size from, int x, int y, Size to) {
    Plane out;
    for (int row = 0; row < to.h; ++row) {
        const auto first = plane.begin() + static_cast<std::ptrdiff_t>(y + row) * from.w + x;
        out.insert(out.end(), first, first + to.w);
    }
    return out;
}

TEST(Grain, GivesATileTheFramesPattern) {
    const Size frame{60, 30};
    const Size tile{41, 17};
    const int x = 10;
    const int y = 7;
    const int radius = 3; // of the clump blur: beyond it a tile's edge is not seen
    for (const double blur : {0.0, 1.0}) {
        const int skip = blur > 0.0 ? radius : 0;
        const Channels in = pictures(frame);
        const Channels whole = grained(in, frame, {.blurX = blur, .blurY = blur, .originX = 100, .originY = -20});
        const Channels cut = {crop(in.r, frame, x, y, tile), crop(in.g, frame, x, y, tile),
                              crop(in.b, frame, x, y, tile)};
        const Channels part =
            grained(cut, tile, {.blurX = blur, .blurY = blur, .originX = 100 + x, .originY = -20 + y});
        const Size seen{tile.w - 2 * skip, tile.h - 2 * skip};
        EXPECT_TRUE(equalPlanes(crop(whole.r, frame, x + skip, y + skip, seen), crop(part.r, tile, skip, skip, seen)));
        EXPECT_TRUE(equalPlanes(crop(whole.g, frame, x + skip, y + skip, seen), crop(part.g, tile, skip, skip, seen)));
        EXPECT_TRUE(equalPlanes(crop(whole.b, frame, x + skip, y + skip, seen), crop(part.b, tile, skip, skip, seen)));
    }
}

TEST(Grain, IsOneSilverPatternOnBlackAndWhiteStock) {
    const Size size{31, 15};
    const Plane in = codes(size, 9);
    for (const NegativeStock stock : {SILVER, NegativeStock::TMax100}) {
        const Channels out = grained({in, in, in}, size, {.stock = stock});
        EXPECT_TRUE(equalPlanes(out.r, out.g));
        EXPECT_TRUE(equalPlanes(out.r, out.b));
    }
    EXPECT_NE(grained({in, in, in}, size, {}).r, grained({in, in, in}, size, {}).g) << "a colour stock has three";
}

TEST(Grain, NeverLiftsACodeAboveOneNorAboveItself) {
    const Size size{40, 40};
    const Channels nearClip = grained(flatGrey(size, 0.999f), size, {.amount = 1.2});
    EXPECT_EQ(*std::max_element(nearClip.r.begin(), nearClip.r.end()), 1.0f);
    EXPECT_LT(*std::min_element(nearClip.r.begin(), nearClip.r.end()), 0.999f);
    const Channels above = grained(flatGrey(size, 1.2f), size, {.amount = 1.2});
    EXPECT_EQ(*std::max_element(above.r.begin(), above.r.end()), 1.2f);
    EXPECT_LT(*std::min_element(above.r.begin(), above.r.end()), 1.2f);
    const Channels dark = grained(flatGrey(size, 0.0f), size, {.amount = 1.2});
    EXPECT_LT(*std::min_element(dark.r.begin(), dark.r.end()), 0.0f) << "there is no lower bound";
}

// Share of white noise's variance that a Gaussian clump of this sigma leaves: the sum of its squared weights.
double clumpGain(double sigma) {
    const int r = std::max(static_cast<int>(std::ceil(3.0 * sigma)), 1);
    double sum = 0.0, squares = 0.0;
    for (int k = -r; k <= r; ++k) {
        const double weight = std::exp(-(k * k) / (2.0 * sigma * sigma));
        sum += weight;
        squares += weight * weight;
    }
    const double alongOneAxis = squares / (sum * sum);
    return alongOneAxis * alongOneAxis;
}

TEST(Grain, HasTheStocksDeviationAtEveryDensity) {
    const Size size{128, 128};
    for (const NegativeStock stock : {NegativeStock::Vision500T, NegativeStock::Eastman5254, SILVER}) {
        const GrainProfile p = grainProfile(stock);
        for (int node = 0; node < GRAIN_NODE_COUNT; ++node) {
            const Channels in = flatGrey(size, static_cast<float>(GRAIN_NODE_Y[node]));
            const Channels out = grained(in, size, {.amount = 1.0, .stock = stock});
            // Variances before the layers mix; deviates have a third.
            const double vr = p.tableR[node] * p.tableR[node] * clumpGain(p.sizeR) / 3.0;
            const double vg = p.tableG[node] * p.tableG[node] * clumpGain(p.sizeG) / 3.0;
            const double vb = p.tableB[node] * p.tableB[node] * clumpGain(p.sizeB) / 3.0;
            const double expected[3] = {vr + p.corrRG * p.corrRG * vg + p.corrBR * p.corrBR * vb,
                                        vg + p.corrRG * p.corrRG * vr + p.corrGB * p.corrGB * vb,
                                        vb + p.corrGB * p.corrGB * vg + p.corrBR * p.corrBR * vr};
            const Plane* planes[3] = {&out.r, &out.g, &out.b};
            for (int c = 0; c < 3; ++c) {
                // Only the downward half: the upward one may be capped.
                double squares = 0.0;
                for (const double n : added(in.r, *planes[c]))
                    squares += n < 0.0 ? n * n : 0.0;
                const double deviation = std::sqrt(2.0 * squares / (128.0 * 128.0));
                // 16384 samples in clumps of a few pixels, half of them used: one standard error is about 2 %.
                EXPECT_NEAR(deviation / std::sqrt(expected[c]), 1.0, 0.07)
                    << "stock " << static_cast<int>(stock) << " node " << node << " channel " << c;
            }
        }
    }
}

TEST(Grain, SharesItsLayersAsTheStockSays) {
    const Size size{256, 256};
    for (const NegativeStock stock : {NegativeStock::Vision500T, NegativeStock::Eastman5254}) {
        const GrainProfile p = grainProfile(stock);
        const Channels in = flatGrey(size, 0.2149f);
        const Channels out = grained(in, size, {.amount = 0.5, .stock = stock, .blurX = 0.0, .blurY = 0.0});
        const double r = p.tableR[5], g = p.tableG[5], b = p.tableB[5];
        const double varR = r * r + p.corrRG * p.corrRG * g * g + p.corrBR * p.corrBR * b * b;
        const double varG = g * g + p.corrRG * p.corrRG * r * r + p.corrGB * p.corrGB * b * b;
        const double varB = b * b + p.corrGB * p.corrGB * g * g + p.corrBR * p.corrBR * r * r;
        const double rg = p.corrRG * (r * r + g * g) + p.corrBR * p.corrGB * b * b;
        const double rb = p.corrBR * (r * r + b * b) + p.corrRG * p.corrGB * g * g;
        const double gb = p.corrGB * (g * g + b * b) + p.corrRG * p.corrBR * r * r;
        const auto nr = added(in.r, out.r), ng = added(in.g, out.g), nb = added(in.b, out.b);
        const double tolerance = 0.02; // 65536 samples: five standard errors
        EXPECT_NEAR(correlation(nr, ng), rg / std::sqrt(varR * varG), tolerance);
        EXPECT_NEAR(correlation(nr, nb), rb / std::sqrt(varR * varB), tolerance);
        EXPECT_NEAR(correlation(ng, nb), gb / std::sqrt(varG * varB), tolerance);
    }
}

// Correlation of two noise fields of 48 x 48 pixels, one moved by (dx, dy), where they overlap.
double movedCorrelation(const std::vector<double>& a, const std::vector<double>& b, int dx, int dy) {
    std::vector<double> left, right;
    for (int y = 2; y < 46; ++y) {
        for (int x = 2; x < 46; ++x) {
            left.push_back(a[static_cast<std::size_t>(y * 48 + x)]);
            right.push_back(b[static_cast<std::size_t>((y + dy) * 48 + x + dx)]);
        }
    }
    return correlation(left, right);
}

TEST(Grain, IsNewOnEveryFrame) {
    const Size size{48, 48};
    const Channels in = flatGrey(size, 0.3f);
    constexpr int FRAMES = 200;
    constexpr int SHIFTS[][2] = {{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}, {2, 1}, {-2, 2}};
    std::array<double, std::size(SHIFTS)> sum = {};
    std::vector<double> before;
    for (int f = 0; f < FRAMES; ++f) {
        const Channels out = grained(in, size, {.stock = SILVER, .frame = f - 100.0, .blurX = 0.0, .blurY = 0.0});
        const std::vector<double> now = added(in.r, out.r);
        for (std::size_t s = 0; f > 0 && s < sum.size(); ++s) {
            const double c = movedCorrelation(before, now, SHIFTS[s][0], SHIFTS[s][1]);
            EXPECT_LT(std::fabs(c), 0.125) << "frame " << f; // 1936 pixels: 5.5 standard errors
            sum[s] += c;
        }
        before = now;
    }
    for (std::size_t s = 0; s < sum.size(); ++s) {
        EXPECT_LT(std::fabs(sum[s] / (FRAMES - 1)), 0.008) // 5 standard errors of the mean
            << "moved by " << SHIFTS[s][0] << ", " << SHIFTS[s][1];
    }
}

TEST(Grain, IsWhiteBeforeItClumps) {
    const Size size{48, 48};
    const Channels in = flatGrey(size, 0.3f);
    const Channels out = grained(in, size, {.stock = SILVER, .blurX = 0.0, .blurY = 0.0});
    const std::vector<double> n = added(in.r, out.r);
    for (const auto& [dx, dy] : {std::pair{1, 0}, std::pair{0, 1}, std::pair{1, 1}, std::pair{2, 0}, std::pair{0, 2}}) {
        EXPECT_LT(std::fabs(movedCorrelation(n, n, dx, dy)), 0.1) << dx << ", " << dy;
    }
}

TEST(Grain, IsTheSameForAnyNumberOfThreadsOnEveryFusedLevel) {
    const Size size{301, 23};
    const Grain n = {.cellX = 0.5, .cellY = 0.5, .originX = -5};
    Channels expected;
    for (const RowLevel level : supportedLevels()) {
        if (!rowLevelIsFused(level)) continue;
        const WithLevel use(level);
        for (const unsigned threads : {1u, 2u, 3u, 8u}) {
            const WithThreads pool(threads);
            const Channels out = grained(pictures(size), size, n);
            if (expected.r.empty()) expected = out;
            expectEqual(expected, out, std::string(rowLevelName(level)) + " threads " + std::to_string(threads));
        }
    }
}

TEST(Grain, DrawsARowAlikeWhereverItStarts) {
    std::vector<std::uint32_t> keys(300);
    for (std::size_t i = 0; i < keys.size(); ++i)
        keys[i] = static_cast<std::uint32_t>(i) * 0x9E3779B1u;
    for (const RowLevel level : supportedLevels()) {
        const GrainRows& rows = rowKernelsOf(level)->grain;
        std::vector<double> whole(keys.size());
        rows.deviates(keys.data(), 77u, whole.data(), whole.size());
        for (const std::size_t start : {1u, 2u, 3u, 5u, 127u, 131u, 299u}) {
            std::vector<double> part(keys.size() - start);
            rows.deviates(keys.data() + start, 77u, part.data(), part.size());
            EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + static_cast<std::ptrdiff_t>(start)))
                << rowLevelName(level) << " from " << start;
        }
    }
}

TEST(Grain, ReportsAbsurdClumps) {
    const Size size{4, 4};
    EXPECT_THROW(grained(pictures(size), size, {.blurX = 1e12}), std::length_error);
}

} // namespace
} // namespace velloid
