// Frames as a host gets them: formats, windows, bounds, and the chain as a whole.
#include "color/colorspace.h"
#include "plugin_under_test.h"
#include "process/parallel_pool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>
#include <unistd.h>

using namespace velloid;
using namespace velloid::test;
using tarnwell::PropertySet;

namespace {

// A path of a file that lives as long as the object.
struct TempFile {
    explicit TempFile(const std::string& text)
        : path(testing::TempDir() + "tarnwell-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".cube") {
        std::ofstream(path) << text;
    }
    ~TempFile() { std::remove(path.c_str()); }

    std::string path;
    static inline int count = 0;
};

// A 2-point table with corner colours made by `corner`.
template <typename Corner>
std::string cube(Corner corner, const std::string& header = "") {
    std::string text = header + "LUT_3D_SIZE 2\n";
    for (int b = 0; b < 2; ++b) {
        for (int g = 0; g < 2; ++g) {
            for (int r = 0; r < 2; ++r)
                text += corner(r, g, b);
        }
    }
    return text;
}

std::string identityCube() {
    return cube([](int r, int g, int b) {
        return std::to_string(r) + " " + std::to_string(g) + " " + std::to_string(b) + "\n";
    });
}

double maxDifference(const TestImage& a, const TestImage& b) {
    double worst = 0.0;
    for (int y = 0; y < a.shape.height; ++y) {
        for (int x = 0; x < a.shape.width; ++x) {
            for (int c = 0; c < a.components(); ++c) {
                worst = std::max(worst, std::abs(a.get(x, y, c) - b.get(x, y, c)));
            }
        }
    }
    return worst;
}

std::vector<ImageShape> everyFormat() {
    std::vector<ImageShape> shapes;
    for (const char* depth : {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat}) {
        for (const char* components : {kOfxImageComponentRGBA, kOfxImageComponentRGB}) {
            for (const bool topDown : {false, true}) {
                ImageShape shape;
                shape.depth = depth;
                shape.components = components;
                shape.topDown = topDown;
                shape.padding = 12;
                shapes.push_back(shape);
            }
        }
    }
    return shapes;
}

std::string nameOf(const ImageShape& s) {
    return s.depth + " " + s.components + (s.topDown ? " top down" : "") + " " + s.preMultiplication;
}

} // namespace

// ---- nothing to do -------------------------------------------------------------------------------------------------

TEST(PassThrough, CopiesTheSourceBitForBit) {
    for (const ImageShape& shape : everyFormat()) {
        PluginUnderTest plugin;
        plugin.allOff().set("ioSpace", "Apple Log");
        TestImage source(shape);
        TestImage output(shape);
        source.fill([](int x, int y, int c) { return ((x * 31 + y * 17 + c * 7) % 256) / 255.0; });
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_EQ(output.memory(), source.memory()) << nameOf(shape);
    }
}

TEST(PassThrough, KeepsEvenWhatIsNoNumber) {
    PluginUnderTest plugin;
    plugin.allOff();
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    source.put(1, 1, 0, std::numeric_limits<double>::quiet_NaN());
    source.put(2, 1, 1, std::numeric_limits<double>::infinity());
    EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    EXPECT_EQ(output.memory(), source.memory());
}

TEST(PassThrough, AnAlphaImageIsCopiedWhateverIsOn) {
    for (const char* depth : {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat}) {
        ImageShape shape;
        shape.components = kOfxImageComponentAlpha;
        shape.depth = depth;
        PluginUnderTest plugin;
        TestImage source(shape);
        TestImage output(shape);
        source.fill([](int x, int y, int) { return (x * 8 + y) / 255.0; });
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_EQ(output.memory(), source.memory()) << depth;
    }
}

TEST(PassThrough, AMissingLutFileLeavesTheFrameAlone) {
    PluginUnderTest plugin;
    plugin.allOff().set("outputLutPath", "/nowhere/at/all.cube");
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    EXPECT_EQ(output.memory(), source.memory());
}

// ---- regions -------------------------------------------------------------------------------------------------------

// Only the intersection of source, output and window is written, both when copying and when processing.
TEST(Regions, OnlyTheIntersectionIsWritten) {
    for (const bool process : {false, true}) {
        PluginUnderTest plugin;
        if (!process) plugin.allOff();
        ImageShape sourceShape;
        sourceShape.x1 = -3;
        sourceShape.y1 = 2;
        sourceShape.width = 10; // -3..7
        sourceShape.height = 8; // 2..10
        ImageShape outputShape;
        outputShape.x1 = 1;
        outputShape.y1 = -1;
        outputShape.width = 12; // 1..13
        outputShape.height = 9; // -1..8
        outputShape.topDown = true;
        TestImage source(sourceShape);
        TestImage output(outputShape);
        source.fill(testPicture);
        output.fill([](int, int, int) { return 77.0; });
        RenderRequest r = requestFor(source, output);
        r.window = {2, 0, 6, 7}; // intersection: x 2..6, y 2..7
        EXPECT_EQ(plugin.render(r), kOfxStatOK);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 12; ++x) {
                const bool inside = x + 1 >= 2 && x + 1 < 6 && y - 1 >= 2 && y - 1 < 7;
                EXPECT_EQ(output.get(x, y, 0) != 77.0, inside) << x << ' ' << y << " processed: " << process;
            }
        }
        if (!process) { // pixel (2, 2) of both
            EXPECT_EQ(output.get(1, 3, 1), source.get(5, 0, 1));
        }
    }
}

TEST(Regions, DisjointImagesWriteNothing) {
    for (const bool process : {false, true}) {
        PluginUnderTest plugin;
        if (!process) plugin.allOff();
        ImageShape elsewhere;
        elsewhere.x1 = 100;
        TestImage source(ImageShape{});
        TestImage output(elsewhere);
        source.fill(testPicture);
        const auto before = output.memory();
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_EQ(output.memory(), before);
    }
}

TEST(Regions, AWindowGivesTheSamePixelsAsTheWhole) {
    PluginUnderTest plugin;
    for (const char* key : {"detail", "bloom", "gateWeave", "flicker"})
        plugin.set(key, 0.6);
    ImageShape shape;
    shape.width = 40;
    shape.height = 36;
    TestImage source(shape);
    source.fill(testPicture);
    TestImage whole(shape);
    TestImage window(shape);
    ASSERT_EQ(plugin.render(requestFor(source, whole, 9.0)), kOfxStatOK);
    RenderRequest r = requestFor(source, window, 9.0);
    for (const OfxRectI& tile : {OfxRectI{0, 0, 17, 11}, OfxRectI{17, 0, 40, 11}, OfxRectI{0, 11, 40, 36}}) {
        r.window = tile;
        ASSERT_EQ(plugin.render(r), kOfxStatOK);
    }
    EXPECT_EQ(whole.memory(), window.memory());
}

TEST(Regions, ShiftedBoundsGiveTheSameGrainWhereTheyOverlap) {
    PluginUnderTest plugin;
    plugin.allOff().set("grainIntensity", 1.0);
    ImageShape shape;
    shape.width = 48;
    shape.height = 40;
    ImageShape cropped = shape;
    cropped.x1 = 12;
    cropped.y1 = 9;
    cropped.width = 30;
    cropped.height = 24;
    TestImage full(shape);
    TestImage crop(cropped);
    full.fill([](int, int, int c) { return c == 3 ? 1.0 : 0.4; });
    crop.fill([](int, int, int c) { return c == 3 ? 1.0 : 0.4; });
    TestImage fullOut(shape);
    TestImage cropOut(cropped);
    ASSERT_EQ(plugin.render(requestFor(full, fullOut, 3.0)), kOfxStatOK);
    ASSERT_EQ(plugin.render(requestFor(crop, cropOut, 3.0)), kOfxStatOK);
    // Away from the crop's own border, where its blur has nothing else to take.
    for (int y = 4; y < 20; ++y) {
        for (int x = 4; x < 26; ++x)
            ASSERT_EQ(cropOut.get(x, y, 2), fullOut.get(x + 12, y + 9, 2)) << x << ' ' << y;
    }
}

// ---- formats -------------------------------------------------------------------------------------------------------

TEST(Formats, AnIdentityTableRoundTripsEveryEncodingInEveryFormat) {
    const TempFile lut(identityCube());
    for (const ImageShape& shape : everyFormat()) {
        for (int space = 0; space < IO_SPACE_COUNT; ++space) {
            PluginUnderTest plugin;
            plugin.allOff().set("ioSpace", std::to_string(space)).set("outputLutPath", lut.path);
            TestImage source(shape);
            TestImage output(shape);
            // Codes that every curve and gamut can hold: no negative light, nothing above the table's domain.
            source.fill([](int x, int y, int c) { return c == 3 ? 0.5 : 0.2 + 0.5 * ((x * 5 + y * 3) % 40) / 40.0; });
            ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
            EXPECT_TRUE(output.paddingUntouched());
            const double step = shape.depth == kOfxBitDepthFloat ? 4e-6 : 0.0;
            EXPECT_LE(maxDifference(source, output), step)
                << nameOf(shape) << " " << ioSpaceLabel(static_cast<IOSpace>(space));
        }
    }
}

TEST(Formats, PremultipliedColourComesBackPremultiplied) {
    const TempFile lut(identityCube());
    for (ImageShape shape : everyFormat()) {
        if (shape.components != kOfxImageComponentRGBA) continue;
        shape.preMultiplication = kOfxImagePreMultiplied;
        PluginUnderTest plugin;
        plugin.allOff().set("outputLutPath", lut.path);
        TestImage source(shape);
        TestImage output(shape);
        source.fill([](int x, int y, int c) {
            const double alpha = (x + 1) / 8.0;
            return c == 3 ? alpha : alpha * (0.3 + 0.05 * y);
        });
        ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        const double step = shape.depth == kOfxBitDepthFloat ? 1e-6 : shape.depth == kOfxBitDepthShort ? 2e-5 : 4e-3;
        EXPECT_LE(maxDifference(source, output), step) << nameOf(shape);
    }
}

TEST(Formats, PremultipliedColourWithoutAlphaIsBlackLight) {
    const TempFile lut(identityCube());
    PluginUnderTest plugin;
    plugin.allOff().set("ioSpace", "Linear/AWG4").set("outputLutPath", lut.path);
    ImageShape shape;
    shape.preMultiplication = kOfxImagePreMultiplied;
    TestImage source(shape);
    TestImage output(shape);
    source.fill(testPicture);
    source.put(0, 0, 3, 0.0);
    source.put(1, 0, 3, 1e-12);
    source.put(2, 0, 3, std::numeric_limits<double>::quiet_NaN());
    source.put(3, 0, 3, -0.5);
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    EXPECT_EQ(output.get(0, 0, 0), 0.0);
    EXPECT_EQ(output.get(1, 0, 0), 0.0);
    EXPECT_EQ(output.get(3, 0, 0), 0.0);
    EXPECT_TRUE(std::isnan(output.get(2, 0, 3))) << "alpha is copied as it came";
    EXPECT_NEAR(output.get(4, 0, 0), source.get(4, 0, 0), 1e-6);
}

TEST(Formats, AlphaPassesByteForByteWithoutTheWeave) {
    for (const char* depth : {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat}) {
        PluginUnderTest plugin;
        ImageShape shape;
        shape.depth = depth;
        TestImage source(shape);
        TestImage output(shape);
        source.fill([](int x, int y, int c) { return c == 3 ? (x * 6 + y) / 48.0 : testPicture(x, y, c); });
        ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        for (int y = 0; y < shape.height; ++y) {
            for (int x = 0; x < shape.width; ++x)
                EXPECT_EQ(output.get(x, y, 3), source.get(x, y, 3)) << depth;
        }
    }
}

TEST(Formats, TheWeaveMovesAlphaToo) {
    PluginUnderTest plugin;
    plugin.allOff().set("gateWeave", 1.0);
    ImageShape shape;
    shape.width = 24;
    shape.height = 20;
    TestImage source(shape);
    TestImage output(shape);
    source.fill([](int x, int, int c) { return c == 3 ? (x < 12 ? 0.0 : 1.0) : 0.4; });
    ASSERT_EQ(plugin.render(requestFor(source, output, 31.0)), kOfxStatOK);
    bool moved = false;
    for (int x = 0; x < shape.width; ++x) {
        const double alpha = output.get(x, 10, 3);
        EXPECT_GE(alpha, 0.0);
        EXPECT_LE(alpha, 1.0);
        moved = moved || std::abs(alpha - source.get(x, 10, 3)) > 0.01;
    }
    EXPECT_TRUE(moved);
}

TEST(Formats, WhatIsNoNumberBecomesBlackLight) {
    PluginUnderTest plugin;
    plugin.allOff().set("ioSpace", "Linear/AWG4").set("flicker", 0.5);
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    source.put(2, 2, 0, std::numeric_limits<double>::quiet_NaN());
    source.put(2, 2, 1, std::numeric_limits<double>::infinity());
    source.put(2, 2, 2, -std::numeric_limits<double>::infinity());
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(output.get(2, 2, c), 0.0) << c;
}

TEST(Formats, NoFrameLeavesAnythingNonFinite) {
    PluginUnderTest plugin;
    for (const char* key : {"detail", "bloom", "gateWeave", "flicker", "blackWhite"})
        plugin.set(key, 0.7);
    for (const int process : {0, 2, 3, 8, 13}) {
        plugin.set("colorProcess", std::to_string(process));
        ImageShape shape;
        shape.width = 37;
        shape.height = 33;
        TestImage source(shape);
        TestImage output(shape);
        source.fill(testPicture);
        source.put(5, 5, 0, std::numeric_limits<double>::quiet_NaN());
        source.put(9, 5, 1, std::numeric_limits<double>::infinity());
        source.put(9, 9, 2, -4.0);
        source.put(20, 9, 2, 1.6); // far above code 1
        ASSERT_EQ(plugin.render(requestFor(source, output, 2.0)), kOfxStatOK);
        for (int y = 0; y < shape.height; ++y) {
            for (int x = 0; x < shape.width; ++x) {
                for (int c = 0; c < 4; ++c)
                    ASSERT_TRUE(std::isfinite(output.get(x, y, c))) << x << ' ' << y;
            }
        }
    }
}

TEST(Formats, IntegersAreRoundedAndClamped) {
    // A table of constants, so that every pixel leaves with the same code.
    const auto constant = [](const char* value) {
        return cube([&](int, int, int) { return std::string(value) + "\n"; });
    };
    const TempFile high(constant("1.7 -0.4 0.5"));
    for (const char* depth : {kOfxBitDepthByte, kOfxBitDepthShort}) {
        ImageShape shape;
        shape.depth = depth;
        PluginUnderTest plugin;
        plugin.allOff().set("outputLutPath", high.path);
        TestImage source(shape);
        TestImage output(shape);
        source.fill(testPicture);
        ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        EXPECT_EQ(output.get(1, 1, 0), 1.0);
        EXPECT_EQ(output.get(1, 1, 1), 0.0);
        const bool byte = depth == std::string(kOfxBitDepthByte);
        EXPECT_EQ(output.get(1, 1, 2), byte ? 128 / 255.0 : 32768 / 65535.0) << "halves go up";
    }
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    PluginUnderTest plugin;
    plugin.allOff().set("outputLutPath", high.path);
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    EXPECT_NEAR(output.get(1, 1, 0), 1.7, 1e-6) << "floats are not clamped";
    EXPECT_NEAR(output.get(1, 1, 1), -0.4, 1e-6);
}

// ---- output LUT ----------------------------------------------------------------------------------------------------

TEST(OutputLut, TheEncodedDomainSeesTheOutputsCodes) {
    const TempFile half(cube([](int r, int g, int b) {
        return std::to_string(r * 0.5) + " " + std::to_string(g * 0.5) + " " + std::to_string(b * 0.5) + "\n";
    }));
    PluginUnderTest plugin;
    plugin.allOff().set("ioSpace", "V-Log/V-Gamut").set("outputLutPath", half.path).set("outputLutStrength", 0.5);
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    // Half way between the code and half of it.
    EXPECT_NEAR(output.get(4, 4, 1), 0.75 * source.get(4, 4, 1), 1e-5);
}

TEST(OutputLut, TheLogC4DomainSeesTheWorkingSpace) {
    const TempFile lut(identityCube());
    PluginUnderTest plugin;
    plugin.allOff().set("ioSpace", "Linear/AWG4").set("outputLutPath", lut.path).set("outputLutDomain", "LogC4");
    TestImage source(ImageShape{});
    TestImage output(ImageShape{});
    source.fill(testPicture);
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    EXPECT_NEAR(output.get(4, 4, 1), logc4::encode(source.get(4, 4, 1)), 1e-6) << "the table's colour leaves as it is";
    plugin.set("outputLutStrength", 0.25);
    ASSERT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    const double linear = source.get(4, 4, 1);
    EXPECT_NEAR(output.get(4, 4, 1), linear + (logc4::encode(linear) - linear) * 0.25, 1e-6);
}

// Other colours in a file of the same size and the same time: only a host's purge tells.
TEST(OutputLut, PurgeReadsTheFileAgain) {
    const TempFile lut(identityCube());
    const auto written = std::filesystem::last_write_time(lut.path);
    PluginUnderTest plugin;
    plugin.allOff().set("outputLutPath", lut.path);
    TestImage source(ImageShape{});
    source.fill(testPicture);
    const auto code = [&] {
        TestImage output(ImageShape{});
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        return output.get(4, 4, 1);
    };
    EXPECT_NEAR(code(), source.get(4, 4, 1), 1e-6);
    std::ofstream(lut.path) << cube([](int r, int g, int b) {
        return std::to_string(r) + " " + std::to_string(1 - g) + " " + std::to_string(b) + "\n";
    });
    std::filesystem::last_write_time(lut.path, written);
    EXPECT_NEAR(code(), source.get(4, 4, 1), 1e-6) << "the table is kept while nothing shows that the file changed";
    plugin.instance->send(kOfxActionPurgeCaches);
    EXPECT_NEAR(code(), 1.0 - source.get(4, 4, 1), 1e-6);
}

// ---- coupling and scale --------------------------------------------------------------------------------------------

TEST(Coupling, StockOffStillShapesDetailAndHalation) {
    ImageShape shape;
    shape.width = 32;
    shape.height = 24;
    TestImage source(shape);
    source.fill([](int x, int y, int c) { return c == 3 ? 1.0 : x == 16 && y == 12 ? 0.98 : 0.25; });
    const auto frame = [&](const char* stock) {
        PluginUnderTest plugin;
        plugin.allOff().set("detail", 0.8).set("halationIntensity", 1.0).set("negStock", stock);
        TestImage output(shape);
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
        return output.memory();
    };
    EXPECT_EQ(frame("Off"), frame("500T (Vision3 5219)"));
    EXPECT_NE(frame("Off"), frame("800T (Tungsten, no rem-jet)"));
}

TEST(Determinism, TheSameFrameGivesTheSameBitsInAnyOrder) {
    PluginUnderTest plugin;
    for (const char* key : {"detail", "bloom", "gateWeave", "flicker"})
        plugin.set(key, 0.5);
    ImageShape shape;
    shape.width = 33;
    shape.height = 21;
    TestImage source(shape);
    source.fill(testPicture);
    const auto frame = [&](double time) {
        TestImage output(shape);
        EXPECT_EQ(plugin.render(requestFor(source, output, time)), kOfxStatOK);
        return output.memory();
    };
    const auto seven = frame(7.0);
    const auto eight = frame(8.0);
    EXPECT_NE(seven, eight);
    EXPECT_EQ(frame(7.0), seven);
    EXPECT_EQ(frame(8.0), eight);
    frame(-1e18);
    frame(1e18);
    EXPECT_EQ(frame(7.0), seven);
}

TEST(Determinism, EightThreadsAtOnceGiveTheBitsOfOne) {
    PluginUnderTest plugin;
    for (const char* key : {"detail", "bloom", "gateWeave", "flicker"})
        plugin.set(key, 0.5);
    ImageShape shape;
    shape.width = 40;
    shape.height = 34;
    TestImage source(shape);
    source.fill(testPicture);
    const auto frame = [&](int time) {
        TestImage output(shape);
        EXPECT_EQ(plugin.render(requestFor(source, output, time)), kOfxStatOK);
        return output.memory();
    };
    std::vector<std::vector<std::uint8_t>> alone;
    for (int i = 0; i < 8; ++i)
        alone.push_back(frame(i));
    std::vector<std::vector<std::uint8_t>> together(8);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, i] { together[static_cast<size_t>(i)] = frame(i); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(alone, together);
}
