// Looks as .cube files: used as output LUT they do what the live look does, and other programs read the same colours.
#include "host/catalog.h"
#include "program/look_export.h"

#include <OpenColorIO/OpenColorIO.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

using namespace tarnwell;
namespace fs = std::filesystem;
namespace ocio = OCIO_NAMESPACE;

constexpr int SIDE = 96;
constexpr OfxRectI WINDOW = {0, 0, SIDE, SIDE};

using Settings = std::map<std::string, std::string>;

class LutExport : public testing::Test {
protected:
    void SetUp() override {
        catalog_.addBundle(host_, TARNWELL_BUNDLE);
        effect_.emplace(host_, catalog_.find("com.ostrel.tarnwell"));
        effect_->load();
        folder_ = fs::path(testing::TempDir()) /
                  (std::string("lut_export_") + testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    fs::path write(const LookTable& table) {
        const fs::path path = folder_ / "look.cube";
        writeTextFile(path, cubeText(table));
        return path;
    }

    // Every effect off but what is set.
    std::vector<float> render(std::vector<float> picture, const Settings& settings) {
        InstanceOptions options;
        options.depth = kOfxBitDepthFloat;
        options.components = kOfxImageComponentRGBA;
        Instance instance(*effect_, options);
        for (const char* key : {"detail", "grainIntensity", "halationIntensity", "colorIntensity"})
            instance.setParameter(key, "0");
        for (const auto& [key, value] : settings)
            instance.setParameter(key, value);
        instance.create();
        std::vector<float> out(picture.size());
        RenderRequest request;
        request.window = WINDOW;
        request.source.data = picture.data();
        request.output.data = out.data();
        request.source.bounds = request.output.bounds = WINDOW;
        instance.renderFrame(request);
        return out;
    }

    std::vector<float> live(const std::string& look, double strength, const std::string& space,
                            const std::vector<float>& picture) {
        return render(picture,
                      {{"colorProcess", look}, {"colorIntensity", std::to_string(strength)}, {"ioSpace", space}});
    }

    Host host_;
    Catalog catalog_;
    std::optional<Effect> effect_;
    fs::path folder_;
};

// Code values all over the cube, colours and greys, from a fixed sequence of golden-ratio steps.
std::vector<float> codes(double low, double high) {
    std::vector<float> picture;
    for (int i = 0; i < SIDE * SIDE; ++i) {
        const auto part = [&](double step) {
            return static_cast<float>(low + (high - low) * std::fmod(i * step, 1.0));
        };
        if (i % 8 == 0)
            picture.insert(picture.end(), {part(0.6180339887), part(0.6180339887), part(0.6180339887), 1.f});
        else
            picture.insert(picture.end(), {part(0.8191725134), part(0.6710436067), part(0.5497004779), 1.f});
    }
    return picture;
}

double largestDifference(const std::vector<float>& a, const std::vector<float>& b) {
    EXPECT_EQ(a.size(), b.size());
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i])));
    return largest;
}

double meanDifference(const std::vector<float>& a, const std::vector<float>& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i]));
    return sum / static_cast<double>(a.size() / 4 * 3); // alpha does not differ
}

Settings asOutputLut(const fs::path& cube, const char* domain, const std::string& space) {
    return {
        {"outputLutPath", cube.string()}, {"outputLutStrength", "1"}, {"outputLutDomain", domain}, {"ioSpace", space}};
}

// The tables of the looks have 33 or 65 points over LogC4 codes; a lattice of 65 contains both, and its tetrahedra lie
// within theirs, so nothing is lost but float rounding. The look with a fit to the scene behind its table, and those
// whose tables run over linear light, are sampled between their points.
struct Accuracy {
    const char* look;
    double tolerance; // LogC4 codes
};
// clang-format off
constexpr Accuracy AS_LIVE[] = {
    {"A Corvex Classic P0", 1e-6}, {"Corvex A35 Modern", 1e-6}, {"Cross Processing", 1e-6}, {"Fuji 3510", 1e-6},
    {"Fuji 3513", 1e-6},           {"Kodak 2383", 1e-6},        {"Premiere", 1e-6},         {"Pull (-1)", 1e-6},
    {"Push (+1)", 1e-6},           {"Teal & Orange", 1e-6},     {"Corvex Look Standard", 5e-4},
    {"Bleach Bypass", 0.01},       {"Classic", 0.03},           {"Live", 0.01},             {"Reversal", 0.12},
};
// clang-format on

TEST_F(LutExport, AsOutputLutDoesWhatTheLiveLookDoes) {
    const std::vector<float> picture = codes(0.0, 1.0);
    for (const Accuracy& row : AS_LIVE) {
        LookExport wanted;
        wanted.look = row.look;
        const fs::path cube = write(sampleLook(*effect_, wanted));
        const std::vector<float> direct = live(row.look, 1.0, "LogC4/AWG4", picture);
        const std::vector<float> viaFile = render(picture, asOutputLut(cube, "LogC4", "LogC4/AWG4"));
        const double difference = largestDifference(direct, viaFile), mean = meanDifference(direct, viaFile);
        std::printf("%-24s largest difference %.2g codes, mean %.2g\n", row.look, difference, mean);
        EXPECT_LE(mean, 1e-3) << row.look;
        EXPECT_LE(difference, row.tolerance) << row.look;
    }
}

TEST_F(LutExport, CarriesTheStrength) {
    const std::vector<float> picture = codes(0.0, 1.0);
    LookExport wanted;
    wanted.look = "Kodak 2383";
    wanted.strength = 0.777;
    wanted.size = 33;
    const fs::path cube = write(sampleLook(*effect_, wanted));
    EXPECT_LE(largestDifference(live(wanted.look, 0.777, wanted.space, picture),
                                render(picture, asOutputLut(cube, "LogC4", wanted.space))),
              1e-6);
}

// In another space the lattice lies across the look's own; what is left is interpolation, on codes that pictures have.
TEST_F(LutExport, WorksInTheSpaceThatItWasMadeFor) {
    for (const char* space : {"S-Log3/S-Gamut3.Cine", "ACEScct/AP1", "DaVinci Intermediate/DWG"}) {
        const std::vector<float> picture = codes(0.15, 0.65);
        LookExport wanted;
        wanted.look = "Kodak 2383";
        wanted.space = space;
        const fs::path cube = write(sampleLook(*effect_, wanted));
        const double difference = largestDifference(live(wanted.look, 1.0, space, picture),
                                                    render(picture, asOutputLut(cube, "Encoded I/O", space)));
        std::printf("%-24s largest difference %.2g codes\n", space, difference);
        EXPECT_LE(difference, 0.015) << space;
    }
}

TEST_F(LutExport, OpenColorIoReadsTheSameColours) {
    LookExport wanted;
    wanted.look = "Fuji 3513";
    wanted.size = 33;
    const fs::path cube = write(sampleLook(*effect_, wanted));
    const std::vector<float> picture = codes(0.0, 1.0);

    const auto file = ocio::FileTransform::Create();
    file->setSrc(cube.c_str());
    file->setInterpolation(ocio::INTERP_TETRAHEDRAL);
    const auto processor = ocio::Config::CreateRaw()->getProcessor(file)->getDefaultCPUProcessor();
    std::vector<float> theirs = picture;
    ocio::PackedImageDesc image(theirs.data(), SIDE, SIDE, 4);
    processor->apply(image);

    const double difference = largestDifference(theirs, live(wanted.look, 1.0, wanted.space, picture));
    std::printf("OpenColorIO: largest difference %.2g codes\n", difference);
    EXPECT_LE(difference, 1e-6);
}

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

TEST_F(LutExport, FfmpegReadsTheSameColours) {
    if (std::system("ffmpeg -hide_banner -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg on this machine";
    LookExport wanted;
    wanted.look = "Fuji 3513";
    wanted.size = 33;
    const fs::path cube = write(sampleLook(*effect_, wanted));
    const std::vector<float> picture = codes(0.0, 1.0);

    // Planar float frames, in ffmpeg's order: green, blue, red.
    const std::array<int, 3> order = {1, 2, 0};
    std::ofstream raw(folder_ / "in.raw", std::ios::binary);
    for (const int channel : order)
        for (std::size_t i = static_cast<std::size_t>(channel); i < picture.size(); i += 4)
            raw.write(reinterpret_cast<const char*>(&picture[i]), sizeof(float));
    raw.close();
    const std::string format = " -f rawvideo -pix_fmt gbrpf32le -s 96x96 ";
    const std::string command = "ffmpeg -hide_banner -loglevel error -y" + format + "-i " + quoted(folder_ / "in.raw") +
                                " -vf lut3d=interp=tetrahedral:file=" + quoted(cube) + format +
                                quoted(folder_ / "out.raw");
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

    std::vector<float> theirs = picture;
    std::ifstream result(folder_ / "out.raw", std::ios::binary);
    for (const int channel : order)
        for (std::size_t i = static_cast<std::size_t>(channel); i < theirs.size(); i += 4)
            result.read(reinterpret_cast<char*>(&theirs[i]), sizeof(float));
    ASSERT_TRUE(result);
    const double difference = largestDifference(theirs, live(wanted.look, 1.0, wanted.space, picture));
    std::printf("ffmpeg: largest difference %.2g codes\n", difference);
    EXPECT_LE(difference, 1e-6);
}

TEST_F(LutExport, SaysWhatIsOffAndHowToUseIt) {
    LookExport wanted;
    wanted.look = "kodak";
    wanted.size = 2;
    const std::string text = cubeText(sampleLook(*effect_, wanted));
    for (const char* part : {"TITLE \"Kodak 2383, strength 1\"", "LUT_3D_SIZE 2\n", "# ", "grainIntensity = 0",
                             "Output LUT Input = LogC4"})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

TEST_F(LutExport, RefusesWhatNoReaderTakes) {
    LookExport wanted;
    wanted.look = "Kodak 2383";
    for (const int size : {-1, 0, 1, 130}) {
        wanted.size = size;
        EXPECT_THROW(sampleLook(*effect_, wanted), ParameterError) << size;
    }
    wanted.size = 2;
    wanted.look = "Kodak 2384";
    EXPECT_THROW(sampleLook(*effect_, wanted), ParameterError);
    EXPECT_THROW(writeTextFile(folder_ / "no such folder" / "look.cube", "text"), HostError);
}

} // namespace
