// Schritte, die jedes Pixel für sich nehmen und die mehrere Effekte teilen.
#pragma once

#include "metal/kernels/transfer.h"

BODY void lerpAt(size_t i, GLOBAL const float* a, GLOBAL const float* b, GLOBAL float* dst, float t) {
    dst[i] = a[i] + (b[i] - a[i]) * t;
}

BODY void copyAt(size_t i, GLOBAL const float* src, GLOBAL float* dst) { dst[i] = src[i]; }

BODY void toLogC4At(size_t i, GLOBAL const float* src, GLOBAL float* dst) { dst[i] = logC4Encode(src[i]); }

// Was über der Schwelle liegt: die Quelle von Bloom und Halation.
BODY void excessAt(size_t i, GLOBAL const float* src, GLOBAL float* dst, float knee) {
    dst[i] = fmax(0.0f, src[i] - knee);
}
