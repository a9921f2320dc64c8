// Film grain as plain loops: one pixel after the other, with the C library's functions.
#pragma once

#include "process/stock.h"

#include <vector>

namespace tarnwell::reference {

// Amplitude of a grain table at a log code.
double grainAmplitude(double code, const double* table);

// A Gaussian number of standard deviation 1/sqrt(3) for one cell, frame and channel.
double grainDeviate(unsigned seed, int cellX, int cellY, int frame, int channel);

// The noise alone, before its blur: n = amount * amplitude(code) * deviate, into planes of the size of R.
void grainNoise(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B, int w, int h,
                double amount, velloid::NegativeStock stock, double frame, double cellX, double cellY, int originX,
                int originY, std::vector<float>& nR, std::vector<float>& nG, std::vector<float>& nB);

void applyGrain(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                velloid::NegativeStock stock, double frame, double blurScaleX, double blurScaleY, double cellX,
                double cellY, int originX, int originY);

} // namespace tarnwell::reference
