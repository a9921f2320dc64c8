// Schwarzweiß: jeder Kanal rückt zur Helligkeit hin (Y-Zeile von AWG4 nach XYZ). Zwilling: process/black_and_white.
#pragma once

#include "metal/kernels/dialect.h"
#include "metal/kernels/params.h"

BODY void blackAndWhiteAt(size_t i, GLOBAL float* R, GLOBAL float* G, GLOBAL float* B, CONSTANT FrameParams* p) {
    const float r = R[i];
    const float g = G[i];
    const float b = B[i];
    const float luma = 0.2545241764040270f * r + 0.7814777327120020f * g - 0.03600190911602904f * b;
    R[i] = r + (luma - r) * p->bw;
    G[i] = g + (luma - g) * p->bw;
    B[i] = b + (luma - b) * p->bw;
}
