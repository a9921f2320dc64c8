// The render driver streams rows in tiles; the same frame put together from whole planes, one public effect after the
// other, must have the same bits: for every effect, every number of workers, and frames that need many tiles.
#include "color/cube_reader.h"
#include "ofx/tarnwell_statistics.h"
#include "plugin/parameters.h"
#include "plugin_under_test.h"
#include "process/parallel_pool.h"
#include "process/scratch.h"
#include "tests/plane_chain.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>

using namespace velloid;
using namespace velloid::test;

namespace {

struct Frame {
    int width;
    int height;
    const char* components = kOfxImageComponentRGBA;
    bool premultiplied = false;
};

MetalFrameParams allOff(const Frame& frame) {
    MetalFrameParams p;
    p.width = frame.width;
    p.height = frame.height;
    p.components = std::strcmp(frame.components, kOfxImageComponentRGBA) == 0 ? 4 : 3;
    p.premultiplied = frame.premultiplied;
    p.time = 17.0;
    p.stock = 16;
    return p;
}

MetalFrameParams everythingOn(const Frame& frame) {
    MetalFrameParams p = allOff(frame);
    p.stock = 4; // 800T: the widest halo
    p.detail = 0.6;
    p.bloom = 0.5;
    p.halation = 0.7;
    p.grain = 0.9;
    p.flicker = 0.5;
    p.color = 0.8;
    p.look = static_cast<int>(PrintProcess::Kodak2383);
    p.weave = 0.9;
    p.bw = 0.3;
    return p;
}

// Codes with a ramp, fine texture, lamps, and numbers that are none.
double scene(int x, int y, int c) {
    if (c == 3) return x % 29 == 0 ? 0.0 : (x * 7 + y * 3) % 100 / 80.0 - 0.1;
    if (x % 211 == 5 && y % 31 == 7) return std::numeric_limits<double>::quiet_NaN();
    if (x % 307 == 9 && y % 37 == 3) return std::numeric_limits<double>::infinity();
    const bool lamp = (x % 180) < 3 && (y % 60) < 4;
    return lamp ? 0.9 - 0.1 * c : (x + 2 * y) % 300 / 700.0 + (x * 37 + y * 59 + c * 11) % 64 / 900.0;
}

class Streaming : public testing::Test {
protected:
    void TearDown() override { useParallelPool(nullptr); }

    std::vector<float> throughThePlugin(const Frame& frame, const MetalFrameParams& p, const std::string& lutPath,
                                        const OfxRectI* window = nullptr, bool inPlace = false) {
        PluginUnderTest plugin;
        plugin.set("negStock", std::to_string(p.stock))
            .set("colorProcess", std::to_string(menuIndexOf(static_cast<PrintProcess>(p.look))))
            .set("ioSpace", std::to_string(p.io))
            .set("outputLutPath", lutPath)
            .set("outputLutDomain", std::to_string(p.outputLutDomain))
            .setAmounts({{"detail", p.detail},
                         {"grainIntensity", p.grain},
                         {"halationIntensity", p.halation},
                         {"colorIntensity", p.color},
                         {"gateWeave", p.weave},
                         {"flicker", p.flicker},
                         {"bloom", p.bloom},
                         {"blackWhite", p.bw},
                         {"outputLutStrength", p.outputLutStrength}});
        ImageShape shape;
        shape.width = frame.width;
        shape.height = frame.height;
        shape.components = frame.components;
        shape.preMultiplication = frame.premultiplied ? kOfxImagePreMultiplied : kOfxImageUnPreMultiplied;
        TestImage source(shape);
        TestImage output(shape);
        source.fill(scene);
        RenderRequest r = requestFor(source, inPlace ? source : output, p.time);
        if (window) r.window = *window;
        EXPECT_EQ(plugin.render(r), kOfxStatOK);
        const std::vector<std::uint8_t>& pixels = inPlace ? source.memory() : output.memory();
        std::vector<float> result(pixels.size() / 4);
        std::memcpy(result.data(), pixels.data(), pixels.size());
        return result;
    }

    static std::vector<float> pixelsOf(const Frame& frame, int components) {
        std::vector<float> pixels;
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                for (int c = 0; c < components; ++c)
                    pixels.push_back(static_cast<float>(scene(x, y, c)));
            }
        }
        return pixels;
    }

    void expectSameBits(const Frame& frame, const MetalFrameParams& p, const std::string& what,
                        const std::string& lutPath = "") {
        const std::vector<float> planes = renderPlanes(pixelsOf(frame, p.components), p);
        for (const unsigned threads : {1u, 2u, 8u, 32u}) {
            ParallelPool pool(threads);
            useParallelPool(&pool);
            const std::vector<float> rows = throughThePlugin(frame, p, lutPath);
            useParallelPool(nullptr);
            ASSERT_EQ(rows.size(), planes.size());
            for (std::size_t i = 0; i < rows.size(); ++i) {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(rows[i]), std::bit_cast<std::uint32_t>(planes[i]))
                    << what << ", " << frame.width << " x " << frame.height << ", " << threads << " threads, sample "
                    << i << ": rows " << rows[i] << ", planes " << planes[i];
            }
        }
    }
};

} // namespace

TEST_F(Streaming, EveryEffectAloneHasTheBitsOfTheWholePlaneForm) {
    const Frame frame{1100, 70};
    const MetalFrameParams on = everythingOn(frame);
    const auto with = [&](auto set) {
        MetalFrameParams p = allOff(frame);
        p.stock = on.stock;
        set(p);
        return p;
    };
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.flicker = on.flicker; }), "flicker");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.detail = on.detail; }), "detail");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.bloom = on.bloom; }), "bloom");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.halation = on.halation; }), "halation");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.grain = on.grain; }), "grain");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.look = on.look, p.color = on.color; }), "print look");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.weave = on.weave; }), "gate weave");
    expectSameBits(frame, with([&](MetalFrameParams& p) { p.bw = on.bw; }), "black and white");
}

TEST_F(Streaming, EverythingOnHasTheBitsOfTheWholePlaneForm) {
    const Frame frame{1031, 203};
    expectSameBits(frame, everythingOn(frame), "everything");
    MetalFrameParams slog3 = everythingOn(frame);
    slog3.io = 8;
    slog3.weave = 0.0;
    expectSameBits(frame, slog3, "S-Log3, no weave");
    slog3.bloom = 0.0;
    expectSameBits(frame, slog3, "S-Log3, one pass");
}

TEST_F(Streaming, SmallAndOddFramesHaveTheBitsOfTheWholePlaneForm) {
    for (const Frame& frame : {Frame{1, 1}, Frame{1, 40}, Frame{40, 1}, Frame{3, 2}, Frame{17, 5}, Frame{66, 131}})
        expectSameBits(frame, everythingOn(frame), "everything");
}

TEST_F(Streaming, ThreeComponentsAndPremultipliedAlphaHaveTheBitsOfTheWholePlaneForm) {
    const Frame rgb{530, 40, kOfxImageComponentRGB};
    expectSameBits(rgb, everythingOn(rgb), "RGB");
    const Frame premultiplied{530, 40, kOfxImageComponentRGBA, true};
    expectSameBits(premultiplied, everythingOn(premultiplied), "premultiplied");
}

TEST_F(Streaming, AnOutputTableInEitherDomainHasTheBitsOfTheWholePlaneForm) {
    const std::string path = testing::TempDir() + "streaming_test.cube";
    {
        std::FILE* file = std::fopen(path.c_str(), "w");
        ASSERT_TRUE(file);
        std::fputs("LUT_3D_SIZE 2\n", file);
        for (int i = 0; i < 8; ++i)
            std::fprintf(file, "%g %g %g\n", 0.1 + 0.7 * (i & 1), 0.9 * (i >> 1 & 1), 0.05 + 0.8 * (i >> 2));
        std::fclose(file);
    }
    LUT3D table;
    ASSERT_TRUE(loadCubeLut(path.c_str(), table));
    const Frame frame{600, 40};
    for (const int domain : {0, 1}) {
        MetalFrameParams p = everythingOn(frame);
        p.outputLut = &table;
        p.outputLutStrength = 0.75;
        p.outputLutDomain = domain;
        expectSameBits(frame, p, "output LUT, domain " + std::to_string(domain), path);
    }
    std::remove(path.c_str());
}

TEST_F(Streaming, AWindowHoldsThePixelsOfTheWholeFrameAndNothingElseIsTouched) {
    const Frame frame{700, 90};
    for (const bool weave : {false, true}) {
        MetalFrameParams p = everythingOn(frame);
        if (!weave) p.weave = p.bloom = 0.0;
        const std::vector<float> whole = throughThePlugin(frame, p, "");
        const OfxRectI window{133, 21, 661, 60};
        const std::vector<float> part = throughThePlugin(frame, p, "", &window);
        float marker;
        std::memset(&marker, TestImage::MARKER, sizeof marker);
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                const bool inside = x >= window.x1 && x < window.x2 && y >= window.y1 && y < window.y2;
                const std::size_t i = static_cast<std::size_t>(y * frame.width + x) * 4;
                const float want = inside ? whole[i] : marker;
                ASSERT_EQ(std::bit_cast<std::uint32_t>(part[i]), std::bit_cast<std::uint32_t>(want)) << x << ", " << y;
            }
        }
    }
}

// Two tiles side by side: one thread, too, has written the first when it reads the second one's margin.
TEST_F(Streaming, AHostThatRendersInPlaceGetsTheSamePixels) {
    const Frame frame{1300, 90};
    MetalFrameParams p = everythingOn(frame);
    p.weave = p.bloom = 0.0;
    const std::vector<float> apart = throughThePlugin(frame, p, "");
    for (const unsigned threads : {1u, 8u}) {
        ParallelPool pool(threads);
        useParallelPool(&pool);
        const std::vector<float> inPlace = throughThePlugin(frame, p, "", nullptr, true);
        useParallelPool(nullptr);
        EXPECT_EQ(std::memcmp(inPlace.data(), apart.data(), apart.size() * sizeof(float)), 0) << threads << " threads";
    }
}

TEST_F(Streaming, TheDefaultChainNeedsLessThanAPlaneOfScratch) {
    const Frame frame{1920, 1080};
    ParallelPool pool(2);
    useParallelPool(&pool);
    MetalFrameParams p = allOff(frame);
    p.stock = 0;
    p.io = 8;
    p.halation = 0.655;
    p.grain = 0.803;
    p.color = 0.777;
    p.look = static_cast<int>(PrintProcess::CorvexClassicP0);
    resetScratchPeak();
    const std::size_t before = scratchUse().peak;
    throughThePlugin(frame, p, "");
    const std::size_t plane = std::size_t{4} * 1920 * 1080;
    EXPECT_LT(scratchUse().peak - before, plane);
    EXPECT_GT(scratchUse().peak, before) << "the effects' scratch is not counted";
}

TEST_F(Streaming, PurgeAndUnloadGiveTheKeptScratchBack) {
    ImageShape shape;
    shape.width = 64;
    shape.height = 48;
    TestImage source(shape);
    TestImage output(shape);
    source.fill(scene);
    {
        PluginUnderTest plugin;
        ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_GT(scratchUse().kept, 0u);
        plugin.instance->send(kOfxActionPurgeCaches);
        EXPECT_EQ(scratchUse().kept, 0u);
        ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_GT(scratchUse().kept, 0u);
    }
    EXPECT_EQ(scratchUse().kept, 0u) << "after unloading";
    EXPECT_EQ(scratchUse().lent, 0u);
}

namespace {

struct Heard {
    std::vector<std::string> stages;
    double seconds = 0.0;
    double scratchPeak = 0.0;
    int calls = 0;
};

TarnwellRenderStatistics statisticsFor(Heard& heard) {
    return {static_cast<int>(sizeof(TarnwellRenderStatistics)), &heard,
            [](void* receiver, const char* name, double seconds) {
                auto& to = *static_cast<Heard*>(receiver);
                to.stages.emplace_back(name);
                to.seconds += seconds;
                ++to.calls;
            },
            [](void* receiver, double peakBytes, double) {
                auto& to = *static_cast<Heard*>(receiver);
                to.scratchPeak = peakBytes;
                ++to.calls;
            }};
}

OfxStatus renderAsking(PluginUnderTest& plugin, TarnwellRenderStatistics* statistics) {
    ImageShape shape;
    shape.width = 64;
    shape.height = 48;
    TestImage source(shape);
    TestImage output(shape);
    source.fill(scene);
    RenderRequest r = requestFor(source, output, 1.0);
    r.adjustInArgs = [statistics](tarnwell::PropertySet& args) {
        args.define(tarnwell::PropertyRow{kTarnwellPropRenderStatistics, tarnwell::PropertyType::Pointer, 1});
        args.putPointer(kTarnwellPropRenderStatistics, statistics);
    };
    return plugin.render(r);
}

} // namespace

TEST(Statistics, NameTheStagesOfAFrameInFilmOrder) {
    PluginUnderTest plugin;
    for (const char* key : {"detail", "bloom", "gateWeave", "flicker", "blackWhite"})
        plugin.set(key, 0.5);
    Heard heard;
    TarnwellRenderStatistics statistics = statisticsFor(heard);
    ASSERT_EQ(renderAsking(plugin, &statistics), kOfxStatOK);
    EXPECT_EQ(heard.stages,
              (std::vector<std::string>{"import", "flicker", "detail", "planes", "bloom", "halation", "grain",
                                        "print look", "gate weave", "black and white", "export"}));
    EXPECT_GT(heard.seconds, 0.0);
    EXPECT_GT(heard.scratchPeak, 0.0);
}

TEST(Statistics, OfAnotherShapeOrNoneAreLeftAlone) {
    PluginUnderTest plugin;
    EXPECT_EQ(renderAsking(plugin, nullptr), kOfxStatOK);
    Heard heard;
    TarnwellRenderStatistics shorter = statisticsFor(heard);
    shorter.size = 8;
    EXPECT_EQ(renderAsking(plugin, &shorter), kOfxStatOK);
    TarnwellRenderStatistics withoutCalls = statisticsFor(heard);
    withoutCalls.stage = nullptr;
    EXPECT_EQ(renderAsking(plugin, &withoutCalls), kOfxStatOK);
    EXPECT_EQ(heard.calls, 0);
}
