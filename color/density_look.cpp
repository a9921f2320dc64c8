#include "color/density_look.h"

#include "color/colorspace.h"
#include "color/lattice.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velloid {

// House values.
// clang-format off
const FilmLookParams PREMIERE_FILM = {
    {0.56, 0.57, 0.58}, {0.018, 0.03, 0.04}, 0.7, 0.12, // negative: gamma, base, offset, softness
    { 1.0,       0.04,      0.01,
      0.05,      1.0,       0.05,
      0.02,      0.09,      1.0},
    {2.65, 2.6, 2.55}, {0.05, 0.052, 0.062}, {4.0, 3.9, 3.78}, // print: gamma, Dmin, Dmax
    0.82, {0.0, 0.0, 0.0}, 0.18, 0.45,                         // print: offset, lights, toe, shoulder
    {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0},                          // screen: gain, lift
};

const FilmLookParams CORVEX_STANDARD_FILM = {
    {0.56, 0.57, 0.58}, {0.018, 0.03, 0.04}, 0.7, 0.12,
    { 1.0,       0.2776,   -0.1981,
     -0.009,     1.0,       0.0035,
     -0.3415,    0.1325,    1.0},
    {2.0304, 1.9817, 1.7525}, {0.0623, 0.1378, 0.0857}, {4.0, 3.9, 3.78},
    2.3484, {0.0821, 0.0391, 0.0953}, 0.1173, 0.8934,
    {29.6269, 25.7239, 28.777}, {0.0009, 0.0055, 0.0},
};

const FilmLookParams CORVEX_A35_FILM = {
    {0.56, 0.57, 0.58}, {0.087366, 0.046044, 0.0}, 0.7, 0.12,
    { 1.0,       0.187198, -0.054464,
      0.017549,  1.0,       0.054849,
     -0.137287,  0.124012,  1.0},
    {2.207375, 2.138711, 1.98068}, {0.03, 0.097576, 0.211365}, {4.05703, 3.965407, 3.813778},
    2.3484, {0.001503, 0.038916, 0.042147}, 0.119954, 1.015287,
    {26.157705, 25.219968, 26.003865}, {0.002995, 0.004889, 0.001904},
};
// clang-format on

namespace {

constexpr double GREY = 0.18;
constexpr double DARKEST = 1e-6;             // light below this counts as this
constexpr double PROJECTION_DENSITY = 0.052; // a print of this density sends the screen light 1

double softplus(double x) {
    return std::log1p(std::exp(x));
}

double negativeDensity(double light, const FilmLookParams& fp, int c) {
    const double exposure = std::log10(std::max(light, DARKEST) / GREY);
    const double above = fp.negGamma[c] * exposure + fp.negOffset - fp.negBase[c];
    return fp.negBase[c] + fp.negSoft * softplus(above / fp.negSoft);
}

double mixedDensity(const double (&d)[3], const double* row) {
    return (row[0] * d[0] + row[1] * d[1] + row[2] * d[2]) / (row[0] + row[1] + row[2]);
}

double printDensity(double negative, const FilmLookParams& fp, int c) {
    const double exposure = (fp.printOffset + fp.printerLights[c] - fp.printDmin[c]) / fp.printGamma[c];
    const double u = exposure - (negative - fp.negOffset);
    const double toe = fp.printToeSoft * softplus(fp.printGamma[c] * u / fp.printToeSoft);
    const double over = toe - (fp.printDmax[c] - fp.printDmin[c]);
    return fp.printDmin[c] + toe - fp.printShoulderSoft * softplus(over / fp.printShoulderSoft);
}

float screenLight(double density, const FilmLookParams& fp, int c) {
    return static_cast<float>(fp.outGain[c] * std::pow(10.0, -(density - PROJECTION_DENSITY)) + fp.outLift[c]);
}

} // namespace

RGB evalFilmLook(double r, double g, double b, const FilmLookParams& fp) {
    const double negative[3] = {negativeDensity(r, fp, 0), negativeDensity(g, fp, 1), negativeDensity(b, fp, 2)};
    float out[3];
    for (int c = 0; c < 3; ++c) {
        out[c] = screenLight(printDensity(mixedDensity(negative, fp.crosstalk + 3 * c), fp, c), fp, c);
    }
    return {out[0], out[1], out[2]};
}

void buildFilmLookLut(LUT3D& out, const FilmLookParams& fp, int size) {
    const auto light = [](double code) { return std::max(logc4::decode(code), 0.0); };
    const auto code = [](float v) { return static_cast<float>(logc4::encode(std::max(v, 0.f))); };
    fillLattice(out, size, [&](double r, double g, double b) {
        const RGB o = evalFilmLook(light(r), light(g), light(b), fp);
        return RGB{code(o.r), code(o.g), code(o.b)};
    });
    out.logDomain = true;
}

} // namespace velloid
