// The blur kernels against process/blur.
//
// Tolerances: the CPU sums in double and rounds once, the kernels sum 2r + 1 products in float. Each step may lose half
// an ulp of the running sum, at most the largest sample: (2r + 1) * 2^-24 of it, for the 49 taps of the widest kernel
// below 3e-6. Halving adds four floats in the CPU's order and scales by a power of two: equal bits.
#include "process/blur.h"
#include "tests/metal/kernel_rig.h"

#include <gtest/gtest.h>

namespace velloid::gpu {
namespace {

std::vector<double> widened(const std::vector<float>& values) {
    return {values.begin(), values.end()};
}

void expectLikeTheCpu(int w, int h, double sigmaX, double sigmaY) {
    SCOPED_TRACE(testing::Message() << w << " x " << h << ", sigma " << sigmaX << " x " << sigmaY);
    const std::vector<float> plane = scatter(w * h, -0.5f, 4.0f);
    const std::vector<float> wx = gaussKernel(sigmaX);
    const std::vector<float> wy = gaussKernel(sigmaY);
    const int rx = static_cast<int>(wx.size() / 2);
    const int ry = static_cast<int>(wy.size() / 2);
    std::vector<float> want = plane;
    blurSeparable(want.data(), w, h, sigmaX, sigmaY);

    std::vector<float> rows(plane.size());
    std::vector<float> got(plane.size());
    const FrameParams p = neutralParams(w, h);
    runKernel("k_blur_h", w, h, {plane, rows, wx, rx, p});
    runKernel("k_blur_v", w, h, {rows, got, wy, ry, p});
    expectClose(got, widened(want), 1.5e-5, 0.0, "blur");

    std::vector<float> sized(plane.size());
    std::vector<float> sizedRows(plane.size());
    runKernel("k_blur_h_d", w, h, {plane, sizedRows, wx, rx, {w, h}});
    runKernel("k_blur_v_d", w, h, {sizedRows, sized, wy, ry, {w, h}});
    EXPECT_EQ(sized, got) << "the kernels with their own size do the same";
}

TEST(KernelBlur, MatchesTheCpuOverSizesAndSigmas) {
    NEED_KERNELS();
    expectLikeTheCpu(37, 23, 1.0, 1.0);
    expectLikeTheCpu(16, 16, 0.6, 2.5);
    expectLikeTheCpu(5, 41, 8.0, 3.0); // the kernel is wider than the plane
    expectLikeTheCpu(1, 1, 4.0, 4.0);
    expectLikeTheCpu(33, 1, 2.0, 2.0);
}

TEST(KernelBlur, LeavesAUniformPlaneUniform) {
    NEED_KERNELS();
    const std::vector<float> plane(20 * 18, 3.25f);
    const std::vector<float> weights = gaussKernel(5.0);
    std::vector<float> got(plane.size());
    runKernel("k_blur_h", 20, 18, {plane, got, weights, 15, neutralParams(20, 18)});
    expectClose(got, std::vector<double>(plane.size(), 3.25), 1e-5, 0.0, "uniform");
}

TEST(KernelBlur, OfRadiusZeroCopies) {
    NEED_KERNELS();
    const std::vector<float> plane = scatter(7 * 9, -2.0f, 2.0f);
    std::vector<float> got(plane.size());
    runKernel("k_blur_v", 7, 9, {plane, got, std::vector<float>{1.0f}, 0, neutralParams(7, 9)});
    EXPECT_EQ(got, plane);
}

TEST(KernelHalve, EqualsTheCpuAndRepeatsAnOddLastColumnAndRow) {
    NEED_KERNELS();
    const int sizes[][2] = {{8, 6}, {5, 3}, {1, 1}, {33, 17}, {2, 7}};
    for (const auto& [w, h] : sizes) {
        SCOPED_TRACE(testing::Message() << w << " x " << h);
        const std::vector<float> plane = scatter(w * h, -1.0f, 5.0f);
        std::vector<float> want;
        int dw = 0;
        int dh = 0;
        downsample2x(plane, w, h, want, dw, dh);
        std::vector<float> got(want.size());
        runKernel("k_down2", dw, dh, {plane, got, {w, h, dw, dh}});
        EXPECT_EQ(got, want);
    }
    std::vector<float> corner(6);
    runKernel("k_down2", 3, 2, {ramp(15, 0.0f, 14.0f), corner, {5, 3, 3, 2}});
    EXPECT_EQ(corner[2], (4.0f + 4.0f + 9.0f + 9.0f) / 4) << "last column";
    EXPECT_EQ(corner[5], 14.0f) << "last column of the last row";
}

TEST(KernelEnlarge, MatchesTheCpu) {
    NEED_KERNELS();
    const int sizes[][4] = {{4, 3, 8, 6}, {3, 2, 5, 3}, {17, 9, 33, 17}, {1, 1, 2, 2}, {20, 20, 39, 40}};
    for (const auto& [w, h, W, H] : sizes) {
        SCOPED_TRACE(testing::Message() << w << " x " << h << " to " << W << " x " << H);
        const std::vector<float> plane = scatter(w * h, -1.0f, 5.0f);
        std::vector<float> want;
        upsampleBilinear(plane, w, h, want, W, H);
        std::vector<float> got(want.size());
        runKernel("k_up_bilinear", W, H, {plane, got, {w, h, W, H}});
        // Positions near 40 carry an ulp of 4e-6; neighbours differ by up to 6.
        expectClose(got, widened(want), 3e-5, 0.0, "enlarged");
    }
}

} // namespace
} // namespace velloid::gpu
