// Spectral arithmetic at 400, 410 ... 720 nm.
//
//   T(w) = 10^-(aC dC(w) + aM dM(w) + aY dY(w))
//   XYZ  = sum of lamp(w) T(w) observer(w), clear film = Y 1; Bradford to D65; then AWG4
//
// Lamp: black body of 5400 K, the colour of a projector's xenon lamp. Observer: CIE 1931 2 degrees in the multi-lobe
// fit of Wyman, Sloan and Shirley, "Simple Analytic Approximations to the CIE XYZ Color Matching Functions", Journal of
// Computer Graphics Techniques 2(2), 2013. AWG4 primaries: ARRI's paper on LogC4, 2022.
#include "tools/lookgen/spectral.h"

#include <cmath>

namespace lookgen {
namespace {

constexpr int FIRST_NM = 400;
constexpr int STEP_NM = 10;
constexpr int WAVELENGTHS = 33;
constexpr double LAMP_KELVIN = 5400.0;
constexpr double DENSITY_STEP = 0.05;
constexpr double DENSITY_MAX = 5.5;

struct Lobe {
    double height, peak, below, above; // widths in nm to either side of the peak
};

double at(const Lobe& lobe, double nm) {
    const double x = (nm - lobe.peak) / (nm < lobe.peak ? lobe.below : lobe.above);
    return lobe.height * std::exp(-0.5 * x * x);
}

// clang-format off
constexpr Lobe OBSERVER_X[] = {{1.056, 599.8, 37.9, 31.0}, {0.362, 442.0, 16.0, 26.7}, {-0.065, 501.1, 20.4, 26.2}};
constexpr Lobe OBSERVER_Y[] = {{0.821, 568.8, 46.9, 40.5}, {0.286, 530.9, 16.3, 31.1}};
constexpr Lobe OBSERVER_Z[] = {{1.217, 437.0, 11.8, 36.0}, {0.681, 459.0, 26.0, 13.8}};

// A dye that absorbs in its own third of the spectrum and nowhere else: cyan, magenta, yellow.
constexpr Lobe CLEAN_DYES[] = {{1, 658, 54, 56}, {1, 545, 38, 31}, {1, 448, 35, 34}};

// A dye as the data sheets show it: the main band, a side band, and a flat rest. Scaled to peak 1 before use.
struct RealDye { Lobe main, side; double flat; };
constexpr RealDye REAL_DYES[][3] = {
    {{{1, 658, 54, 56}, {0.09, 415, 40, 40}, 0.015},    // Kodak: cyan
     {{1, 543, 38, 31}, {0.065, 425, 30, 30}, 0.02},    //        magenta
     {{1, 446, 34, 33}, {0.04, 545, 30, 30}, 0.012}},   //        yellow
    {{{1, 663, 54, 64}, {0.13, 430, 45, 45}, 0.04},     // Fuji: cyan
     {{1, 549, 39, 32}, {0.12, 430, 35, 35}, 0.06},     //       magenta
     {{1, 452, 40, 36}, {0.09, 545, 35, 40}, 0.04}},    //       yellow
};

constexpr Matrix BRADFORD  = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
constexpr Triple AWG4_X    = {0.7347, 0.1424, 0.0991};
constexpr Triple AWG4_Y    = {0.2653, 0.8576, -0.0308};
constexpr double D65_X     = 0.3127;
constexpr double D65_Y     = 0.3290;
// clang-format on

template <int N>
double sum(const Lobe (&lobes)[N], double nm) {
    double total = 0;
    for (const Lobe& lobe : lobes)
        total += at(lobe, nm);
    return total;
}

Triple observerAt(double nm) {
    return {sum(OBSERVER_X, nm), sum(OBSERVER_Y, nm), sum(OBSERVER_Z, nm)};
}

// Planck's law without its constant factor; the sum over the clear film is scaled to 1 afterwards.
double lampAt(double nm) {
    constexpr double SECOND_RADIATION_CONSTANT = 1.438776877e7; // nm K
    return std::pow(nm / 560.0, -5.0) / std::expm1(SECOND_RADIATION_CONSTANT / (nm * LAMP_KELVIN));
}

double realDyeAt(const RealDye& dye, double nm) {
    return at(dye.main, nm) + at(dye.side, nm) + dye.flat;
}

double realDyePeak(const RealDye& dye) {
    double peak = 0;
    for (int i = 0; i < WAVELENGTHS; ++i)
        peak = std::fmax(peak, realDyeAt(dye, FIRST_NM + STEP_NM * i));
    return peak;
}

Triple xyzOf(double x, double y) {
    return {x / y, 1.0, (1.0 - x - y) / y};
}

Matrix awg4ToXyz() {
    Matrix primaries{};
    for (int c = 0; c < 3; ++c) {
        primaries[0][c] = AWG4_X[c];
        primaries[1][c] = AWG4_Y[c];
        primaries[2][c] = 1.0 - AWG4_X[c] - AWG4_Y[c];
    }
    const Triple scale = inverse(primaries) * xyzOf(D65_X, D65_Y);
    for (Triple& row : primaries)
        for (int c = 0; c < 3; ++c)
            row[c] *= scale[c];
    return primaries;
}

// From XYZ under the lamp to AWG4, adapted to D65.
Matrix lampXyzToAwg4(const Triple& lampWhite) {
    const Triple from = BRADFORD * lampWhite;
    const Triple to = BRADFORD * xyzOf(D65_X, D65_Y);
    Matrix scaled = BRADFORD;
    for (int row = 0; row < 3; ++row)
        for (double& element : scaled[row])
            element *= to[row] / from[row];
    return inverse(awg4ToXyz()) * (inverse(BRADFORD) * scaled);
}

} // namespace

PrintDyes::PrintDyes(DyeSet set, double sideAbsorption) : dyes_(WAVELENGTHS), weight_(WAVELENGTHS) {
    const RealDye(&real)[3] = REAL_DYES[static_cast<int>(set)];
    Triple white{};
    for (int i = 0; i < WAVELENGTHS; ++i) {
        const double nm = FIRST_NM + STEP_NM * i;
        for (int d = 0; d < 3; ++d)
            dyes_[i][d] = (1.0 - sideAbsorption) * at(CLEAN_DYES[d], nm) +
                          sideAbsorption * realDyeAt(real[d], nm) / realDyePeak(real[d]);
        weight_[i] = observerAt(nm);
        for (int c = 0; c < 3; ++c)
            white[c] += weight_[i][c] *= lampAt(nm);
    }
    const Triple lampWhite = {white[0] / white[1], 1.0, white[2] / white[1]};
    const Matrix toAwg4 = lampXyzToAwg4(lampWhite);
    for (Triple& w : weight_)
        w = toAwg4 * Triple{w[0] / white[1], w[1] / white[1], w[2] / white[1]};

    Triple guess{};
    for (int k = -1; k * DENSITY_STEP <= DENSITY_MAX + 1.5 * DENSITY_STEP; ++k)
        amounts_.push_back(guess = solveNeutral(k * DENSITY_STEP, guess));
}

Triple PrintDyes::lightThroughAmounts(const Triple& amounts) const {
    constexpr double LN10 = 2.302585092994045684;
    Triple light{};
    for (int i = 0; i < WAVELENGTHS; ++i) {
        const Triple& dye = dyes_[i];
        const double transmission = std::exp(-LN10 * (amounts[0] * dye[0] + amounts[1] * dye[1] + amounts[2] * dye[2]));
        for (int c = 0; c < 3; ++c)
            light[c] += transmission * weight_[i][c];
    }
    return light;
}

// Newton in log light, where the problem is nearly linear: from the neighbour's answer four steps reach the last bits.
Triple PrintDyes::solveNeutral(double density, Triple amounts) const {
    constexpr double H = 1e-5;
    const auto error = [&](const Triple& a) {
        const Triple light = lightThroughAmounts(a);
        return Triple{-std::log10(light[0]) - density, -std::log10(light[1]) - density,
                      -std::log10(light[2]) - density};
    };
    for (int step = 0; step < 12; ++step) {
        const Triple here = error(amounts);
        Matrix slope{};
        for (int d = 0; d < 3; ++d) {
            Triple moved = amounts;
            moved[d] += H;
            const Triple there = error(moved);
            for (int c = 0; c < 3; ++c)
                slope[c][d] = (there[c] - here[c]) / H;
        }
        const Triple change = inverse(slope) * here;
        for (int d = 0; d < 3; ++d)
            amounts[d] -= change[d];
    }
    return amounts;
}

// Cubic through the four neighbours (Catmull-Rom); beyond the ends the outermost cubic goes on.
double PrintDyes::amountOf(int dye, double neutralDensity) const {
    const double position = neutralDensity / DENSITY_STEP + 1.0;
    const int last = static_cast<int>(amounts_.size()) - 3;
    const int i = position < 1.0 ? 1 : position > last ? last : static_cast<int>(position);
    const double t = position - i;
    const double a = amounts_[i - 1][dye], b = amounts_[i][dye], c = amounts_[i + 1][dye], d = amounts_[i + 2][dye];
    return b + 0.5 * t * (c - a + t * (2 * a - 5 * b + 4 * c - d + t * (3 * (b - c) + d - a)));
}

Triple PrintDyes::lightThrough(const Triple& p) const {
    return lightThroughAmounts({amountOf(0, p[0]), amountOf(1, p[1]), amountOf(2, p[2])});
}

} // namespace lookgen
