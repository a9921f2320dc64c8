// Von drei linearen Kanälen zurück zum verschachtelten Bild: kodieren, Ausgabetabelle, Alpha, in einem Gang.
// Zwilling: color/colorspace und applyCubeLut in color/lut3d.
#pragma once

#include "metal/kernels/gate_weave.h"
#include "metal/kernels/lut.h"
#include "metal/kernels/params.h"
#include "metal/kernels/transfer.h"

// Mit LogC4-Codes des Arbeitsbildes adressiert (sein gerader Teil gilt unter Schwarz, nichts wird abgeschnitten) oder
// mit den kodierten Werten selbst.
BODY float3 outputLut(float3 enc, float3 lin, GLOBAL const float* outLut, CONSTANT FrameParams* p) {
    const float3 v = p->outLutDomain == 1 ? logC4Encode3(lin) : enc;
    const float3 o = lut_tetra(outLut, p->outLutSize, v, FLOAT3(p->outMinR, p->outMinG, p->outMinB),
                               FLOAT3(p->outInvR, p->outInvG, p->outInvB));
    return enc + (o - enc) * p->outLutStrength;
}

BODY float outputAlpha(uint2 at, GLOBAL const float* src, CONSTANT FrameParams* p) {
    if (p->components != 4) return 1.0f;
    if (p->weaveActive != 0) return warped_alpha(src, p, at);
    return src[elementAt(at, p->srcStride, p->components) + 3];
}

BODY void encodeAt(uint2 at, GLOBAL const float* R, GLOBAL const float* G, GLOBAL const float* B,
                   GLOBAL const float* src, GLOBAL float* dst, GLOBAL const float* outLut, CONSTANT FrameParams* p) {
    const size_t i = pixelAt(at, p->W);
    const float3 lin = FLOAT3(R[i], G[i], B[i]);
    const float3 encLin = finite0x3(p->ioHasMatrix != 0 ? mul3(p->fromAWG4, lin) : lin);
    float3 enc = finite0x3(transferEncode3(encLin, p->io));
    if (p->outLutActive != 0) enc = outputLut(enc, lin, outLut, p);
    const float alpha = outputAlpha(at, src, p);
    if (p->premultiplied != 0) enc = enc * alpha;

    const size_t d = elementAt(at, p->dstStride, p->components);
    dst[d] = enc.x;
    dst[d + 1] = enc.y;
    dst[d + 2] = enc.z;
    if (p->components == 4) dst[d + 3] = alpha;
}
