// k_weave and the warped alpha of k_encode_out against warpLanczosRGB.
//
// Tolerances: a source position near x carries half an ulp of x (3e-5 at 500, 2.4e-4 at 4000), the weights move by
// about as much, and so does the mean, times the difference of neighbours.
#include "process/gate_weave.h"
#include "tests/metal/kernel_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velloid::gpu {
namespace {

struct Motion {
    double dx, dy, angle;
    double scaleX = 1.0;
    double scaleY = 1.0;
};

FrameParams weaving(int w, int h, const Motion& motion) {
    FrameParams p = neutralParams(w, h);
    const double sine = std::sin(motion.angle);
    p.weaveDx = static_cast<float>(motion.dx);
    p.weaveDy = static_cast<float>(motion.dy);
    p.weaveCos = static_cast<float>(std::cos(motion.angle));
    p.weaveSinX = static_cast<float>(motion.scaleX * sine / motion.scaleY);
    p.weaveSinY = static_cast<float>(motion.scaleY * sine / motion.scaleX);
    p.weaveActive = 1;
    return p;
}

struct Planes {
    std::vector<float> R, G, B;
};

Planes weave(const Planes& in, const FrameParams& p) {
    Planes out = in;
    runKernel("k_weave", p.W, p.H, {in.R, in.G, in.B, out.R, out.G, out.B, p});
    return out;
}

void expectLikeTheCpu(int w, int h, const Motion& motion, double tolerance) {
    SCOPED_TRACE(testing::Message() << w << " x " << h << ", " << motion.dx << ", " << motion.dy << ", "
                                    << motion.angle);
    const Planes in{scatter(w * h, 0.0f, 1.0f, 1), scatter(w * h, 0.0f, 1.0f, 2), scatter(w * h, 0.0f, 1.0f, 3)};
    Planes want = in;
    warpLanczosRGB(in.R.data(), in.G.data(), in.B.data(), want.R, want.G, want.B, w, h, motion.dx, motion.dy,
                   motion.angle, motion.scaleX, motion.scaleY, nullptr, nullptr);
    const Planes got = weave(in, weaving(w, h, motion));
    const auto widened = [](const std::vector<float>& v) { return std::vector<double>(v.begin(), v.end()); };
    expectClose(got.R, widened(want.R), tolerance, 0.0, "red");
    expectClose(got.G, widened(want.G), tolerance, 0.0, "green");
    expectClose(got.B, widened(want.B), tolerance, 0.0, "blue");
}

TEST(KernelWeave, WarpsLikeTheCpu) {
    NEED_KERNELS();
    expectLikeTheCpu(40, 30, {0.4, -0.7, 0.0005}, 3e-5);
    expectLikeTheCpu(33, 21, {-1.6, 1.3, -0.02, 1.0, 2.0}, 3e-5);
    expectLikeTheCpu(2, 2, {0.5, 0.5, 0.0}, 1e-5);
    expectLikeTheCpu(17, 9, {25.0, -40.0, 0.3}, 1e-4); // far outside: the edge, repeated
}

// The direct form cos*tx + cx0 would be off by up to 1e-2 here.
TEST(KernelWeave, KeepsItsPrecisionAtLargeCoordinates) {
    NEED_KERNELS();
    expectLikeTheCpu(4000, 3, {0.31, -0.17, 0.0004}, 1.5e-3);
}

TEST(KernelWeave, WithoutMotionReturnsTheSource) {
    NEED_KERNELS();
    const Planes in{scatter(35 * 20, -1.0f, 1.0f, 4), scatter(35 * 20, 0.0f, 1.0f, 5), scatter(35 * 20, 0.0f, 9.0f, 6)};
    const Planes got = weave(in, weaving(35, 20, {0.0, 0.0, 0.0}));
    // At whole distances the float sine of a multiple of pi is below 3e-7, not 0: ten neighbours weigh below 1e-7 each.
    const auto widened = [](const std::vector<float>& v) { return std::vector<double>(v.begin(), v.end()); };
    expectClose(got.R, widened(in.R), 1e-6, 0.0, "red");
    expectClose(got.B, widened(in.B), 9e-6, 0.0, "blue");
}

TEST(KernelWeave, LeavesAUniformPlaneUniform) {
    NEED_KERNELS();
    const std::vector<float> flat(24 * 24, 0.75f);
    const Planes got = weave({flat, flat, flat}, weaving(24, 24, {0.37, 0.61, 0.01}));
    expectClose(got.G, std::vector<double>(flat.begin(), flat.end()), 5e-7, 0.0, "uniform");
}

TEST(KernelWeave, OfAbsurdMotionsStaysInsideTheFrame) {
    NEED_KERNELS();
    const Planes in{scatter(12 * 12, 0.0f, 1.0f, 7), scatter(12 * 12, 0.0f, 1.0f, 8), scatter(12 * 12, 0.0f, 1.0f, 9)};
    const float infinite = std::numeric_limits<float>::infinity();
    for (const float shift : {1e9f, -1e30f, infinite}) {
        FrameParams p = weaving(12, 12, {0.0, 0.0, 0.0});
        p.weaveDx = shift;
        p.weaveDy = shift;
        for (const float v : weave(in, p).R) {
            ASSERT_GE(v, -0.01f) << "shift " << shift;
            ASSERT_LE(v, 1.01f) << "shift " << shift;
        }
    }
}

std::vector<float> encodedAlpha(const std::vector<float>& alpha, const FrameParams& p) {
    std::vector<float> source;
    for (const float a : alpha)
        source.insert(source.end(), {0.0f, 0.0f, 0.0f, a});
    std::vector<float> image(source.size());
    const std::vector<float> plane(alpha.size());
    runKernel("k_encode_out", p.W, p.H, {plane, plane, plane, source, image, std::vector<float>{0.0f}, p});
    std::vector<float> got;
    for (std::size_t i = 3; i < image.size(); i += 4)
        got.push_back(image[i]);
    return got;
}

TEST(KernelWeave, MovesAlphaWithTheImage) {
    NEED_KERNELS();
    const int w = 26;
    const int h = 14;
    const Motion motion{0.6, -0.3, 0.002};
    const std::vector<float> alpha = scatter(w * h, 0.0f, 1.0f, 10);
    Planes unused{alpha, alpha, alpha};
    std::vector<float> want = alpha;
    warpLanczosRGB(alpha.data(), alpha.data(), alpha.data(), unused.R, unused.G, unused.B, w, h, motion.dx, motion.dy,
                   motion.angle, 1.0, 1.0, alpha.data(), &want);
    expectClose(encodedAlpha(alpha, weaving(w, h, motion)), std::vector<double>(want.begin(), want.end()), 3e-5, 0.0,
                "alpha");
}

TEST(KernelWeave, SanitisesTheAlphaThatItMoves) {
    NEED_KERNELS();
    const float infinite = std::numeric_limits<float>::infinity();
    const float odd = std::numeric_limits<float>::quiet_NaN();
    const FrameParams still = weaving(9, 1, {0.0, 0.0, 0.0});
    const std::vector<float> alpha = {infinite, 1.0f, 1.0f, 1.0f, 7.0f, 1.0f, 1.0f, 1.0f, 1.0f};
    for (const float a : encodedAlpha(alpha, still))
        EXPECT_NEAR(a, 1.0f, 1e-6);
    const std::vector<float> zeros = {odd, -odd, -infinite, -3.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
    for (const float a : encodedAlpha(zeros, still))
        EXPECT_NEAR(a, 0.0f, 1e-6);
}

} // namespace
} // namespace velloid::gpu
