// How much each negative stock halates.
#pragma once

#include "process/glow_size.h"
#include "process/stock.h"

namespace velloid {

struct HalationProfile {
    double knee;     // scene-linear level subtracted before blurring
    double strength; // gain of the whole effect
    double sigma1;   // narrow blur, in units of the halation scale
    double sigma2;   // wide blur, in units of the halation scale
    double w1;       // weight of the narrow blur; the wide one gets 1 - w1
    double tintR;    // gain per channel
    double tintG;
    double tintB;
};

// The profile of a stock; values outside the enumeration take the first row.
HalationProfile halationProfile(NegativeStock stock);

// What HalationProfile's sigmas are units of.
inline GlowSize halationSize(double scaleX, double scaleY, int h) {
    return glowSize(4.0, 0.004, scaleX, scaleY, h);
}

// The intensity of the effect for what the user set: squared, so that the lower half of the slider stays subtle.
constexpr double halationIntensity(double setting) {
    return setting * setting;
}

} // namespace velloid
