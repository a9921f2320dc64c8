// Whole effects, put together from kernels as the renderer does, against the CPU's functions.
//
// Tolerances: those of the single kernels add up. Where codes are involved, the kernels' LogC4 differs from the CPU's
// by less than 1e-5 in code (tested beside k_to_logc4); encoded and decoded again, only the bent part of the effect
// sees it.
#include "color/scene_fit.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/blur.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/grain.h"
#include "process/grain_profiles.h"
#include "process/halation.h"
#include "tests/metal/kernel_rig.h"
#include "tests/metal/kernel_twins.h"

#include <gtest/gtest.h>

#include <numeric>

namespace velloid::gpu {
namespace {

constexpr int W = 29;
constexpr int H = 23;
constexpr int N = W * H;

using Plane = std::vector<float>;

struct Planes {
    Plane R, G, B;
};

// A dark scene with a few lights.
Planes scene() {
    Planes planes{scatter(N, 0.0f, 0.4f, 1), scatter(N, 0.0f, 0.4f, 2), scatter(N, 0.0f, 0.4f, 3)};
    for (const std::size_t light : {40u, 200u, 333u}) {
        planes.R[light] = 30.0f;
        planes.G[light] = 20.0f;
        planes.B[light] = 10.0f;
    }
    return planes;
}

std::vector<double> widened(const Plane& values) {
    return {values.begin(), values.end()};
}

Plane blurred(const Plane& plane, double sigmaX, double sigmaY) {
    const FrameParams p = neutralParams(W, H);
    Plane rows(N);
    Plane result(N);
    const Plane wx = gaussKernel(sigmaX);
    const Plane wy = gaussKernel(sigmaY);
    runKernel("k_blur_h", W, H, {plane, rows, wx, static_cast<int>(wx.size() / 2), p});
    runKernel("k_blur_v", W, H, {rows, result, wy, static_cast<int>(wy.size() / 2), p});
    return result;
}

Plane excess(const Plane& plane, float knee) {
    Plane result(N);
    runKernel("k_excess", W, H, {plane, result, knee, neutralParams(W, H)});
    return result;
}

TEST(KernelChain, HalatesLikeTheCpu) {
    NEED_KERNELS();
    const HalationProfile profile = halationProfile(NegativeStock::Tungsten800T);
    Planes want = scene();
    applyHalation(want.R, want.G, want.B, W, H, 0.8, 7.0, 5.0, profile);
    Plane got = scene().R;
    FrameParams p = neutralParams(W, H);
    p.halW1 = static_cast<float>(profile.w1);
    p.halW2 = static_cast<float>(1.0 - profile.w1);
    const Plane source = excess(got, static_cast<float>(profile.knee));
    const Plane narrow = blurred(source, 7.0 * profile.sigma1, 5.0 * profile.sigma1);
    const Plane wide = blurred(source, 7.0 * profile.sigma2, 5.0 * profile.sigma2);
    const float gain = static_cast<float>(profile.strength * 0.8 * profile.tintR);
    runKernel("k_hal_combine", W, H, {got, source, narrow, wide, gain, p});
    expectClose(got, widened(want.R), 1e-5, 1e-6, "halation");
}

TEST(KernelChain, BloomsLikeTheCpu) {
    NEED_KERNELS();
    Planes want = scene();
    applyBloom(want.R, want.G, want.B, W, H, 0.7, 4.0, 3.0);
    Plane got = scene().G;
    const Plane above = excess(got, 0.50911689f);
    runKernel("k_bloom_combine", W, H,
              {got, blurred(above, 1.0, 0.75), blurred(above, 4.0, 3.0), blurred(got, 4.0, 3.0), 0.7f * 0.22f,
               0.7f * 0.1f, neutralParams(W, H)});
    expectClose(got, widened(want.G), 1e-5, 1e-6, "bloom");
}

TEST(KernelChain, SharpensLikeTheCpu) {
    NEED_KERNELS();
    const FrameParams p = neutralParams(W, H);
    Plane want = scene().B;
    detailChannel(want, W, H, 0.64, 7.1, 0.223, 1.0, 0.9, 1.0, 1.0);
    Plane got = scene().B;
    Plane codes(N);
    runKernel("k_lerp", W, H, {got, blurred(got, 0.64, 0.64), got, 0.9f, p});
    runKernel("k_to_logc4", W, H, {got, codes, p});
    runKernel("k_detail_sharp", W, H, {codes, blurred(codes, 7.1, 7.1), got, 0.9f * 0.223f, p});
    expectClose(got, widened(want), 1e-6, 5e-5, "detail");
}

TEST(KernelChain, GrainsLikeTheCpu) {
    NEED_KERNELS();
    const NegativeStock stock = NegativeStock::Gold200;
    const GrainProfile profile = grainProfile(stock);
    FrameParams p = neutralParams(W, H);
    p.grain = 1.25f;
    p.grainSeed = profile.grainSeed;
    p.grainFrame = 1201;
    p.corrRG = static_cast<float>(profile.corrRG);
    p.corrGB = static_cast<float>(profile.corrGB);
    p.corrBR = static_cast<float>(profile.corrBR);
    GrainParams gp{};
    for (std::size_t i = 0; i < 11; ++i) {
        gp.nodeY[i] = static_cast<float>(GRAIN_NODE_Y[i]);
        gp.sigR[i] = static_cast<float>(profile.tableR[i]);
        gp.sigG[i] = static_cast<float>(profile.tableG[i]);
        gp.sigB[i] = static_cast<float>(profile.tableB[i]);
    }
    std::vector<int> cellsX(W);
    std::vector<int> cellsY(H);
    std::iota(cellsX.begin(), cellsX.end(), 70);
    std::iota(cellsY.begin(), cellsY.end(), 11);

    Planes got = scene();
    Planes codes{Plane(N), Plane(N), Plane(N)};
    runKernel("k_grain_prepare", W, H,
              {got.R, got.G, got.B, codes.R, codes.G, codes.B, got.R, got.G, got.B, p, gp, cellsX, cellsY});
    const Planes noise{blurred(got.R, profile.sizeR, profile.sizeR), blurred(got.G, profile.sizeG, profile.sizeG),
                       blurred(got.B, profile.sizeB, profile.sizeB)};
    // The CPU's grain works on codes: on the kernel's, so that the two kinds of LogC4 do not matter here.
    Planes want = codes;
    applyGrain(want.R, want.G, want.B, W, H, 1.25, stock, 1201.0, 1.0, 1.0, 1.0, 1.0, 70, 11);
    runKernel("k_grain_finish", W, H, {codes.R, codes.G, codes.B, noise.R, noise.G, noise.B, got.R, got.G, got.B, p});
    // 2e-6 in code of noise is 2e-5 relative in the value.
    expectClose(got.R, mapped(want.R, twin::logC4Decode), 1e-6, 3e-5, "red");
    expectClose(got.G, mapped(want.G, twin::logC4Decode), 1e-6, 3e-5, "green");
    expectClose(got.B, mapped(want.B, twin::logC4Decode), 1e-6, 3e-5, "blue");
}

TEST(KernelChain, FitsTheSceneLikeTheCpu) {
    NEED_KERNELS();
    Planes want = scene();
    applySceneFit(want.R, want.G, want.B, W, H, 0.75);
    Planes got = scene();
    FrameParams p = neutralParams(W, H);
    p.color = 0.75f;
    runKernel("k_alexa_scene_fit", W, H, {got.R, got.G, got.B, p});
    // The polynomial is steep, and here the two kinds of LogC4 show: 1e-5 in code, 2e-4 in the value.
    expectClose(got.R, widened(want.R), 2e-5, 3e-4, "red");
    expectClose(got.G, widened(want.G), 2e-5, 3e-4, "green");
    expectClose(got.B, widened(want.B), 2e-5, 3e-4, "blue");
}

TEST(KernelChain, DesaturatesLikeTheCpu) {
    NEED_KERNELS();
    Planes want = scene();
    applyBlackAndWhite(want.R, want.G, want.B, W, H, 0.6);
    Planes got = scene();
    FrameParams p = neutralParams(W, H);
    p.bw = 0.6f;
    runKernel("k_bw", W, H, {got.R, got.G, got.B, p});
    expectClose(got.R, widened(want.R), 1e-6, 1e-6, "red");
    expectClose(got.B, widened(want.B), 1e-6, 1e-6, "blue");
}

TEST(KernelChain, FlickersLikeTheCpuWhileItDecodes) {
    NEED_KERNELS();
    Planes want = scene();
    applyFlicker(want.R, want.G, want.B, W, H, 1.0, 31.0);
    const Planes in = scene();
    Plane image;
    for (std::size_t i = 0; i < N; ++i)
        image.insert(image.end(), {in.R[i], in.G[i], in.B[i]});
    FrameParams p = neutralParams(W, H, 3);
    p.flickR = static_cast<float>(flickerGain(31, 1.0, 0));
    p.flickG = static_cast<float>(flickerGain(31, 1.0, 1));
    p.flickB = static_cast<float>(flickerGain(31, 1.0, 2));
    Planes got = in;
    runKernel("k_decode", W, H, {image, got.R, got.G, got.B, p});
    expectClose(got.R, widened(want.R), 1e-7, 2e-7, "red");
    expectClose(got.G, widened(want.G), 1e-7, 2e-7, "green");
    expectClose(got.B, widened(want.B), 1e-7, 2e-7, "blue");
}

} // namespace
} // namespace velloid::gpu
