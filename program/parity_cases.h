// What `tarnwell parity` compares: frames that the CPU and the GPU compute alike, and frames made to reach one of the
// places where the GPU differs on purpose.
#pragma once

#include "host/effect.h"
#include "program/presets.h"

#include <string>
#include <vector>

namespace tarnwell {

// A pixel. Colours are codes of the frame's encoding; where that is linear, LogC4 codes of its light.
struct Rgba {
    float r, g, b, a;
};
using PictureAt = Rgba (*)(int x, int y, int width, int height);

struct ParityFrame {
    PictureAt picture;
    Settings settings; // every effect that is not named is off
    bool premultiplied = false;
    double time = 24.0;
    OfxPointD renderScale{1.0, 1.0};
    int left = 0; // of the image, in pixels

    std::string space() const; // label of the encoding
    bool isLinear() const;
};

// One line of the report: all samples of its frames together.
struct ParityCase {
    std::string what;
    std::vector<ParityFrame> frames;
    std::string reason; // why the two differ; empty where nothing is at work but float against double

    std::string space() const; // of its frames, for people
};

struct ParityCases {
    std::vector<ParityCase> alike;      // the same arithmetic, in float and in double
    std::vector<ParityCase> deliberate; // different on purpose
};

// Labels of the plug-in's menus, "Off" included.
struct ParityMenus {
    std::vector<std::string> stocks, looks, spaces;
};

// Above this many lines the wide blur of bloom is a deliberate difference wherever bloom is on.
constexpr int PARITY_LINES = 640;

// `cube`: path of a .cube file for the output table, for example one with parityCube() in it.
ParityCases parityCases(const ParityMenus& menus, const std::string& cube);

// Everything on: what a frame costs at most.
Settings wholeChain();
// Settings with every effect off.
Settings allOff();

// The frame's pixels, four floats each, lowest row first.
std::vector<float> pixelsOf(const ParityFrame& frame, int width, int height);

// A night street: bars, a grey wedge, neon, and a lamp 60 times brighter than diffuse white.
Rgba streetAt(int x, int y, int width, int height);

// A small table: a curve and a little warmth.
std::string parityCube();

} // namespace tarnwell
