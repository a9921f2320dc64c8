// Detail: an Kanten verstärkt die Entwicklung den Unterschied zur Umgebung. In LogC4-Codes; der Ausschlag ist begrenzt
// und wächst mit dem Code, und kein Wert steigt über 1, der nicht schon darüber lag. Zwilling: process/detail.
#pragma once

#include "metal/kernels/transfer.h"

BODY void detailSharpAt(size_t i, GLOBAL const float* logC, GLOBAL const float* broad, GLOBAL float* out,
                        float amount) {
    const float lc = logC[i];
    const float limit = 0.055f + 0.10f * fabs(lc);
    const float hp = fmin(fmax(lc - broad[i], -limit), limit);
    out[i] = logC4Decode(fmin(lc + hp * amount, fmax(1.0f, lc)));
}
