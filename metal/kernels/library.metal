// Die Einstiegspunkte des Grafikprozessors, in der Reihenfolge eines Bildes. Alle Kanäle sind Ebenen von W*H Zahlen
// ohne Lücken; nur Quelle und Ziel sind verschachtelte Bilder des Wirts. Jeder Thread nimmt ein Pixel; gestartet werden
// Gruppen von 16x16, auch über den Rand, darum kehrt jeder Kernel außerhalb sofort zurück.
#include "metal/kernels/black_and_white.h"
#include "metal/kernels/bloom.h"
#include "metal/kernels/blur.h"
#include "metal/kernels/decode.h"
#include "metal/kernels/detail.h"
#include "metal/kernels/encode.h"
#include "metal/kernels/gate_weave.h"
#include "metal/kernels/grain.h"
#include "metal/kernels/halation.h"
#include "metal/kernels/look.h"
#include "metal/kernels/planes.h"
#include "metal/kernels/scene_fit.h"

#define IN(index, name) GLOBAL const float* name AT(index)
#define OUT(index, name) GLOBAL float* name AT(index)
#define CELLS(index, name) GLOBAL const int* name AT(index)
#define FRAME CONSTANT FrameParams* p AT(9)
#define PIXEL pixelAt(id, p->W)

// --- Import ---------------------------------------------------------------------------------------------------------

KERNEL void k_decode(IN(0, src), OUT(1, R), OUT(2, G), OUT(3, B), FRAME GRID) {
    ENTER(p->W, p->H);
    decodeAt(id, src, R, G, B, p);
}

// --- Unschärfe ------------------------------------------------------------------------------------------------------

KERNEL void k_blur_h(IN(0, src), OUT(1, dst), IN(2, wts), VALUE(int) radius AT(3), FRAME GRID) {
    ENTER(p->W, p->H);
    blurRowAt(id, src, dst, wts, radius, INT2(p->W, p->H));
}

KERNEL void k_blur_v(IN(0, src), OUT(1, dst), IN(2, wts), VALUE(int) radius AT(3), FRAME GRID) {
    ENTER(p->W, p->H);
    blurColumnAt(id, src, dst, wts, radius, INT2(p->W, p->H));
}

KERNEL void k_blur_h_d(IN(0, src), OUT(1, dst), IN(2, wts), VALUE(int) radius AT(3), VALUE(int2) dim AT(4) GRID) {
    ENTER(dim.x, dim.y);
    blurRowAt(id, src, dst, wts, radius, dim);
}

KERNEL void k_blur_v_d(IN(0, src), OUT(1, dst), IN(2, wts), VALUE(int) radius AT(3), VALUE(int2) dim AT(4) GRID) {
    ENTER(dim.x, dim.y);
    blurColumnAt(id, src, dst, wts, radius, dim);
}

KERNEL void k_down2(IN(0, src), OUT(1, dst), VALUE(int4) dims AT(2) GRID) {
    ENTER(dims.z, dims.w);
    halveAt(id, src, dst, dims);
}

KERNEL void k_up_bilinear(IN(0, src), OUT(1, dst), VALUE(int4) dims AT(2) GRID) {
    ENTER(dims.z, dims.w);
    enlargeAt(id, src, dst, dims);
}

// --- Schritte, die Effekte teilen -----------------------------------------------------------------------------------

KERNEL void k_lerp(IN(0, a), IN(1, b), OUT(2, dst), VALUE(float) t AT(3), FRAME GRID) {
    ENTER(p->W, p->H);
    lerpAt(PIXEL, a, b, dst, t);
}

KERNEL void k_copy(IN(0, src), OUT(1, dst), FRAME GRID) {
    ENTER(p->W, p->H);
    copyAt(PIXEL, src, dst);
}

KERNEL void k_to_logc4(IN(0, src), OUT(1, dst), FRAME GRID) {
    ENTER(p->W, p->H);
    toLogC4At(PIXEL, src, dst);
}

KERNEL void k_excess(IN(0, src), OUT(1, dst), VALUE(float) knee AT(2), FRAME GRID) {
    ENTER(p->W, p->H);
    excessAt(PIXEL, src, dst, knee);
}

// --- Detail, Bloom, Halation ----------------------------------------------------------------------------------------

KERNEL void k_detail_sharp(IN(0, logC), IN(1, broad), OUT(2, out), VALUE(float) amount AT(3), FRAME GRID) {
    ENTER(p->W, p->H);
    detailSharpAt(PIXEL, logC, broad, out, amount);
}

KERNEL void k_bloom_combine(OUT(0, ch), IN(1, b1), IN(2, b2), IN(3, softb), VALUE(float) gain AT(4),
                            VALUE(float) soft AT(5), FRAME GRID) {
    ENTER(p->W, p->H);
    bloomCombineAt(PIXEL, ch, b1, b2, softb, gain, soft);
}

KERNEL void k_hal_combine(OUT(0, ch), IN(1, source), IN(2, b1), IN(3, b2), VALUE(float) gc AT(4), FRAME GRID) {
    ENTER(p->W, p->H);
    halationCombineAt(PIXEL, ch, source, b1, b2, gc, p);
}

// --- Korn -----------------------------------------------------------------------------------------------------------

KERNEL void k_grain_prepare(IN(0, R), IN(1, G), IN(2, B), OUT(3, cR), OUT(4, cG), OUT(5, cB), OUT(6, nR), OUT(7, nG),
                            OUT(8, nB), FRAME, CONSTANT GrainParams* gp AT(10), CELLS(11, grainX),
                            CELLS(12, grainY) GRID) {
    ENTER(p->W, p->H);
    grainPrepareAt(id, R, G, B, cR, cG, cB, nR, nG, nB, p, gp, grainX, grainY);
}

KERNEL void k_grain_finish(IN(0, cR), IN(1, cG), IN(2, cB), IN(3, nR), IN(4, nG), IN(5, nB), OUT(6, R), OUT(7, G),
                           OUT(8, B), FRAME GRID) {
    ENTER(p->W, p->H);
    grainFinishAt(PIXEL, cR, cG, cB, nR, nG, nB, R, G, B, p);
}

// --- Look, Bildstand, Schwarzweiß, Szenenanpassung ------------------------------------------------------------------

KERNEL void k_color_lut(OUT(0, R), OUT(1, G), OUT(2, B), IN(3, tbl), FRAME GRID) {
    ENTER(p->W, p->H);
    lookAt(PIXEL, R, G, B, tbl, p);
}

KERNEL void k_weave(IN(0, sR), IN(1, sG), IN(2, sB), OUT(3, R), OUT(4, G), OUT(5, B), FRAME GRID) {
    ENTER(p->W, p->H);
    weaveAt(id, sR, sG, sB, R, G, B, p);
}

KERNEL void k_bw(OUT(0, R), OUT(1, G), OUT(2, B), FRAME GRID) {
    ENTER(p->W, p->H);
    blackAndWhiteAt(PIXEL, R, G, B, p);
}

KERNEL void k_alexa_scene_fit(OUT(0, R), OUT(1, G), OUT(2, B), FRAME GRID) {
    ENTER(p->W, p->H);
    sceneFitAt(PIXEL, R, G, B, p);
}

// --- Export ---------------------------------------------------------------------------------------------------------

KERNEL void k_encode_out(IN(0, R), IN(1, G), IN(2, B), IN(3, src), OUT(4, dst), IN(5, outLut), FRAME GRID) {
    ENTER(p->W, p->H);
    encodeAt(id, R, G, B, src, dst, outLut, p);
}
