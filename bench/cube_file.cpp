#include "bench/cube_file.h"

#include "color/cube_reader.h"

#include <fmt/format.h>
#include <fmt/os.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace tarnwell::bench {

namespace {

constexpr int POINTS = 33;

// A display curve with crosstalk: bent everywhere, so that no tetrahedron is flat.
double displayed(double own, double a, double b) {
    const double v = 0.9 * own + 0.06 * a + 0.04 * b;
    return v * v * (3.0 - 2.0 * v) * 0.8 + 0.2 * std::sqrt(v);
}

void write(const std::string& path) {
    fmt::ostream file = fmt::output_file(path);
    file.print("LUT_3D_SIZE {}\n", POINTS);
    const double last = POINTS - 1;
    for (int b = 0; b < POINTS; ++b) {
        for (int g = 0; g < POINTS; ++g) {
            for (int r = 0; r < POINTS; ++r) {
                const double R = r / last, G = g / last, B = b / last;
                file.print("{:.9g} {:.9g} {:.9g}\n", displayed(R, G, B), displayed(G, R, B), displayed(B, G, R));
            }
        }
    }
}

} // namespace

CubeFile::CubeFile()
    : path_((std::filesystem::temp_directory_path() / fmt::format("tarnwell_bench_{}.cube", getpid())).string()) {
    write(path_);
    velloid::CubeError error;
    if (!velloid::loadCubeLut(path_.c_str(), lut_, &error)) {
        throw std::runtime_error(path_ + ": line " + std::to_string(error.line) + ": " + error.reason);
    }
}

CubeFile::~CubeFile() {
    std::remove(path_.c_str());
}

const CubeFile& cubeFile() {
    static const CubeFile file;
    return file;
}

} // namespace tarnwell::bench
