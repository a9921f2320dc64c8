// Gaußsche Unschärfe in zwei Durchgängen, am Rand wiederholt, und die Stufen der Pyramide für große Radien.
// Zwilling: process/blur. Die Gewichte (2*radius + 1, Summe 1) rechnet der Wirt.
#pragma once

#include "metal/kernels/math.h"

BODY void blurRowAt(uint2 at, GLOBAL const float* src, GLOBAL float* dst, GLOBAL const float* wts, int radius,
                    int2 dim) {
    GLOBAL const float* row = src + (size_t)at.y * (size_t)dim.x;
    float sum = 0.0f;
    for (int t = -radius; t <= radius; ++t) {
        sum += row[clamp((int)at.x + t, 0, dim.x - 1)] * wts[t + radius];
    }
    dst[pixelAt(at, dim.x)] = sum;
}

BODY void blurColumnAt(uint2 at, GLOBAL const float* src, GLOBAL float* dst, GLOBAL const float* wts, int radius,
                       int2 dim) {
    GLOBAL const float* column = src + at.x;
    float sum = 0.0f;
    for (int t = -radius; t <= radius; ++t) {
        sum += column[(size_t)clamp((int)at.y + t, 0, dim.y - 1) * (size_t)dim.x] * wts[t + radius];
    }
    dst[pixelAt(at, dim.x)] = sum;
}

// dims: Breite und Höhe der Quelle, Breite und Höhe des Ziels. Eine ungerade letzte Zeile oder Spalte zählt doppelt.
BODY void halveAt(uint2 at, GLOBAL const float* src, GLOBAL float* dst, int4 dims) {
    const size_t x0 = (size_t)at.x * 2;
    const size_t x1 = (size_t)min((int)at.x * 2 + 1, dims.x - 1);
    GLOBAL const float* top = src + (size_t)at.y * 2 * (size_t)dims.x;
    GLOBAL const float* bottom = src + (size_t)min((int)at.y * 2 + 1, dims.y - 1) * (size_t)dims.x;
    dst[pixelAt(at, dims.z)] = 0.25f * (top[x0] + top[x1] + bottom[x0] + bottom[x1]);
}

// Pixelmitten liegen auf Pixelmitten. Der Bruchteil wird genommen, bevor der Index an den Rand rückt.
BODY void enlargeAt(uint2 at, GLOBAL const float* src, GLOBAL float* dst, int4 dims) {
    const float fx = ((float)at.x + 0.5f) * ((float)dims.x / (float)dims.z) - 0.5f;
    const float fy = ((float)at.y + 0.5f) * ((float)dims.y / (float)dims.w) - 0.5f;
    const float left = floor(fx);
    const float above = floor(fy);
    const float tx = fx - left;
    const float ty = fy - above;
    const int x1 = min(dims.x - 1, (int)left + 1);
    const int y1 = min(dims.y - 1, (int)above + 1);
    const int x0 = max(0, (int)left);
    const int y0 = max(0, (int)above);
    GLOBAL const float* top = src + (size_t)y0 * (size_t)dims.x;
    GLOBAL const float* bottom = src + (size_t)y1 * (size_t)dims.x;
    dst[pixelAt(at, dims.z)] =
        (top[x0] * (1.0f - tx) + top[x1] * tx) * (1.0f - ty) + (bottom[x0] * (1.0f - tx) + bottom[x1] * tx) * ty;
}
