// Both directions in closed form; the shoulder's inverse is the positive root of a quadratic, in the form without
// cancellation.
#include "pictures/gentle_view.h"

#include <algorithm>
#include <cmath>

namespace tarnwell {

namespace {

double contrastOf(double light) {
    return GENTLE_GREY * std::pow(light / GENTLE_GREY, GENTLE_CONTRAST);
}

double contrastInverse(double light) {
    return GENTLE_GREY * std::pow(light / GENTLE_GREY, 1.0 / GENTLE_CONTRAST);
}

// Distance from knee to white, in units of the knee's distance from display white.
double shoulderWidth() {
    return (contrastOf(GENTLE_WHITE) - GENTLE_KNEE) / (1.0 - GENTLE_KNEE);
}

} // namespace

double gentleCurve(double sceneLight) {
    if (!(sceneLight > 0.0)) return 0.0;
    const double y = contrastOf(std::min(sceneLight, GENTLE_WHITE));
    if (y <= GENTLE_KNEE) return y;
    const double u = (y - GENTLE_KNEE) / (1.0 - GENTLE_KNEE);
    const double w = shoulderWidth();
    return std::min(1.0, GENTLE_KNEE + (1.0 - GENTLE_KNEE) * u * (1.0 + u / (w * w)) / (1.0 + u));
}

double gentleCurveInverse(double displayLight) {
    if (!(displayLight > 0.0)) return 0.0;
    const double d = std::min(displayLight, 1.0);
    if (d <= GENTLE_KNEE) return contrastInverse(d);
    const double v = (d - GENTLE_KNEE) / (1.0 - GENTLE_KNEE);
    const double w = shoulderWidth();
    const double u = 2.0 * v / ((1.0 - v) + std::sqrt((1.0 - v) * (1.0 - v) + 4.0 * v / (w * w)));
    return std::min(GENTLE_WHITE, contrastInverse(GENTLE_KNEE + (1.0 - GENTLE_KNEE) * u));
}

} // namespace tarnwell
