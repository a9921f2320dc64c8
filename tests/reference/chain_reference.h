// The whole chain in its literal form: the stages of a frame, each in the slow form of this folder, one after the other
// on whole planes.
#pragma once

#include "color/looks.h"
#include "color/lut3d.h"
#include "process/stock.h"

#include <cstddef>
#include <vector>

namespace tarnwell::reference {

// What a frame asks for; amounts within [0, 1].
struct ChainSettings {
    int ioSpace = 0;
    velloid::NegativeStock stock = velloid::NegativeStock::Vision500T;
    velloid::PrintProcess process{14};
    double detail = 0.0;
    double grain = 0.803;
    double halation = 0.655;
    double color = 0.777;
    double weave = 0.0;
    double flicker = 0.0;
    double bloom = 0.0;
    double blackWhite = 0.0;
    double time = 0.0;
    double scaleX = 1.0; // render scale
    double scaleY = 1.0;
    double pixelAspect = 1.0;
    int originX = 0;
    int originY = 0;
    const velloid::LUT3D* outputLut = nullptr;
    double outputLutStrength = 1.0;
    bool outputLutInLogC4 = false;
};

struct ChainPlanes {
    std::vector<float> R, G, B; // linear AWG4
    std::vector<float> A;       // within [0, 1]
};

// The ends of the chain: n RGBA floats to planes, and the planes back to the pixels, whose alpha stays. `graded`, when
// not empty, holds codes to blend over the encoded ones.
ChainPlanes importPixels(const std::vector<float>& pixels, std::size_t n, int ioSpace);
void exportPixels(const ChainPlanes& planes, const ChainPlanes& graded, const ChainSettings& s,
                  std::vector<float>& pixels);

// Renders w * h RGBA floats, unpremultiplied, row-major, in place.
void renderChain(std::vector<float>& pixels, int w, int h, const ChainSettings& s);

} // namespace tarnwell::reference
