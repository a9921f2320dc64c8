// Flicker and gate weave as plain loops: one pixel after the other, with the C library's functions.
#pragma once

#include <vector>

namespace velloid::reference {

double flickerGain(int frame, double amount, int channel);

void applyFlicker(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                  double frame);

double lanczos3(double d);

void warpLanczosRGB(const float* srcR, const float* srcG, const float* srcB, std::vector<float>& R,
                    std::vector<float>& G, std::vector<float>& B, int w, int h, double dx, double dy, double angle,
                    double scaleX, double scaleY, const float* srcAlpha, std::vector<float>* alpha);

void applyGateWeave(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h, double amount,
                    double frame, double scaleX, double scaleY, std::vector<float>* alpha);

} // namespace velloid::reference
