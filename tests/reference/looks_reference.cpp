#include "tests/reference/looks_reference.h"

#include "tests/reference/lut_reference.h"
#include "tests/reference/transfer_reference.h"

#include <cmath>
#include <cstddef>

namespace tarnwell::reference {

namespace {

constexpr int LOGC4 = 0; // its place among the encodings

double logc4Encode(double x) {
    return transferEncode(x, LOGC4);
}

double logc4Decode(double v) {
    return transferDecode(v, LOGC4);
}

double softplus(double x) {
    return std::log1p(std::exp(x));
}

double blended(double v, double o, double s) {
    return std::fma(o - v, s, v);
}

} // namespace

// clang-format off
const double PREMIERE_FILM[38] = {
    0.56, 0.57, 0.58,
    0.018, 0.03, 0.04,
    0.7,
    0.12,
    1.0, 0.04, 0.01,
    0.05, 1.0, 0.05,
    0.02, 0.09, 1.0,
    2.65, 2.6, 2.55,
    0.05, 0.052, 0.062,
    4.0, 3.9, 3.78,
    0.82,
    0.0, 0.0, 0.0,
    0.18,
    0.45,
    1.0, 1.0, 1.0,
    0.0, 0.0, 0.0,
};

const double CORVEX_STANDARD_FILM[38] = {
    0.56, 0.57, 0.58,
    0.018, 0.03, 0.04,
    0.7,
    0.12,
    1.0, 0.2776, -0.1981,
    -0.009, 1.0, 0.0035,
    -0.3415, 0.1325, 1.0,
    2.0304, 1.9817, 1.7525,
    0.0623, 0.1378, 0.0857,
    4.0, 3.9, 3.78,
    2.3484,
    0.0821, 0.0391, 0.0953,
    0.1173,
    0.8934,
    29.6269, 25.7239, 28.777,
    0.0009, 0.0055, 0.0,
};

const double CORVEX_A35_FILM[38] = {
    0.56, 0.57, 0.58,
    0.087366, 0.046044, 0.0,
    0.7,
    0.12,
    1.0, 0.187198, -0.054464,
    0.017549, 1.0, 0.054849,
    -0.137287, 0.124012, 1.0,
    2.207375, 2.138711, 1.98068,
    0.03, 0.097576, 0.211365,
    4.05703, 3.965407, 3.813778,
    2.3484,
    0.001503, 0.038916, 0.042147,
    0.119954,
    1.015287,
    26.157705, 25.219968, 26.003865,
    0.002995, 0.004889, 0.001904,
};
// clang-format on

velloid::RGB evalFilmLook(double r, double g, double b, const velloid::FilmLookParams& fp) {
    const double v[3] = {r, g, b};
    double D[3];
    for (int c = 0; c < 3; ++c) {
        const double x = std::log10((v[c] > 1e-6 ? v[c] : 1e-6) / 0.18);
        D[c] = fp.negBase[c] + fp.negSoft * softplus((fp.negGamma[c] * x + fp.negOffset - fp.negBase[c]) / fp.negSoft);
    }
    const double* k = fp.crosstalk;
    const double mixed[3] = {(k[0] * D[0] + k[1] * D[1] + k[2] * D[2]) / (k[0] + k[1] + k[2]),
                             (k[3] * D[0] + k[4] * D[1] + k[5] * D[2]) / (k[3] + k[4] + k[5]),
                             (k[6] * D[0] + k[7] * D[1] + k[8] * D[2]) / (k[6] + k[7] + k[8])};
    float out[3];
    for (int c = 0; c < 3; ++c) {
        const double u =
            (fp.printOffset + fp.printerLights[c] - fp.printDmin[c]) / fp.printGamma[c] - (mixed[c] - fp.negOffset);
        const double t = fp.printToeSoft * softplus(fp.printGamma[c] * u / fp.printToeSoft);
        const double P =
            fp.printDmin[c] + t -
            fp.printShoulderSoft * softplus((t - (fp.printDmax[c] - fp.printDmin[c])) / fp.printShoulderSoft);
        out[c] = static_cast<float>(fp.outGain[c] * std::pow(10.0, -(P - 0.052)) + fp.outLift[c]);
    }
    return {out[0], out[1], out[2]};
}

velloid::RGB evalPrintAnalytic(double r, double g, double b, const velloid::PrintProfile& pp) {
    double Y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    if (!(Y > 1e-9)) Y = 1e-9;
    double exposed = Y * pp.exposure;
    if (!(exposed > 1e-9)) exposed = 1e-9;
    double T = 0.18 * std::pow(exposed / 0.18, pp.contrast);
    if (pp.toe > 0.0) {
        T = T + pp.toe * (1.0 - std::exp(-T / 0.055));
    } else if (pp.toe < 0.0) {
        T = T * (1.0 + pp.toe * std::exp(-T / 0.11));
    }
    if (pp.shoulder > 0.0 && T > 0.72) {
        const double d = T - 0.72;
        T = d / (1.0 + pp.shoulder * d) + 0.72;
    }
    const double k = T / Y;
    const double R = k * r, G = k * g, Bl = k * b;
    const double Y2 = 0.2126 * R + 0.7152 * G + 0.0722 * Bl;
    double u = (Y2 - 0.18) / 0.97;
    u = std::isfinite(u) ? (u < 0.0 ? 0.0 : u > 1.0 ? 1.0 : u) : (u > 0.0 ? 1.0 : 0.0);
    const double s = u * u * (3.0 - 2.0 * u);
    const double L = std::exp(-(Y2 > 0.0 ? Y2 : 0.0) / 0.23);
    return {static_cast<float>((Y2 + (R - Y2) * pp.saturation) * (1.0 + pp.warmth * s - 0.18 * pp.shadowTint * L)),
            static_cast<float>((Y2 + (G - Y2) * pp.saturation) * (1.0 + pp.greenBias + 0.05 * pp.shadowTint * L)),
            static_cast<float>((Y2 + (Bl - Y2) * pp.saturation) * (1.0 - 0.42 * pp.warmth * s + pp.shadowTint * L))};
}

void applyPrintLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength, const velloid::LUT3D& lut) {
    const double s = std::isfinite(strength) ? (strength < 0.0   ? 0.0
                                                : strength > 1.0 ? 1.0
                                                                 : strength)
                                             : (strength > 0.0 ? 1.0 : 0.0);
    for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
        if (lut.logDomain) {
            const double r = logc4Encode(R[i]), g = logc4Encode(G[i]), b = logc4Encode(B[i]);
            const velloid::RGB o = sampleLut(lut, r, g, b);
            R[i] = static_cast<float>(logc4Decode(blended(r, o.r, s)));
            G[i] = static_cast<float>(logc4Decode(blended(g, o.g, s)));
            B[i] = static_cast<float>(logc4Decode(blended(b, o.b, s)));
        } else {
            const velloid::RGB o = sampleLut(lut, R[i], G[i], B[i]);
            R[i] = static_cast<float>(blended(R[i], o.r, s));
            G[i] = static_cast<float>(blended(G[i], o.g, s));
            B[i] = static_cast<float>(blended(B[i], o.b, s));
        }
    }
}

} // namespace tarnwell::reference
