// Farbtabelle von n*n*n Tripeln, Rot läuft am schnellsten; zwischen den Punkten wird im Tetraeder gemischt, in dem die
// Farbe liegt. Zwilling: sampleLutTetrahedral in color/lut3d.
#pragma once

#include "metal/kernels/math.h"

BODY float3 lutEntry(GLOBAL const float* tbl, int n, int x, int y, int z) {
    const size_t entry = (((size_t)z * (size_t)n + (size_t)y) * (size_t)n + (size_t)x) * 3;
    return FLOAT3(tbl[entry], tbl[entry + 1], tbl[entry + 2]);
}

#define LUT_AT(dx, dy, dz) lutEntry(tbl, n, x0 + dx, y0 + dy, z0 + dz)

// dmin und dinv: Anfang des Bereichs und Kehrwert seiner Breite. Werte außerhalb nehmen den Rand der Tabelle.
BODY float3 lut_tetra(GLOBAL const float* tbl, int n, float3 v, float3 dmin, float3 dinv) {
    const float3 q = (v - dmin) * dinv;
    const float scale = (float)(n - 1);
    float fx = saturate01(q.x) * scale;
    float fy = saturate01(q.y) * scale;
    float fz = saturate01(q.z) * scale;
    const int x0 = min(n - 2, max(0, (int)floor(fx)));
    const int y0 = min(n - 2, max(0, (int)floor(fy)));
    const int z0 = min(n - 2, max(0, (int)floor(fz)));
    fx -= (float)x0;
    fy -= (float)y0;
    fz -= (float)z0;

    const float3 c000 = LUT_AT(0, 0, 0);
    const float3 c111 = LUT_AT(1, 1, 1);
    if (fx >= fy && fy >= fz) {
        const float3 c100 = LUT_AT(1, 0, 0);
        const float3 c110 = LUT_AT(1, 1, 0);
        return c000 + (c100 - c000) * fx + (c110 - c100) * fy + (c111 - c110) * fz;
    }
    if (fx >= fz && fz > fy) {
        const float3 c100 = LUT_AT(1, 0, 0);
        const float3 c101 = LUT_AT(1, 0, 1);
        return c000 + (c100 - c000) * fx + (c111 - c101) * fy + (c101 - c100) * fz;
    }
    if (fz > fx && fx >= fy) {
        const float3 c001 = LUT_AT(0, 0, 1);
        const float3 c101 = LUT_AT(1, 0, 1);
        return c000 + (c101 - c001) * fx + (c111 - c101) * fy + (c001 - c000) * fz;
    }
    if (fy > fx && fx >= fz) {
        const float3 c010 = LUT_AT(0, 1, 0);
        const float3 c110 = LUT_AT(1, 1, 0);
        return c000 + (c110 - c010) * fx + (c010 - c000) * fy + (c111 - c110) * fz;
    }
    if (fy >= fz && fz > fx) {
        const float3 c010 = LUT_AT(0, 1, 0);
        const float3 c011 = LUT_AT(0, 1, 1);
        return c000 + (c111 - c011) * fx + (c010 - c000) * fy + (c011 - c010) * fz;
    }
    const float3 c001 = LUT_AT(0, 0, 1);
    const float3 c011 = LUT_AT(0, 1, 1);
    return c000 + (c111 - c011) * fx + (c011 - c001) * fy + (c001 - c000) * fz;
}

#undef LUT_AT
