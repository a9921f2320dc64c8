// Colour arithmetic for judging looks: AWG4, CIELAB, OKLab, CIEDE2000, and a 3D table read tetrahedrally. Deliberately
// shares nothing with the library or with lookgen, so that an error in one is not excused by the same error here.
// Linear light throughout, white point D65, unless a name says otherwise.
#pragma once

#include <array>
#include <cstddef>

namespace lookmeter {

using Vec3 = std::array<double, 3>;

// A table from LogC4 codes to LogC4 codes, packed triples, red index fastest. Does not own the data.
struct Look {
    const float* data;
    int points;

    double at(int r, int g, int b, int channel) const {
        return data[((static_cast<std::size_t>(b) * points + g) * points + r) * 3 + channel];
    }
};

double encodeLogC4(double linear);
double decodeLogC4(double code);

// LogC4 codes in and out; clamped to the table's domain.
Vec3 sampleCodes(const Look& look, const Vec3& codes);
// Linear AWG4 in and out.
Vec3 render(const Look& look, const Vec3& linear);

double luminance(const Vec3& awg4);
Vec3 awg4ToXyz(const Vec3& awg4);
Vec3 xyzToAwg4(const Vec3& xyz);
Vec3 awg4ToRec709(const Vec3& awg4); // linear, not clipped
Vec3 rec709ToAwg4(const Vec3& rec709);

Vec3 labOf(const Vec3& awg4);   // CIELAB, 1 1 1 is white
Vec3 okLabOf(const Vec3& awg4); // OKLab (B. Ottosson, 2020), 1 1 1 is white
Vec3 awg4OfOkLab(const Vec3& okLab);

// Chroma and hue of a lightness, a, b triple; hue in degrees 0 ... 360.
double chromaOf(const Vec3& lab);
double hueOf(const Vec3& lab);
// The shorter way round from one hue to another, -180 ... 180.
double hueDifference(double from, double to);

// Angle of a colour on a Rec.709 vectorscope (Cb to the right, Cr up), degrees, after a pure 1/2.4 power.
double vectorscopeAngle(const Vec3& awg4);

double ciede2000(const Vec3& lab1, const Vec3& lab2);

// ColorChecker Classic, edition after November 2014, CIELAB D50 as published by X-Rite.
struct Patch {
    const char* name;
    Vec3 labD50;
};
extern const std::array<Patch, 24> COLOR_CHECKER; // 18 colours, then white to black
constexpr int DARK_SKIN = 0, LIGHT_SKIN = 1, COLOUR_PATCHES = 18;

// Linear AWG4 of a patch under D65 (Bradford), white = 1.
Vec3 awg4OfPatch(const Patch& patch);

} // namespace lookmeter
