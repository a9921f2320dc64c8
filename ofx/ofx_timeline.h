/* The timeline suite: where the host's current frame stands. */
#ifndef TARNWELL_OFX_TIMELINE_H
#define TARNWELL_OFX_TIMELINE_H

#include "ofx_core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxTimeLineSuite "OfxTimeLineSuite"

typedef struct OfxTimeLineSuiteV1 {
    OfxStatus (*getTime)(void* instance, double* time);
    OfxStatus (*gotoTime)(void* instance, double time);
    OfxStatus (*getTimeBounds)(void* instance, double* firstTime, double* lastTime);
} OfxTimeLineSuiteV1;

#ifdef __cplusplus
}
#endif
#endif
