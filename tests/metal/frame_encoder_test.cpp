// One frame as the device is asked to run it: validation, the constant record, the passes with their planes, commit.
#include "color/looks.h"
#include "color/matrix_tables.h"
#include "process/detail_profiles.h"
#include "process/flicker.h"
#include "process/grain_profiles.h"
#include "process/halation_profiles.h"
#include "tests/metal/frame_trace.h"
#include "tests/metal/gpu_fixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>

namespace velloid::gpu {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

constexpr double INF = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::nan("");

using Words = std::vector<std::string>;

class FrameEncoder : public GpuTest {
protected:
    static constexpr int W = 20;
    static constexpr int H = 12;
    void* src = newImage(W * H * 4);
    void* dst = newImage(W * H * 4);
    MetalFrameParams p;

    FrameEncoder() {
        p.width = W;
        p.height = H;
        p.components = 4;
    }

    // Renders and waits for it; what ran.
    std::vector<RanKernel> rendered(const MetalFrameParams& wanted) {
        runtime.forgetRan();
        EXPECT_TRUE(renderFrame(runtime, queue, src, dst, wanted));
        runtime.joinThreads();
        return runtime.ran();
    }

    // The frame's passes between decode and encode.
    Words passes(const MetalFrameParams& wanted) {
        MetalFrameParams grain = wanted;
        grain.detail = grain.bloom = grain.halation = grain.weave = grain.color = grain.bw = 0.0;
        grain.outputLut = nullptr;
        grain.grain = 1.0;
        grain.stock = 0;
        const FrameTrace trace(rendered(grain), runtime.hostFloats(src), runtime.hostFloats(dst));
        Words words = trace.wordsFor(rendered(wanted));
        EXPECT_GE(words.size(), 2u);
        EXPECT_EQ(words.front(), "k_decode src P0 P1 P2");
        last = words.back();
        return {words.begin() + 1, words.end() - 1};
    }

    std::string last; // the encode pass of passes()

    bool render(const MetalFrameParams& wanted) { return renderFrame(runtime, queue, src, dst, wanted); }
};

// ---- validation ----------------------------------------------------------------------------------------------------

TEST_F(FrameEncoder, RefusesFramesThatDoNotFitWithoutALineInTheLog) {
    const std::vector<std::pair<const char*, std::function<void(MetalFrameParams&)>>> misfits = {
        {"encoding 17", [](auto& q) { q.io = 17; }},
        {"a negative encoding", [](auto& q) { q.io = -1; }},
        {"no width", [](auto& q) { q.width = 0; }},
        {"a negative height", [](auto& q) { q.height = -1; }},
        {"two components", [](auto& q) { q.components = 2; }},
        {"five components", [](auto& q) { q.components = 5; }},
        {"a source row shorter than its pixels", [](auto& q) { q.srcStride = W * 4 - 1; }},
        {"a destination row shorter than its pixels", [](auto& q) { q.dstStride = W * 4 - 1; }},
        {"a source that ends too early", [](auto& q) { q.srcStride = W * 4 + 1; }},
        {"a destination that ends too early", [](auto& q) { q.dstStride = W * 4 + 1; }},
        {"more rows than the images have", [](auto& q) { q.height = H + 1; }},
        {"a row of 2^31 floats", [](auto& q) { q.width = 1 << 29; }},
        {"the largest image that can be asked for",
         [](auto& q) {
             q.width = std::numeric_limits<int>::max() / 4;
             q.srcStride = q.dstStride = q.height = std::numeric_limits<int>::max();
         }},
    };
    for (const auto& [what, change] : misfits) {
        MetalFrameParams misfit = p;
        change(misfit);
        EXPECT_EQ(logOf([&, name = what] { EXPECT_FALSE(render(misfit)) << name; }), "") << what;
    }
    EXPECT_EQ(counters().contexts, 0u) << "refused before any GPU work";
    EXPECT_THAT(runtime.executed(), IsEmpty());
}

TEST_F(FrameEncoder, RefusesHandlesThatAreMissingOrOfAnotherDevice) {
    EXPECT_FALSE(renderFrame(runtime, nullptr, src, dst, p));
    EXPECT_FALSE(renderFrame(runtime, queue, nullptr, dst, p));
    EXPECT_FALSE(renderFrame(runtime, queue, src, nullptr, p));
    void* foreign = runtime.hostBuffer(runtime.hostDevice(), W * H * 16);
    EXPECT_FALSE(renderFrame(runtime, queue, foreign, dst, p));
    EXPECT_FALSE(renderFrame(runtime, queue, src, foreign, p));
    EXPECT_EQ(counters().contexts, 0u);
}

TEST_F(FrameEncoder, TakesTheLastRowWithoutPadding) {
    p.components = 3;
    p.srcStride = p.dstStride = W * 3 + 5;
    src = newImage(static_cast<std::size_t>((W * 3 + 5) * (H - 1) + W * 3));
    dst = newImage(static_cast<std::size_t>((W * 3 + 5) * (H - 1) + W * 3));
    const FrameParams g = recordOf(rendered(p));
    EXPECT_EQ(g.srcStride, W * 3 + 5);
    EXPECT_EQ(g.dstStride, W * 3 + 5);
}

// ---- the constant record -------------------------------------------------------------------------------------------

TEST_F(FrameEncoder, RunsDecodeAndEncodeWithAllEffectsOff) {
    EXPECT_THAT(passes(p), IsEmpty());
    EXPECT_EQ(last, "k_encode_out P0 P1 P2 src dst P0") << "a plane stands in for the output table";
    const auto ran = rendered(p);
    EXPECT_EQ(ran[0].width, 32u) << "groups of 16 x 16";
    EXPECT_EQ(ran[0].height, 16u);
}

TEST_F(FrameEncoder, FillsTheRecordWithNeutralValues) {
    FrameParams want{};
    want.W = W;
    want.H = H;
    want.components = 4;
    want.srcStride = want.dstStride = W * 4;
    want.toAWG4[0] = want.toAWG4[4] = want.toAWG4[8] = 1.0f;
    want.fromAWG4[0] = want.fromAWG4[4] = want.fromAWG4[8] = 1.0f;
    want.flickR = want.flickG = want.flickB = 1.0f;
    want.lutInvR = want.lutInvG = want.lutInvB = 1.0f;
    want.outInvR = want.outInvG = want.outInvB = 1.0f;
    const FrameParams got = recordOf(rendered(p));
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0);
}

TEST_F(FrameEncoder, TakesPremultiplicationOnlyWithAlpha) {
    p.premultiplied = true;
    EXPECT_EQ(recordOf(rendered(p)).premultiplied, 1);
    p.components = 3;
    EXPECT_EQ(recordOf(rendered(p)).premultiplied, 0);
}

TEST_F(FrameEncoder, CompletesTheRecordBeforeTheFirstKernelSeesIt) {
    p.weave = p.grain = 1.0;
    const FrameParams atDecode = recordOf(rendered(p));
    EXPECT_EQ(atDecode.weaveActive, 1);
    EXPECT_EQ(atDecode.grain, 1.0f);
}

TEST(FillIOMatrices, GivesTheEncodingsTheirMatrices) {
    for (int io = 0; io <= 16; ++io) {
        MetalFrameParamsGPU g{};
        fillIOMatrices(io, g);
        static const double IDENTITY[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        const double* to = io < 2 ? IDENTITY : io < 4 ? CS_MAT_AWG3_TO_AWG4 : CS_MAT_TO_AWG4[io - 4];
        const double* from = io < 2 ? IDENTITY : io < 4 ? CS_MAT_AWG4_TO_AWG3 : CS_MAT_FROM_AWG4[io - 4];
        EXPECT_EQ(g.ioHasMatrix, io < 2 ? 0 : 1) << io;
        for (int i = 0; i < 9; ++i) {
            EXPECT_EQ(g.toAWG4[i], static_cast<float>(to[i])) << io;
            EXPECT_EQ(g.fromAWG4[i], static_cast<float>(from[i])) << io;
        }
    }
}

TEST(GpuFrameNumber, AddsHalfAFrameAndTruncates) {
    EXPECT_EQ(gpuFrameNumber(12.0), 12);
    EXPECT_EQ(gpuFrameNumber(12.5), 13);
    EXPECT_EQ(gpuFrameNumber(-0.9), 0);
    EXPECT_EQ(gpuFrameNumber(-2.0), -1) << "toward zero";
    EXPECT_EQ(gpuFrameNumber(1e12), std::numeric_limits<int>::max());
    EXPECT_EQ(gpuFrameNumber(-1e12), std::numeric_limits<int>::min());
    EXPECT_EQ(gpuFrameNumber(NOT_A_NUMBER), 0);
    EXPECT_EQ(gpuFrameNumber(INF), 0);
}

TEST_F(FrameEncoder, FlickersInTheRecord) {
    p.flicker = 0.8;
    p.time = 41.0;
    const FrameParams g = recordOf(rendered(p));
    EXPECT_EQ(g.flickR, static_cast<float>(flickerGain(41, 0.8, 0)));
    EXPECT_EQ(g.flickG, static_cast<float>(flickerGain(41, 0.8, 1)));
    EXPECT_EQ(g.flickB, static_cast<float>(flickerGain(41, 0.8, 2)));
    EXPECT_NE(g.flickR, 1.0f);
    p.flicker = NOT_A_NUMBER;
    EXPECT_EQ(recordOf(rendered(p)).flickR, 1.0f);
}

TEST_F(FrameEncoder, ClampsTheMixes) {
    p.color = p.bw = 7.0;
    FrameParams g = recordOf(rendered(p));
    EXPECT_EQ(g.color, 1.0f);
    EXPECT_EQ(g.bw, 1.0f);
    p.color = p.bw = INF;
    g = recordOf(rendered(p));
    EXPECT_EQ(g.color, 0.0f);
    EXPECT_EQ(g.bw, 0.0f);
}

// ---- passes --------------------------------------------------------------------------------------------------------

TEST_F(FrameEncoder, TakesAmountsThatAreNotAboveZeroAsOff) {
    for (const double off : {0.0, -1.0, NOT_A_NUMBER, INF, -INF}) {
        p.detail = p.grain = p.halation = p.bloom = p.flicker = p.color = p.weave = p.bw = off;
        p.look = 3;
        p.alexaSceneFit = true;
        EXPECT_THAT(passes(p), IsEmpty()) << off;
    }
}

TEST_F(FrameEncoder, EncodesDetailPerChannel) {
    p.detail = 2.0; // counts as 1
    p.effectScaleX = 2.0;
    p.stock = 3;
    const DetailProfile profile = detailProfile(NegativeStock::Vision50D);
    const auto w = [](double sigma) {
        return " w" + std::to_string(static_cast<int>(std::max(1.0, std::ceil(3.0 * sigma))));
    };
    Words want;
    const double sigmas[3][2] = {
        {profile.blurR, profile.broadR}, {profile.blurG, profile.broadG}, {profile.blurB, profile.broadB}};
    for (int c = 0; c < 3; ++c) {
        const std::string plane = "P" + std::to_string(c);
        want.push_back("k_blur_h " + plane + " T2" + w(2.0 * sigmas[c][0]));
        want.push_back("k_blur_v T2 T1" + w(sigmas[c][0]));
        want.push_back("k_lerp " + plane + " T1 " + plane);
        want.push_back("k_to_logc4 " + plane + " T1");
        want.push_back("k_blur_h T1 T3" + w(2.0 * sigmas[c][1]));
        want.push_back("k_blur_v T3 T2" + w(sigmas[c][1]));
        want.push_back("k_detail_sharp T1 T2 " + plane);
    }
    EXPECT_THAT(passes(p), ElementsAreArray(want));
    const auto ran = rendered(p);
    EXPECT_EQ(firstOf(ran, "k_lerp").value<float>(3), static_cast<float>(profile.blurMix));
    EXPECT_EQ(firstOf(ran, "k_detail_sharp").value<float>(3), static_cast<float>(profile.sharpR));
    EXPECT_EQ(firstOf(ran, "k_blur_v").value<int>(3), std::max(1, static_cast<int>(std::ceil(3.0 * profile.blurR))));
}

TEST_F(FrameEncoder, EncodesBloomPerChannel) {
    p.bloom = 0.5;
    p.effectScaleX = 0.5; // sigmas (3, 6) and a quarter of them
    Words want;
    for (const std::string plane : {"P0", "P1", "P2"}) {
        for (const std::string temp : {"T1", "T2"}) {
            want.push_back("k_excess " + plane + " " + temp);
            want.push_back("k_blur_h_d " + temp + " T4 " + (temp == "T1" ? "w3" : "w9"));
            want.push_back("k_blur_v_d T4 " + temp + (temp == "T1" ? " w5" : " w18"));
        }
        want.insert(want.end(), {"k_copy " + plane + " T3", "k_blur_h_d T3 T4 w9", "k_blur_v_d T4 T3 w18",
                                 "k_bloom_combine " + plane + " T1 T2 T3"});
    }
    EXPECT_THAT(passes(p), ElementsAreArray(want));
    const auto ran = rendered(p);
    float knee = 0.0f;
    const std::uint32_t bits = 0x3F02557C;
    std::memcpy(&knee, &bits, sizeof knee);
    EXPECT_EQ(firstOf(ran, "k_excess").value<float>(2), knee);
    EXPECT_EQ(firstOf(ran, "k_bloom_combine").value<float>(4), static_cast<float>(0.5 * 0.22));
    EXPECT_EQ(firstOf(ran, "k_bloom_combine").value<float>(5), static_cast<float>(0.5 * 0.1));
    EXPECT_EQ((firstOf(ran, "k_blur_h_d").value<std::array<int, 2>>(4)), (std::array<int, 2>{W, H}));
    EXPECT_EQ(recordOf(ran).bloom, 0.0f) << "the kernels take it as a value";
}

TEST_F(FrameEncoder, GlowsFollowTheHeightOfATallFrame) {
    p.width = 5;
    p.height = 1500;
    src = newImage(5 * 1500 * 4);
    dst = newImage(5 * 1500 * 4);
    p.halation = 1.0; // a size of 6: sigmas 1.035 and 2.91
    EXPECT_THAT(passes(p), AllOf(Contains("k_blur_h T1 T4 w4"), Contains("k_blur_h T1 T4 w9")));
    p.halation = 0.0;
    p.bloom = 1.0; // a sigma of 36
    EXPECT_THAT(passes(p), Contains("k_blur_v_d T4 T2 w108"));
}

TEST_F(FrameEncoder, BlursWideGlowsOnALadderOfHalvedPlanes) {
    p.width = 65;
    p.height = 50;
    src = newImage(65 * 50 * 4);
    dst = newImage(65 * 50 * 4);
    p.bloom = 1.0;
    p.effectScaleX = p.effectScaleY = 2.0; // sigma 12; the quarter of it stays at full size
    const Words words = passes(p);
    const auto excess = std::find(words.begin(), words.end(), "k_excess P0 T2");
    ASSERT_NE(excess, words.end());
    // One unit blur and halving leave a variance of 144 - 1 - 4/12, which at half size is a sigma of 5.97.
    EXPECT_THAT(Words(excess + 1, excess + 8),
                ElementsAre("k_blur_h_d T2 T4 w3", "k_blur_v_d T4 T2 w3", "k_down2 T2 T4", "k_blur_h_d T4 T2 w18",
                            "k_blur_v_d T2 T4 w18", "k_up_bilinear T4 T2", "k_copy P0 T3"));
    const RanKernel down = firstOf(rendered(p), "k_down2");
    EXPECT_EQ((down.value<std::array<int, 4>>(2)), (std::array<int, 4>{65, 50, 33, 25}));
    EXPECT_EQ(down.width, 48u) << "over the halved plane";
    EXPECT_EQ(down.height, 32u);
}

TEST_F(FrameEncoder, EndsAPyramidInThePlaneWhereItBegan) {
    p.width = 140;
    p.height = 132;
    src = newImage(140 * 132 * 4);
    dst = newImage(140 * 132 * 4);
    p.bloom = 1.0;
    p.effectScaleX = p.effectScaleY = 4.0; // sigma 24: two halvings down, two up, which ends where it began
    const Words words = passes(p);
    EXPECT_THAT(words, Contains("k_down2 T2 T4"));
    EXPECT_THAT(words, Contains("k_down2 T4 T2"));
    EXPECT_THAT(words, Contains("k_up_bilinear T2 T4"));
    EXPECT_THAT(words, Contains("k_up_bilinear T4 T2"));
    // However often it is halved, a pyramid goes as many steps up as down, so no copy is ever needed.
    EXPECT_THAT(words, Not(Contains("k_copy T4 T2")));
}

TEST_F(FrameEncoder, EncodesHalationPerChannel) {
    p.halation = 0.5;
    p.stock = 4;
    const HalationProfile profile = halationProfile(NegativeStock::Tungsten800T);
    const auto w = [](double sigma) { return " w" + std::to_string(static_cast<int>(std::ceil(3.0 * sigma))); };
    Words want;
    for (const std::string plane : {"P0", "P1", "P2"}) {
        want.insert(want.end(), {"k_excess " + plane + " T1", "k_blur_h T1 T4" + w(4.0 * profile.sigma1),
                                 "k_blur_v T4 T2" + w(4.0 * profile.sigma1), "k_blur_h T1 T4" + w(4.0 * profile.sigma2),
                                 "k_blur_v T4 T3" + w(4.0 * profile.sigma2), "k_hal_combine " + plane + " T1 T2 T3"});
    }
    EXPECT_THAT(passes(p), ElementsAreArray(want));
    const auto ran = rendered(p);
    EXPECT_EQ(firstOf(ran, "k_excess").value<float>(2), static_cast<float>(profile.knee));
    EXPECT_EQ(firstOf(ran, "k_hal_combine").value<float>(4),
              static_cast<float>(0.25 * profile.strength * profile.tintR));
    EXPECT_EQ(recordOf(ran).halW1, static_cast<float>(profile.w1));
    EXPECT_EQ(recordOf(ran).halW2, static_cast<float>(1.0 - profile.w1));
}

TEST_F(FrameEncoder, EncodesGrainInPlace) {
    p.grain = 1.5;
    p.time = 7.0;
    p.stock = 5;
    const GrainProfile profile = grainProfile(NegativeStock::Eastman5254);
    const auto w = [](double sigma) { return " w" + std::to_string(static_cast<int>(std::ceil(3.0 * sigma))); };
    EXPECT_THAT(passes(p), ElementsAre("k_grain_prepare P0 P1 P2 T1 T2 T3 P0 P1 P2", //
                                       "k_blur_h P0 T4" + w(profile.sizeR), "k_blur_v T4 P0" + w(profile.sizeR),
                                       "k_blur_h P1 T4" + w(profile.sizeG), "k_blur_v T4 P1" + w(profile.sizeG),
                                       "k_blur_h P2 T4" + w(profile.sizeB), "k_blur_v T4 P2" + w(profile.sizeB),
                                       "k_grain_finish T1 T2 T3 P0 P1 P2 P0 P1 P2"));
    const auto ran = rendered(p);
    const FrameParams g = recordOf(ran);
    EXPECT_EQ(g.grain, 1.5f);
    EXPECT_EQ(g.grainSeed, profile.grainSeed);
    EXPECT_EQ(g.grainMono, profile.grainMono ? 1 : 0);
    EXPECT_EQ(g.grainFrame, 7);
    EXPECT_EQ(g.corrRG, static_cast<float>(profile.corrRG));
    EXPECT_EQ(g.corrGB, static_cast<float>(profile.corrGB));
    EXPECT_EQ(g.corrBR, static_cast<float>(profile.corrBR));
    const auto gp = firstOf(ran, "k_grain_prepare").value<GrainParams>(10);
    EXPECT_EQ(gp.nodeY[10], static_cast<float>(GRAIN_NODE_Y[10]));
    EXPECT_EQ(gp.sigR[3], static_cast<float>(profile.tableR[3]));
    EXPECT_EQ(gp.sigG[5], static_cast<float>(profile.tableG[5]));
    EXPECT_EQ(gp.sigB[0], static_cast<float>(profile.tableB[0]));
}

TEST_F(FrameEncoder, CountsGrainCellsInTheFullImage) {
    p.grain = 1.0;
    p.originX = -5;
    p.originY = 100;
    p.grainScaleX = 2.0;
    p.grainScaleY = -1.0; // counts as 1
    const RanKernel prepare = firstOf(rendered(p), "k_grain_prepare");
    const auto x = prepare.value<std::array<int, W>>(11);
    const auto y = prepare.value<std::array<int, H>>(12);
    for (int i = 0; i < W; ++i)
        EXPECT_EQ(x[static_cast<std::size_t>(i)], (i - 5) / 2) << "truncated toward zero";
    for (int i = 0; i < H; ++i)
        EXPECT_EQ(y[static_cast<std::size_t>(i)], i + 100);
    p.originX = std::numeric_limits<int>::max();
    p.grainScaleX = 1e-300;
    const auto far = firstOf(rendered(p), "k_grain_prepare").value<std::array<int, W>>(11);
    EXPECT_EQ(far[1], 0) << "not finite";
    p.grainScaleX = 1e-3;
    EXPECT_EQ((firstOf(rendered(p), "k_grain_prepare").value<std::array<int, W>>(11)[1]),
              std::numeric_limits<int>::max());
}

TEST_F(FrameEncoder, TakesStocksOutsideTheMenuAsTheFirst) {
    p.grain = p.halation = p.detail = 1.0;
    p.stock = 16;
    EXPECT_THAT(passes(p), Not(Contains(testing::StartsWith("k_grain")))) << "16: no grain";
    EXPECT_THAT(passes(p), Contains(testing::StartsWith("k_hal_combine")));
    for (const int stock : {17, 99, -1}) {
        p.stock = stock;
        const auto ran = rendered(p);
        EXPECT_EQ(recordOf(ran).grainSeed, grainProfile(NegativeStock::Vision500T).grainSeed) << stock;
        EXPECT_EQ(recordOf(ran).halW1, static_cast<float>(halationProfile(NegativeStock::Vision500T).w1)) << stock;
        EXPECT_EQ(firstOf(ran, "k_detail_sharp").value<float>(3),
                  static_cast<float>(detailProfile(static_cast<NegativeStock>(stock)).sharpR))
            << stock;
    }
}

TEST_F(FrameEncoder, LaysTheLookOverTheFrame) {
    p.color = 0.25;
    p.look = static_cast<int>(PrintProcess::Kodak2383);
    EXPECT_THAT(passes(p), ElementsAre("k_color_lut P0 P1 P2 table"));
    const LUT3D& lut = printLut(PrintProcess::Kodak2383);
    const FrameParams g = recordOf(rendered(p));
    EXPECT_EQ(g.color, 0.25f);
    EXPECT_EQ(g.lutSize, lut.size);
    EXPECT_EQ(g.lutLogDomain, lut.logDomain ? 1 : 0);
    EXPECT_EQ(g.lutMinR, lut.domainMin.r);
    EXPECT_EQ(g.lutInvB, 1.0f / (lut.domainMax.b - lut.domainMin.b));
}

TEST_F(FrameEncoder, LeavesLooksOutThatDoNotExist) {
    p.color = 1.0;
    for (const int look : {15, 16, 1000, -1}) {
        p.look = look;
        EXPECT_THAT(passes(p), IsEmpty()) << look;
    }
}

TEST_F(FrameEncoder, WeavesIntoTheTemporariesAndGoesOnThere) {
    p.weave = 0.8;
    p.bw = 0.5;
    p.color = 1.0;
    p.alexaSceneFit = true;
    p.time = 29.0;
    p.effectScaleX = 2.0;
    p.effectScaleY = 0.5;
    EXPECT_THAT(passes(p), ElementsAre("k_weave P0 P1 P2 T1 T2 T3", "k_bw T1 T2 T3", "k_alexa_scene_fit T1 T2 T3"));
    EXPECT_EQ(last, "k_encode_out T1 T2 T3 src dst T1");
    const FrameParams g = recordOf(rendered(p));

    const double f = 29.0;
    constexpr std::uint32_t u = (29u * 0x9E3779B1u) ^ (29u * 0x27D4EB2Fu);
    const auto r = [=](std::uint32_t key) {
        std::uint32_t x = u ^ key;
        x = (x ^ (x >> 16)) * 0x7feb352du;
        x = (x ^ (x >> 15)) * 0x846ca68bu;
        return ((x ^ (x >> 16)) & 0xFFFFFFu) / 8388607.5 - 1.0;
    };
    using std::sin;
    const double dx =
        2.0 * (0.28 * sin(0.047 * f + 2.1) + 0.62 * sin(0.173 * f + 0.4) + 0.1 * r(0xE4096D02)) * 0.8 * 1.15;
    const double dy =
        0.5 * (0.22 * sin(0.061 * f + 0.3) + 0.52 * sin(0.131 * f + 1.6) + 0.08 * r(0xE9BD9D4B)) * 0.8 * 1.15;
    const double angle =
        (8e-05 * r(0xFB3EA269) + 0.00055 * (0.25 * sin(0.031 * f + 2.7) + 0.65 * sin(0.089 * f + 0.9))) * 0.8;
    EXPECT_FLOAT_EQ(g.weaveDx, static_cast<float>(dx));
    EXPECT_FLOAT_EQ(g.weaveDy, static_cast<float>(dy));
    EXPECT_FLOAT_EQ(g.weaveCos, static_cast<float>(std::cos(angle)));
    EXPECT_FLOAT_EQ(g.weaveSinX, static_cast<float>(4.0 * sin(angle)));
    EXPECT_FLOAT_EQ(g.weaveSinY, static_cast<float>(0.25 * sin(angle)));
    EXPECT_EQ(g.weaveActive, 1);
}

TEST_F(FrameEncoder, DoesNotWeaveASingleRowOrColumn) {
    p.weave = 1.0;
    p.width = 1;
    EXPECT_THAT(passes(p), IsEmpty());
    EXPECT_EQ(recordOf(rendered(p)).weaveActive, 0);
    p.width = W;
    p.height = 1;
    EXPECT_THAT(passes(p), IsEmpty());
}

TEST_F(FrameEncoder, FitsTheSceneOnlyWithAColour) {
    p.alexaSceneFit = true;
    EXPECT_THAT(passes(p), IsEmpty());
    p.color = 0.5;
    EXPECT_THAT(passes(p), ElementsAre("k_alexa_scene_fit P0 P1 P2"));
    EXPECT_EQ(recordOf(rendered(p)).alexaSceneFit, 1);
}

LUT3D outputTable() {
    LUT3D lut;
    lut.size = 2;
    lut.id = nextLutCacheId();
    lut.domainMin = {-1.0f, 0.0f, 0.0f};
    lut.domainMax = {1.0f, 4.0f, 0.0f};
    lut.data.assign(8, RGB{0.25f, 0.5f, 0.75f});
    return lut;
}

TEST_F(FrameEncoder, AppliesTheOutputTableWhileEncoding) {
    const LUT3D lut = outputTable();
    p.outputLut = &lut;
    p.outputLutStrength = 3.0;
    p.outputLutDomain = 2;
    EXPECT_THAT(passes(p), IsEmpty());
    EXPECT_EQ(last, "k_encode_out P0 P1 P2 src dst table");
    FrameParams g = recordOf(rendered(p));
    EXPECT_EQ(g.outLutActive, 1);
    EXPECT_EQ(g.outLutStrength, 1.0f);
    EXPECT_EQ(g.outLutSize, 2);
    EXPECT_EQ(g.outLutDomain, 0) << "only 1 means LogC4";
    EXPECT_EQ(g.outMinR, -1.0f);
    EXPECT_EQ(g.outInvR, 0.5f);
    EXPECT_EQ(g.outInvG, 0.25f);
    EXPECT_EQ(g.outInvB, 1.0f) << "an axis without a range";
    EXPECT_EQ(runtime.hostFloats(dst)[0], 0.25f);
    p.outputLutDomain = 1;
    EXPECT_EQ(recordOf(rendered(p)).outLutDomain, 1);
    for (const double off : {0.0, -1.0, NOT_A_NUMBER}) {
        p.outputLutStrength = off;
        EXPECT_EQ(recordOf(rendered(p)).outLutActive, 0) << off;
    }
}

TEST_F(FrameEncoder, RunsTheWholeChainInFilmOrder) {
    const LUT3D lut = outputTable();
    p.detail = p.bloom = p.halation = p.grain = p.color = p.weave = p.bw = p.flicker = 0.5;
    p.look = 2;
    p.alexaSceneFit = true;
    p.outputLut = &lut;
    p.outputLutStrength = 1.0;
    Words order;
    for (const std::string& words : passes(p)) {
        const std::string name = words.substr(0, words.find(' '));
        const bool helper = name.rfind("k_blur", 0) == 0 || name == "k_copy" || name == "k_excess" ||
                            name == "k_lerp" || name == "k_to_logc4";
        if (!helper && (order.empty() || order.back() != name)) order.push_back(name);
    }
    EXPECT_THAT(order, ElementsAre("k_detail_sharp", "k_bloom_combine", "k_hal_combine", "k_grain_prepare",
                                   "k_grain_finish", "k_color_lut", "k_weave", "k_bw", "k_alexa_scene_fit"));
    EXPECT_EQ(last, "k_encode_out T1 T2 T3 src dst table");
    EXPECT_EQ(runtime.calls(Fault::ComputeEncoder), 2)
        << "one encoder per frame (a frame to learn the roles, and this)";
}

// ---- scales --------------------------------------------------------------------------------------------------------

TEST_F(FrameEncoder, LimitsTheEffectScales) {
    p.weave = 1.0;
    const float unscaled = recordOf(rendered(p)).weaveDx;
    p.effectScaleX = 100.0;
    EXPECT_FLOAT_EQ(recordOf(rendered(p)).weaveDx, 64.0f * unscaled) << "64 to 1 is the limit";
    for (const double one : {0.0, -2.0, NOT_A_NUMBER, INF}) {
        p.effectScaleX = p.effectScaleY = one;
        EXPECT_EQ(recordOf(rendered(p)).weaveDx, unscaled) << one;
    }
    p.effectScaleX = 0.01;
    p.effectScaleY = 1.0;
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(render(p)); }), "");
    EXPECT_EQ(counters().framesInFlight, 0u) << "the planes came back";
    p.effectScaleX = 1.0 / 64.0;
    EXPECT_TRUE(render(p));
}

// ---- host memory and plain copies ----------------------------------------------------------------------------------

TEST_F(FrameEncoder, RendersImagesInHostMemoryAndLeavesTheirPaddingAlone) {
    constexpr int STRIDE = W * 3 + 2;
    p.components = 3;
    p.srcStride = p.dstStride = STRIDE;
    const std::vector<float> in(STRIDE * H, 0.4f);
    std::vector<float> out(STRIDE * H, -7.0f);
    ASSERT_TRUE(renderFrameFromHost(runtime, queue, in.data(), out.data(), p));
    for (std::size_t y = 0; y < H; ++y) {
        EXPECT_NEAR(out[y * STRIDE], 0.4f, 2e-6);
        EXPECT_NEAR(out[y * STRIDE + W * 3 - 1], 0.4f, 2e-6);
        EXPECT_EQ(out[y * STRIDE + W * 3], -7.0f);
        EXPECT_EQ(out[y * STRIDE + STRIDE - 1], -7.0f);
    }
    EXPECT_EQ(counters().framesInFlight, 0u) << "it waits";
    EXPECT_EQ(counters().asyncOps, 0u);
}

TEST_F(FrameEncoder, RefusesHostImagesThatDoNotFit) {
    std::vector<float> pixels(W * H * 4);
    const auto refused = [&](auto change) {
        MetalFrameParams q = p;
        change(q);
        return !renderFrameFromHost(runtime, queue, pixels.data(), pixels.data(), q);
    };
    EXPECT_TRUE(refused([](auto& q) { q.components = 1; }));
    EXPECT_TRUE(refused([](auto& q) { q.width = 0; }));
    EXPECT_TRUE(refused([](auto& q) { q.height = 0; }));
    EXPECT_TRUE(refused([](auto& q) { q.srcStride = W * 4 - 1; }));
    EXPECT_TRUE(refused([](auto& q) { q.dstStride = W * 4 - 1; }));
    EXPECT_TRUE(refused([](auto& q) { q.width = 1 << 29; }));
    EXPECT_FALSE(renderFrameFromHost(runtime, nullptr, pixels.data(), pixels.data(), p));
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, nullptr, pixels.data(), p));
    EXPECT_FALSE(renderFrameFromHost(runtime, queue, pixels.data(), nullptr, p));
    EXPECT_EQ(runtime.calls(Fault::Buffer), 0);
}

TEST_F(FrameEncoder, CopiesRowsWithoutEffects) {
    runtime.hostFloats(src)[2 * 30 + 5] = 9.0f;
    // 10 x 8 pixels of 2 floats, rows of 30 floats to rows of 25.
    ASSERT_TRUE(passthrough(runtime, queue, src, dst, 10, 8, 2, 30, 25));
    runtime.joinThreads();
    EXPECT_EQ(runtime.executed(), Words(8, "blit"));
    EXPECT_EQ(runtime.hostFloats(dst)[2 * 25 + 5], 9.0f);
    EXPECT_EQ(runtime.hostFloats(dst)[7 * 25 + 19], runtime.hostFloats(src)[7 * 30 + 19]);
    EXPECT_EQ(runtime.calls(Fault::Library), 0) << "no kernels for a copy";
}

TEST_F(FrameEncoder, CopiesRowsWithoutGapsAtOnce) {
    runtime.hostFloats(src)[W * H * 4 - 1] = 9.0f;
    ASSERT_TRUE(passthrough(runtime, queue, src, dst, W, H, 4, 0, W * 4));
    runtime.joinThreads();
    EXPECT_EQ(runtime.executed(), Words(1, "blit"));
    EXPECT_EQ(std::memcmp(runtime.hostFloats(dst), runtime.hostFloats(src), W * H * 16), 0);
}

TEST_F(FrameEncoder, HasNothingToCopyOntoItself) {
    EXPECT_TRUE(passthrough(runtime, queue, src, src, W, H, 4, 0, W * 4));
    EXPECT_FALSE(passthrough(runtime, queue, src, src, 10, 8, 2, 30, 25)) << "rows would move";
    EXPECT_EQ(runtime.calls(Fault::CommandBuffer), 0);
}

TEST_F(FrameEncoder, RefusesCopiesThatDoNotFit) {
    void* foreign = runtime.hostBuffer(runtime.hostDevice(), W * H * 16);
    EXPECT_FALSE(passthrough(runtime, nullptr, src, dst, W, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, nullptr, dst, W, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, nullptr, W, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, foreign, dst, W, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, foreign, W, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, 0, H, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, 0, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H, 0, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H, 5, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H, 4, W * 4 - 1, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H, 4, 0, W * 4 - 1));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H, 4, W * 4 + 1, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, W, H + 1, 4, 0, 0));
    EXPECT_FALSE(passthrough(runtime, queue, src, dst, 1 << 29, 1, 4, 0, 0));
    EXPECT_EQ(runtime.calls(Fault::CommandBuffer), 0);
}

// ---- without a runtime ---------------------------------------------------------------------------------------------

#if !defined(__APPLE__)
TEST(Renderer, FailsEveryFrameWhereThereIsNoMetal) {
    MetalFrameParams p;
    p.width = p.height = 1;
    p.components = 4;
    float pixels[4] = {};
    EXPECT_FALSE(metalRenderFrame(pixels, pixels, pixels, p));
    EXPECT_FALSE(metalRenderFrameCPU(pixels, pixels, pixels, p));
    EXPECT_FALSE(metalPassthrough(pixels, pixels, pixels, 1, 1, 4, 4, 4));
    metalPurgeCaches();
    metalShutdown();
}
#endif

} // namespace
} // namespace velloid::gpu
