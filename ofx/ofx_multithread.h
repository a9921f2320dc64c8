/* The multithread suite: host threads and mutexes for a plug-in. */
#ifndef TARNWELL_OFX_MULTITHREAD_H
#define TARNWELL_OFX_MULTITHREAD_H

#include "ofx_core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMultiThreadSuite "OfxMultiThreadSuite"

typedef struct OfxMutex* OfxMutexHandle;

/* Called once for every threadIndex in 0 .. threadMax - 1. */
typedef void(OfxThreadFunctionV1)(unsigned int threadIndex, unsigned int threadMax, void* customArg);

typedef struct OfxMultiThreadSuiteV1 {
    OfxStatus (*multiThread)(OfxThreadFunctionV1 func, unsigned int nThreads, void* customArg);
    OfxStatus (*multiThreadNumCPUs)(unsigned int* nCPUs);
    OfxStatus (*multiThreadIndex)(unsigned int* threadIndex);
    int (*multiThreadIsSpawnedThread)(void); /* 0 or 1, not a status */
    OfxStatus (*mutexCreate)(OfxMutexHandle* mutex, int lockCount);
    OfxStatus (*mutexDestroy)(const OfxMutexHandle mutex);
    OfxStatus (*mutexLock)(const OfxMutexHandle mutex);
    OfxStatus (*mutexUnLock)(const OfxMutexHandle mutex); /* capital L */
    OfxStatus (*mutexTryLock)(const OfxMutexHandle mutex);
} OfxMultiThreadSuiteV1;

#ifdef __cplusplus
}
#endif
#endif
