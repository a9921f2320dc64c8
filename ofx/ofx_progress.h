/* The progress suite, both versions; they differ in the start call only. */
#ifndef TARNWELL_OFX_PROGRESS_H
#define TARNWELL_OFX_PROGRESS_H

#include "ofx_core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxProgressSuite "OfxProgressSuite"

typedef struct OfxProgressSuiteV1 {
    OfxStatus (*progressStart)(void* effectInstance, const char* label);
    OfxStatus (*progressUpdate)(void* effectInstance, double progress); /* kOfxStatReplyNo asks to stop */
    OfxStatus (*progressEnd)(void* effectInstance);
} OfxProgressSuiteV1;

typedef struct OfxProgressSuiteV2 {
    OfxStatus (*progressStart)(void* effectInstance, const char* message, const char* messageid);
    OfxStatus (*progressUpdate)(void* effectInstance, double progress);
    OfxStatus (*progressEnd)(void* effectInstance);
} OfxProgressSuiteV2;

#ifdef __cplusplus
}
#endif
#endif
