#include "tests/reference/looks_reference.h"

#include <cmath>
#include <cstddef>

#include "tests/reference/lut_reference.h"

namespace reference {

namespace {

constexpr double A = 262128.0 / 117.45;
constexpr double B = 928.0 / 1023.0;
constexpr double C = 95.0 / 1023.0;

double slope() { return 7.0 * std::log(2.0) * std::pow(2.0, 7.0 - 14.0 * C / B) / (A * B); }
double offset() { return (std::pow(2.0, 6.0 - 14.0 * C / B) - 64.0) / A; }

double softplus(double x) { return std::log1p(std::exp(x)); }

double blended(double v, double o, double s) { return std::fma(o - v, s, v); }

} // namespace

double logc4Encode(double x) {
    if (x >= offset()) return (std::log2(A * x + 64.0) - 6.0) / 14.0 * B + C;
    return (x - offset()) / slope();
}

double logc4Decode(double v) {
    if (v >= 0.0) return (std::pow(2.0, 14.0 * (v - C) / B + 6.0) - 64.0) / A;
    return v * slope() + offset();
}

velloid::RGB evalFilmLook(double r, double g, double b, const velloid::FilmLookParams& fp) {
    const double v[3] = {r, g, b};
    double D[3];
    for (int c = 0; c < 3; ++c) {
        const double x = std::log10((v[c] > 1e-6 ? v[c] : 1e-6) / 0.18);
        D[c] = fp.negBase[c] +
               fp.negSoft * softplus((fp.negGamma[c] * x + fp.negOffset - fp.negBase[c]) / fp.negSoft);
    }
    const double* k = fp.crosstalk;
    const double mixed[3] = {(k[0] * D[0] + k[1] * D[1] + k[2] * D[2]) / (k[0] + k[1] + k[2]),
                             (k[3] * D[0] + k[4] * D[1] + k[5] * D[2]) / (k[3] + k[4] + k[5]),
                             (k[6] * D[0] + k[7] * D[1] + k[8] * D[2]) / (k[6] + k[7] + k[8])};
    float out[3];
    for (int c = 0; c < 3; ++c) {
        const double u = (fp.printOffset + fp.printerLights[c] - fp.printDmin[c]) / fp.printGamma[c] -
                         (mixed[c] - fp.negOffset);
        const double t = fp.printToeSoft * softplus(fp.printGamma[c] * u / fp.printToeSoft);
        const double P = fp.printDmin[c] + t -
                         fp.printShoulderSoft *
                             softplus((t - (fp.printDmax[c] - fp.printDmin[c])) / fp.printShoulderSoft);
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
    const double s = std::isfinite(strength) ? (strength < 0.0 ? 0.0 : strength > 1.0 ? 1.0 : strength)
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

} // namespace reference
