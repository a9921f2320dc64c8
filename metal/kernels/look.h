// Look: das Kopiermaterial als Farbtabelle, mit der Stärke des Reglers eingemischt. Zwilling: color/looks.
#pragma once

#include "metal/kernels/lut.h"
#include "metal/kernels/params.h"
#include "metal/kernels/transfer.h"

BODY void lookAt(size_t i, GLOBAL float* R, GLOBAL float* G, GLOBAL float* B, GLOBAL const float* tbl,
                 CONSTANT FrameParams* p) {
    const float3 linear = FLOAT3(R[i], G[i], B[i]);
    const float3 e = p->lutLogDomain != 0 ? logC4Encode3(linear) : linear;
    const float3 o = lut_tetra(tbl, p->lutSize, e, FLOAT3(p->lutMinR, p->lutMinG, p->lutMinB),
                               FLOAT3(p->lutInvR, p->lutInvG, p->lutInvB));
    const float3 m = e + (o - e) * p->color;
    const float3 v = p->lutLogDomain != 0 ? logC4Decode3(m) : m;
    R[i] = v.x;
    G[i] = v.y;
    B[i] = v.z;
}
