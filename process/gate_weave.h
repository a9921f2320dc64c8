// Gate weave: the film does not sit quite still in the gate, so each frame lands a little shifted and rotated.
#pragma once

#include "process/row_chain.h"

#include <memory>
#include <vector>

namespace velloid {

// Where the gate holds one frame.
struct WeaveMotion {
    double dx;    // pixels to the right
    double dy;    // pixels down
    double angle; // radians, about the centre of the frame, in physical (not pixel) units
};

// The motion of a frame, the same on every call. scaleX and scaleY convert offsets of the reference resolution into
// pixels of this render; 1 unless finite and above 0.
WeaveMotion weaveMotion(int frame, double amount, double scaleX, double scaleY);

// Moves planes of w * h scene-linear values to where the gate holds the frame (rounded to the nearest integer; 0 when
// not finite). alpha, when given with at least w * h values, moves along. Does nothing for amount <= 0 or an image of
// one column or row. Throws std::bad_alloc.
void applyGateWeave(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                    double frame, double scaleX, double scaleY, std::vector<float>* alpha);

// Resamples the source planes with a Lanczos-3 kernel, shifted by (dx, dy) pixels and rotated by angle, into R, G, B of
// w * h values; the border repeats the edge. With both srcAlpha and alpha given, alpha is resampled too and clamped to
// [0, 1] (1 for +infinity, 0 for other non-finite results). The sources must not overlap the results.
void warpLanczosRGB(const float* srcR, const float* srcG, const float* srcB, std::vector<float>& R,
                    std::vector<float>& G, std::vector<float>& B, int w, int h, double dx, double dy, double angle,
                    double scaleX, double scaleY, const float* srcAlpha, std::vector<float>* alpha);

// The rows of applyGateWeave's result, from source planes that stay as they are; with `alpha` (may be null) its rows
// too. amount above 0, w and h above 1; the planes must outlive this.
std::unique_ptr<RowOrigin> gateWeaveOrigin(const float* const planes[3], const float* alpha, int w, int h,
                                           double amount, double frame, double scaleX, double scaleY);

// The Lanczos-3 window at distance d: sinc(d) sinc(d / 3) inside |d| < 3, else 0.
double lanczos3(double d);

} // namespace velloid
