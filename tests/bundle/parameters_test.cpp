// Parameters and arguments as a host gives them: animated, out of range, not a number, with scales of their own in x
// and y.
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/table_file.h"
#include "tests/golden/golden_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using namespace velloid::test;

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr Size SMALL{40, 28};

class BundleParameters : public testing::Test {
protected:
    void SetUp() override { host.start(); }

    Host host;
};

// Every effect, with values that are nobody's default.
struct Setting {
    const char* key;
    Value atTheTime;
    Value atZero;
};

std::vector<Setting> settings(const std::string& table, const std::string& otherTable) {
    return {{"negStock", 12, 3},          {"ioSpace", 8, 6},
            {"colorProcess", 10, 3},      {"detail", 0.6, 0.1},
            {"grainIntensity", 0.8, 0.2}, {"halationIntensity", 0.7, 0.3},
            {"colorIntensity", 0.9, 0.4}, {"gateWeave", 0.5, 0.1},
            {"flicker", 0.5, 0.9},        {"bloom", 0.4, 0.8},
            {"blackWhite", 0.2, 0.6},     {"outputLutStrength", 0.75, 0.25},
            {"outputLutDomain", 1, 0},    {"outputLutPath", table, otherTable}};
}

// Mean absolute difference of neighbours, in x and in y.
struct Roughness {
    double x = 0.0;
    double y = 0.0;
};

Roughness roughnessOf(Picture picture) {
    Roughness sum;
    const auto [w, h] = picture.size;
    for (int y = 0; y + 1 < h; ++y) {
        for (int x = 0; x + 1 < w; ++x) {
            sum.x += std::abs(picture.at(x + 1, y, 1) - picture.at(x, y, 1));
            sum.y += std::abs(picture.at(x, y + 1, 1) - picture.at(x, y, 1));
        }
    }
    return sum;
}

Picture flat(Size size, float value) {
    Picture picture(size);
    for (size_t i = 0; i < picture.samples.size(); ++i)
        picture.samples[i] = i % 4 == 3 ? 1.0f : value;
    return picture;
}

} // namespace

TEST_F(BundleParameters, RenderTheGoldenFramesThroughTheBundle) {
    if (!hasFusedMultiplyAdd()) GTEST_SKIP() << "this processor has no fused multiply-add; its last bits may differ";
    Instance instance(host);
    for (const GoldenCase& golden : GOLDEN_CASES)
        EXPECT_EQ(hex(goldenHash(instance, golden)), hex(golden.hash)) << golden.name;
}

TEST_F(BundleParameters, AreAllReadAtTheFramesTime) {
    const TableFile table("frame.cube", 0.75);
    const TableFile other("zero.cube", 0.25);
    const FrameArgs args{7.0, 1.0, 1.0};
    Instance constant(host);
    for (const Setting& setting : settings(table.path(), other.path()))
        constant.set(setting.key, setting.atTheTime);
    const std::uint64_t expected = constant.frame(streetOf(SMALL), args).hash();
    // One at a time, so that none hides behind another, then all together.
    for (const Setting& animated : settings(table.path(), other.path())) {
        const auto curve = [animated](double time) { return time == 7.0 ? animated.atTheTime : animated.atZero; };
        constant.animate(animated.key, curve);
        EXPECT_EQ(constant.frame(streetOf(SMALL), args).hash(), expected) << animated.key;
        constant.set(animated.key, animated.atZero);
        EXPECT_NE(constant.frame(streetOf(SMALL), args).hash(), expected) << animated.key << " would show";
        constant.set(animated.key, animated.atTheTime);
    }
    Instance keyed(host);
    for (const Setting& setting : settings(table.path(), other.path()))
        keyed.animate(setting.key, [setting](double time) { return time == 7.0 ? setting.atTheTime : setting.atZero; });
    EXPECT_EQ(keyed.frame(streetOf(SMALL), args).hash(), expected);
}

TEST_F(BundleParameters, OfTheIdentityTestAreReadAtItsTime) {
    Instance instance(host);
    instance.allOff().animate("bloom", [](double time) { return Value(time == 9.0 ? 0.5 : 0.0); });
    EXPECT_EQ(instance.isIdentity(0.0), kOfxStatOK);
    EXPECT_EQ(instance.isIdentity(9.0), kOfxStatReplyDefault);
    EXPECT_EQ(instance.isIdentity(8.0), kOfxStatOK);
    EXPECT_EQ(instance.out().text(kOfxPropName), "Source");
    EXPECT_EQ(instance.out().text(kOfxPropTime), "8");
}

TEST_F(BundleParameters, ThatAreAmountsAreClamped) {
    const TableFile table("strength.cube", 0.5);
    struct Odd {
        double given;
        double means;
    };
    for (const char* key : {"detail", "grainIntensity", "halationIntensity", "colorIntensity", "gateWeave", "flicker",
                            "bloom", "blackWhite", "outputLutStrength"}) {
        Instance instance(host);
        instance.everything().set("outputLutPath", table.path()).set("colorProcess", 2);
        const auto hashAt = [&](double value) {
            instance.set(key, value);
            return instance.frame(streetOf(SMALL), {3.0, 1.0, 1.0}).hash();
        };
        EXPECT_NE(hashAt(0.0), hashAt(1.0)) << key << " shows";
        EXPECT_NE(hashAt(0.5), hashAt(1.0)) << key << " shows";
        for (const Odd& odd : {Odd{-1.0, 0.0}, Odd{1.5, 1.0}, Odd{1e300, 1.0}, Odd{INFINITE, 1.0}, Odd{-INFINITE, 0.0},
                               Odd{NOT_A_NUMBER, 0.0}}) {
            EXPECT_EQ(hashAt(odd.given), hashAt(odd.means)) << key << " at " << odd.given;
        }
    }
}

TEST_F(BundleParameters, ThatAreMenusEndAtTheirLastOption) {
    const TableFile table("domain.cube", 0.5);
    struct Odd {
        const char* key;
        int given;
        int means;
    };
    constexpr int LEAST = std::numeric_limits<int>::min();
    constexpr int MOST = std::numeric_limits<int>::max();
    for (const Odd& odd :
         {Odd{"negStock", -5, 0}, Odd{"negStock", LEAST, 0}, Odd{"negStock", 17, 16}, Odd{"negStock", MOST, 16},
          Odd{"ioSpace", -1, 0}, Odd{"ioSpace", LEAST, 0}, Odd{"ioSpace", 17, 16}, Odd{"ioSpace", MOST, 16},
          Odd{"colorProcess", -1, 15}, Odd{"colorProcess", 16, 15}, Odd{"colorProcess", LEAST, 15},
          Odd{"colorProcess", MOST, 15}, Odd{"outputLutDomain", -1, 0}, Odd{"outputLutDomain", 2, 1}}) {
        Instance instance(host);
        instance.everything().set("outputLutPath", table.path());
        const auto hashAt = [&](int value) {
            instance.set(odd.key, value);
            return instance.frame(streetOf(SMALL)).hash();
        };
        EXPECT_EQ(hashAt(odd.given), hashAt(odd.means)) << odd.key << " at " << odd.given;
    }
}

TEST_F(BundleParameters, ThatAreNotANumberAreNoIdentityWhereOffMeansAtMostZero) {
    Instance instance(host);
    instance.allOff();
    for (const char* key : {"detail", "halationIntensity", "gateWeave", "flicker", "bloom", "blackWhite"}) {
        instance.set(key, NOT_A_NUMBER);
        EXPECT_EQ(instance.isIdentity(0.0), kOfxStatOK) << key;
        instance.set(key, 0.0);
    }
    for (const char* key : {"grainIntensity", "colorIntensity"}) {
        instance.set(key, NOT_A_NUMBER);
        EXPECT_EQ(instance.isIdentity(0.0), kOfxStatReplyDefault) << key;
        instance.set(key, -0.0);
        EXPECT_EQ(instance.isIdentity(0.0), kOfxStatOK) << key;
    }
    instance.set("outputLutPath", std::string("/no/such/table.cube")).set("outputLutStrength", NOT_A_NUMBER);
    EXPECT_EQ(instance.isIdentity(0.0), kOfxStatReplyDefault);
    instance.set("outputLutPath", std::string());
    EXPECT_EQ(instance.isIdentity(0.0), kOfxStatOK);
}

// ---- scales
// ----------------------------------------------------------------------------------------------------------

// The pixel aspect ratio stretches the clumps alone, or makes them, which hide the cells, as wide as high again.
TEST_F(BundleParameters, OfTheScaleGiveGrainItsOwnWidthAndHeight) {
    Instance instance(host);
    instance.allOff().set("grainIntensity", 1.0);
    const auto grain = [&](double scaleX, double scaleY, double aspect) {
        Picture source = flat({96, 96}, 0.4f);
        Picture output(source.size);
        instance.prepare(source, output, {0.0, scaleX, scaleY});
        instance.effect().clip("Source")->image.set(kOfxImagePropPixelAspectRatio, {aspect});
        EXPECT_EQ(instance.render(), kOfxStatOK);
        return roughnessOf(output);
    };
    const Roughness square = grain(1.0, 1.0, 1.0);
    const Roughness wideClumps = grain(1.0, 1.0, 0.25);
    const Roughness wideCells = grain(4.0, 1.0, 4.0);
    const Roughness highCells = grain(1.0, 4.0, 0.25);
    EXPECT_LT(wideCells.x, 0.75 * wideCells.y);
    EXPECT_LT(highCells.y, 0.9 * highCells.x);
    EXPECT_LT(wideClumps.x, 0.75 * wideClumps.y);
    EXPECT_NEAR(square.x / square.y, 1.0, 0.1);
}

// One lamp in the dark: its light spreads twice as far along the axis with twice the scale.
TEST_F(BundleParameters, OfTheScaleGiveGlowsTheirOwnWidthAndHeight) {
    constexpr int LAMP = 32;
    constexpr int AWAY = 5;
    for (const char* key : {"bloom", "halationIntensity"}) {
        Instance instance(host);
        instance.allOff().set(key, 1.0);
        const auto lightAway = [&](double scaleX, double scaleY) {
            Picture source = flat({2 * LAMP + 1, 2 * LAMP + 1}, 0.1f);
            for (int c = 0; c < 3; ++c)
                source.at(LAMP, LAMP, c) = 1.0f;
            const Picture dark = instance.frame(flat(source.size, 0.1f), {0.0, scaleX, scaleY});
            Picture lit = instance.frame(source, {0.0, scaleX, scaleY});
            Picture unlit = dark;
            return Roughness{double{lit.at(LAMP + AWAY, LAMP, 0)} - unlit.at(LAMP + AWAY, LAMP, 0),
                             double{lit.at(LAMP, LAMP + AWAY, 0)} - unlit.at(LAMP, LAMP + AWAY, 0)};
        };
        const Roughness wide = lightAway(1.0, 0.25);
        const Roughness high = lightAway(0.25, 1.0);
        EXPECT_GT(wide.x, wide.y) << key;
        EXPECT_GT(high.y, high.x) << key;
    }
}

// ---- strings
// ---------------------------------------------------------------------------------------------------------

// The host overwrites what it handed out at its next call, whichever that is.
TEST_F(BundleParameters, ThatAreStringsAreCopiedBeforeTheNextCall) {
    const TableFile table("copied.cube", 0.5);
    Instance instance(host);
    const Picture plain = instance.allOff().frame(streetOf(SMALL));
    EXPECT_EQ(plain.hash(), streetOf(SMALL).hash());
    bool asked = false;
    instance.animate("outputLutPath", [&](double) {
        asked = true;
        return Value(table.path());
    });
    EXPECT_NE(instance.frame(streetOf(SMALL)).hash(), plain.hash());
    EXPECT_TRUE(asked);
    EXPECT_EQ(instance.clipPreferences(), kOfxStatOK);
    EXPECT_EQ(instance.out().text(kOfxImageEffectPropPreMultiplication), kOfxImageOpaque);
    EXPECT_EQ(instance.out().text("OfxImageClipPropComponents_Output"), kOfxImageComponentRGB);
    EXPECT_EQ(instance.out().text("OfxImageClipPropDepth_Output"), kOfxBitDepthFloat);
}
