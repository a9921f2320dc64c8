/* The memory suite: host memory for a plug-in, aligned for any type. */
#ifndef TARNWELL_OFX_MEMORY_H
#define TARNWELL_OFX_MEMORY_H

#include "ofx_core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMemorySuite "OfxMemorySuite"

typedef struct OfxMemorySuiteV1 {
    OfxStatus (*memoryAlloc)(void* handle, size_t nBytes, void** allocatedData); /* the handle may be null */
    OfxStatus (*memoryFree)(void* allocatedData);
} OfxMemorySuiteV1;

#ifdef __cplusplus
}
#endif
#endif
