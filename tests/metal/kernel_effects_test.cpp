// The element-wise kernels of the effects against their formulas in double.
//
// Tolerances: a handful of float operations, each half an ulp: 1e-6 relative to the largest term. Where a LogC4 code is
// decoded, an error of 1e-7 in the code is one of 14/0.907*ln 2 = 11 times as much in the value: 1e-5 relative.
#include "tests/metal/kernel_rig.h"
#include "tests/metal/kernel_twins.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velloid::gpu {
namespace {

constexpr int W = 19;
constexpr int H = 7;
constexpr int N = W * H;

template <typename Formula>
std::vector<double> perPixel(Formula formula) {
    std::vector<double> want(N);
    for (std::size_t i = 0; i < N; ++i)
        want[i] = formula(i);
    return want;
}

TEST(KernelSteps, MixCopyEncodeAndCutAsWritten) {
    NEED_KERNELS();
    const std::vector<float> a = scatter(N, -0.1f, 4.0f, 1);
    const std::vector<float> b = scatter(N, -0.1f, 4.0f, 2);
    const FrameParams p = neutralParams(W, H);
    std::vector<float> got(N);

    runKernel("k_lerp", W, H, {a, b, got, 0.3f, p});
    expectClose(got, perPixel([&](std::size_t i) { return a[i] + (double{b[i]} - a[i]) * 0.3f; }), 1e-6, 1e-6, "lerp");

    runKernel("k_copy", W, H, {a, got, p});
    EXPECT_EQ(got, a);

    runKernel("k_to_logc4", W, H, {a, got, p});
    expectClose(got, mapped(a, twin::logC4Encode), 3e-6, 0.0, "LogC4");

    runKernel("k_excess", W, H, {a, got, 0.50911689f, p});
    expectClose(got, mapped(a, [](double v) { return std::max(0.0, v - 0.50911689f); }), 2e-7, 1e-7, "excess");
    runKernel("k_excess", W, H, {std::vector<float>(N, -3.0f), got, 0.0f, p});
    EXPECT_EQ(got, std::vector<float>(N, 0.0f)) << "negative light has no excess";
}

TEST(KernelSteps, MixInPlaceAsDetailDoes) {
    NEED_KERNELS();
    std::vector<float> a = scatter(N, 0.0f, 1.0f, 3);
    const std::vector<float> before = a;
    const std::vector<float> b = scatter(N, 0.0f, 1.0f, 4);
    runKernel("k_lerp", W, H, {a, b, a, 1.0f, neutralParams(W, H)});
    expectClose(a, std::vector<double>(b.begin(), b.end()), 2e-7, 0.0, "t = 1 gives b");
}

TEST(KernelDetail, BoundsTheEdgeAndNeverPassesCodeOne) {
    NEED_KERNELS();
    std::vector<float> logC = scatter(N, -0.1f, 1.1f, 5);
    std::vector<float> broad = scatter(N, -0.1f, 1.1f, 6);
    logC[0] = 1.2f; // already above 1: stays where it is
    broad[0] = 0.2f;
    logC[1] = 0.98f; // would pass 1
    broad[1] = 0.2f;
    std::vector<float> got(N);
    runKernel("k_detail_sharp", W, H, {logC, broad, got, 0.8f, neutralParams(W, H)});
    const auto want = perPixel([&](std::size_t i) { return twin::detailSharp(logC[i], broad[i], 0.8f); });
    expectClose(got, want, 3e-7, 1e-5, "detail");
    EXPECT_NEAR(got[0], twin::logC4Decode(1.2f), 1e-5 * twin::logC4Decode(1.2f));
    EXPECT_NEAR(got[1], twin::logC4Decode(1.0), 1e-5 * twin::logC4Decode(1.0));
    runKernel("k_detail_sharp", W, H, {logC, logC, got, 0.8f, neutralParams(W, H)});
    expectClose(got, mapped(logC, twin::logC4Decode), 3e-7, 1e-5, "no edge, no change");
}

TEST(KernelBloom, AddsTheGlowAndTheSoftness) {
    NEED_KERNELS();
    std::vector<float> ch = scatter(N, -0.1f, 20.0f, 7);
    const std::vector<float> before = ch;
    const std::vector<float> b1 = scatter(N, 0.0f, 5.0f, 8);
    const std::vector<float> b2 = scatter(N, 0.0f, 5.0f, 9);
    const std::vector<float> soft = scatter(N, 0.0f, 5.0f, 10);
    runKernel("k_bloom_combine", W, H, {ch, b1, b2, soft, 0.22f, 0.1f, neutralParams(W, H)});
    const auto want = perPixel([&](std::size_t i) {
        const double spill = 0.35 * b1[i] + 0.65 * b2[i];
        return before[i] + (double{soft[i]} - before[i]) * 0.1f + spill * 0.22f;
    });
    expectClose(ch, want, 1e-6, 1e-6, "bloom");
}

TEST(KernelHalation, AddsOnlyWhatSpreadBeyondItsOrigin) {
    NEED_KERNELS();
    std::vector<float> ch = scatter(N, -0.1f, 20.0f, 11);
    const std::vector<float> before = ch;
    const std::vector<float> source = scatter(N, 0.0f, 5.0f, 12);
    const std::vector<float> b1 = scatter(N, 0.0f, 5.0f, 13);
    const std::vector<float> b2 = scatter(N, 0.0f, 5.0f, 14);
    FrameParams p = neutralParams(W, H);
    p.halW1 = 0.0355f;
    p.halW2 = 0.9645f;
    runKernel("k_hal_combine", W, H, {ch, source, b1, b2, 0.165f, p});
    const auto want = perPixel([&](std::size_t i) {
        const double blurred = double{p.halW1} * b1[i] + double{p.halW2} * b2[i];
        return before[i] + std::max(0.0, blurred - source[i]) * 0.165f;
    });
    expectClose(ch, want, 1e-6, 1e-6, "halation");
    for (std::size_t i = 0; i < N; ++i) {
        ASSERT_GE(ch[i], before[i]) << "pixel " << i << ": a halo never darkens";
    }
}

TEST(KernelBlackAndWhite, MovesEachChannelToTheLuminance) {
    NEED_KERNELS();
    for (const float amount : {0.0f, 0.4f, 1.0f}) {
        std::vector<float> R = scatter(N, -0.1f, 3.0f, 15);
        std::vector<float> G = scatter(N, -0.1f, 3.0f, 16);
        std::vector<float> B = scatter(N, -0.1f, 3.0f, 17);
        const std::vector<float> r = R;
        const std::vector<float> g = G;
        const std::vector<float> b = B;
        FrameParams p = neutralParams(W, H);
        p.bw = amount;
        runKernel("k_bw", W, H, {R, G, B, p});
        const auto luma = perPixel([&](std::size_t i) {
            return 0.2545241764040270 * r[i] + 0.7814777327120020 * g[i] - 0.03600190911602904 * b[i];
        });
        const auto mixed = [&](const std::vector<float>& c) {
            return perPixel([&, amount](std::size_t i) { return c[i] + (luma[i] - c[i]) * amount; });
        };
        expectClose(R, mixed(r), 1e-6, 1e-6, "red");
        expectClose(G, mixed(g), 1e-6, 1e-6, "green");
        expectClose(B, mixed(b), 1e-6, 1e-6, "blue");
    }
}

TEST(KernelSceneFit, FollowsThePolynomialInCodes) {
    NEED_KERNELS();
    for (const float strength : {0.0f, 0.5f, 1.0f}) {
        std::vector<float> R = scatter(N, -0.02f, 9.0f, 18);
        std::vector<float> G = scatter(N, -0.02f, 9.0f, 19);
        std::vector<float> B = scatter(N, -0.02f, 9.0f, 20);
        std::vector<double> wantR(N), wantG(N), wantB(N);
        for (std::size_t i = 0; i < N; ++i) {
            const auto fitted =
                twin::sceneFit({twin::logC4Encode(R[i]), twin::logC4Encode(G[i]), twin::logC4Encode(B[i])}, strength);
            wantR[i] = twin::logC4Decode(fitted[0]);
            wantG[i] = twin::logC4Decode(fitted[1]);
            wantB[i] = twin::logC4Decode(fitted[2]);
        }
        FrameParams p = neutralParams(W, H);
        p.color = strength;
        runKernel("k_alexa_scene_fit", W, H, {R, G, B, p});
        // The polynomial's terms reach 3 and partly cancel: 5e-7 in code, 5e-6 relative in the value, plus the decode.
        expectClose(R, wantR, 1e-6, 2e-5, "red");
        expectClose(G, wantG, 1e-6, 2e-5, "green");
        expectClose(B, wantB, 1e-6, 2e-5, "blue");
    }
}

// Every kernel is started over whole groups, beyond the edge of its plane.
TEST(Kernels, WriteNothingOutsideTheirPlane) {
    NEED_KERNELS();
    const FrameParams p = neutralParams(W, H, 3);
    std::vector<float> out(N + 300, -7.0f); // room for the 32 x 16 threads of the grid
    const std::vector<float> in = scatter(N, 0.1f, 0.9f, 21);
    runKernel("k_copy", W, H, {in, out, p});
    for (std::size_t i = N; i < out.size(); ++i)
        ASSERT_EQ(out[i], -7.0f) << i;
    for (std::size_t i = 0; i < N; ++i)
        ASSERT_EQ(out[i], in[i]) << i;
    std::vector<float> sized(N + 300, -7.0f);
    runKernel("k_blur_h_d", W, H, {in, sized, std::vector<float>{1.0f}, 0, {W, H}});
    EXPECT_EQ(sized, out);
}

} // namespace
} // namespace velloid::gpu
