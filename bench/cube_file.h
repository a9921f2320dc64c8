// A 33-point .cube file for the table measurements, in the system's temporary folder while the program runs.
#pragma once

#include "color/lut3d.h"

#include <string>

namespace tarnwell::bench {

class CubeFile {
public:
    // Writes the file and reads it back as the plug-in does. Throws std::runtime_error when either fails.
    CubeFile();
    ~CubeFile();
    CubeFile(const CubeFile&) = delete;
    CubeFile& operator=(const CubeFile&) = delete;

    const std::string& path() const { return path_; }
    const velloid::LUT3D& lut() const { return lut_; }

private:
    std::string path_;
    velloid::LUT3D lut_;
};

// The one of this process.
const CubeFile& cubeFile();

} // namespace tarnwell::bench
