// The sampler against two implementations that share no line with it. Both interpolate in float with weights of their
// own, so they agree to float rounding, not to the bit.
#include "color/cube_reader.h"
#include "tests/color/cube_file.h"
#include "tests/color/lut_test_support.h"

#include <OpenColorIO/OpenColorIO.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace velloid {
namespace {

using namespace lut_test;

constexpr int WIDTH = 64, HEIGHT = 32, PIXELS = WIDTH * HEIGHT;
constexpr float PEER_TOLERANCE = 4e-6f; // their fractions are floats: 2^-24 of up to 64 lattice steps

struct Case {
    const char* name;
    LUT3D lut;
};

Planes inputPlanes() {
    std::mt19937 random(51);
    std::uniform_real_distribution<float> value(-0.1f, 1.1f);
    Planes p{Plane(PIXELS), Plane(PIXELS), Plane(PIXELS)};
    for (std::size_t i = 0; i < PIXELS; ++i) {
        p.r[i] = value(random);
        p.g[i] = i % 5 ? value(random) : p.r[i];
        p.b[i] = i % 7 ? value(random) : p.g[i];
    }
    return p;
}

// The table as the file gives it, applied by us.
Planes ours(const TemporaryFile& file, Planes p) {
    LUT3D lut;
    if (!loadCubeLut(file.c_str(), lut)) throw std::runtime_error("our own file was refused");
    applyCubeLut(p.r, p.g, p.b, WIDTH, HEIGHT, 1.0, lut);
    return p;
}

std::string plainCube(const LUT3D& lut) {
    std::string text = "LUT_3D_SIZE " + std::to_string(lut.size) + "\n";
    for (const RGB& e : lut.data)
        text += rowText(e);
    return text;
}

void expectNear(const Planes& got, const Planes& expected, const Planes& input) {
    for (std::size_t i = 0; i < PIXELS; ++i) {
        ASSERT_NEAR(got.r[i], expected.r[i], PEER_TOLERANCE) << input.r[i] << " " << input.g[i] << " " << input.b[i];
        ASSERT_NEAR(got.g[i], expected.g[i], PEER_TOLERANCE) << input.r[i] << " " << input.g[i] << " " << input.b[i];
        ASSERT_NEAR(got.b[i], expected.b[i], PEER_TOLERANCE) << input.r[i] << " " << input.g[i] << " " << input.b[i];
    }
}

TEST(LutPeers, OpenColorIOInterpolatesAlike) {
    namespace ocio = OCIO_NAMESPACE;
    for (int size : {2, 17, 33}) {
        ocio::ClearAllCaches(); // it knows files by their path
        const TemporaryFile file(plainCube(randomTable(size, 52)));
        const auto transform = ocio::FileTransform::Create();
        transform->setSrc(file.c_str());
        transform->setInterpolation(ocio::INTERP_TETRAHEDRAL);
        const auto cpu = ocio::Config::CreateRaw()->getProcessor(transform)->getDefaultCPUProcessor();
        const Planes input = inputPlanes();
        Planes peer = input;
        ocio::PlanarImageDesc image(peer.r.data(), peer.g.data(), peer.b.data(), nullptr, WIDTH, HEIGHT);
        cpu->apply(image);
        expectNear(ours(file, input), peer, input);
    }
}

void writePlanes(const std::string& path, const Planes& p) {
    std::ofstream out(path, std::ios::binary);
    for (const Plane* plane : {&p.g, &p.b, &p.r})
        out.write(reinterpret_cast<const char*>(plane->data()), PIXELS * sizeof(float));
}

Planes readPlanes(const std::string& path) {
    Planes p{Plane(PIXELS), Plane(PIXELS), Plane(PIXELS)};
    std::ifstream in(path, std::ios::binary);
    for (Plane* plane : {&p.g, &p.b, &p.r})
        in.read(reinterpret_cast<char*>(plane->data()), PIXELS * sizeof(float));
    if (!in) throw std::runtime_error("short frame in " + path);
    return p;
}

TEST(LutPeers, FfmpegInterpolatesAlike) {
    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "the program ffmpeg is not installed";
    }
    const TemporaryFile file(plainCube(randomTable(33, 53)));
    const TemporaryFile from("", "from.raw"), to("", "to.raw");
    const Planes input = inputPlanes();
    writePlanes(from.path(), input);
    const std::string format = " -f rawvideo -pix_fmt gbrpf32le -s 64x32 ";
    const std::string command = "ffmpeg -nostdin -loglevel error -y" + format + "-i '" + from.path() +
                                "' -vf \"lut3d=file='" + file.path() + "':interp=tetrahedral\"" + format + "'" +
                                to.path() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    expectNear(ours(file, input), readPlanes(to.path()), input);
}

} // namespace
} // namespace velloid
