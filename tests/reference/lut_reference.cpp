#include "tests/reference/lut_reference.h"

#include <cmath>
#include <cstddef>

namespace reference {

namespace {

double normalised(double v, float low, float high) {
    double t = 0.0;
    if (std::isfinite(low) && std::isfinite(high) && high > low) {
        t = (v - static_cast<double>(low)) / (static_cast<double>(high) - static_cast<double>(low));
    }
    if (!std::isfinite(t)) return t > 0.0 ? 1.0 : 0.0;
    if (t < 0.0) return 0.0;
    if (t > 1.0) return 1.0;
    return t;
}

float channel(const velloid::RGB& entry, int c) { return c == 0 ? entry.r : c == 1 ? entry.g : entry.b; }

float term(double fraction, float difference) { return static_cast<float>(fraction * static_cast<double>(difference)); }

} // namespace

velloid::RGB sampleLut(const velloid::LUT3D& lut, double r, double g, double b) {
    const int N = lut.size;
    const double f[3] = {normalised(r, lut.domainMin.r, lut.domainMax.r) * (N - 1),
                         normalised(g, lut.domainMin.g, lut.domainMax.g) * (N - 1),
                         normalised(b, lut.domainMin.b, lut.domainMax.b) * (N - 1)};
    int i[3];
    for (int axis = 0; axis < 3; ++axis) {
        i[axis] = static_cast<int>(std::floor(f[axis]));
        if (i[axis] < 0) i[axis] = 0;
        if (i[axis] > N - 2) i[axis] = N - 2;
    }
    const double fr = f[0] - i[0], fg = f[1] - i[1], fb = f[2] - i[2];
    float out[3];
    for (int c = 0; c < 3; ++c) {
        float v[2][2][2];
        for (int dr = 0; dr < 2; ++dr)
            for (int dg = 0; dg < 2; ++dg)
                for (int db = 0; db < 2; ++db) {
                    const std::size_t at = (static_cast<std::size_t>(i[2] + db) * N + (i[1] + dg)) * N + (i[0] + dr);
                    v[dr][dg][db] = channel(lut.data[at], c);
                }
        const float c000 = v[0][0][0], c100 = v[1][0][0], c010 = v[0][1][0], c001 = v[0][0][1];
        const float c110 = v[1][1][0], c101 = v[1][0][1], c011 = v[0][1][1], c111 = v[1][1][1];
        float sum = c000;
        if (fr >= fg && fg >= fb) {
            sum = sum + term(fr, c100 - c000);
            sum = sum + term(fg, c110 - c100);
            sum = sum + term(fb, c111 - c110);
        } else if (fr >= fb && fb > fg) {
            sum = sum + term(fr, c100 - c000);
            sum = sum + term(fg, c111 - c101);
            sum = sum + term(fb, c101 - c100);
        } else if (fb > fr && fr >= fg) {
            sum = sum + term(fr, c101 - c001);
            sum = sum + term(fg, c111 - c101);
            sum = sum + term(fb, c001 - c000);
        } else if (fg > fr && fr >= fb) {
            sum = sum + term(fr, c110 - c010);
            sum = sum + term(fg, c010 - c000);
            sum = sum + term(fb, c111 - c110);
        } else if (fg >= fb && fb > fr) {
            sum = sum + term(fr, c111 - c011);
            sum = sum + term(fg, c010 - c000);
            sum = sum + term(fb, c011 - c010);
        } else {
            sum = sum + term(fr, c111 - c011);
            sum = sum + term(fg, c011 - c001);
            sum = sum + term(fb, c001 - c000);
        }
        out[c] = sum;
    }
    return {out[0], out[1], out[2]};
}

void applyCubeLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                  double strength, const velloid::LUT3D& lut) {
    if (strength <= 0.0 || lut.size < 2) return;
    for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
        const velloid::RGB o = sampleLut(lut, R[i], G[i], B[i]);
        R[i] = static_cast<float>(std::fma(static_cast<double>(o.r) - R[i], strength, static_cast<double>(R[i])));
        G[i] = static_cast<float>(std::fma(static_cast<double>(o.g) - G[i], strength, static_cast<double>(G[i])));
        B[i] = static_cast<float>(std::fma(static_cast<double>(o.b) - B[i], strength, static_cast<double>(B[i])));
    }
}

} // namespace reference
