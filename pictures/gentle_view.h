// A gentle view of scene-range light on a display: mid grey stays where it is, contrast rises a little, and highlights
// up to about six and a half stops over grey bend into white instead of breaking off.
//   y = 0.18 * (x / 0.18)^contrast           up to the knee the display shows y itself
//   d = k + (1 - k) * g((y - k) / (1 - k))   above: g(u) = u * (1 + u/w^2) / (1 + u), slope 1 at the knee, 1 at u = w
// One curve for all three channels, applied to light drawn a little toward grey (GENTLE_INSET) and drawn out again
// after it, so that a very bright colour goes to white by way of its own hue instead of by its primaries.
#pragma once

namespace tarnwell {

// House values, set by eye on the sample photographs.
constexpr double GENTLE_GREY = 0.18;     // scene light that keeps its place on the display
constexpr double GENTLE_CONTRAST = 1.12; // slope at grey, log display light over log scene light
constexpr double GENTLE_KNEE = 0.32;     // display light where the shoulder begins
constexpr double GENTLE_WHITE = 16.0;    // scene light that becomes display white; more clips there
constexpr double GENTLE_INSET = 0.15;    // share of its luminance by which each channel is replaced before the curve

// Scene-linear light to display-linear light in [0, 1]. Rising from 0 at 0 to 1 at GENTLE_WHITE; NaN gives 0.
double gentleCurve(double sceneLight);

// The inverse: display-linear light, clamped to [0, 1], to scene-linear light in [0, GENTLE_WHITE]; NaN gives 0.
double gentleCurveInverse(double displayLight);

} // namespace tarnwell
