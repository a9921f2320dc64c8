// The program's colour configuration against the plug-in's encodings, and what is assumed about files.
#include "pictures/color_management.h"

#include "color/colorspace.h"
#include "pictures/color_config.h"
#include "pictures/gentle_view.h"
#include "pictures/picture_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

namespace tarnwell {
namespace {

using testing::HasSubstr;
using velloid::IOSpace;

std::vector<float> converted(const std::string& from, const std::string& to, std::vector<float> rgba,
                             bool premultiplied = false) {
    ColorManager::withConfig("").conversion(from, to).apply(rgba, premultiplied);
    return rgba;
}

// Codes from just below black to just above white, with uneven colours.
std::vector<float> codes() {
    std::vector<float> rgba;
    for (int i = -4; i <= 104; ++i) {
        const float v = static_cast<float>(i) / 100.0f;
        rgba.insert(rgba.end(), {v, v * 0.9f + 0.03f, v * 0.8f + 0.08f, 1.0f});
    }
    return rgba;
}

// What the curve may differ by: OpenColorIO works in float, and the four tables interpolate between half-floats.
double toleranceOf(IOSpace space) {
    const bool table =
        space == IOSpace::CLog2 || space == IOSpace::CLog3 || space == IOSpace::FLog || space == IOSpace::AppleLog;
    return table ? 2e-5 : 6e-6;
}

TEST(ColorManagement, DecodesEveryEncodingAsThePlugInDoes) {
    for (int index = 0; index < velloid::IO_SPACE_COUNT; ++index) {
        const auto space = static_cast<IOSpace>(index);
        const std::vector<float> in = codes(), out = converted(velloid::ioSpaceLabel(space), SPACE_WORKING, in);
        for (std::size_t p = 0; p < in.size(); p += 4) {
            double expected[3];
            velloid::decodeToLinearAWG4(in[p], in[p + 1], in[p + 2], space, expected[0], expected[1], expected[2]);
            const double size = std::max({1e-2, std::abs(expected[0]), std::abs(expected[1]), std::abs(expected[2])});
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_NEAR(out[p + c], expected[c], toleranceOf(space) * size)
                    << velloid::ioSpaceLabel(space) << ", code " << in[p] << " " << in[p + 1] << " " << in[p + 2];
        }
    }
}

TEST(ColorManagement, EncodesEveryEncodingAsThePlugInDoes) {
    for (int index = 0; index < velloid::IO_SPACE_COUNT; ++index) {
        const auto space = static_cast<IOSpace>(index);
        std::vector<float> in;
        for (double stop = -9.0; stop <= 6.0; stop += 0.25) {
            const float light = static_cast<float>(0.18 * std::exp2(stop));
            in.insert(in.end(), {light, light * 0.8f, light * 1.1f, 1.0f});
        }
        const std::vector<float> out = converted(SPACE_WORKING, velloid::ioSpaceLabel(space), in);
        for (std::size_t p = 0; p < in.size(); p += 4) {
            double expected[3];
            velloid::encodeFromLinearAWG4(in[p], in[p + 1], in[p + 2], space, expected[0], expected[1], expected[2]);
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_NEAR(out[p + c], expected[c], toleranceOf(space) * std::max(1.0, std::abs(expected[c])))
                    << velloid::ioSpaceLabel(space) << ", linear " << in[p];
        }
    }
}

TEST(ColorManagement, KeepsWhiteAcrossTheLinearSpaces) {
    for (const char* space : {SPACE_LINEAR_REC709, SPACE_ACESCG, SPACE_ACES, SPACE_WORKING})
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(converted(space, SPACE_WORKING, {1.0f, 1.0f, 1.0f, 1.0f})[c], 1.0f, 2e-5f) << space;
}

TEST(ColorManagement, KnowsSrgbAsItsStandardGivesIt) {
    const auto light = converted(SPACE_SRGB, SPACE_LINEAR_REC709, {0.5f, 0.04045f, 1.0f, 1.0f});
    EXPECT_NEAR(light[0], 0.21404114f, 2e-6f); // IEC 61966-2-1: ((0.5 + 0.055) / 1.055)^2.4
    EXPECT_NEAR(light[1], 0.0031308f, 2e-6f);
    EXPECT_NEAR(light[2], 1.0f, 2e-6f);
}

TEST(ColorManagement, ShowsSceneLightGently) {
    const auto grey = converted(SPACE_LINEAR_REC709, SPACE_GENTLE, {0.18f, 0.18f, 0.18f, 1.0f});
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_NEAR(grey[c], 0.4613f, 2e-3f); // the sRGB code of 0.18
    float before = -1.0f;
    for (float stop = -8.0f; stop <= 3.99f; stop += 0.05f) {
        const float light = std::exp2(stop);
        const auto shown = converted(SPACE_LINEAR_REC709, SPACE_GENTLE, {light, light, light, 1.0f});
        ASSERT_GT(shown[1], before) << "at " << light;
        ASSERT_LT(shown[1], 1.0f) << "at " << light;
        before = shown[1];
    }
}

TEST(ColorManagement, BringsADisplayPictureThroughTheGentleViewAndBack) {
    std::vector<float> picture;
    for (int r = 0; r <= 255; r += 15)
        for (int g = 0; g <= 255; g += 15)
            for (int b = 0; b <= 255; b += 15)
                picture.insert(picture.end(), {static_cast<float>(r) / 255.0f, static_cast<float>(g) / 255.0f,
                                               static_cast<float>(b) / 255.0f, 1.0f});
    const auto scene = converted(SPACE_GENTLE, SPACE_WORKING, picture);
    const auto back = converted(SPACE_WORKING, SPACE_GENTLE, scene);
    for (std::size_t i = 0; i < picture.size(); ++i)
        ASSERT_NEAR(back[i], picture[i], 0.25 / 255.0) << "sample " << i; // rounds to the same 8-bit code
}

TEST(ColorManagement, KeepsAlphaAndLightWithoutCover) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const auto out = converted(SPACE_SRGB, SPACE_LINEAR_REC709,
                               {0.25f, 0.25f, 0.25f, 0.5f, 0.5f, 0.5f, 0.5f, 0.0f, 0.5f, 0.5f, 0.5f, nan}, true);
    EXPECT_NEAR(out[0], 0.21404114f * 0.5f, 2e-6f);
    EXPECT_EQ(out[3], 0.5f);
    EXPECT_NEAR(out[4], 0.21404114f, 2e-6f);
    EXPECT_EQ(out[7], 0.0f);
    EXPECT_NEAR(out[8], 0.21404114f, 2e-6f);
}

TEST(ColorManagement, NamesTheNearestSpace) {
    const ColorManager colors = ColorManager::withConfig("");
    EXPECT_EQ(colors.resolve("acescg"), "ACEScg");
    EXPECT_EQ(colors.resolve("lin_rec709"), SPACE_LINEAR_REC709);
    try {
        colors.resolve("S-Log3/S-Gamut3.Cin");
        FAIL() << "an unknown space was resolved";
    } catch (const PictureError& error) {
        EXPECT_EQ(error.fault, PictureFault::Request);
        EXPECT_THAT(error.what(), HasSubstr("S-Log3/S-Gamut3.Cine"));
    }
}

TEST(ColorManagement, MeetsTheUsersConfigurationInAces) {
    const auto path = std::filesystem::path(testing::TempDir()) / "color_management_test.ocio";
    std::ofstream(path)
        << "ocio_profile_version: 2\nroles: {aces_interchange: AP0, default: AP0}\n"
           "file_rules:\n  - !<Rule> {name: Default, colorspace: default}\n"
           "displays: {d: [!<View> {name: v, colorspace: AP0}]}\n"
           "colorspaces:\n  - !<ColorSpace> {name: AP0}\n"
           "  - !<ColorSpace> {name: Half, to_scene_reference: !<MatrixTransform> {matrix: [0.5, 0, 0, 0,"
           " 0, 0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1]}}\n";
    const ColorManager colors = ColorManager::withConfig(path.string());
    std::vector<float> rgba = {0.4f, 0.4f, 0.4f, 1.0f};
    colors.conversion("Half", SPACE_ACES).apply(rgba, false);
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_NEAR(rgba[c], 0.2f, 1e-6f);
    EXPECT_THROW(ColorManager::withConfig(path.string() + ".none"), PictureError);
    std::filesystem::remove(path);
}

Picture pictureOf(OIIO::TypeDesc type, const std::string& colorSpace = "") {
    Picture picture;
    picture.header = OIIO::ImageSpec(4, 4, 3, type);
    if (!colorSpace.empty()) picture.header.attribute("oiio:ColorSpace", colorSpace);
    picture.channels = {0, 1, 2, -1};
    return picture;
}

std::string assumed(const Picture& picture, const std::string& ending) {
    return inputSpace(picture, ending, ColorManager::withConfig("")).space;
}

TEST(ColorManagement, AssumesWhatTheFileTypeMeans) {
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT8, "sRGB"), "jpg"), SPACE_GENTLE);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16), "png"), SPACE_GENTLE);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16), "tif"), SPACE_GENTLE);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::HALF, "Linear"), "exr"), SPACE_LINEAR_REC709);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::FLOAT), "tif"), SPACE_LINEAR_REC709);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16, "KodakLog"), "dpx"), SPACE_CINEON);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16), "dpx"), SPACE_CINEON);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16, "Rec709"), "dpx"), SPACE_REC709_G24);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::UINT16, "Linear"), "dpx"), SPACE_LINEAR_REC709);
    EXPECT_EQ(assumed(pictureOf(OIIO::TypeDesc::FLOAT, "ACEScg"), "exr"), SPACE_ACESCG);
}

TEST(ColorManagement, ReadsBackTheSpaceThatItNoted) {
    for (const char* space :
         {SPACE_LINEAR_REC709, SPACE_ACESCG, SPACE_ACES, "Linear/AWG4", "LogC4/AWG4", SPACE_CINEON}) {
        Picture picture = pictureOf(OIIO::TypeDesc::HALF);
        noteSpace(picture.header, space, "exr");
        EXPECT_EQ(assumed(picture, "exr"), space);
    }
}

TEST(ColorManagement, ChoosesTheOutputByItsKind) {
    const SpaceChoice scene{SPACE_ACESCG, ""}, display{SPACE_SRGB, ""}, film{SPACE_CINEON, ""};
    EXPECT_EQ(outputSpace("exr", Depth::Half, scene).space, SPACE_ACESCG);
    EXPECT_EQ(outputSpace("exr", Depth::Half, display).space, SPACE_LINEAR_REC709);
    EXPECT_EQ(outputSpace("png", Depth::Uint8, scene).space, SPACE_GENTLE);
    EXPECT_EQ(outputSpace("tif", Depth::Uint16, display).space, SPACE_SRGB);
    EXPECT_EQ(outputSpace("tif", Depth::Float, display).space, SPACE_LINEAR_REC709);
    EXPECT_EQ(outputSpace("dpx", Depth::Uint10, film).space, SPACE_CINEON);
    EXPECT_EQ(outputSpace("dpx", Depth::Uint10, scene).space, SPACE_CINEON);
}

} // namespace
} // namespace tarnwell
