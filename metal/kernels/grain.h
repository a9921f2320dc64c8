// Korn: Rauschen aus Zelle, Kanal und Bildnummer, je nach Dichte verschieden stark; der Wirt macht es dazwischen weich.
// Zwilling: process/grain.
#pragma once

#include "metal/kernels/params.h"
#include "metal/kernels/transfer.h"

// Normalverteilt (Box-Muller), Varianz 1/3.
BODY float randomGauss(int x, int y, int channel, int frame, uint seed) {
    const uint h1 = hash32(seed ^ ((uint)x * 0x9e3779b1u) ^ ((uint)y * 0x85ebca77u) ^ ((uint)channel * 0xc2b2ae3du) ^
                           ((uint)frame * 0x27d4eb2fu));
    const uint h2 = hash32(h1 ^ 0x6a09e667u);
    const float u1 = ((float)(h1 & 0xffffffu) + 0.5f) / 16777216.0f;
    const float u2 = (float)(h2 & 0xffffffu) / 16777216.0f;
    // Nie unter 0: nahe 1 darf der schnelle Logarithmus um 2^-21 zu groß sein, und die Wurzel wäre dann keine Zahl.
    const float z = sqrt(fmax(0.0f, -2.0f * log(u1))) * cos(6.283185307179586f * u2);
    return z * 0.5773502691896258f;
}

// Standardabweichung beim Code Yc: linear zwischen elf Knoten, außerhalb der letzte Wert.
BODY float grainSigma(float Yc, CONSTANT float* nodes, CONSTANT float* sv) {
    if (Yc <= nodes[0]) return sv[0];
    if (Yc >= nodes[10]) return sv[10];
    int i = 0;
    while (i < 9 && nodes[i + 1] < Yc)
        ++i;
    return sv[i] + (sv[i + 1] - sv[i]) * ((Yc - nodes[i]) / (nodes[i + 1] - nodes[i]));
}

BODY float grainNoise(uint2 at, float code, int channel, CONSTANT float* sv, CONSTANT FrameParams* p,
                      CONSTANT GrainParams* gp, GLOBAL const int* grainX, GLOBAL const int* grainY) {
    const float amplitude = p->grain * grainSigma(saturate01(code), gp->nodeY, sv);
    const int field = p->grainMono != 0 ? 0 : channel;
    return randomGauss(grainX[at.x], grainY[at.y], field, p->grainFrame, p->grainSeed) * amplitude;
}

// Das Rauschen darf in den Puffern der linearen Kanäle landen: erst wird alles gelesen, dann geschrieben.
BODY void grainPrepareAt(uint2 at, GLOBAL const float* R, GLOBAL const float* G, GLOBAL const float* B,
                         GLOBAL float* cR, GLOBAL float* cG, GLOBAL float* cB, GLOBAL float* nR, GLOBAL float* nG,
                         GLOBAL float* nB, CONSTANT FrameParams* p, CONSTANT GrainParams* gp, GLOBAL const int* grainX,
                         GLOBAL const int* grainY) {
    const size_t i = pixelAt(at, p->W);
    const float3 code = logC4Encode3(FLOAT3(R[i], G[i], B[i]));
    cR[i] = code.x;
    cG[i] = code.y;
    cB[i] = code.z;
    nR[i] = grainNoise(at, code.x, 0, gp->sigR, p, gp, grainX, grainY);
    nG[i] = grainNoise(at, code.y, 1, gp->sigG, p, gp, grainX, grainY);
    nB[i] = grainNoise(at, code.z, 2, gp->sigB, p, gp, grainX, grainY);
}

// Ein Code über 1 darf bleiben, wo er ist, aber Korn hebt ihn nicht weiter.
BODY float grainedCode(float code, float noise) { return fmin(code + noise, fmax(1.0f, code)); }

BODY void grainFinishAt(size_t i, GLOBAL const float* cR, GLOBAL const float* cG, GLOBAL const float* cB,
                        GLOBAL const float* nR, GLOBAL const float* nG, GLOBAL const float* nB, GLOBAL float* R,
                        GLOBAL float* G, GLOBAL float* B, CONSTANT FrameParams* p) {
    const float r = nR[i];
    const float g = nG[i];
    const float b = nB[i];
    R[i] = logC4Decode(grainedCode(cR[i], r + p->corrRG * g + p->corrBR * b));
    G[i] = logC4Decode(grainedCode(cG[i], g + p->corrRG * r + p->corrGB * b));
    B[i] = logC4Decode(grainedCode(cB[i], b + p->corrGB * g + p->corrBR * r));
}
