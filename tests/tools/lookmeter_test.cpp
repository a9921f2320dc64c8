// The instrument before the measurement: colour arithmetic against published values, and a meter that does find fault.
#include "tools/lookmeter/bounds.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace lookmeter;

// G. Sharma, W. Wu, E. N. Dalal, "The CIEDE2000 Color-Difference Formula", Color Research and Application 30(1), 2005:
// rows of table 1 that exercise the rotation, the mean hue and the chroma terms.
TEST(LookMeter, Ciede2000AgreesWithThePublishedPairs) {
    struct Row {
        Vec3 one, two;
        double difference;
    };
    constexpr Row ROWS[] = {
        {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 2.0425},
        {{50, -1.3802, -84.2814}, {50, 0, -82.7485}, 1.0000},
        {{50, 0, 0}, {50, -1, 2}, 2.3669},
        {{50, 2.49, -0.001}, {50, -2.49, 0.0009}, 7.1792},
        {{50, 2.49, -0.001}, {50, -2.49, 0.0011}, 7.2195},
        {{50, 2.5, 0}, {73, 25, -18}, 27.1492},
        {{50, 2.5, 0}, {58, 24, 15}, 19.4535},
        {{60.2574, -34.0099, 36.2677}, {60.4626, -34.1751, 39.4387}, 1.2644},
        {{22.7233, 20.0904, -46.6940}, {23.0331, 14.9730, -42.5619}, 2.0373},
        {{2.0776, 0.0795, -1.1350}, {0.9033, -0.0636, -0.5514}, 0.9082},
    };
    for (const Row& row : ROWS) {
        EXPECT_NEAR(ciede2000(row.one, row.two), row.difference, 1e-4);
        EXPECT_NEAR(ciede2000(row.two, row.one), row.difference, 1e-4);
    }
}

TEST(LookMeter, WhiteIsWhiteInEverySpace) {
    const Vec3 lab = labOf({1, 1, 1}), okLab = okLabOf({1, 1, 1}), rec709 = awg4ToRec709({1, 1, 1});
    EXPECT_NEAR(lab[0], 100, 1e-9);
    EXPECT_NEAR(chromaOf(lab), 0, 1e-9);
    EXPECT_NEAR(okLab[0], 1, 1e-3);
    EXPECT_NEAR(chromaOf(okLab), 0, 1e-3);
    for (const double c : rec709)
        EXPECT_NEAR(c, 1, 1e-12);
    EXPECT_NEAR(encodeLogC4(0.18), 0.2784, 1e-4); // ARRI's figure for grey
}

TEST(LookMeter, PatchesHaveTheirPublishedLightness) {
    for (const Patch& patch : COLOR_CHECKER)
        EXPECT_NEAR(labOf(awg4OfPatch(patch))[0], patch.labD50[0], 1.5) << patch.name;
    // The skins' hues under D65, and their places on the vectorscope near the 123 degrees of the skin line.
    EXPECT_NEAR(hueOf(labOf(awg4OfPatch(COLOR_CHECKER[DARK_SKIN]))), 47, 1);
    EXPECT_NEAR(hueOf(labOf(awg4OfPatch(COLOR_CHECKER[LIGHT_SKIN]))), 43, 1);
    EXPECT_NEAR(vectorscopeAngle(awg4OfPatch(COLOR_CHECKER[DARK_SKIN])), 121, 1.5);
    EXPECT_NEAR(vectorscopeAngle(awg4OfPatch(COLOR_CHECKER[LIGHT_SKIN])), 118, 1.5);
}

std::vector<float> identityTable(int points) {
    std::vector<float> table;
    for (int b = 0; b < points; ++b)
        for (int g = 0; g < points; ++g)
            for (int r = 0; r < points; ++r)
                for (const int i : {r, g, b})
                    table.push_back(static_cast<float>(i) / static_cast<float>(points - 1));
    return table;
}

TEST(LookMeter, AnIdentityTableChangesNothing) {
    const std::vector<float> table = identityTable(33);
    const Look look{table.data(), 33};
    for (const double r : {0.0, 0.013, 0.5, 0.77, 1.0})
        for (const double g : {0.0, 0.1, 0.41, 1.0})
            for (const double b : {0.0, 0.3, 0.999, 1.0}) {
                const Vec3 out = sampleCodes(look, {r, g, b});
                EXPECT_NEAR(out[0], r, 1e-7);
                EXPECT_NEAR(out[1], g, 1e-7);
                EXPECT_NEAR(out[2], b, 1e-7);
            }
    const Measures m = measure(look);
    EXPECT_NEAR(m.at("slope0"), 1, 1e-3);
    EXPECT_NEAR(m.at("cr_mean"), 1, 1e-3);
    EXPECT_NEAR(m.at("from_identity"), 0, 0.05);
    EXPECT_NEAR(m.at("cross_talk"), 0, 1e-6);
}

// Faults put into a good table, one at a time, each seen by the measure that is there for it.
class SpoiledTable : public testing::Test {
protected:
    std::vector<float> table{embeddedLooks()[KODAK_2383].look.data,
                             embeddedLooks()[KODAK_2383].look.data + 33 * 33 * 33 * 3};

    float& at(int r, int g, int b, int c) { return table[((static_cast<std::size_t>(b) * 33 + g) * 33 + r) * 3 + c]; }

    std::vector<std::string> violated() const {
        const Measures m = measure({table.data(), 33});
        std::vector<std::string> names;
        for (const Bound& bound : boundsOf(KODAK_2383))
            if (!(m.at(bound.measure) >= bound.low && m.at(bound.measure) <= bound.high))
                names.push_back(bound.measure);
        return names;
    }

    static bool contains(const std::vector<std::string>& names, const char* name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
};

TEST_F(SpoiledTable, AsItIsHasNoFault) {
    EXPECT_TRUE(violated().empty());
}

TEST_F(SpoiledTable, OneWrongPointIsALatticeFault) {
    at(12, 9, 14, 1) += 0.08f; // codes .375 .281 .4375
    EXPECT_TRUE(contains(violated(), "d2_mid"));
    EXPECT_TRUE(contains(violated(), "own_rev"));
}

TEST_F(SpoiledTable, SwappedChannelsAreSeen) {
    for (std::size_t i = 0; i < table.size(); i += 3)
        std::swap(table[i], table[i + 2]);
    EXPECT_TRUE(contains(violated(), "sextant"));
    EXPECT_TRUE(contains(violated(), "hue red"));
}

TEST_F(SpoiledTable, SwappedAxesAreSeen) {
    const std::vector<float> before = table;
    for (int b = 0; b < 33; ++b)
        for (int g = 0; g < 33; ++g)
            for (int r = 0; r < 33; ++r)
                for (int c = 0; c < 3; ++c)
                    at(r, g, b, c) = before[((static_cast<std::size_t>(r) * 33 + g) * 33 + b) * 3 + c];
    EXPECT_TRUE(contains(violated(), "hue red"));
}

TEST_F(SpoiledTable, AGreyThatFallsIsSeen) {
    for (int c = 0; c < 3; ++c)
        at(11, 11, 11, c) = at(10, 10, 10, c) - 0.002f;
    EXPECT_TRUE(contains(violated(), "grey_drop"));
}

TEST_F(SpoiledTable, NotANumberIsSeen) {
    at(9, 9, 9, 0) = std::nanf("");
    EXPECT_FALSE(violated().empty());
}

} // namespace
