// Szenenanpassung: ein Polynom auf LogC4-Codes, mit der Stärke des Looks eingemischt. Zwilling: color/scene_fit.
#pragma once

#include "metal/kernels/params.h"
#include "metal/kernels/transfer.h"

BODY float3 alexa_scene_fit(float3 c, float strength) {
    const float y = 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
    const float y2 = y * y;
    const float y3 = y2 * y;
    const float r = 0.52561351f * c.x - 0.20036957f * c.y + 0.16076259f * c.z - 0.01995183f * y + 2.90819387f * y2 -
                    2.81059305f * y3 - 0.00372917f;
    const float g = 0.08046982f * c.x + 0.36078562f * c.y + 0.25413340f * c.z + 0.29349019f * y + 0.99615914f * y2 -
                    1.13561320f * y3 - 0.01532530f;
    const float b = 0.22403965f * c.x - 0.23626220f * c.y + 1.03644024f * c.z - 0.04651291f * y + 0.98702949f * y2 -
                    1.25492974f * y3 - 0.01487571f;
    return c + (FLOAT3(fmax(r, 0.0f), fmax(g, 0.0f), fmax(b, 0.0f)) - c) * strength;
}

BODY void sceneFitAt(size_t i, GLOBAL float* R, GLOBAL float* G, GLOBAL float* B, CONSTANT FrameParams* p) {
    const float3 v = logC4Decode3(alexa_scene_fit(logC4Encode3(FLOAT3(R[i], G[i], B[i])), p->color));
    R[i] = v.x;
    G[i] = v.y;
    B[i] = v.z;
}
