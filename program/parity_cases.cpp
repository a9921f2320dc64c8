// In LogC4/AWG4 the GPU's shorter constants cancel wherever only codes count (it decodes with what it encodes), in
// Linear/AWG4 wherever only light counts: effects that work in codes are compared alike in the one, effects that work
// in light in the other. Each deliberate difference gets a picture or a setting that reaches it and no other.
#include "program/parity_cases.h"

#include "color/curves/arri.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace tarnwell {

namespace {

constexpr char CODES[] = "LogC4/AWG4";
constexpr char LIGHT[] = "Linear/AWG4";
constexpr char OTHER[] = "ACEScct/AP1"; // where LogC4 codes are the GPU's own

constexpr const char* AMOUNTS[] = {"flicker",        "detail",    "bloom",      "halationIntensity",
                                   "grainIntensity", "gateWeave", "blackWhite", "colorIntensity"};

// The looks whose tables are of light; all others are of LogC4 codes.
constexpr const char* LIGHT_LOOKS[] = {"Bleach Bypass", "Classic", "Live", "Reversal"};

constexpr char WEAVE[] =
    "some hundred pixels from the corner a float knows a position to 3e-5 of a pixel: that much of "
    "the light's step to the next pixel";
constexpr char WEAVE_LAMP[] =
    "positions in float as in the weave above; beside a lamp 60 times brighter than white that "
    "step is thousandths of a code in the dark";
constexpr char LOGC4_LIGHT[] =
    "shorter LogC4 constants on the GPU (2231.87407, 0.0928571429): its light is a factor and "
    "an offset higher, which a fixed threshold, gain or table of light does not follow";
constexpr char LOGC4_CODES[] = "shorter LogC4 constants on the GPU: its codes of this light are up to 1e-5 off";
constexpr char LOGC4_BLACK[] = "shorter LogC4 constants on the GPU, but the line below code 0 has the CPU's slope and "
                               "offset: line and curve do not quite meet";
constexpr char CHAIN[] = "shorter LogC4 constants on the GPU, at the flicker's gain and the glows";

// ---- pictures ------------------------------------------------------------------------------------------------------

Rgba wallAt(int x, int y, int width, int height) {
    const float across = static_cast<float>(x) / static_cast<float>(width);
    const float up = static_cast<float>(y) / static_cast<float>(height);
    const int bar = static_cast<int>(across * 8.0f);
    const auto bars = [bar](int c) { return (bar >> c & 1) != 0 ? 0.45f : 0.15f; };
    const float wedge = 0.1f + 0.4f * across + 0.01f * static_cast<float>((x * 7 + y * 5) % 5);
    if (up < 0.4f) return {bars(0), bars(1), bars(2), 1.0f};
    return {wedge, wedge, wedge, 1.0f};
}

// Cut out: alpha rises from the left.
Rgba cutOutAt(int x, int y, int width, int height) {
    Rgba pixel = wallAt(x, y, width, height);
    pixel.a = std::min(1.0f, static_cast<float>(x + 1) * 4.0f / static_cast<float>(width));
    return pixel;
}

// Samples that are no numbers, scattered over the street.
Rgba brokenAt(int x, int y, int width, int height) {
    constexpr float INF = std::numeric_limits<float>::infinity();
    Rgba pixel = streetAt(x, y, width, height);
    const int place = (x * 13 + y * 29) % 97;
    if (place == 0) pixel.r = std::numeric_limits<float>::quiet_NaN();
    if (place == 1) pixel.g = INF;
    if (place == 2) pixel.b = -INF;
    return pixel;
}

// A column of almost nothing: light under an alpha between the two sides' limits.
Rgba faintAt(int x, int y, int width, int height) {
    Rgba pixel = wallAt(x, y, width, height);
    if (x == width / 2) pixel = {0.7f, 0.7f, 0.7f, 1e-10f};
    return pixel;
}

// Every code around the point where Apple Log's square root ends.
Rgba breakpointAt(int x, int y, int width, int) {
    float code = 0.20855531595464202f;
    const int steps = (x + y * width) % 65 - 32;
    for (int i = 0; i < std::abs(steps); ++i)
        code = std::nextafter(code, steps < 0 ? 0.0f : 1.0f);
    return {code, code, code, 1.0f};
}

// Codes on both sides of code 0, and samples that count as it.
Rgba blackAt(int x, int y, int width, int height) {
    const float code = 0.02f * (static_cast<float>(x) / static_cast<float>(width) - 0.5f);
    Rgba pixel = brokenAt(x, y, width, height);
    for (float* c : {&pixel.r, &pixel.g, &pixel.b})
        *c = std::isfinite(*c) ? code : *c;
    return pixel;
}

// Every eighth column near the largest float: with the flicker's gains at frame 20, red is just below it in AWG4 and
// just above it in the primaries of BMD Film Gen5.
Rgba brightestAt(int x, int y, int width, int height) {
    constexpr float CODE = 8.239327f; // 3.278e38
    return x % 8 == 0 ? Rgba{CODE, CODE, CODE, 1.0f} : wallAt(x, y, width, height);
}

// Red above the largest float from the start.
Rgba tooBrightAt(int x, int y, int width, int height) {
    Rgba pixel = wallAt(x, y, width, height);
    if (x % 8 == 0) pixel.r = 7.862f; // 3.45e38 in ACEScct
    return pixel;
}

// ---- cases ---------------------------------------------------------------------------------------------------------

Settings with(const std::string& space, Settings settings) {
    settings.emplace_back("ioSpace", space);
    return settings;
}

ParityFrame street(const std::string& space, Settings settings) {
    return {streetAt, with(space, std::move(settings))};
}

ParityFrame wall(const std::string& space, Settings settings) {
    return {wallAt, with(space, std::move(settings))};
}

// With a sigma of 6 pixels times `scale`, or more on tall frames.
ParityFrame bloomAt(double scale) {
    ParityFrame frame = street(LIGHT, {{"bloom", "0.7"}});
    frame.renderScale = {scale, scale};
    return frame;
}

ParityFrame premultiplied(ParityFrame frame) {
    frame.premultiplied = true;
    return frame;
}

Settings outputTable(const std::string& cube, const char* domain) {
    return {{"outputLutPath", cube}, {"outputLutDomain", domain}, {"outputLutStrength", "0.75"}};
}

bool isLightLook(const std::string& look) {
    return std::find(std::begin(LIGHT_LOOKS), std::end(LIGHT_LOOKS), look) != std::end(LIGHT_LOOKS);
}

// All looks of a kind, on a picture in `space`.
ParityCase printLooks(const ParityMenus& menus, bool ofLight, const char* space, const char* reason) {
    ParityCase all{std::string("print looks with a table of ") + (ofLight ? "light" : "codes"), {}, reason};
    for (const std::string& look : menus.looks) {
        if (look != "Off" && isLightLook(look) == ofLight)
            all.frames.push_back(street(space, {{"colorIntensity", "0.7"}, {"colorProcess", look}}));
    }
    return all;
}

void addEffects(std::vector<ParityCase>& to, const ParityMenus& menus, const std::string& cube) {
    const ParityFrame cutOut{cutOutAt, with(LIGHT, {{"gateWeave", "0.7"}})};
    to.push_back({"flicker", {street(LIGHT, {{"flicker", "0.7"}})}, ""});
    to.push_back({"detail", {street(CODES, {{"detail", "0.7"}})}, ""});
    to.push_back({"bloom", {bloomAt(1.0), bloomAt(2.0)}, ""});
    to.push_back({"halation", {street(LIGHT, {{"halationIntensity", "0.7"}})}, ""});
    to.push_back({"grain", {street(CODES, {{"grainIntensity", "0.7"}})}, ""});
    to.push_back(printLooks(menus, false, CODES, ""));
    to.push_back(printLooks(menus, true, LIGHT, ""));
    to.push_back({"gate weave, colours and alpha", {cutOut, premultiplied(cutOut)}, WEAVE});
    to.push_back({"black and white", {street(LIGHT, {{"blackWhite", "0.7"}})}, ""});
    to.push_back({"output table on the encoded picture", {street(OTHER, outputTable(cube, "Encoded I/O"))}, ""});
    to.push_back({"output table on LogC4 codes", {street(CODES, outputTable(cube, "LogC4"))}, ""});
}

// Encode and decode with the matrix and a step between them, so that an error of one cannot undo the other's.
void addEncodings(std::vector<ParityCase>& to, const std::vector<std::string>& spaces) {
    for (const std::string& space : spaces)
        to.push_back({"decode and encode", {street(space, {{"blackWhite", "0.3"}})}, ""});
    ParityCase broken{"samples that are no numbers", {}, ""};
    for (const std::string& space : spaces) {
        if (space != CODES) broken.frames.push_back({brokenAt, with(space, {{"blackWhite", "0.3"}})});
    }
    to.push_back(std::move(broken));
}

// A stock's profiles where both compute the same: halation in light; detail, grain and print look in codes.
void addStocks(std::vector<ParityCase>& to, const std::vector<std::string>& stocks) {
    for (const std::string& stock : stocks) {
        const std::pair<std::string, std::string> loaded{"negStock", stock};
        const ParityFrame light =
            street(LIGHT, {loaded, {"flicker", "0.5"}, {"bloom", "0.5"}, {"halationIntensity", "0.5"}});
        const ParityFrame codes =
            street(CODES, {loaded, {"detail", "0.5"}, {"grainIntensity", "0.5"}, {"colorIntensity", "0.5"}});
        to.push_back({"stock " + stock, {light, codes}, ""});
    }
}

// The GPU's own LogC4, wherever it does not cancel.
void addLogC4(std::vector<ParityCase>& to, const ParityMenus& menus, const std::string& cube) {
    const auto other = [](Settings settings) { return std::vector{street(OTHER, std::move(settings))}; };
    to.push_back({"bloom", {street(CODES, {{"bloom", "0.7"}})}, LOGC4_LIGHT});
    to.push_back({"flicker", {street(CODES, {{"flicker", "0.7"}})}, LOGC4_LIGHT});
    to.push_back(printLooks(menus, true, CODES, LOGC4_LIGHT));
    to.push_back({"codes around 0", {{blackAt, with(CODES, {{"blackWhite", "0.3"}})}}, LOGC4_BLACK});
    to.push_back({"detail", other({{"detail", "0.7"}}), LOGC4_CODES});
    to.push_back({"grain", other({{"grainIntensity", "0.7"}}), LOGC4_CODES});
    to.push_back(printLooks(menus, false, OTHER, LOGC4_CODES));
    to.push_back({"output table on LogC4 codes", other(outputTable(cube, "LogC4")), LOGC4_CODES});
}

void addEdges(std::vector<ParityCase>& to) {
    ParityFrame proxy = wall(CODES, {{"grainIntensity", "0.7"}});
    proxy.renderScale = {0.75, 0.75};
    proxy.left = -4000;
    ParityFrame early = street(LIGHT, {{"flicker", "0.7"}});
    early.time = -2.7;
    ParityFrame brightest{brightestAt, with("BMD Film Gen5", {{"flicker", "1"}})};
    brightest.time = 20.0;
    to.push_back({"bloom wider than 16 pixels",
                  {bloomAt(4.0), bloomAt(8.0)},
                  "the variance that halving a plane adds is taken off at every halving on the GPU, for the first one "
                  "only on the CPU: the GPU's glow is narrower, from 670 lines on"});
    to.push_back({"codes around the breakpoint",
                  {{breakpointAt, with("Apple Log", {{"blackWhite", "0.3"}})}},
                  "computed on the GPU (0.208555318703), as published on the CPU (0.208555315955): not a float apart, "
                  "and the curve is continuous there"});
    to.push_back({"alpha of 1e-10, premultiplied",
                  {premultiplied({faintAt, with(LIGHT, {{"bloom", "0.7"}})})},
                  "empty is below an alpha of 1e-8 on the GPU, below 1e-12 on the CPU; the glow of the pixels between "
                  "shows beside them"});
    to.push_back({"light above the largest float, decoded",
                  {{tooBrightAt, with(OTHER, {{"blackWhite", "0.3"}})}},
                  "0 on the GPU, which cleans up between curve and matrix; held by the CPU's double"});
    to.push_back({"light above the largest float, to encode",
                  {brightest},
                  "0 on the GPU, which cleans up between matrix and curve; held by the CPU's double"});
    to.push_back({"grain left of the origin, at scale 0.75",
                  {proxy},
                  "grain cells are counted toward zero on the GPU, downwards on the CPU"});
    to.push_back({"a time before 0, between frames",
                  {early},
                  "the frame is time + 0.5 without its fraction on the GPU, rounded down on the CPU"});
    to.push_back({"gate weave beside a lamp", {street(CODES, {{"gateWeave", "0.7"}})}, WEAVE_LAMP});
}

void addChains(std::vector<ParityCase>& to, const std::vector<std::string>& stocks) {
    for (const std::string& stock : stocks) {
        Settings chain = wholeChain();
        chain.emplace_back("gateWeave", "0");
        chain.emplace_back("negStock", stock);
        to.push_back({"whole chain, " + stock, {street(CODES, chain)}, CHAIN});
    }
    to.push_back({"whole chain with gate weave",
                  {street(CODES, wholeChain())},
                  std::string(CHAIN) + "; the weave's positions in float"});
}

} // namespace

std::string ParityFrame::space() const {
    std::string label = CODES;
    for (const auto& [key, value] : settings) {
        if (key == "ioSpace") label = value;
    }
    return label;
}

std::string ParityCase::space() const {
    std::vector<std::string> all;
    for (const ParityFrame& frame : frames) {
        if (std::find(all.begin(), all.end(), frame.space()) == all.end()) all.push_back(frame.space());
    }
    return all.size() > 2 ? fmt::format("{} others", all.size()) : fmt::format("{}", fmt::join(all, ", "));
}

bool ParityFrame::isLinear() const {
    return space().rfind("Linear/", 0) == 0;
}

ParityCases parityCases(const ParityMenus& menus, const std::string& cube) {
    ParityCases cases;
    addEffects(cases.alike, menus, cube);
    addEncodings(cases.alike, menus.spaces);
    addStocks(cases.alike, menus.stocks);
    addLogC4(cases.deliberate, menus, cube);
    addEdges(cases.deliberate);
    addChains(cases.deliberate, menus.stocks);
    return cases;
}

Settings allOff() {
    Settings settings;
    for (const char* key : AMOUNTS)
        settings.emplace_back(key, "0");
    return settings;
}

Settings wholeChain() {
    Settings settings;
    for (const char* key : AMOUNTS)
        settings.emplace_back(key, "0.5");
    return settings;
}

std::vector<float> pixelsOf(const ParityFrame& frame, int width, int height) {
    const bool linear = frame.isLinear();
    std::vector<float> pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Rgba pixel = frame.picture(x, y, width, height);
            for (const float code : {pixel.r, pixel.g, pixel.b}) {
                const float color = linear ? static_cast<float>(velloid::logc4::decode(code)) : code;
                pixels.push_back(frame.premultiplied ? color * pixel.a : color);
            }
            pixels.push_back(pixel.a);
        }
    }
    return pixels;
}

Rgba streetAt(int x, int y, int width, int height) {
    const float across = static_cast<float>(x) / static_cast<float>(width);
    const float up = static_cast<float>(y) / static_cast<float>(height);
    if (std::hypot(across - 0.3f, up - 0.7f) < 0.02f) return {0.82f, 0.79f, 0.76f, 1.0f};
    const bool neon = up > 0.1f && up < 0.15f && across > 0.5f && across < 0.9f;
    return neon ? Rgba{0.65f, 0.3f, 0.65f, 1.0f} : wallAt(x, y, width, height);
}

std::string parityCube() {
    constexpr int POINTS = 9;
    std::string text = fmt::format("LUT_3D_SIZE {}\n", POINTS);
    const auto at = [](int i) { return static_cast<double>(i) / (POINTS - 1); };
    for (int b = 0; b < POINTS; ++b) {
        for (int g = 0; g < POINTS; ++g) {
            for (int r = 0; r < POINTS; ++r)
                text += fmt::format("{:.6f} {:.6f} {:.6f}\n", 0.05 + 0.9 * at(r), std::pow(at(g), 1.1),
                                    0.8 * at(b) + 0.1 * at(r));
        }
    }
    return text;
}

} // namespace tarnwell
