// Sources: LogC4 and AWG4: ARRI's paper on the LogC4 logarithmic colour space, 2022; Rec.709: ITU-R BT.709;
// CIEDE2000: G. Sharma, W. Wu, E. N. Dalal, Color Research and Application 30(1), 2005; OKLab: B. Ottosson, "A
// perceptual color space for image processing", 2020; ColorChecker: X-Rite, values of charts made after November 2014.
#include "tools/lookmeter/colour.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace lookmeter {
namespace {

using Mat3 = std::array<Vec3, 3>;
constexpr double PI = std::numbers::pi;

Vec3 apply(const Mat3& m, const Vec3& v) {
    Vec3 out{};
    for (int i = 0; i < 3; ++i)
        out[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    return out;
}

Mat3 product(const Mat3& a, const Mat3& b) {
    Mat3 out{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                out[i][j] += a[i][k] * b[k][j];
    return out;
}

// Gauss-Jordan with row exchange.
Mat3 inverted(Mat3 m) {
    Mat3 out = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int col = 0; col < 3; ++col) {
        int pivot = col;
        for (int row = col + 1; row < 3; ++row)
            if (std::abs(m[row][col]) > std::abs(m[pivot][col])) pivot = row;
        std::swap(m[col], m[pivot]);
        std::swap(out[col], out[pivot]);
        const double scale = 1.0 / m[col][col];
        for (int k = 0; k < 3; ++k)
            m[col][k] *= scale, out[col][k] *= scale;
        for (int row = 0; row < 3; ++row) {
            const double factor = row == col ? 0.0 : m[row][col];
            for (int k = 0; k < 3; ++k)
                m[row][k] -= factor * m[col][k], out[row][k] -= factor * out[col][k];
        }
    }
    return out;
}

constexpr Vec3 D65 = {0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290};
constexpr Vec3 D50 = {0.9642, 1.0, 0.8251};
constexpr Mat3 BRADFORD = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Mat3 rgbToXyz(const std::array<std::array<double, 2>, 3>& primaries) {
    Mat3 columns{};
    for (int c = 0; c < 3; ++c) {
        const auto [x, y] = primaries[c];
        columns[0][c] = x;
        columns[1][c] = y;
        columns[2][c] = 1.0 - x - y;
    }
    const Vec3 level = apply(inverted(columns), D65);
    for (Vec3& row : columns)
        for (int c = 0; c < 3; ++c)
            row[c] *= level[c];
    return columns;
}

const Mat3 AWG4_TO_XYZ = rgbToXyz({{{0.7347, 0.2653}, {0.1424, 0.8576}, {0.0991, -0.0308}}});
const Mat3 XYZ_TO_AWG4 = inverted(AWG4_TO_XYZ);
const Mat3 REC709_TO_XYZ = rgbToXyz({{{0.640, 0.330}, {0.300, 0.600}, {0.150, 0.060}}});
const Mat3 REC709_TO_AWG4 = product(XYZ_TO_AWG4, REC709_TO_XYZ);
const Mat3 AWG4_TO_REC709 = inverted(REC709_TO_AWG4);

constexpr Mat3 XYZ_TO_CONES = {{{0.8189330101, 0.3618667424, -0.1288597137},
                                {0.0329845436, 0.9293118715, 0.0361456387},
                                {0.0482003018, 0.2643662691, 0.6338517070}}};
constexpr Mat3 CONES_TO_OKLAB = {{{0.2104542553, 0.7936177850, -0.0040720468},
                                  {1.9779984951, -2.4285922050, 0.4505937099},
                                  {0.0259040371, 0.7827717662, -0.8086757660}}};
const Mat3 CONES_TO_XYZ = inverted(XYZ_TO_CONES);
const Mat3 OKLAB_TO_CONES = inverted(CONES_TO_OKLAB);

constexpr double LAB_EPSILON = 216.0 / 24389.0;
constexpr double LAB_KAPPA = 24389.0 / 27.0;

double labCurve(double t) {
    return t > LAB_EPSILON ? std::cbrt(t) : (LAB_KAPPA * t + 16.0) / 116.0;
}

double labCurveInverse(double f) {
    const double cube = f * f * f;
    return cube > LAB_EPSILON ? cube : (116.0 * f - 16.0) / LAB_KAPPA;
}

Vec3 xyzOfLab(const Vec3& lab, const Vec3& white) {
    const double fy = (lab[0] + 16.0) / 116.0;
    return {white[0] * labCurveInverse(fy + lab[1] / 500.0), white[1] * labCurveInverse(fy),
            white[2] * labCurveInverse(fy - lab[2] / 200.0)};
}

Vec3 adapted(const Vec3& xyz, const Vec3& from, const Vec3& to) {
    const Vec3 fromCones = apply(BRADFORD, from), toCones = apply(BRADFORD, to);
    Vec3 cones = apply(BRADFORD, xyz);
    for (int i = 0; i < 3; ++i)
        cones[i] *= toCones[i] / fromCones[i];
    return apply(inverted(BRADFORD), cones);
}

const double LOGC4_A = (262144.0 - 16.0) / 117.45;
constexpr double LOGC4_B = 928.0 / 1023.0;
constexpr double LOGC4_C = 95.0 / 1023.0;
const double LOGC4_ZERO_LIGHT = (std::pow(2.0, 6.0 - 14.0 * LOGC4_C / LOGC4_B) - 64.0) / LOGC4_A;
const double LOGC4_SLOPE = 7.0 * std::log(2.0) * std::pow(2.0, 7.0 - 14.0 * LOGC4_C / LOGC4_B) / (LOGC4_A * LOGC4_B);

} // namespace

double encodeLogC4(double x) {
    if (x < LOGC4_ZERO_LIGHT) return (x - LOGC4_ZERO_LIGHT) / LOGC4_SLOPE;
    return (std::log2(LOGC4_A * x + 64.0) - 6.0) / 14.0 * LOGC4_B + LOGC4_C;
}

double decodeLogC4(double code) {
    if (code < 0.0) return code * LOGC4_SLOPE + LOGC4_ZERO_LIGHT;
    return (std::pow(2.0, 14.0 * (code - LOGC4_C) / LOGC4_B + 6.0) - 64.0) / LOGC4_A;
}

// From the cell's dark corner to its bright one along the axes, largest fraction first: the three edges of the
// tetrahedron that holds the point.
Vec3 sampleCodes(const Look& look, const Vec3& codes) {
    std::array<int, 3> corner{};
    Vec3 fraction{};
    for (int axis = 0; axis < 3; ++axis) {
        const double position = std::clamp(codes[axis], 0.0, 1.0) * (look.points - 1);
        corner[axis] = std::min(static_cast<int>(position), look.points - 2);
        fraction[axis] = position - corner[axis];
    }
    std::array<int, 3> order = {0, 1, 2};
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return fraction[a] > fraction[b]; });

    Vec3 out{};
    double rest = 1.0;
    for (int step = 0; step <= 3; ++step) {
        const double next = step < 3 ? fraction[order[step]] : 0.0;
        for (int c = 0; c < 3; ++c)
            out[c] += (rest - next) * look.at(corner[0], corner[1], corner[2], c);
        rest = next;
        if (step < 3) ++corner[order[step]];
        if (rest == 0.0) break; // the corners beyond have no weight
    }
    return out;
}

Vec3 render(const Look& look, const Vec3& linear) {
    Vec3 codes = sampleCodes(look, {encodeLogC4(linear[0]), encodeLogC4(linear[1]), encodeLogC4(linear[2])});
    for (double& c : codes)
        c = decodeLogC4(c);
    return codes;
}

double luminance(const Vec3& awg4) {
    return apply(AWG4_TO_XYZ, awg4)[1];
}
Vec3 awg4ToXyz(const Vec3& awg4) {
    return apply(AWG4_TO_XYZ, awg4);
}
Vec3 xyzToAwg4(const Vec3& xyz) {
    return apply(XYZ_TO_AWG4, xyz);
}
Vec3 awg4ToRec709(const Vec3& awg4) {
    return apply(AWG4_TO_REC709, awg4);
}
Vec3 rec709ToAwg4(const Vec3& rec709) {
    return apply(REC709_TO_AWG4, rec709);
}

Vec3 labOf(const Vec3& awg4) {
    const Vec3 xyz = apply(AWG4_TO_XYZ, awg4);
    const double x = labCurve(xyz[0] / D65[0]), y = labCurve(xyz[1] / D65[1]), z = labCurve(xyz[2] / D65[2]);
    return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}

Vec3 okLabOf(const Vec3& awg4) {
    Vec3 cones = apply(XYZ_TO_CONES, apply(AWG4_TO_XYZ, awg4));
    for (double& cone : cones)
        cone = std::cbrt(cone);
    return apply(CONES_TO_OKLAB, cones);
}

Vec3 awg4OfOkLab(const Vec3& okLab) {
    Vec3 cones = apply(OKLAB_TO_CONES, okLab);
    for (double& cone : cones)
        cone = cone * cone * cone;
    return apply(XYZ_TO_AWG4, apply(CONES_TO_XYZ, cones));
}

double chromaOf(const Vec3& lab) {
    return std::hypot(lab[1], lab[2]);
}

double hueOf(const Vec3& lab) {
    const double degrees = std::atan2(lab[2], lab[1]) * 180.0 / PI;
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

double hueDifference(double from, double to) {
    return std::remainder(to - from, 360.0);
}

double vectorscopeAngle(const Vec3& awg4) {
    Vec3 signal = apply(AWG4_TO_REC709, awg4);
    for (double& s : signal)
        s = std::copysign(std::pow(std::abs(s), 1.0 / 2.4), s);
    const double luma = 0.2126 * signal[0] + 0.7152 * signal[1] + 0.0722 * signal[2];
    const double cb = (signal[2] - luma) / 1.8556, cr = (signal[0] - luma) / 1.5748;
    const double degrees = std::atan2(cr, cb) * 180.0 / PI;
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

double ciede2000(const Vec3& lab1, const Vec3& lab2) {
    const auto sind = [](double d) { return std::sin(d * PI / 180.0); };
    const auto cosd = [](double d) { return std::cos(d * PI / 180.0); };
    const auto pull = [](double c) { return std::sqrt(std::pow(c, 7.0) / (std::pow(c, 7.0) + std::pow(25.0, 7.0))); };

    const double g = 0.5 * (1.0 - pull(0.5 * (chromaOf(lab1) + chromaOf(lab2))));
    const Vec3 one = {lab1[0], lab1[1] * (1.0 + g), lab1[2]}, two = {lab2[0], lab2[1] * (1.0 + g), lab2[2]};
    const double c1 = chromaOf(one), c2 = chromaOf(two), h1 = hueOf(one), h2 = hueOf(two);
    const bool grey = c1 * c2 == 0.0;
    double dh = grey ? 0.0 : h2 - h1;
    if (dh > 180.0) dh -= 360.0;
    if (dh < -180.0) dh += 360.0;
    const double dL = two[0] - one[0], dC = c2 - c1, dH = 2.0 * std::sqrt(c1 * c2) * sind(dh / 2.0);

    const double meanL = 0.5 * (one[0] + two[0]), meanC = 0.5 * (c1 + c2);
    double meanH = grey ? h1 + h2 : 0.5 * (h1 + h2);
    if (!grey && std::abs(h1 - h2) > 180.0) meanH += h1 + h2 < 360.0 ? 180.0 : -180.0;
    const double t = 1.0 - 0.17 * cosd(meanH - 30.0) + 0.24 * cosd(2.0 * meanH) + 0.32 * cosd(3.0 * meanH + 6.0) -
                     0.20 * cosd(4.0 * meanH - 63.0);
    const double fromMiddle = (meanL - 50.0) * (meanL - 50.0);
    const double sL = 1.0 + 0.015 * fromMiddle / std::sqrt(20.0 + fromMiddle);
    const double sC = 1.0 + 0.045 * meanC, sH = 1.0 + 0.015 * meanC * t;
    const double turn = 30.0 * std::exp(-std::pow((meanH - 275.0) / 25.0, 2.0));
    const double rT = -sind(2.0 * turn) * 2.0 * pull(meanC);
    const double l = dL / sL, c = dC / sC, h = dH / sH;
    return std::sqrt(l * l + c * c + h * h + rT * c * h);
}

// clang-format off
const std::array<Patch, 24> COLOR_CHECKER = {{
    {"dark skin",     {37.54,  14.37,  14.92}},
    {"light skin",    {64.66,  19.27,  17.50}},
    {"blue sky",      {49.32,  -3.82, -22.54}},
    {"foliage",       {43.46, -12.74,  22.72}},
    {"blue flower",   {54.94,   9.61, -24.79}},
    {"bluish green",  {70.48, -32.26,  -0.37}},
    {"orange",        {62.73,  35.83,  56.50}},
    {"purplish blue", {39.43,  10.75, -45.17}},
    {"moderate red",  {50.57,  48.64,  16.67}},
    {"purple",        {30.10,  22.54, -20.87}},
    {"yellow green",  {71.77, -24.13,  58.19}},
    {"orange yellow", {71.51,  18.24,  67.37}},
    {"blue",          {28.37,  15.42, -49.80}},
    {"green",         {54.38, -39.72,  32.27}},
    {"red",           {42.43,  51.05,  28.62}},
    {"yellow",        {81.80,   2.67,  80.41}},
    {"magenta",       {50.63,  51.28, -14.12}},
    {"cyan",          {49.57, -29.71, -28.32}},
    {"white",         {95.19,  -1.03,   2.93}},
    {"neutral 8",     {81.29,  -0.57,   0.44}},
    {"neutral 6.5",   {66.89,  -0.75,  -0.06}},
    {"neutral 5",     {50.76,  -0.13,   0.14}},
    {"neutral 3.5",   {35.63,  -0.46,  -0.48}},
    {"black",         {20.64,   0.07,  -0.46}},
}};
// clang-format on

Vec3 awg4OfPatch(const Patch& patch) {
    return xyzToAwg4(adapted(xyzOfLab(patch.labD50, D50), D50, D65));
}

} // namespace lookmeter
