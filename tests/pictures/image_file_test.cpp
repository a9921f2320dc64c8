// Picture files: what comes in goes out, whole or not at all.
#include "pictures/image_file.h"

#include "pictures/picture_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ImageFile : public testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(testing::TempDir()) /
                  (std::string("image_file_") + testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string at(const std::string& name) const { return (folder_ / name).string(); }

    std::vector<std::string> filesLeft() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename().string());
        return names;
    }

private:
    fs::path folder_;
};

Picture gradient(int width, int height, int channels, OIIO::TypeDesc type = OIIO::TypeDesc::FLOAT) {
    Picture picture;
    picture.header = OIIO::ImageSpec(width, height, channels, type);
    picture.channels = {0, 1, 2, channels > 3 ? 3 : -1};
    picture.premultiplied = channels > 3;
    picture.samples.resize(static_cast<std::size_t>(width * height * channels));
    for (std::size_t i = 0; i < picture.samples.size(); ++i)
        picture.samples[i] = static_cast<float>(i % 97) / 96.0f;
    return picture;
}

TEST_F(ImageFile, ReturnsFloatSamplesBitForBit) {
    Picture picture = gradient(5, 3, 4);
    picture.samples[0] = -0.25f;
    picture.samples[5] = 700.5f;
    for (const char* name : {"a.exr", "a.tif"}) {
        EXPECT_THAT(writePicture(at(name), picture, {Depth::Float, "", {}, true}), IsEmpty());
        EXPECT_EQ(readPicture(at(name)).samples, picture.samples) << name;
    }
}

TEST_F(ImageFile, KeepsHeaderWindowsAndExtraChannels) {
    Picture picture = gradient(4, 3, 5);
    picture.header.channelnames = {"R", "G", "B", "A", "Z"};
    picture.header.x = 2, picture.header.y = -1;
    picture.header.full_x = 0, picture.header.full_y = 0, picture.header.full_width = 9, picture.header.full_height = 8;
    picture.header.attribute("Copyright", "somebody");
    writePicture(at("a.exr"), picture, {Depth::Float, "", {{"Software", "test"}}, true});
    const Picture back = readPicture(at("a.exr"));
    EXPECT_EQ(back.header.x, 2);
    EXPECT_EQ(back.header.y, -1);
    EXPECT_EQ(back.header.full_width, 9);
    EXPECT_EQ(back.header.full_height, 8);
    EXPECT_EQ(back.header.get_string_attribute("Copyright"), "somebody");
    EXPECT_EQ(back.header.get_string_attribute("Software"), "test");
    EXPECT_EQ(back.header.get_string_attribute("tarnwell:ending"), "exr");
    ASSERT_EQ(back.header.nchannels, 5);
    EXPECT_EQ(back.extraChannels(), 1);
    EXPECT_EQ(back.samples, picture.samples);
}

TEST_F(ImageFile, PutsColoursBackAndLeavesTheRest) {
    Picture picture = gradient(2, 2, 5);
    picture.header.channelnames = {"R", "G", "B", "A", "Z"};
    const float depth = picture.samples[4];
    std::vector<float> colors = colorsOf(picture);
    colors[0] = 9.0f;
    putColors(picture, colors);
    EXPECT_EQ(picture.samples[0], 9.0f);
    EXPECT_EQ(picture.samples[4], depth);
}

TEST_F(ImageFile, TurnsGreyIntoColour) {
    Picture picture = gradient(2, 2, 1);
    picture.header.channelnames = {"Y"};
    picture.channels = {0, 0, 0, -1};
    writePicture(at("grey.exr"), picture, {Depth::Float, "", {}, true});
    Picture back = readPicture(at("grey.exr"));
    EXPECT_TRUE(back.channels.grey());
    std::vector<float> colors = colorsOf(back);
    EXPECT_EQ(colors[1], picture.samples[0]);
    EXPECT_EQ(colors[3], 1.0f);
    colors[1] = 0.5f;
    putColors(back, colors);
    EXPECT_EQ(back.header.nchannels, 3);
    EXPECT_EQ(back.samples[1], 0.5f);
}

TEST_F(ImageFile, FitsThePictureToWhatTheTypeCanHold) {
    Picture picture = gradient(4, 3, 5);
    picture.header.channelnames = {"R", "G", "B", "A", "Z"};
    picture.header.x = 1, picture.header.y = 1;
    picture.header.full_width = 6, picture.header.full_height = 5;
    const auto losses = writePicture(at("a.jpg"), picture, {});
    EXPECT_THAT(losses, ElementsAre(HasSubstr("1 extra channels left out"), HasSubstr("alpha left out"),
                                    HasSubstr("data window fitted")));
    const Picture back = readPicture(at("a.jpg"));
    EXPECT_EQ(back.header.width, 6);
    EXPECT_EQ(back.header.height, 5);
    EXPECT_EQ(back.header.nchannels, 3);
}

TEST_F(ImageFile, StoresPngColoursWithoutAlpha) {
    Picture picture = gradient(1, 1, 4);
    picture.samples = {0.25f, 0.1f, 0.0f, 0.5f};
    writePicture(at("a.png"), picture, {Depth::Uint16, "", {}, true});
    const Picture back = readPicture(at("a.png"));
    EXPECT_FALSE(back.premultiplied);
    EXPECT_NEAR(back.samples[0], 0.5f, 1e-4f);
    EXPECT_NEAR(back.samples[1], 0.2f, 1e-4f);
    EXPECT_NEAR(back.samples[3], 0.5f, 1e-4f);
}

TEST_F(ImageFile, KnowsLightThatCoversNothing) {
    Picture flame = gradient(2, 1, 4);
    flame.samples = {0.25f, 0.1f, 0.0f, 0.5f, 40.0f, 12.0f, 3.0f, 0.0f};
    writePicture(at("flame.exr"), flame, {Depth::Float, "", {}, true});
    const Picture back = readPicture(at("flame.exr"));
    EXPECT_TRUE(back.luminous);
    EXPECT_FALSE(back.isCutOut());
    EXPECT_THAT(writePicture(at("flame.png"), back, {Depth::Uint16, "", {}, true}),
                ElementsAre(HasSubstr("there is light where it is 0")));
    EXPECT_EQ(readPicture(at("flame.png")).header.nchannels, 3);
    flame.samples[4] = flame.samples[5] = flame.samples[6] = 0.0f;
    writePicture(at("cutout.exr"), flame, {Depth::Float, "", {}, true});
    EXPECT_TRUE(readPicture(at("cutout.exr")).isCutOut());
}

TEST_F(ImageFile, KeepsTheDepthThatTheTypeHas) {
    const Picture half = gradient(1, 1, 3, OIIO::TypeDesc::HALF), byte = gradient(1, 1, 3, OIIO::TypeDesc::UINT8);
    EXPECT_EQ(outputDepth("a.exr", half, Depth::AsInput), Depth::Half);
    EXPECT_EQ(outputDepth("a.exr", byte, Depth::AsInput), Depth::Half);
    EXPECT_EQ(outputDepth("a.png", half, Depth::AsInput), Depth::Uint8);
    EXPECT_EQ(outputDepth("a.tif", half, Depth::AsInput), Depth::Half);
    EXPECT_EQ(outputDepth("a.dpx", byte, Depth::AsInput), Depth::Uint8);
    EXPECT_EQ(outputDepth("a.dpx", half, Depth::AsInput), Depth::Uint10);
    EXPECT_EQ(outputDepth("a.png", half, Depth::Uint16), Depth::Uint16);
    EXPECT_THROW(outputDepth("a.jpg", half, Depth::Half), PictureError);
    EXPECT_THROW(outputDepth("a.nonsense", half, Depth::AsInput), PictureError);
    EXPECT_THROW(parseDepth("haif"), PictureError);
}

TEST_F(ImageFile, WritesTenBitDpx) {
    writePicture(at("a.dpx"), gradient(8, 8, 3), {});
    const Picture back = readPicture(at("a.dpx"));
    EXPECT_EQ(back.header.get_int_attribute("oiio:BitsPerSample"), 10);
    EXPECT_NEAR(back.samples[5], gradient(8, 8, 3).samples[5], 0.6 / 1023.0);
}

// Lets no file grow beyond a few bytes while it lives, as a full disk does.
class FullDisk {
public:
    FullDisk() : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit few = {1000, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &few);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(ImageFile, LeavesNoPartOfAFailedFile) {
    const Picture picture = gradient(200, 100, 3, OIIO::TypeDesc::FLOAT);
    for (const char* name : {"a.exr", "a.tif", "a.png", "a.dpx", "a.jpg"}) {
        writePicture(at(name), gradient(1, 1, 3), {});
        FullDisk full;
        EXPECT_THROW(writePicture(at(name), picture, {}), PictureError) << name;
    }
    EXPECT_THAT(filesLeft(), testing::UnorderedElementsAre("a.exr", "a.tif", "a.png", "a.dpx", "a.jpg"));
    EXPECT_EQ(readHeader(at("a.exr")).header.width, 1);
}

TEST_F(ImageFile, RefusesWhatCannotBeWritten) {
    EXPECT_THROW(writePicture(at("none/a.exr"), gradient(1, 1, 3), {}), PictureError);
    EXPECT_THROW(writePicture(at("a.jpg"), gradient(70000, 1, 3, OIIO::TypeDesc::UINT8), {}), PictureError);
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(ImageFile, ReplacesOnlyWhenAllowed) {
    writePicture(at("a.exr"), gradient(2, 2, 3), {});
    EXPECT_THROW(writePicture(at("a.exr"), gradient(3, 3, 3), {Depth::AsInput, "", {}, false}), PictureError);
    EXPECT_EQ(readHeader(at("a.exr")).header.width, 2);
    writePicture(at("a.exr"), gradient(3, 3, 3), {});
    EXPECT_EQ(readHeader(at("a.exr")).header.width, 3);
    writePicture(at("b.exr"), gradient(3, 3, 3), {Depth::AsInput, "", {}, false});
    EXPECT_EQ(filesLeft().size(), 2u);
}

TEST_F(ImageFile, SaysWhyAFileCannotBeRead) {
    std::ofstream(at("text.exr")) << "no picture";
    const auto complaint = [&](const std::string& path) {
        try {
            readPicture(path);
            return std::string("read it");
        } catch (const PictureError& error) {
            return (error.fault == PictureFault::Missing ? "missing: " : "failure: ") + std::string(error.what());
        }
    };
    EXPECT_THAT(complaint(at("none.exr")), HasSubstr("missing: " + at("none.exr") + ": no such file"));
    EXPECT_THAT(complaint(at("text.exr")), HasSubstr("failure: " + at("text.exr") + ": "));
    Picture onlyDepth = gradient(1, 1, 1);
    onlyDepth.header.channelnames = {"Z"};
    onlyDepth.channels = {0, 0, 0, -1};
    writePicture(at("z.exr"), onlyDepth, {});
    EXPECT_THAT(complaint(at("z.exr")), HasSubstr("holds no colour channels"));
}

TEST_F(ImageFile, TurnsAPhotographUpright) {
    Picture picture = gradient(2, 1, 3);
    picture.samples = {1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f};
    picture.header.attribute("Orientation", 6); // stored lying, to be turned a quarter clockwise
    writePicture(at("a.exr"), picture, {Depth::Float, "", {}, true});
    const Picture back = readPicture(at("a.exr"));
    EXPECT_EQ(back.header.width, 1);
    EXPECT_EQ(back.header.height, 2);
    EXPECT_THAT(back.samples, ElementsAre(1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f));
    EXPECT_EQ(back.header.get_int_attribute("Orientation"), 1);
}

} // namespace
} // namespace tarnwell
