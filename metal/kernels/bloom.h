// Bloom: Glanz um Lichter aus einer schmalen und einer breiten Unschärfe, und ein wenig Weichheit für das ganze Bild.
// Zwilling: process/bloom.
#pragma once

#include "metal/kernels/math.h"

BODY void bloomCombineAt(size_t i, GLOBAL float* ch, GLOBAL const float* b1, GLOBAL const float* b2,
                         GLOBAL const float* softb, float gain, float soft) {
    const float spill = 0.35f * b1[i] + 0.65f * b2[i];
    const float v = ch[i] + (softb[i] - ch[i]) * soft;
    ch[i] = v + spill * gain;
}
