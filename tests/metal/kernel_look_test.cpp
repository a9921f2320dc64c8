// k_color_lut and the output table of k_encode_out against the CPU's tetrahedral sampler.
//
// Tolerances: a position n - 1 <= 32 points from the origin carries an ulp of 2e-6 of a cell; entries differ by up to 1
// between neighbours: 1e-5. At the border of two tetrahedra both blends agree, so a different choice costs nothing.
#include "color/lut3d.h"
#include "tests/metal/kernel_rig.h"
#include "tests/metal/kernel_twins.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velloid::gpu {
namespace {

constexpr int W = 31;
constexpr int H = 9;
constexpr int N = W * H;

LUT3D randomTable(int size, RGB low = {0, 0, 0}, RGB high = {1, 1, 1}) {
    LUT3D lut;
    lut.size = size;
    lut.domainMin = low;
    lut.domainMax = high;
    const std::vector<float> values = scatter(3 * size * size * size, 0.0f, 1.0f, 99);
    for (std::size_t i = 0; i < values.size(); i += 3)
        lut.data.push_back({values[i], values[i + 1], values[i + 2]});
    return lut;
}

std::vector<float> packed(const LUT3D& lut) {
    std::vector<float> values;
    for (const RGB& entry : lut.data)
        values.insert(values.end(), {entry.r, entry.g, entry.b});
    return values;
}

struct Planes {
    std::vector<float> R, G, B;
};

Planes look(Planes planes, const LUT3D& lut, float strength) {
    FrameParams p = neutralParams(static_cast<int>(planes.R.size()), 1);
    p.color = strength;
    p.lutSize = lut.size;
    p.lutLogDomain = lut.logDomain ? 1 : 0;
    p.lutMinR = lut.domainMin.r;
    p.lutMinG = lut.domainMin.g;
    p.lutMinB = lut.domainMin.b;
    p.lutInvR = 1.0f / (lut.domainMax.r - lut.domainMin.r);
    p.lutInvG = 1.0f / (lut.domainMax.g - lut.domainMin.g);
    p.lutInvB = 1.0f / (lut.domainMax.b - lut.domainMin.b);
    runKernel("k_color_lut", p.W, 1, {planes.R, planes.G, planes.B, packed(lut), p});
    return planes;
}

TEST(KernelLook, SamplesLikeTheCpuInEveryTetrahedron) {
    NEED_KERNELS();
    const LUT3D lut = randomTable(5, {-0.5f, 0.0f, 0.25f}, {1.5f, 2.0f, 0.75f});
    Planes in{scatter(N, -1.0f, 2.0f, 1), scatter(N, -0.5f, 2.5f, 2), scatter(N, 0.0f, 1.0f, 3)};
    // Equal fractions, where the order of the six cases decides: on the diagonal, and on each of the three planes.
    const float ties[][3] = {{0.1f, 0.6f, 0.4f}, {0.1f, 0.6f, 0.3f}, {0.1f, 0.3f, 0.4f}, {0.4f, 0.6f, 0.4f}};
    for (std::size_t i = 0; i < 4; ++i) {
        in.R[i] = ties[i][0];
        in.G[i] = ties[i][1];
        in.B[i] = ties[i][2];
    }
    std::vector<double> wantR, wantG, wantB;
    for (std::size_t i = 0; i < N; ++i) {
        const RGB o = sampleLutTetrahedral(lut, in.R[i], in.G[i], in.B[i]);
        wantR.push_back(in.R[i] + (double{o.r} - in.R[i]) * 0.7f);
        wantG.push_back(in.G[i] + (double{o.g} - in.G[i]) * 0.7f);
        wantB.push_back(in.B[i] + (double{o.b} - in.B[i]) * 0.7f);
    }
    const Planes got = look(in, lut, 0.7f);
    expectClose(got.R, wantR, 1e-5, 0.0, "red");
    expectClose(got.G, wantG, 1e-5, 0.0, "green");
    expectClose(got.B, wantB, 1e-5, 0.0, "blue");
}

TEST(KernelLook, OfALogTableWorksInCodes) {
    NEED_KERNELS();
    LUT3D lut = randomTable(5);
    lut.logDomain = true;
    const Planes in{scatter(N, -0.01f, 5.0f, 4), scatter(N, -0.01f, 5.0f, 5), scatter(N, -0.01f, 5.0f, 6)};
    std::vector<double> want;
    for (std::size_t i = 0; i < N; ++i) {
        const double e = twin::logC4Encode(in.R[i]);
        const RGB o = sampleLutTetrahedral(lut, e, twin::logC4Encode(in.G[i]), twin::logC4Encode(in.B[i]));
        want.push_back(twin::logC4Decode(e + (o.r - e) * 0.9f));
    }
    // 1e-5 in code is 1.1e-4 relative in the value.
    expectClose(look(in, lut, 0.9f).R, want, 1e-6, 1.5e-4, "red");
}

TEST(KernelLook, ClampsToTheEdgeOfTheTable) {
    NEED_KERNELS();
    const LUT3D lut = randomTable(3);
    const float infinite = std::numeric_limits<float>::infinity();
    const std::vector<float> below = {-5.0f, -0.001f, 0.0f};
    const std::vector<float> above = {1.0f, 1.001f, 500.0f};
    for (const float v : look({below, below, below}, lut, 1.0f).R)
        EXPECT_NEAR(v, lut.data.front().r, 1e-5);
    for (const float v : look({above, above, above}, lut, 1.0f).G)
        EXPECT_NEAR(v, lut.data.back().g, 4e-5);
    // A blend with an infinite value stays infinite, but the table is sampled at its top and read inside its bounds.
    EXPECT_FALSE(std::isfinite(look({{infinite}, {0.5f}, {0.5f}}, lut, 0.5f).R[0]));
}

TEST(KernelLook, OfTwoPointsPerAxisInterpolatesTheWholeRange) {
    NEED_KERNELS();
    LUT3D identity = randomTable(2);
    for (std::size_t i = 0; i < 8; ++i) {
        identity.data[i] = {static_cast<float>(i & 1), static_cast<float>((i >> 1) & 1), static_cast<float>(i >> 2)};
    }
    const Planes in{scatter(N, 0.0f, 1.0f, 7), scatter(N, 0.0f, 1.0f, 8), scatter(N, 0.0f, 1.0f, 9)};
    const Planes got = look(in, identity, 1.0f);
    expectClose(got.R, std::vector<double>(in.R.begin(), in.R.end()), 3e-7, 0.0, "red");
    expectClose(got.G, std::vector<double>(in.G.begin(), in.G.end()), 3e-7, 0.0, "green");
    expectClose(got.B, std::vector<double>(in.B.begin(), in.B.end()), 3e-7, 0.0, "blue");
}

// The output table, on three pixels of 3 numbers each.
std::vector<float> encodeThrough(const LUT3D& lut, const Planes& in, int io, int domain, float strength) {
    FrameParams p = neutralParams(static_cast<int>(in.R.size()), 1, 3);
    p.io = io;
    p.outLutActive = 1;
    p.outLutDomain = domain;
    p.outLutSize = lut.size;
    p.outLutStrength = strength;
    std::vector<float> image(in.R.size() * 3);
    runKernel("k_encode_out", p.W, 1, {in.R, in.G, in.B, std::vector<float>(image.size()), image, packed(lut), p});
    return image;
}

TEST(KernelOutputLut, IsIndexedByTheEncodedValues) {
    NEED_KERNELS();
    const LUT3D lut = randomTable(6);
    const Planes in{scatter(N, 0.0f, 1.2f, 10), scatter(N, 0.0f, 1.2f, 11), scatter(N, 0.0f, 1.2f, 12)};
    const std::vector<float> image = encodeThrough(lut, in, 1, 0, 0.6f);
    std::vector<double> want;
    for (std::size_t i = 0; i < N; ++i) {
        const RGB o = sampleLutTetrahedral(lut, in.R[i], in.G[i], in.B[i]);
        want.push_back(in.R[i] + (double{o.r} - in.R[i]) * 0.6f);
        want.push_back(in.G[i] + (double{o.g} - in.G[i]) * 0.6f);
        want.push_back(in.B[i] + (double{o.b} - in.B[i]) * 0.6f);
    }
    expectClose(image, want, 1e-5, 0.0, "encoded values");
}

TEST(KernelOutputLut, IsIndexedByLogC4CodesOfTheWorkingImageInDomainOne) {
    NEED_KERNELS();
    const LUT3D lut = randomTable(6);
    const Planes in{scatter(N, -0.017f, 6.0f, 13), scatter(N, -0.017f, 6.0f, 14), scatter(N, -0.017f, 6.0f, 15)};
    const std::vector<float> image = encodeThrough(lut, in, 7, 1, 1.0f);
    std::vector<double> want;
    for (std::size_t i = 0; i < N; ++i) {
        const RGB o = sampleLutTetrahedral(lut, twin::logC4Encode(in.R[i]), twin::logC4Encode(in.G[i]),
                                           twin::logC4Encode(in.B[i]));
        want.insert(want.end(), {double{o.r}, double{o.g}, double{o.b}});
    }
    expectClose(image, want, 2e-5, 0.0, "codes");
}

} // namespace
} // namespace velloid::gpu
