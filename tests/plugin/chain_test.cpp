// The whole chain through the boundary, against the same chain put together from the literal references.
//
// What differs is rounding alone. The fast form computes in double as the literal one does and stores floats at the
// same places, so nearly every float is the same. Where an early last bit does differ, the steep parts of the chain
// (sharpening and the logarithm near black) carry it on, hence a bound on the share of floats as well as on their
// distance.
#include "color/colorspace.h"
#include "color/cube_reader.h"
#include "color/looks.h"
#include "plugin/parameters.h"
#include "plugin_under_test.h"
#include "process/stock.h"
#include "tests/reference/chain_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <unistd.h>

using namespace velloid;
using namespace velloid::test;
using tarnwell::reference::ChainSettings;

namespace {

constexpr double MOST_DIFFERING = 2e-5; // share of floats
constexpr double FARTHEST = 3e-7;       // in code value, relative to 1

// A scene in code values of any encoding: a ramp, a bright disc, a dark corner, fine texture.
double scene(int x, int y, int c, int w, int h) {
    if (c == 3) return 0.25 + 0.75 * x / w;
    const double dx = x - 0.6 * w;
    const double dy = y - 0.4 * h;
    const bool lamp = dx * dx + dy * dy < 9.0;
    const double texture = 0.02 * std::sin(0.9 * x + 0.3 * c) * std::cos(1.3 * y);
    return lamp ? 0.9 - 0.05 * c : 0.12 + 0.45 * x / w + 0.08 * y / h + texture + 0.01 * c;
}

struct Comparison {
    double share = 0.0;
    double worst = 0.0;
};

// Renders a frame through the boundary and literally, and compares.
Comparison compare(const ChainSettings& s, int w, int h, const std::string& lutPath = "") {
    PluginUnderTest plugin;
    plugin.set("negStock", std::to_string(static_cast<int>(s.stock)))
        .set("colorProcess", std::to_string(menuIndexOf(s.process)))
        .set("ioSpace", std::to_string(s.ioSpace))
        .set("outputLutPath", lutPath)
        .set("outputLutDomain", s.outputLutInLogC4 ? "1" : "0")
        .setAmounts({{"detail", s.detail},
                     {"grainIntensity", s.grain},
                     {"halationIntensity", s.halation},
                     {"colorIntensity", s.color},
                     {"gateWeave", s.weave},
                     {"flicker", s.flicker},
                     {"bloom", s.bloom},
                     {"blackWhite", s.blackWhite},
                     {"outputLutStrength", s.outputLutStrength}});
    ImageShape shape;
    shape.width = w;
    shape.height = h;
    shape.x1 = s.originX;
    shape.y1 = s.originY;
    TestImage source(shape);
    TestImage output(shape);
    source.fill([&](int x, int y, int c) { return scene(x, y, c, w, h); });
    RenderRequest r = requestFor(source, output, s.time);
    r.renderScale = {s.scaleX, s.scaleY};
    r.pixelAspect = s.pixelAspect;
    EXPECT_EQ(plugin.render(r), kOfxStatOK);

    std::vector<float> literal(source.memory().size() / 4);
    std::memcpy(literal.data(), source.memory().data(), source.memory().size());
    tarnwell::reference::renderChain(literal, w, h, s);
    std::vector<float> fast(literal.size());
    std::memcpy(fast.data(), output.memory().data(), output.memory().size());

    Comparison result;
    std::size_t differing = 0;
    for (std::size_t i = 0; i < fast.size(); ++i) {
        if (fast[i] == literal[i]) continue;
        ++differing;
        const double scale = std::max(1.0, std::abs(double(literal[i])));
        result.worst = std::max(result.worst, std::abs(double(fast[i]) - literal[i]) / scale);
    }
    result.share = static_cast<double>(differing) / static_cast<double>(fast.size());
    return result;
}

void expectLiteral(const ChainSettings& s, int w, int h, const std::string& what, const std::string& lutPath = "") {
    const Comparison c = compare(s, w, h, lutPath);
    // A single float of a small frame is more than the share.
    const double allowed = std::max(MOST_DIFFERING, 2.5 / (4.0 * w * h));
    EXPECT_LE(c.share, allowed) << what;
    EXPECT_LE(c.worst, FARTHEST) << what;
}

ChainSettings everythingOn() {
    ChainSettings s;
    s.detail = 0.7;
    s.grain = 0.9;
    s.halation = 0.8;
    s.color = 0.85;
    s.weave = 0.6;
    s.flicker = 0.5;
    s.bloom = 0.4;
    s.blackWhite = 0.3;
    s.time = 17.0;
    return s;
}

} // namespace

TEST(Chain, TheDefaultFrameIsTheLiteralOne) {
    expectLiteral(ChainSettings{}, 161, 90, "default");
}

TEST(Chain, EveryStockWithEverythingOn) {
    for (int stock = 0; stock < NEGATIVE_STOCK_COUNT; ++stock) {
        ChainSettings s = everythingOn();
        s.stock = static_cast<NegativeStock>(stock);
        s.time = stock * 3.0 - 20.0;
        expectLiteral(s, 67, 45, kStockNames[static_cast<size_t>(stock)]);
    }
}

TEST(Chain, EveryLook) {
    for (int option = 0; option < 16; ++option) {
        ChainSettings s = everythingOn();
        s.process = processOfMenu(option);
        s.color = option % 3 == 0 ? 1.0 : 0.5;
        expectLiteral(s, 53, 40, kProcessMenu[static_cast<size_t>(option)].label);
    }
}

TEST(Chain, EveryEncoding) {
    for (int space = 0; space < IO_SPACE_COUNT; ++space) {
        ChainSettings s = everythingOn();
        s.ioSpace = space;
        expectLiteral(s, 50, 37, kIONames[static_cast<size_t>(space)]);
    }
}

TEST(Chain, ScalesAspectsAndOrigins) {
    const double scales[] = {0.25, 0.5, 1.0, 2.0};
    const double aspects[] = {0.5, 1.0, 2.0};
    for (const double scale : scales) {
        for (const double aspect : aspects) {
            ChainSettings s = everythingOn();
            s.scaleX = s.scaleY = scale;
            s.pixelAspect = aspect;
            s.originX = -13;
            s.originY = 900;
            expectLiteral(s, 64, 48, "scale " + std::to_string(scale) + ", aspect " + std::to_string(aspect));
        }
    }
}

// A field of interlaced footage, or a host that halves one direction: the grain's cells follow the render scale of
// their own direction, its clumps the pixel's shape as well.
TEST(Chain, UnequalScales) {
    const std::pair<double, double> scales[] = {{0.5, 1.0}, {1.0, 0.5}, {2.0, 0.25}};
    for (const auto& [x, y] : scales) {
        ChainSettings s = everythingOn();
        s.scaleX = x;
        s.scaleY = y;
        expectLiteral(s, 64, 48, std::to_string(x) + " x " + std::to_string(y));
    }
}

TEST(Chain, SmallAndOddSizes) {
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {31, 33}, {33, 31}};
    for (const auto& [w, h] : sizes) {
        expectLiteral(everythingOn(), w, h, std::to_string(w) + "x" + std::to_string(h));
    }
}

TEST(Chain, FrameNumbersFarOut) {
    for (const double time : {-1.0, -12345.5, 0.49, 1e6, 1e12, -1e12}) {
        ChainSettings s = everythingOn();
        s.time = time;
        expectLiteral(s, 40, 36, std::to_string(time));
    }
}

TEST(Chain, EachEffectAlone) {
    const std::pair<const char*, double ChainSettings::*> amounts[] = {
        {"detail", &ChainSettings::detail},     {"grain", &ChainSettings::grain},
        {"halation", &ChainSettings::halation}, {"color", &ChainSettings::color},
        {"weave", &ChainSettings::weave},       {"flicker", &ChainSettings::flicker},
        {"bloom", &ChainSettings::bloom},       {"black and white", &ChainSettings::blackWhite}};
    for (const auto& [name, amount] : amounts) {
        ChainSettings s;
        s.grain = s.halation = s.color = 0.0;
        s.*amount = 1.0;
        expectLiteral(s, 96, 64, name);
    }
}

TEST(Chain, AnOutputLutInBothDomains) {
    // A 3-point table that bends every channel and mixes them.
    const std::string path = testing::TempDir() + "tarnwell-chain-" + std::to_string(getpid()) + ".cube";
    {
        std::ofstream file(path);
        file << "LUT_3D_SIZE 3\n";
        for (int b = 0; b < 3; ++b) {
            for (int g = 0; g < 3; ++g) {
                for (int r = 0; r < 3; ++r) {
                    file << 0.4 * r + 0.1 * g * g << ' ' << 0.45 * g + 0.02 * b << ' ' << 0.2 * b * b + 0.05 * r
                         << '\n';
                }
            }
        }
    }
    LUT3D lut;
    ASSERT_TRUE(loadCubeLut(path.c_str(), lut));
    for (const bool logC4 : {false, true}) {
        ChainSettings s = everythingOn();
        s.ioSpace = 9;
        s.outputLut = &lut;
        s.outputLutInLogC4 = logC4;
        s.outputLutStrength = 0.8;
        expectLiteral(s, 60, 40, logC4 ? "LogC4" : "encoded", path);
    }
    std::remove(path.c_str());
}
