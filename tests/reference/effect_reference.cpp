#include "tests/reference/effect_reference.h"

#include "tests/reference/blur_reference.h"
#include "tests/reference/transfer_reference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarnwell::reference {

namespace {

constexpr int LOGC4 = 0; // the space of that curve

void haloChannel(Plane& c, int w, int h, double scaleX, double scaleY, const velloid::HalationProfile& p, double gain) {
    Plane src(c.size());
    for (std::size_t i = 0; i < c.size(); ++i)
        src[i] = static_cast<float>(std::max(0.0, c[i] - p.knee));
    Plane b1 = src;
    Plane b2 = src;
    blurSeparable(b1.data(), w, h, p.sigma1 * scaleX, p.sigma1 * scaleY);
    blurSeparable(b2.data(), w, h, p.sigma2 * scaleX, p.sigma2 * scaleY);
    const double w2 = 1.0 - p.w1;
    for (std::size_t i = 0; i < c.size(); ++i) {
        c[i] += static_cast<float>(gain * std::max(0.0, p.w1 * b1[i] + w2 * b2[i] - src[i]));
    }
}

void bloomChannel(Plane& c, int w, int h, double amount, double sigmaX, double sigmaY) {
    Plane ex(c.size());
    for (std::size_t i = 0; i < c.size(); ++i)
        ex[i] = static_cast<float>(std::max(0.0, c[i] - 0.5091168824543142));
    Plane b1 = ex;
    Plane b2 = ex;
    Plane soft = c;
    blurPyramid(b1, w, h, 0.25 * sigmaX, 0.25 * sigmaY);
    blurPyramid(b2, w, h, sigmaX, sigmaY);
    blurPyramid(soft, w, h, sigmaX, sigmaY);
    for (std::size_t i = 0; i < c.size(); ++i) {
        const double in = c[i];
        const double spill = 0.35 * b1[i] + 0.65 * b2[i];
        const double v = in + (soft[i] - in) * (amount * 0.1);
        c[i] = static_cast<float>(v + spill * (amount * 0.22));
    }
}

void detailChannel(Plane& ch, int w, int h, double sigmaBlur, double sigmaBroad, double sharp, double blurMix,
                   double amount, double scaleX, double scaleY) {
    const double m = std::min(amount, 1.0);
    Plane soft = ch;
    blurSeparable(soft.data(), w, h, sigmaBlur * scaleX, sigmaBlur * scaleY);
    for (std::size_t i = 0; i < ch.size(); ++i) {
        const double in = ch[i];
        ch[i] = static_cast<float>(in + (soft[i] - in) * (m * blurMix));
    }
    Plane lc(ch.size());
    for (std::size_t i = 0; i < ch.size(); ++i)
        lc[i] = static_cast<float>(transferEncode(ch[i], LOGC4));
    Plane broad = lc;
    blurSeparable(broad.data(), w, h, sigmaBroad * scaleX, sigmaBroad * scaleY);
    for (std::size_t i = 0; i < ch.size(); ++i) {
        const double code = lc[i];
        const double limit = 0.055 + 0.1 * std::fabs(code);
        const double hp = std::clamp(code - broad[i], -limit, limit);
        ch[i] = static_cast<float>(transferDecode(std::min(code + hp * (m * sharp), std::max(1.0, code)), LOGC4));
    }
}

} // namespace

void applyHalation(Plane& R, Plane& G, Plane& B, int w, int h, double intensity, double scaleX, double scaleY,
                   const velloid::HalationProfile& p) {
    if (intensity <= 0.0) return;
    const double gain = p.strength * intensity;
    haloChannel(R, w, h, scaleX, scaleY, p, gain * p.tintR);
    haloChannel(G, w, h, scaleX, scaleY, p, gain * p.tintG);
    haloChannel(B, w, h, scaleX, scaleY, p, gain * p.tintB);
}

void applyBloom(Plane& R, Plane& G, Plane& B, int w, int h, double amount, double sigmaX, double sigmaY) {
    if (amount <= 0.0) return;
    for (Plane* plane : {&R, &G, &B})
        bloomChannel(*plane, w, h, amount, sigmaX, sigmaY);
}

void applyDetail(Plane& R, Plane& G, Plane& B, int w, int h, double amount, const velloid::DetailProfile& p,
                 double scaleX, double scaleY) {
    if (amount <= 0.0) return;
    detailChannel(R, w, h, p.blurR, p.broadR, p.sharpR, p.blurMix, amount, scaleX, scaleY);
    detailChannel(G, w, h, p.blurG, p.broadG, p.sharpG, p.blurMix, amount, scaleX, scaleY);
    detailChannel(B, w, h, p.blurB, p.broadB, p.sharpB, p.blurMix, amount, scaleX, scaleY);
}

void applyBlackAndWhite(Plane& R, Plane& G, Plane& B, double amount) {
    if (amount <= 0.0) return;
    for (std::size_t i = 0; i < R.size(); ++i) {
        const double y = 0.254524176404027 * R[i] + 0.781477732712002 * G[i] - 0.03600190911602904 * B[i];
        R[i] = static_cast<float>(R[i] + (y - R[i]) * amount);
        G[i] = static_cast<float>(G[i] + (y - G[i]) * amount);
        B[i] = static_cast<float>(B[i] + (y - B[i]) * amount);
    }
}

} // namespace tarnwell::reference
