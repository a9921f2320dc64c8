// k_grain_prepare and k_grain_finish against the grain of process/.
//
// Tolerances: the noise is a root times a cosine times 1/sqrt(3), below 3.3 in size. Near u1 = 1 the float
// (h & 0xffffff) + 0.5 is rounded, a relative error of 2^-24 in u1 that the root of the logarithm turns into up to 2e-4
// for the few samples within 1e-5 of 1; elsewhere 3e-6 remain. Both are scaled by the amplitude.
#include "process/grain_profiles.h"
#include "tests/metal/kernel_rig.h"
#include "tests/metal/kernel_twins.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace velloid::gpu {
namespace {

constexpr int W = 37;
constexpr int H = 11;
constexpr int N = W * H;

GrainParams grainParams(NegativeStock stock) {
    const GrainProfile profile = grainProfile(stock);
    GrainParams gp{};
    for (std::size_t i = 0; i < 11; ++i) {
        gp.nodeY[i] = static_cast<float>(GRAIN_NODE_Y[i]);
        gp.sigR[i] = static_cast<float>(profile.tableR[i]);
        gp.sigG[i] = static_cast<float>(profile.tableG[i]);
        gp.sigB[i] = static_cast<float>(profile.tableB[i]);
    }
    return gp;
}

std::vector<int> counting(int count, int from) {
    std::vector<int> cells(static_cast<std::size_t>(count));
    std::iota(cells.begin(), cells.end(), from);
    return cells;
}

FrameParams params(float grain) {
    FrameParams p = neutralParams(W, H);
    p.grain = grain;
    p.grainSeed = 0x50071F1Bu;
    p.grainFrame = 17;
    return p;
}

struct Prepared {
    std::vector<float> cR, cG, cB, nR, nG, nB;
};

Prepared prepare(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B,
                 const FrameParams& p, const GrainParams& gp, const std::vector<int>& cellsX,
                 const std::vector<int>& cellsY) {
    const auto plane = [&R] { return std::vector<float>(R.size(), -7.0f); };
    Prepared out{plane(), plane(), plane(), plane(), plane(), plane()};
    runKernel("k_grain_prepare", p.W, p.H,
              {R, G, B, out.cR, out.cG, out.cB, out.nR, out.nG, out.nB, p, gp, cellsX, cellsY});
    return out;
}

std::vector<double> noiseTwin(const std::vector<float>& linear, int channel, const float* sigmas, const FrameParams& p,
                              const GrainParams& gp, const std::vector<int>& cellsX, const std::vector<int>& cellsY) {
    std::vector<double> want(linear.size());
    for (std::size_t i = 0; i < linear.size(); ++i) {
        const std::size_t x = i % static_cast<std::size_t>(p.W);
        const std::size_t y = i / static_cast<std::size_t>(p.W);
        const double code = std::clamp(twin::logC4Encode(linear[i]), 0.0, 1.0);
        want[i] = twin::randomGauss(cellsX[x], cellsY[y], p.grainMono != 0 ? 0 : channel, p.grainFrame, p.grainSeed) *
                  p.grain * twin::grainSigma(code, gp.nodeY, sigmas);
    }
    return want;
}

TEST(KernelGrain, MakesTheNoiseAndTheCodesOfTheCpu) {
    NEED_KERNELS();
    const std::vector<float> R = scatter(N, -0.02f, 3.0f, 1);
    const std::vector<float> G = scatter(N, -0.02f, 0.4f, 2);
    const std::vector<float> B = scatter(N, -0.02f, 600.0f, 3);
    const GrainParams gp = grainParams(NegativeStock::Vision500T);
    const FrameParams p = params(1.3f);
    // Cells below zero and beyond 2^31 steps of the hash, as windows of large frames have them.
    const std::vector<int> cellsX = counting(W, -5);
    const std::vector<int> cellsY = counting(H, 2000000000);
    const Prepared got = prepare(R, G, B, p, gp, cellsX, cellsY);
    expectClose(got.cR, mapped(R, twin::logC4Encode), 3e-6, 0.0, "red code");
    expectClose(got.cG, mapped(G, twin::logC4Encode), 3e-6, 0.0, "green code");
    expectClose(got.cB, mapped(B, twin::logC4Encode), 3e-6, 0.0, "blue code");
    expectClose(got.nR, noiseTwin(R, 0, gp.sigR, p, gp, cellsX, cellsY), 2e-6, 2e-5, "red noise");
    expectClose(got.nG, noiseTwin(G, 1, gp.sigG, p, gp, cellsX, cellsY), 2e-6, 2e-5, "green noise");
    expectClose(got.nB, noiseTwin(B, 2, gp.sigB, p, gp, cellsX, cellsY), 2e-6, 2e-5, "blue noise");
}

TEST(KernelGrain, MayPutTheNoiseOverTheLinearPlanes) {
    NEED_KERNELS();
    std::vector<float> R = scatter(N, 0.0f, 1.0f, 4);
    std::vector<float> G = scatter(N, 0.0f, 1.0f, 5);
    std::vector<float> B = scatter(N, 0.0f, 1.0f, 6);
    const GrainParams gp = grainParams(NegativeStock::Portra400);
    const FrameParams p = params(1.0f);
    const std::vector<int> cellsX = counting(W, 0);
    const std::vector<int> cellsY = counting(H, 0);
    const Prepared apart = prepare(R, G, B, p, gp, cellsX, cellsY);
    std::vector<float> cR(N), cG(N), cB(N);
    runKernel("k_grain_prepare", W, H, {R, G, B, cR, cG, cB, R, G, B, p, gp, cellsX, cellsY});
    EXPECT_EQ(R, apart.nR);
    EXPECT_EQ(G, apart.nG);
    EXPECT_EQ(B, apart.nB);
    EXPECT_EQ(cB, apart.cB);
}

TEST(KernelGrain, OfABlackAndWhiteStockIsOneFieldForAllChannels) {
    NEED_KERNELS();
    const std::vector<float> grey = scatter(N, 0.0f, 1.0f, 7);
    FrameParams p = params(1.0f);
    const GrainParams gp = grainParams(NegativeStock::TriX400);
    const Prepared colour = prepare(grey, grey, grey, p, gp, counting(W, 0), counting(H, 0));
    EXPECT_NE(colour.nR, colour.nG);
    EXPECT_NE(colour.nG, colour.nB);
    p.grainMono = 1;
    const Prepared mono = prepare(grey, grey, grey, p, gp, counting(W, 0), counting(H, 0));
    EXPECT_EQ(mono.nR, colour.nR) << "the field of channel 0";
    EXPECT_EQ(mono.nR, mono.nG);
    EXPECT_EQ(mono.nR, mono.nB);
}

TEST(KernelGrain, TakesTheAmplitudeFromTheNodes) {
    NEED_KERNELS();
    GrainParams gp{};
    for (std::size_t i = 0; i < 11; ++i) {
        gp.nodeY[i] = 0.1f * static_cast<float>(i);
        gp.sigR[i] = static_cast<float>(i + 1);
    }
    gp.nodeY[10] = 0.9991f;
    FrameParams p = neutralParams(5, 1);
    p.grain = 1.0f;
    // Below the first node, on it, halfway between two, and beyond the last.
    const std::vector<float> codes = {-0.3f, 0.0f, 0.25f, 0.9991f, 1.5f};
    std::vector<float> linear;
    for (const float code : codes)
        linear.push_back(static_cast<float>(twin::logC4Decode(code)));
    const std::vector<int> cells(5, 3);
    const Prepared got = prepare(linear, linear, linear, p, gp, cells, {4});
    const double z = twin::randomGauss(3, 4, 0, 0, 0);
    const std::vector<double> want = {z * 1, z * 1, z * 3.5, z * 11, z * 11};
    expectClose(got.nR, want, 1e-6, 1e-4, "amplitude");
}

// One draw in 2^24 is so near 1 that its float is 1: no noise there, never a root of a negative number.
TEST(KernelGrain, SurvivesTheDrawThatRoundsToOne) {
    NEED_KERNELS();
    int x = 0;
    while ((twin::noiseHash(x, 0, 0, 0, 0) & 0xffffffu) != 0xffffffu)
        ++x;
    GrainParams gp = grainParams(NegativeStock::Vision50D);
    FrameParams p = neutralParams(1, 1);
    p.grain = 1.0f;
    const Prepared got = prepare({0.18f}, {0.18f}, {0.18f}, p, gp, {x}, {0});
    EXPECT_NEAR(got.nR[0], 0.0f, 1e-3) << "cell " << x;
}

TEST(KernelGrainFinish, CouplesTheChannelsAndDecodes) {
    NEED_KERNELS();
    const std::vector<float> cR = scatter(N, -0.1f, 1.1f, 8);
    const std::vector<float> cG = scatter(N, -0.1f, 1.1f, 9);
    const std::vector<float> cB = scatter(N, -0.1f, 1.1f, 10);
    std::vector<float> r = scatter(N, -0.2f, 0.2f, 11);
    std::vector<float> g = scatter(N, -0.2f, 0.2f, 12);
    std::vector<float> b = scatter(N, -0.2f, 0.2f, 13);
    FrameParams p = neutralParams(W, H);
    p.corrRG = 0.28f;
    p.corrGB = 0.14f;
    p.corrBR = 0.20f;
    const auto want = [&](const std::vector<float>& code, auto noise) {
        std::vector<double> values(N);
        for (std::size_t i = 0; i < N; ++i) {
            values[i] = twin::logC4Decode(std::min(code[i] + noise(i), std::max(1.0, double{code[i]})));
        }
        return values;
    };
    const auto wantR =
        want(cR, [&, r, g, b](std::size_t i) { return r[i] + double{p.corrRG} * g[i] + double{p.corrBR} * b[i]; });
    const auto wantG =
        want(cG, [&, r, g, b](std::size_t i) { return g[i] + double{p.corrRG} * r[i] + double{p.corrGB} * b[i]; });
    const auto wantB =
        want(cB, [&, r, g, b](std::size_t i) { return b[i] + double{p.corrGB} * g[i] + double{p.corrBR} * r[i]; });
    // In place over the noise, as the renderer runs it.
    runKernel("k_grain_finish", W, H, {cR, cG, cB, r, g, b, r, g, b, p});
    expectClose(r, wantR, 3e-7, 1e-5, "red");
    expectClose(g, wantG, 3e-7, 1e-5, "green");
    expectClose(b, wantB, 3e-7, 1e-5, "blue");
}

TEST(KernelGrainFinish, NeverRaisesACodeAboveOne) {
    NEED_KERNELS();
    const std::vector<float> codes = {0.99f, 1.0f, 1.2f, 1.2f};
    const std::vector<float> noise = {0.5f, 0.5f, 0.5f, -0.5f};
    std::vector<float> R(4), G(4), B(4);
    runKernel("k_grain_finish", 4, 1, {codes, codes, codes, noise, noise, noise, R, G, B, neutralParams(4, 1)});
    const std::vector<double> want = {twin::logC4Decode(1.0), twin::logC4Decode(1.0), twin::logC4Decode(1.2f),
                                      twin::logC4Decode(0.7f)};
    expectClose(R, want, 0.0, 1e-5, "bounded");
}

} // namespace
} // namespace velloid::gpu
