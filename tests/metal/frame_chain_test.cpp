// Whole frames on a device against the CPU chain, effect by effect and all together. The same tests run on the
// reference device and on the machine's OpenCL runtime.
//
// What may differ: the kernels compute in float where the CPU computes in double, and their LogC4 has shorter
// constants, 1e-5 in code apart (tested beside k_to_logc4); that alone shows wherever LogC4 is read, steeper where a
// table or a polynomial is. Tolerances are in code values of the result: one for the worst sample and one for the mean.
//
// The weave is a matter of its own: a position near 60 is known to 4e-6 of a pixel in float, and beside a lamp of 60
// times diffuse white the light rises by so much per pixel that 3e-4 of scene-linear light may be off: nothing in the
// lamp, visible to a test in the darkness next to it.
#include "color/looks.h"
#include "metal/device_context.h"
#include "metal/frame_encoder.h"
#include "tests/metal/frame_rig.h"
#include "tests/plane_chain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace velloid::gpu {
namespace {

constexpr int W = 67;
constexpr int H = 49;

// A night street: dark walls, a grey wedge, neon and lamps beyond diffuse white, as codes of LogC4.
std::vector<float> scene(const MetalFrameParams& p) {
    std::vector<float> image;
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            const bool lamp = (x - 20) * (x - 20) + (y - 15) * (y - 15) < 9;
            const bool neon = y > 30 && y < 34 && x > 35 && x < 60;
            const float wall =
                0.15f + 0.35f * static_cast<float>(x) / W + 0.03f * static_cast<float>((x * 7 + y * 5) % 11);
            const float color[3] = {lamp   ? 0.82f
                                    : neon ? 0.70f
                                           : wall,
                                    lamp   ? 0.80f
                                    : neon ? 0.35f
                                           : wall * 0.9f,
                                    lamp   ? 0.75f
                                    : neon ? 0.50f
                                           : wall * 0.8f};
            const float alpha = x < 8 ? static_cast<float>(x + 1) / 8.0f : 1.0f;
            for (const float code : color)
                image.push_back(p.premultiplied ? code * alpha : code);
            if (p.components == 4) image.push_back(alpha);
        }
    }
    return image;
}

MetalFrameParams plain(int components = 4) {
    MetalFrameParams p;
    p.width = W;
    p.height = H;
    p.components = components;
    p.time = 24.0;
    return p;
}

LUT3D warmTable() {
    LUT3D lut;
    lut.size = 9;
    lut.id = nextLutCacheId();
    for (int i = 0; i < 9 * 9 * 9; ++i) {
        const float r = static_cast<float>(i % 9) / 8.0f;
        const float g = static_cast<float>(i / 9 % 9) / 8.0f;
        const float b = static_cast<float>(i / 81) / 8.0f;
        lut.data.push_back({0.05f + 0.9f * r, std::pow(g, 1.1f), 0.8f * b + 0.1f * r});
    }
    return lut;
}

struct Difference {
    double worst = 0.0;
    double mean = 0.0;
    std::size_t at = 0;
};

Difference compare(const std::vector<float>& got, const std::vector<float>& want) {
    Difference d;
    for (std::size_t i = 0; i < got.size(); ++i) {
        const double off = std::fabs(double{got[i]} - want[i]);
        d.mean += off / static_cast<double>(got.size());
        if (off <= d.worst) continue; // also false when it is not a number
        d.worst = off;
        d.at = i;
    }
    return d;
}

class FrameChain : public testing::Test {
protected:
    static FrameRig& rig() {
        static FrameRig one = frameRig();
        return one;
    }
    void SetUp() override {
        if (!rig().runtime) GTEST_SKIP() << rig().why;
    }

    std::vector<float> renderOnDevice(const std::vector<float>& source, const MetalFrameParams& p) {
        std::vector<float> result(source.size(), -1.0f);
        EXPECT_TRUE(renderFrameFromHost(*rig().runtime, rig().queue, source.data(), result.data(), p));
        return result;
    }

    void expectLikeTheCpu(const MetalFrameParams& p, double worst, double mean, const std::string& what) {
        const std::vector<float> source = scene(p);
        const std::vector<float> got = renderOnDevice(source, p);
        const std::vector<float> want = test::renderPlanes(source, p);
        const Difference d = compare(got, want);
        RecordProperty(what, std::to_string(d.worst));
        EXPECT_LE(d.worst, worst) << what << ": sample " << d.at << " is " << got[d.at] << ", on the CPU "
                                  << want[d.at];
        EXPECT_LE(d.mean, mean) << what << ": mean difference";
        if (std::getenv("TARNWELL_SHOW_DIFFERENCES")) {
            std::printf("%-40s worst %.2e mean %.2e\n", what.c_str(), d.worst, d.mean);
        }
    }

    // An effect that changes nothing would agree with the CPU as well.
    void expectVisible(const MetalFrameParams& p, const std::string& what) {
        const std::vector<float> source = scene(p);
        EXPECT_GT(compare(renderOnDevice(source, p), source).worst, 1e-3) << what << " shows nothing";
    }
};

TEST_F(FrameChain, DecodesAndEncodesEveryEncoding) {
    for (int io = 0; io <= 16; ++io) {
        for (const int components : {3, 4}) {
            MetalFrameParams p = plain(components);
            p.io = io;
            expectLikeTheCpu(p, 2e-5, 1e-6, "encoding " + std::to_string(io));
        }
    }
}

TEST_F(FrameChain, DividesByAlphaAndMultipliesAgain) {
    MetalFrameParams p = plain();
    p.premultiplied = true;
    p.bw = 0.5;
    expectLikeTheCpu(p, 2e-5, 1e-6, "premultiplied");
}

TEST_F(FrameChain, FlickersLikeTheCpu) {
    MetalFrameParams p = plain();
    p.flicker = 1.0;
    expectVisible(p, "flicker");
    expectLikeTheCpu(p, 2e-5, 1e-6, "flicker");
}

TEST_F(FrameChain, SharpensLikeTheCpu) {
    for (const int stock : {0, 4, 15, 16}) {
        MetalFrameParams p = plain();
        p.detail = 0.9;
        p.stock = stock;
        p.effectScaleX = 0.7;
        expectVisible(p, "detail");
        expectLikeTheCpu(p, 2e-5, 2e-6, "detail of stock " + std::to_string(stock));
    }
}

TEST_F(FrameChain, BloomsLikeTheCpu) {
    for (const double scale : {0.5, 1.0, 3.0}) { // up to a sigma of 18, through the pyramid
        MetalFrameParams p = plain();
        p.bloom = 1.0;
        p.effectScaleX = scale;
        p.effectScaleY = scale * 0.8;
        expectVisible(p, "bloom");
        expectLikeTheCpu(p, 2e-5, 2e-6, "bloom at scale " + std::to_string(scale));
    }
}

TEST_F(FrameChain, HalatesLikeTheCpu) {
    for (const int stock : {0, 4, 5, 12}) {
        MetalFrameParams p = plain();
        p.halation = 1.0;
        p.stock = stock;
        p.effectScaleY = 1.5;
        expectVisible(p, "halation");
        expectLikeTheCpu(p, 2e-5, 2e-6, "halation of stock " + std::to_string(stock));
    }
}

TEST_F(FrameChain, GrainsLikeTheCpu) {
    for (int stock = 0; stock < 16; ++stock) {
        MetalFrameParams p = plain();
        p.grain = 1.5;
        p.stock = stock;
        p.originX = 13; // left of 0 the kernels' cells are counted toward zero, the CPU's downwards
        p.originY = 400;
        p.grainScaleX = 1.25;
        expectVisible(p, "grain");
        expectLikeTheCpu(p, 3e-5, 3e-6, "grain of stock " + std::to_string(stock));
    }
}

TEST_F(FrameChain, PrintsEveryLookLikeTheCpu) {
    for (int look = 0; look < 15; ++look) {
        MetalFrameParams p = plain(3);
        p.color = 0.8;
        p.look = look;
        expectVisible(p, "look");
        expectLikeTheCpu(p, 5e-5, 5e-6, "look " + std::to_string(look));
    }
}

TEST_F(FrameChain, WeavesColourAndAlphaLikeTheCpu) {
    MetalFrameParams p = plain();
    p.weave = 2.0;
    p.effectScaleX = 1.5;
    p.io = 1; // linear: the result as the weave leaves it
    expectVisible(p, "weave");
    expectLikeTheCpu(p, 4e-6, 4e-7, "weave without lamps");
    p.premultiplied = true;
    expectLikeTheCpu(p, 4e-6, 4e-7, "weave, premultiplied");
    p.premultiplied = false;
    p.io = 0;
    expectLikeTheCpu(p, 5e-3, 1e-5, "weave with lamps");
}

TEST_F(FrameChain, DesaturatesAndFitsTheSceneLikeTheCpu) {
    MetalFrameParams p = plain();
    p.bw = 0.6;
    expectVisible(p, "black and white");
    expectLikeTheCpu(p, 2e-5, 2e-6, "black and white");
    p.bw = 0.0;
    p.color = 0.7;
    p.alexaSceneFit = true;
    expectVisible(p, "scene fit");
    expectLikeTheCpu(p, 5e-5, 1e-5, "scene fit");
}

TEST_F(FrameChain, AppliesTheOutputTableInBothDomains) {
    const LUT3D lut = warmTable();
    for (const int io : {0, 7, 8}) {
        for (const int domain : {0, 1}) {
            MetalFrameParams p = plain();
            p.io = io;
            p.outputLut = &lut;
            p.outputLutStrength = 0.75;
            p.outputLutDomain = domain;
            expectVisible(p, "output table");
            expectLikeTheCpu(p, 5e-5, 5e-6, "output table, encoding " + std::to_string(io));
        }
    }
}

// Everything at once, on a stock's own combination of look and encoding.
MetalFrameParams wholeChain(int stock, const LUT3D& lut) {
    MetalFrameParams p = plain();
    p.detail = 0.5;
    p.bloom = 0.3;
    p.halation = 0.6;
    p.grain = stock == 16 ? 0.0 : 0.8;
    p.flicker = 0.4;
    p.color = 0.9;
    p.look = stock % 15;
    p.bw = 0.1;
    p.stock = stock;
    p.io = stock;
    p.outputLut = &lut;
    p.outputLutStrength = 0.5;
    p.alexaSceneFit = stock == 0;
    return p;
}

// Colour negatives of each make, the one without rem-jet, black and white, and none.
constexpr int CHAIN_STOCKS[] = {0, 4, 5, 6, 9, 12, 14, 16};

TEST_F(FrameChain, RendersTheWholeChainLikeTheCpu) {
    const LUT3D lut = warmTable();
    for (const int stock : CHAIN_STOCKS) {
        const MetalFrameParams p = wholeChain(stock, lut);
        expectVisible(p, "the chain");
        expectLikeTheCpu(p, 5e-5, 5e-6, "the chain on stock " + std::to_string(stock));
    }
}

TEST_F(FrameChain, RendersTheWholeChainWithAWeaveLikeTheCpu) {
    const LUT3D lut = warmTable();
    for (const int stock : CHAIN_STOCKS) {
        MetalFrameParams p = wholeChain(stock, lut);
        p.weave = 0.7;
        expectLikeTheCpu(p, 5e-4, 5e-6, "the chain with a weave on stock " + std::to_string(stock));
    }
}

TEST_F(FrameChain, GivesTheSameBitsForTheSameFrame) {
    MetalFrameParams p = plain();
    p.detail = p.bloom = p.halation = p.grain = p.weave = 0.5;
    EXPECT_EQ(renderOnDevice(scene(p), p), renderOnDevice(scene(p), p));
}

// The last test of the program: what the frames above left is given back.
TEST_F(FrameChain, LeavesNothingBehindAfterShutdown) {
    renderOnDevice(scene(plain()), plain());
    shutdown();
    const Counters c = counters();
    EXPECT_EQ(c.contexts, 0u);
    EXPECT_EQ(c.framesInFlight, 0u);
    EXPECT_EQ(c.asyncOps, 0u);
    EXPECT_EQ(c.commandBuffers, 0u);
}

} // namespace
} // namespace velloid::gpu
