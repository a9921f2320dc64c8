// Vom verschachtelten Bild des Wirts zu drei linearen AWG4-Kanälen; das Flackern ist gleich eingerechnet.
// Zwilling: color/colorspace und process/flicker.
#pragma once

#include "metal/kernels/params.h"
#include "metal/kernels/transfer.h"

BODY void decodeAt(uint2 at, GLOBAL const float* src, GLOBAL float* R, GLOBAL float* G, GLOBAL float* B,
                   CONSTANT FrameParams* p) {
    const size_t s = elementAt(at, p->srcStride, p->components);
    float3 code = finite0x3(FLOAT3(src[s], src[s + 1], src[s + 2]));
    if (p->premultiplied != 0) {
        // Ein unendliches Alpha ergibt so 0 wie die Division.
        const float a = src[s + 3];
        const bool usable = isFiniteBits(a) && a > 1e-8f;
        code = usable ? FLOAT3(code.x / a, code.y / a, code.z / a) : FLOAT3(0.0f, 0.0f, 0.0f);
    }
    float3 lin = finite0x3(transferDecode3(code, p->io));
    if (p->ioHasMatrix != 0) lin = finite0x3(mul3(p->toAWG4, lin));
    const size_t i = pixelAt(at, p->W);
    R[i] = lin.x * p->flickR;
    G[i] = lin.y * p->flickG;
    B[i] = lin.z * p->flickB;
}
