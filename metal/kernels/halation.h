// Halation: der rötliche Saum, den an der Filmunterlage gespiegeltes Licht um Lichter legt. Nur was sich über den
// eigenen Ursprung hinaus verteilt hat, kommt hinzu: der Saum liegt um das Licht, nie darauf.
// Zwilling: process/halation.
#pragma once

#include "metal/kernels/dialect.h"
#include "metal/kernels/params.h"

BODY void halationCombineAt(size_t i, GLOBAL float* ch, GLOBAL const float* source, GLOBAL const float* b1,
                            GLOBAL const float* b2, float gc, CONSTANT FrameParams* p) {
    const float blurred = p->halW1 * b1[i] + p->halW2 * b2[i];
    ch[i] += fmax(0.0f, blurred - source[i]) * gc;
}
