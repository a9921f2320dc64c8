// The transfer row kernels against the scalar pixel functions and the literal loops, for every encoding and level.
#include "color/colorspace.h"
#include "color/curves/aces.h"
#include "color/curves/apple.h"
#include "color/curves/arri.h"
#include "color/curves/blackmagic.h"
#include "color/curves/canon.h"
#include "color/curves/cineon.h"
#include "color/curves/fujifilm.h"
#include "color/curves/panasonic.h"
#include "color/curves/rec709.h"
#include "color/curves/red.h"
#include "color/curves/sony.h"
#include "color/scene_fit.h"
#include "rows/kernels.h"
#include "tests/reference/transfer_reference.h"
#include "tests/rows/fused_scalar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace velloid;

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
const std::vector<float> SPECIALS = {0.f,     -0.f,    1.f,    -1.f,    INF,           -INF,  NOT_A_NUMBER, 1e-45f,
                                     -1e-45f, 3.4e38f, 65.f,   66.f,    67.f,          -66.f, 5e3f,         -5e3f,
                                     1e30f,   -1e30f,  1e-30f, -1e-30f, 18.1f,         58.f,  110.2f,       1024.f,
                                     75.f,    88.f,    229.7f, -17.5f,  -0.0180569962f};

struct Planes {
    std::vector<float> r, g, b;
};

bool operator==(const Planes& x, const Planes& y) {
    const auto same = [](float a, float b) {
        return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
    };
    return std::equal(x.r.begin(), x.r.end(), y.r.begin(), y.r.end(), same) &&
           std::equal(x.g.begin(), x.g.end(), y.g.begin(), y.g.end(), same) &&
           std::equal(x.b.begin(), x.b.end(), y.b.begin(), y.b.end(), same);
}

// Every plane holds the same samples in another order, so that a pixel mixes them.
Planes shuffled(const std::vector<float>& samples) {
    Planes p = {samples, samples, samples};
    std::mt19937 order(7);
    std::shuffle(p.g.begin(), p.g.end(), order);
    std::shuffle(p.b.begin(), p.b.end(), order);
    return p;
}

std::vector<float> codeSamples() {
    std::vector<float> v = SPECIALS;
    for (int i = 0; i < 30000; ++i)
        v.push_back(static_cast<float>(-0.3 + 1.6 * i / 30000));
    return v;
}

// Both signs, from far below to far above a scene, and densely around black where the toes join.
std::vector<float> linearSamples() {
    std::vector<float> v = SPECIALS;
    for (int i = 0; i < 12000; ++i) {
        v.push_back(static_cast<float>(-0.1 + 0.3 * i / 12000));
        v.push_back(std::exp2(-20.0f + 30.0f * static_cast<float>(i) / 12000.0f));
    }
    for (int i = 0; i < 3000; ++i)
        v.push_back(-std::exp2(-20.0f + 25.0f * static_cast<float>(i) / 3000.0f));
    return v;
}

class RestoresLevel : public testing::Test {
protected:
    void TearDown() override { setRowLevel(before); }

    // Calls check(level) for every level that this machine runs, with that level active.
    template <class Check>
    void atEveryLevel(Check check) {
        for (RowLevel level : {RowLevel::Baseline, RowLevel::Avx2, RowLevel::Avx512}) {
            if (!setRowLevel(level)) continue;
            SCOPED_TRACE(rowLevelName(level));
            check(level);
        }
    }

private:
    RowLevel before = activeRowLevel();
};

using TransferRowsTest = RestoresLevel;

template <class Check>
void forEverySpace(Check check) {
    for (int i = 0; i < IO_SPACE_COUNT; ++i) {
        SCOPED_TRACE(ioSpaceLabel(static_cast<IOSpace>(i)));
        check(static_cast<IOSpace>(i));
    }
}

std::int64_t ordered(float v) {
    const auto bits = std::bit_cast<std::int32_t>(v);
    return bits < 0 ? std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits : bits;
}

// Counts differing floats. Two units in the last place are the limit, except for what is left when a matrix or a curve
// cancels: there the error is bounded by the size of what cancelled (double rounding times a generous 100).
class Comparison {
public:
    void add(float got, float wanted, double cancelled, const char* what, double in) {
        ++total;
        if (std::bit_cast<std::uint32_t>(got) == std::bit_cast<std::uint32_t>(wanted)) return;
        if (got == wanted) return; // zeros of either sign
        if (std::isnan(got) && std::isnan(wanted)) return;
        if (std::fabs(double{got} - double{wanted}) <= 2.3e-14 * cancelled) return;
        ++differing;
        EXPECT_LE(std::abs(ordered(got) - ordered(wanted)), 2)
            << what << " of " << in << ": expected " << wanted << ", got " << got;
    }

    double share() const { return static_cast<double>(differing) / static_cast<double>(total); }

private:
    std::size_t total = 0;
    std::size_t differing = 0;
};

double magnitude(float a, float b, float c) {
    double m = 1.0;
    for (float v : {a, b, c})
        if (std::isfinite(v)) m = std::max(m, std::fabs(double{v}));
    return m;
}

template <class Pixel>
void compareToPixels(const Planes& in, const Planes& out, Pixel pixel, double limit) {
    Comparison comparison;
    for (std::size_t i = 0; i < in.r.size(); ++i) {
        double r = 0.0, g = 0.0, b = 0.0;
        pixel(in.r[i], in.g[i], in.b[i], r, g, b);
        const float x = static_cast<float>(r), y = static_cast<float>(g), z = static_cast<float>(b);
        const double cancelled = std::max(magnitude(x, y, z), magnitude(in.r[i], in.g[i], in.b[i]));
        comparison.add(out.r[i], x, cancelled, "red", in.r[i]);
        comparison.add(out.g[i], y, cancelled, "green", in.g[i]);
        comparison.add(out.b[i], z, cancelled, "blue", in.b[i]);
    }
    EXPECT_LE(comparison.share(), limit) << "share of differing floats";
}

constexpr double SOME_MATRIX[9] = {0.85, 0.16, -0.01, -0.005, 1.08, -0.075, -0.03, -0.025, 1.055};

// One float in 90,000 may round the other way.
constexpr double DIFFERING_SHARE = 2.3e-5;

TEST_F(TransferRowsTest, DecodeLikeThePixelFunctionForEveryEncoding) {
    const Planes in = shuffled(codeSamples());
    atEveryLevel([&](RowLevel) {
        forEverySpace([&](IOSpace space) {
            Planes out = in;
            decodeRowToLinearAWG4(out.r.data(), out.g.data(), out.b.data(), out.r.size(), space);
            const auto pixel = [space](double r, double g, double b, double& R, double& G, double& B) {
                decodeToLinearAWG4(r, g, b, space, R, G, B);
            };
            compareToPixels(in, out, pixel, DIFFERING_SHARE);
        });
    });
}

TEST_F(TransferRowsTest, EncodeLikeThePixelFunctionForEveryEncoding) {
    const Planes in = shuffled(linearSamples());
    atEveryLevel([&](RowLevel) {
        forEverySpace([&](IOSpace space) {
            Planes out = in;
            encodeRowFromLinearAWG4(out.r.data(), out.g.data(), out.b.data(), out.r.size(), space);
            const auto pixel = [space](double R, double G, double B, double& r, double& g, double& b) {
                encodeFromLinearAWG4(R, G, B, space, r, g, b);
            };
            compareToPixels(in, out, pixel, DIFFERING_SHARE);
        });
    });
}

// With an identity curve the codes are the rows of the matrix, in double: every bit of their rounding shows.
TEST_F(TransferRowsTest, AMatrixRowIsOneProductAndTwoFusedSteps) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> light(-1.f, 8.f);
    std::vector<float> in[3];
    for (std::vector<float>& plane : in)
        for (int i = 0; i < 257; ++i)
            plane.push_back(light(random));
    int compared = 0;
    atEveryLevel([&](RowLevel level) {
        if (!rowLevelIsFused(level)) return;
        ++compared;
        std::vector<double> out[3] = {std::vector<double>(257), std::vector<double>(257), std::vector<double>(257)};
        rowKernelsOf(level)->transfer.encodeCodes(in[0].data(), in[1].data(), in[2].data(), out[0].data(),
                                                  out[1].data(), out[2].data(), 257, {}, SOME_MATRIX);
        for (std::size_t c = 0; c < 3; ++c) {
            const double* m = SOME_MATRIX + 3 * c;
            for (std::size_t i = 0; i < 257; ++i) {
                const double fused =
                    std::fma(m[2], double{in[2][i]}, std::fma(m[0], double{in[0][i]}, m[1] * in[1][i]));
                ASSERT_EQ(out[c][i], fused) << "channel " << c << ", pixel " << i;
            }
        }
    });
    if (compared == 0) GTEST_SKIP() << "this processor has no fused multiply-add";
}

TEST_F(TransferRowsTest, LogC4RowsFollowTheCurveWithNaNInfinityAndFootroom) {
    atEveryLevel([&](RowLevel) {
        Comparison encoding, decoding;
        const std::vector<float> linear = linearSamples();
        std::vector<float> out(linear.size());
        logc4EncodeRow(linear.data(), out.data(), linear.size());
        for (std::size_t i = 0; i < linear.size(); ++i)
            encoding.add(out[i], static_cast<float>(logc4::encode(linear[i])), 1.0, "code", linear[i]);
        const std::vector<float> codes = codeSamples();
        out.resize(codes.size());
        logc4DecodeRow(codes.data(), out.data(), codes.size());
        for (std::size_t i = 0; i < codes.size(); ++i)
            decoding.add(out[i], static_cast<float>(logc4::decode(codes[i])), 1.0, "linear", codes[i]);
        EXPECT_LE(encoding.share(), DIFFERING_SHARE);
        EXPECT_LE(decoding.share(), DIFFERING_SHARE);
    });
}

TEST_F(TransferRowsTest, LogC4RowsKeepNaNAndTheSignOfInfinity) {
    const std::vector<float> in = {NOT_A_NUMBER, INF, -INF, 3.4e38f, -3.4e38f, NOT_A_NUMBER, INF, -INF, 0.f};
    atEveryLevel([&](RowLevel) {
        for (auto row : {logc4EncodeRow, logc4DecodeRow}) {
            std::vector<float> out(in.size());
            row(in.data(), out.data(), in.size());
            EXPECT_TRUE(std::isnan(out[0]) && std::isnan(out[5])) << out[0] << " " << out[5];
            EXPECT_EQ(out[1], INF);
            EXPECT_EQ(out[2], -INF);
            EXPECT_EQ(out[6], INF);
            EXPECT_EQ(out[7], -INF);
        }
    });
}

TEST_F(TransferRowsTest, LogC4RowsInPlaceGiveTheSameBits) {
    const std::vector<float> in = linearSamples();
    atEveryLevel([&](RowLevel) {
        for (auto row : {logc4EncodeRow, logc4DecodeRow}) {
            Planes apart = {std::vector<float>(in.size()), {}, {}}, inPlace = {in, {}, {}};
            row(in.data(), apart.r.data(), in.size());
            row(inPlace.r.data(), inPlace.r.data(), in.size());
            EXPECT_TRUE(apart == inPlace);
        }
    });
}

// Runs `row` on every short stretch of the samples; each pixel must come out as in the whole row.
template <class Row>
void expectIndependentOfPosition(const Planes& in, Row row) {
    Planes whole = in;
    row(whole.r.data(), whole.g.data(), whole.b.data(), whole.r.size());
    for (std::size_t offset = 0; offset <= 17; ++offset) {
        for (std::size_t length = 1; length <= 40; ++length) {
            Planes part = in;
            row(&part.r[offset], &part.g[offset], &part.b[offset], length);
            Planes wanted = in;
            std::copy_n(&whole.r[offset], length, &wanted.r[offset]);
            std::copy_n(&whole.g[offset], length, &wanted.g[offset]);
            std::copy_n(&whole.b[offset], length, &wanted.b[offset]);
            ASSERT_TRUE(part == wanted) << "offset " << offset << ", length " << length;
        }
    }
}

Planes shortPlanes(const std::vector<float>& samples) {
    Planes p = shuffled(samples);
    for (std::vector<float>* plane : {&p.r, &p.g, &p.b})
        plane->resize(64);
    return p;
}

TEST_F(TransferRowsTest, APixelComesOutTheSameWhereverItStandsAndNothingElseIsTouched) {
    const Planes codes = shortPlanes(codeSamples());
    const Planes linear = shortPlanes(linearSamples());
    atEveryLevel([&](RowLevel) {
        forEverySpace([&](IOSpace space) {
            expectIndependentOfPosition(codes, [space](float* r, float* g, float* b, std::size_t n) {
                decodeRowToLinearAWG4(r, g, b, n, space);
            });
            expectIndependentOfPosition(linear, [space](float* r, float* g, float* b, std::size_t n) {
                encodeRowFromLinearAWG4(r, g, b, n, space);
            });
        });
        expectIndependentOfPosition(linear, [](float* r, float* g, float* b, std::size_t n) {
            logc4EncodeRow(r, r, n);
            logc4DecodeRow(g, b, n);
        });
    });
}

TEST_F(TransferRowsTest, AnEmptyRowIsLeftAlone) {
    atEveryLevel([&](RowLevel) {
        float r = 0.3f, g = 0.4f, b = 0.5f;
        decodeRowToLinearAWG4(&r, &g, &b, 0, IOSpace::SLog3);
        encodeRowFromLinearAWG4(&r, &g, &b, 0, IOSpace::SLog3);
        logc4EncodeRow(&r, &g, 0);
        EXPECT_EQ(r, 0.3f);
        EXPECT_EQ(g, 0.4f);
        EXPECT_EQ(b, 0.5f);
    });
}

struct CurveCase {
    const char* name;
    CurveRow decode, encode;
};

const CurveCase CURVES[] = {
    {"identity", {}, {}},
    {"LogC4", logc4::DECODE_ROW, logc4::ENCODE_ROW},
    {"LogC3", logc3::DECODE_ROW, logc3::ENCODE_ROW},
    {"DaVinci Intermediate", davinci_intermediate::DECODE_ROW, davinci_intermediate::ENCODE_ROW},
    {"ACEScct", acescct::DECODE_ROW, acescct::ENCODE_ROW},
    {"Rec709", rec709::DECODE_ROW, rec709::ENCODE_ROW},
    {"S-Log3", slog3::DECODE_ROW, slog3::ENCODE_ROW},
    {"V-Log", vlog::DECODE_ROW, vlog::ENCODE_ROW},
    {"C-Log2", clog2::DECODE_ROW, clog2::ENCODE_ROW},
    {"C-Log3", clog3::DECODE_ROW, clog3::ENCODE_ROW},
    {"F-Log", flog::DECODE_ROW, flog::ENCODE_ROW},
    {"Log3G10", log3g10::DECODE_ROW, log3g10::ENCODE_ROW},
    {"BMD Film Gen5", bmd_film_gen5::DECODE_ROW, bmd_film_gen5::ENCODE_ROW},
    {"Cineon", cineon::DECODE_ROW, cineon::ENCODE_ROW},
    {"Apple Log", apple_log::DECODE_ROW, apple_log::ENCODE_ROW},
};

constexpr SceneFit SOME_FIT = {
    {0.2, 0.7, 0.1},
    {{0.5, -0.2, 0.2, 0.1, 2.9, -2.8, -0.01}, {0.1, 0.4, 0.2, 0.3, 1.0, -1.1, -0.01}, {0.2, -0.2, 1.0, 0, 1, -1, 0}}};

// Runs one row function of two tables of kernels on the same samples.
template <class Run>
void expectSameBits(const RowKernels& x, const RowKernels& y, const Planes& in, Run run) {
    Planes a = in, b = in;
    run(x.transfer, a);
    run(y.transfer, b);
    EXPECT_TRUE(a == b);
}

void expectSameTransferBits(const RowKernels& x, const RowKernels& y) {
    const Planes codes = shuffled(codeSamples()), linear = shuffled(linearSamples());
    for (const CurveCase& c : CURVES) {
        SCOPED_TRACE(c.name);
        for (const double* matrix : {static_cast<const double*>(nullptr), &SOME_MATRIX[0]}) {
            expectSameBits(x, y, codes, [&](const TransferRows& rows, Planes& p) {
                rows.decode(p.r.data(), p.g.data(), p.b.data(), p.r.size(), c.decode, matrix);
            });
            expectSameBits(x, y, linear, [&](const TransferRows& rows, Planes& p) {
                rows.encode(p.r.data(), p.g.data(), p.b.data(), p.r.size(), c.encode, matrix);
            });
        }
    }
    expectSameBits(x, y, linear, [](const TransferRows& rows, Planes& p) {
        rows.logc4Encode(p.r.data(), p.r.data(), p.r.size());
        rows.logc4Decode(p.g.data(), p.b.data(), p.g.size());
        rows.logc4Decode(p.g.data(), p.g.data(), p.g.size());
    });
    expectSameBits(x, y, linear, [](const TransferRows& rows, Planes& p) {
        rows.sceneFit(p.r.data(), p.g.data(), p.b.data(), p.r.size(), 0.8, SOME_FIT);
    });
}

TEST_F(TransferRowsTest, EveryFusedLevelGivesTheBitsOfScalarCode) {
    int compared = 0;
    atEveryLevel([&](RowLevel level) {
        if (!rowLevelIsFused(level)) return;
        expectSameTransferBits(*rowKernelsOf(level), rows_fused_scalar::KERNELS);
        ++compared;
    });
    if (compared == 0) GTEST_SKIP() << "this processor has no fused multiply-add";
}

TEST_F(TransferRowsTest, SceneFitLikeTheLiteralLoop) {
    const Planes in = shuffled(linearSamples());
    for (double strength : {0.25, 1.0}) {
        atEveryLevel([&](RowLevel) {
            Planes out = in, wanted = in;
            applySceneFit(out.r, out.g, out.b, static_cast<int>(in.r.size()), 1, strength);
            tarnwell::reference::sceneFitRow(wanted.r.data(), wanted.g.data(), wanted.b.data(), in.r.size(), strength);
            Comparison comparison;
            for (std::size_t i = 0; i < in.r.size(); ++i) {
                const double cancelled = 1e3 * magnitude(in.r[i], in.g[i], in.b[i]);
                comparison.add(out.r[i], wanted.r[i], cancelled, "red", in.r[i]);
                comparison.add(out.g[i], wanted.g[i], cancelled, "green", in.g[i]);
                comparison.add(out.b[i], wanted.b[i], cancelled, "blue", in.b[i]);
            }
            EXPECT_LE(comparison.share(), DIFFERING_SHARE);
        });
    }
}

} // namespace
