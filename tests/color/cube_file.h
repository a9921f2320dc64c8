// Small .cube files in the test program's own temporary folder.
#pragma once

#include "color/lut3d.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace lut_test {

// A file that goes when the object goes. `name` tells files of one test apart.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content, const std::string& name = "table.cube")
        : where(testing::TempDir() + "tarnwell_" + std::to_string(::getpid()) + "_" + name) {
        write(content);
    }
    ~TemporaryFile() { std::remove(where.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(const std::string& content) const { std::ofstream(where, std::ios::binary) << content; }
    const std::string& path() const { return where; }
    const char* c_str() const { return where.c_str(); }

private:
    std::string where;
};

inline std::string rowText(const velloid::RGB& e) {
    char text[96];
    std::snprintf(text, sizeof text, "%.9g %.9g %.9g\n", static_cast<double>(e.r), static_cast<double>(e.g),
                  static_cast<double>(e.b));
    return text;
}

// `count` data rows, the numbers 0, 0.5, 1, ... counted on from row to row.
inline std::string someRows(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        const float v = static_cast<float>(i) / 2;
        text += rowText({v, v + 0.25f, -v});
    }
    return text;
}

inline std::string cubeText(const velloid::LUT3D& lut) {
    std::string text = "LUT_3D_SIZE " + std::to_string(lut.size) + "\n";
    text += "DOMAIN_MIN " + rowText(lut.domainMin) + "DOMAIN_MAX " + rowText(lut.domainMax);
    for (const velloid::RGB& e : lut.data)
        text += rowText(e);
    return text;
}

} // namespace lut_test
