// Bildstand: jedes Bild liegt ein wenig anders im Fenster. Verschieben und drehen mit einem Lanczos-Kern aus 6x6
// Punkten. Zwilling: warpLanczosRGB in process/gate_weave.
#pragma once

#include "metal/kernels/math.h"
#include "metal/kernels/params.h"

// Der schnelle Sinus verschob die Gewichte um bis zu 4,5e-3.
BODY float lanczos3(float x) {
    const float d = fabs(x);
    if (d >= 3.0f) return 0.0f;
    if (d < 1e-7f) return 1.0f;
    const float a = 3.14159265358979323846f * d;
    const float b = a / 3.0f;
    return (preciseSin(a) / a) * (preciseSin(b) / b);
}

// Wo ein Pixel in der Quelle liegt: erste Spalte und Zeile der sechs, und die Gewichte je Achse.
typedef struct WeaveTaps {
    int x, y;
    float wx[6];
    float wy[6];
} WeaveTaps;

// Nur kleine Terme werden zu x und y addiert. Die direkte Form cos*tx + cx0 verliert bei Koordinaten um 1000 etwa vier
// Dezimalstellen. Weiter als acht Pixel neben dem Bild treffen alle Punkte den Rand; dort darf die Lage enden.
BODY WeaveTaps weaveTaps(uint2 at, CONSTANT FrameParams* p) {
    const float x = (float)at.x;
    const float y = (float)at.y;
    const float tx = x - (float)(p->W - 1) * 0.5f - p->weaveDx;
    const float ty = y - (float)(p->H - 1) * 0.5f - p->weaveDy;
    const float c1 = p->weaveCos - 1.0f;
    const float sx = fmin(fmax(x - p->weaveDx + c1 * tx + p->weaveSinX * ty, -8.0f), (float)p->W + 8.0f);
    const float sy = fmin(fmax(y - p->weaveDy - p->weaveSinY * tx + c1 * ty, -8.0f), (float)p->H + 8.0f);
    WeaveTaps taps;
    taps.x = (int)floor(sx) - 2;
    taps.y = (int)floor(sy) - 2;
    for (int k = 0; k < 6; ++k) {
        taps.wx[k] = lanczos3(sx - (float)(taps.x + k));
        taps.wy[k] = lanczos3(sy - (float)(taps.y + k));
    }
    return taps;
}

BODY void weaveAt(uint2 at, GLOBAL const float* sR, GLOBAL const float* sG, GLOBAL const float* sB, GLOBAL float* R,
                  GLOBAL float* G, GLOBAL float* B, CONSTANT FrameParams* p) {
    const WeaveTaps taps = weaveTaps(at, p);
    float3 sum = FLOAT3(0.0f, 0.0f, 0.0f);
    float weights = 0.0f;
    for (int j = 0; j < 6; ++j) {
        const size_t row = (size_t)clamp(taps.y + j, 0, p->H - 1) * (size_t)p->W;
        for (int k = 0; k < 6; ++k) {
            const size_t s = row + (size_t)clamp(taps.x + k, 0, p->W - 1);
            const float w = taps.wx[k] * taps.wy[j];
            sum = sum + FLOAT3(sR[s], sG[s], sB[s]) * w;
            weights += w;
        }
    }
    const size_t i = pixelAt(at, p->W);
    R[i] = weights == 0.0f ? sR[i] : sum.x / weights;
    G[i] = weights == 0.0f ? sG[i] : sum.y / weights;
    B[i] = weights == 0.0f ? sB[i] : sum.z / weights;
}

// Alpha zwischen 0 und 1; +unendlich gilt als 1, -unendlich und Nichtzahl als 0. An den Bits geprüft wie in finite0.
BODY float sanitizedAlpha(float a) {
    if (!isFiniteBits(a)) return floatBits(a) == 0x7f800000u ? 1.0f : 0.0f;
    return saturate01(a);
}

// Das Alpha der Quelle, mit derselben Bewegung wie die Farbe.
BODY float warped_alpha(GLOBAL const float* src, CONSTANT FrameParams* p, uint2 at) {
    const WeaveTaps taps = weaveTaps(at, p);
    float sum = 0.0f;
    float weights = 0.0f;
    for (int j = 0; j < 6; ++j) {
        const size_t row = (size_t)clamp(taps.y + j, 0, p->H - 1) * (size_t)p->srcStride;
        for (int k = 0; k < 6; ++k) {
            const size_t column = (size_t)clamp(taps.x + k, 0, p->W - 1) * (size_t)p->components;
            const float w = taps.wx[k] * taps.wy[j];
            sum += sanitizedAlpha(src[row + column + 3]) * w;
            weights += w;
        }
    }
    if (weights == 0.0f) return sanitizedAlpha(src[elementAt(at, p->srcStride, p->components) + 3]);
    return sanitizedAlpha(sum / weights);
}
