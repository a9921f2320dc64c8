// Film grain: a pattern of clumps that is new on every frame and as strong as the stock is at each density.
#pragma once

#include "process/row_chain.h"
#include "process/stock.h"

#include <memory>
#include <vector>

namespace velloid {

// Adds the stock's grain to planes of w * h log code values (LogC4, for which the density nodes are calibrated).
// Does nothing for amount <= 0 and for NegativeStock::Off.
//   amount                    multiplier of the stock's standard deviations
//   frame                     frame number, rounded to the nearest integer; 0 when not finite
//   blurScaleX, blurScaleY    multipliers of the stock's clump sizes, giving sigmas in pixels of this render
//   cellX, cellY              size in pixels of one noise cell; 1 unless finite and above 0
//   originX, originY          position of the planes' pixel (0, 0) in the frame, so that a tile gets the frame's
//   pattern
// Throws std::length_error "Gaussian radius out of range" for absurd blur scales and std::bad_alloc; the planes are
// then as before.
void applyGrain(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                NegativeStock stock, double frame, double blurScaleX, double blurScaleY, double cellX, double cellY,
                int originX, int originY);

// The noise that applyGrain adds, before it is blurred, as it depends on the codes. amount above 0, a stock other than
// Off.
void grainNoise(const float* const codes[3], float* const noise[3], int w, int h, double amount, NegativeStock stock,
                double frame, double cellX, double cellY, int originX, int originY);

// The same as a stage of a chain over frames of w x h whose rows hold log codes; amount above 0, a stock other than
// Off.
std::unique_ptr<BlurringStage> grainStage(int w, int h, double amount, NegativeStock stock, double frame,
                                          double blurScaleX, double blurScaleY, double cellX, double cellY, int originX,
                                          int originY);

} // namespace velloid
