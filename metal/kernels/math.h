// Rechnen ohne Nichtzahlen, Matrizen, und der Index eines Pixels.
#pragma once

#include "metal/kernels/dialect.h"

// Unendlich und Nichtzahl haben alle Exponentenbits gesetzt. An den Bits geprüft, weil schnelle Mathematik annehmen
// darf, dass es solche Werte nicht gibt, und dann isfinite streicht. Das Vorzeichen fällt durch Schieben weg: einen
// Vergleich der maskierten Exponentenbits erkennt clang 19 als isfinite und streicht ihn ebenso.
BODY bool isFiniteBits(float v) { return (floatBits(v) << 1) < 0xff000000u; }

BODY float finite0(float v) { return isFiniteBits(v) ? v : 0.0f; }

BODY float3 finite0x3(float3 v) { return FLOAT3(finite0(v.x), finite0(v.y), finite0(v.z)); }

// Eine Nichtzahl gilt als 0, +unendlich als 1.
BODY float saturate01(float v) { return fmin(fmax(v, 0.0f), 1.0f); }

// Matrix (zeilenweise) mal Vektor.
BODY float3 mul3(CONSTANT float* m, float3 v) {
    const float x = m[0] * v.x + m[1] * v.y + m[2] * v.z;
    const float y = m[3] * v.x + m[4] * v.y + m[5] * v.z;
    const float z = m[6] * v.x + m[7] * v.y + m[8] * v.z;
    return FLOAT3(x, y, z);
}

// In 64 Bit: ein Bild darf mehr als 2^31 Zahlen haben.
BODY size_t elementAt(uint2 at, int rowLength, int step) {
    return (size_t)at.y * (size_t)rowLength + (size_t)at.x * (size_t)step;
}

BODY size_t pixelAt(uint2 at, int width) { return elementAt(at, width, 1); }

// Mischt Bits umkehrbar; hash32 von process/hash.h.
BODY uint hash32(uint x) {
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    x ^= x >> 16;
    return x;
}
