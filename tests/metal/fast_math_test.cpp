// What the kernels promise about infinities and not-a-numbers when the compiler may assume that there are none.
#include "metal/frame_params.h"
#include "tests/metal/reference_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace velloid::gpu {
namespace {

struct Build {
    const char* name;
    const std::vector<CompiledKernel>& (*kernels)(); // null: that compiler is not installed
};

#ifdef TARNWELL_CLANG19
#define CLANG19(level) fastMathClang19O##level
#else
#define CLANG19(level) nullptr
#endif
const Build BUILDS[] = {
    {"ThisCompiler", fastMathKernels}, {"Clang19O1", CLANG19(1)}, {"Clang19O2", CLANG19(2)}, {"Clang19O3", CLANG19(3)}};

FrameParams onePixel(int io) {
    FrameParams p{};
    p.W = p.H = 1;
    p.components = p.srcStride = p.dstStride = 4;
    p.io = io;
    p.flickR = p.flickG = p.flickB = 1.0f;
    p.weaveCos = 1.0f;
    return p;
}

constexpr float INFINITE = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

class FastMath : public testing::TestWithParam<Build> {
protected:
    void SetUp() override {
        if (!GetParam().kernels) GTEST_SKIP() << "clang++-19 is not installed";
    }

    static const CompiledKernel& fastKernel(const std::string& name) {
        for (const CompiledKernel& kernel : GetParam().kernels()) {
            if (name == kernel.name) return kernel;
        }
        throw std::invalid_argument("no kernel named " + name);
    }

    // R, G, B after k_decode of one RGBA pixel.
    static std::vector<float> decoded(std::vector<float> pixel, FrameParams p) {
        std::vector<float> planes(3, -7.0f);
        fastKernel("k_decode")
            .run({{pixel.data(), {}}, {&planes[0], {}}, {&planes[1], {}}, {&planes[2], {}}, {&p, {}}}, 0, 0);
        return planes;
    }
};

INSTANTIATE_TEST_SUITE_P(Compilers, FastMath, testing::ValuesIn(BUILDS),
                         [](const auto& build) { return build.param.name; });

TEST_P(FastMath, KeepsNonFiniteSourcesOutOfTheImage) {
    EXPECT_EQ(decoded({NOT_A_NUMBER, INFINITE, -INFINITE, 1.0f}, onePixel(1)), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(decoded({1e30f, 0.5f, 0.5f, 1.0f}, onePixel(0))[0], 0.0f) << "an overflow of the curve";
}

TEST_P(FastMath, KeepsTheAlphaRules) {
    FrameParams p = onePixel(1);
    p.premultiplied = 1;
    for (const float alpha : {NOT_A_NUMBER, INFINITE, -INFINITE, 0.0f}) {
        EXPECT_EQ(decoded({0.5f, 0.5f, 0.5f, alpha}, p), (std::vector<float>{0, 0, 0})) << "alpha " << alpha;
    }
    p.premultiplied = 0;
    p.weaveActive = 1;
    const struct {
        float alpha, want;
    } cases[] = {{INFINITE, 1}, {-INFINITE, 0}, {NOT_A_NUMBER, 0}, {-NOT_A_NUMBER, 0}, {3, 1}, {-3, 0}, {0.25f, 0.25f}};
    for (const auto& one : cases) {
        std::vector<float> plane = {0.0f};
        std::vector<float> source = {0, 0, 0, one.alpha};
        std::vector<float> image(4, -7.0f);
        const KernelArgument black{plane.data(), {}};
        fastKernel("k_encode_out")
            .run({black, black, black, {source.data(), {}}, {image.data(), {}}, black, {&p, {}}}, 0, 0);
        EXPECT_NEAR(image[3], one.want, 1e-6) << "alpha " << one.alpha;
    }
}

} // namespace
} // namespace velloid::gpu
