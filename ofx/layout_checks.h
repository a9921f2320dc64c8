/* Every size and offset of the binary interface, checked by the compiler. Included by one C and one C++ test file, and
   by nothing else. A suite is a struct of function pointers: member n lies at n pointers. */
#ifndef TARNWELL_OFX_LAYOUT_CHECKS_H
#define TARNWELL_OFX_LAYOUT_CHECKS_H

#include "ofx.h"

#include <assert.h>

/* clang-format off */

#define OFX_SIZE(type, bytes)            static_assert(sizeof(type) == (bytes), #type " has another size");
#define OFX_OFFSET(type, bytes, member)  static_assert(offsetof(type, member) == (bytes), #type "." #member " moved");
#define OFX_SUITE(type, members)         OFX_SIZE(type, (members) * sizeof(void*))
#define OFX_SLOT(type, slot, member)     OFX_OFFSET(type, (slot) * sizeof(void*), member)

OFX_SIZE(int, 4)
OFX_SIZE(OfxStatus, 4)
OFX_SIZE(OfxTime, 8)
OFX_SIZE(OfxRangeI, 8)
OFX_OFFSET(OfxRangeI, 0, min) OFX_OFFSET(OfxRangeI, 4, max)
OFX_SIZE(OfxRangeD, 16)
OFX_OFFSET(OfxRangeD, 0, min) OFX_OFFSET(OfxRangeD, 8, max)
OFX_SIZE(OfxPointI, 8)
OFX_OFFSET(OfxPointI, 0, x) OFX_OFFSET(OfxPointI, 4, y)
OFX_SIZE(OfxPointD, 16)
OFX_OFFSET(OfxPointD, 0, x) OFX_OFFSET(OfxPointD, 8, y)
OFX_SIZE(OfxRectI, 16)
OFX_OFFSET(OfxRectI, 0, x1) OFX_OFFSET(OfxRectI, 4, y1) OFX_OFFSET(OfxRectI, 8, x2) OFX_OFFSET(OfxRectI, 12, y2)
OFX_SIZE(OfxRectD, 32)
OFX_OFFSET(OfxRectD, 0, x1) OFX_OFFSET(OfxRectD, 8, y1) OFX_OFFSET(OfxRectD, 16, x2) OFX_OFFSET(OfxRectD, 24, y2)

OFX_SIZE(OfxPropertySetHandle, sizeof(void*))
OFX_SIZE(OfxImageEffectHandle, sizeof(void*))
OFX_SIZE(OfxImageClipHandle, sizeof(void*))
OFX_SIZE(OfxImageMemoryHandle, sizeof(void*))
OFX_SIZE(OfxParamHandle, sizeof(void*))
OFX_SIZE(OfxParamSetHandle, sizeof(void*))
OFX_SIZE(OfxMutexHandle, sizeof(void*))
OFX_SIZE(OfxInteractHandle, sizeof(void*))

#if defined(_WIN64) || defined(__LP64__)
OFX_SIZE(OfxBytes, 16)
OFX_OFFSET(OfxBytes, 0, data) OFX_OFFSET(OfxBytes, 8, length)
OFX_SIZE(OfxHost, 16)
OFX_OFFSET(OfxHost, 0, host)
OFX_OFFSET(OfxHost, 8, fetchSuite)
OFX_SIZE(OfxPlugin, 48)
OFX_OFFSET(OfxPlugin, 0, pluginApi)
OFX_OFFSET(OfxPlugin, 8, apiVersion)
OFX_OFFSET(OfxPlugin, 16, pluginIdentifier)
OFX_OFFSET(OfxPlugin, 24, pluginVersionMajor)
OFX_OFFSET(OfxPlugin, 28, pluginVersionMinor)
OFX_OFFSET(OfxPlugin, 32, setHost)
OFX_OFFSET(OfxPlugin, 40, mainEntry)
#endif

OFX_SUITE(OfxPropertySuiteV1, 18)
OFX_SLOT(OfxPropertySuiteV1, 0, propSetPointer)
OFX_SLOT(OfxPropertySuiteV1, 1, propSetString)
OFX_SLOT(OfxPropertySuiteV1, 2, propSetDouble)
OFX_SLOT(OfxPropertySuiteV1, 3, propSetInt)
OFX_SLOT(OfxPropertySuiteV1, 4, propSetPointerN)
OFX_SLOT(OfxPropertySuiteV1, 5, propSetStringN)
OFX_SLOT(OfxPropertySuiteV1, 6, propSetDoubleN)
OFX_SLOT(OfxPropertySuiteV1, 7, propSetIntN)
OFX_SLOT(OfxPropertySuiteV1, 8, propGetPointer)
OFX_SLOT(OfxPropertySuiteV1, 9, propGetString)
OFX_SLOT(OfxPropertySuiteV1, 10, propGetDouble)
OFX_SLOT(OfxPropertySuiteV1, 11, propGetInt)
OFX_SLOT(OfxPropertySuiteV1, 12, propGetPointerN)
OFX_SLOT(OfxPropertySuiteV1, 13, propGetStringN)
OFX_SLOT(OfxPropertySuiteV1, 14, propGetDoubleN)
OFX_SLOT(OfxPropertySuiteV1, 15, propGetIntN)
OFX_SLOT(OfxPropertySuiteV1, 16, propReset)
OFX_SLOT(OfxPropertySuiteV1, 17, propGetDimension)

OFX_SUITE(OfxImageEffectSuiteV1, 13)
OFX_SLOT(OfxImageEffectSuiteV1, 0, getPropertySet)
OFX_SLOT(OfxImageEffectSuiteV1, 1, getParamSet)
OFX_SLOT(OfxImageEffectSuiteV1, 2, clipDefine)
OFX_SLOT(OfxImageEffectSuiteV1, 3, clipGetHandle)
OFX_SLOT(OfxImageEffectSuiteV1, 4, clipGetPropertySet)
OFX_SLOT(OfxImageEffectSuiteV1, 5, clipGetImage)
OFX_SLOT(OfxImageEffectSuiteV1, 6, clipReleaseImage)
OFX_SLOT(OfxImageEffectSuiteV1, 7, clipGetRegionOfDefinition)
OFX_SLOT(OfxImageEffectSuiteV1, 8, abort)
OFX_SLOT(OfxImageEffectSuiteV1, 9, imageMemoryAlloc)
OFX_SLOT(OfxImageEffectSuiteV1, 10, imageMemoryFree)
OFX_SLOT(OfxImageEffectSuiteV1, 11, imageMemoryLock)
OFX_SLOT(OfxImageEffectSuiteV1, 12, imageMemoryUnlock)

OFX_SUITE(OfxParameterSuiteV1, 18)
OFX_SLOT(OfxParameterSuiteV1, 0, paramDefine)
OFX_SLOT(OfxParameterSuiteV1, 1, paramGetHandle)
OFX_SLOT(OfxParameterSuiteV1, 2, paramSetGetPropertySet)
OFX_SLOT(OfxParameterSuiteV1, 3, paramGetPropertySet)
OFX_SLOT(OfxParameterSuiteV1, 4, paramGetValue)
OFX_SLOT(OfxParameterSuiteV1, 5, paramGetValueAtTime)
OFX_SLOT(OfxParameterSuiteV1, 6, paramGetDerivative)
OFX_SLOT(OfxParameterSuiteV1, 7, paramGetIntegral)
OFX_SLOT(OfxParameterSuiteV1, 8, paramSetValue)
OFX_SLOT(OfxParameterSuiteV1, 9, paramSetValueAtTime)
OFX_SLOT(OfxParameterSuiteV1, 10, paramGetNumKeys)
OFX_SLOT(OfxParameterSuiteV1, 11, paramGetKeyTime)
OFX_SLOT(OfxParameterSuiteV1, 12, paramGetKeyIndex)
OFX_SLOT(OfxParameterSuiteV1, 13, paramDeleteKey)
OFX_SLOT(OfxParameterSuiteV1, 14, paramDeleteAllKeys)
OFX_SLOT(OfxParameterSuiteV1, 15, paramCopy)
OFX_SLOT(OfxParameterSuiteV1, 16, paramEditBegin)
OFX_SLOT(OfxParameterSuiteV1, 17, paramEditEnd)

OFX_SUITE(OfxMemorySuiteV1, 2)
OFX_SLOT(OfxMemorySuiteV1, 0, memoryAlloc)
OFX_SLOT(OfxMemorySuiteV1, 1, memoryFree)

OFX_SUITE(OfxMultiThreadSuiteV1, 9)
OFX_SLOT(OfxMultiThreadSuiteV1, 0, multiThread)
OFX_SLOT(OfxMultiThreadSuiteV1, 1, multiThreadNumCPUs)
OFX_SLOT(OfxMultiThreadSuiteV1, 2, multiThreadIndex)
OFX_SLOT(OfxMultiThreadSuiteV1, 3, multiThreadIsSpawnedThread)
OFX_SLOT(OfxMultiThreadSuiteV1, 4, mutexCreate)
OFX_SLOT(OfxMultiThreadSuiteV1, 5, mutexDestroy)
OFX_SLOT(OfxMultiThreadSuiteV1, 6, mutexLock)
OFX_SLOT(OfxMultiThreadSuiteV1, 7, mutexUnLock)
OFX_SLOT(OfxMultiThreadSuiteV1, 8, mutexTryLock)

OFX_SUITE(OfxMessageSuiteV1, 1)
OFX_SLOT(OfxMessageSuiteV1, 0, message)

OFX_SUITE(OfxMessageSuiteV2, 3)
OFX_SLOT(OfxMessageSuiteV2, 0, message)
OFX_SLOT(OfxMessageSuiteV2, 1, setPersistentMessage)
OFX_SLOT(OfxMessageSuiteV2, 2, clearPersistentMessage)

OFX_SUITE(OfxProgressSuiteV1, 3)
OFX_SLOT(OfxProgressSuiteV1, 0, progressStart)
OFX_SLOT(OfxProgressSuiteV1, 1, progressUpdate)
OFX_SLOT(OfxProgressSuiteV1, 2, progressEnd)

OFX_SUITE(OfxProgressSuiteV2, 3)
OFX_SLOT(OfxProgressSuiteV2, 0, progressStart)
OFX_SLOT(OfxProgressSuiteV2, 1, progressUpdate)
OFX_SLOT(OfxProgressSuiteV2, 2, progressEnd)

OFX_SUITE(OfxTimeLineSuiteV1, 3)
OFX_SLOT(OfxTimeLineSuiteV1, 0, getTime)
OFX_SLOT(OfxTimeLineSuiteV1, 1, gotoTime)
OFX_SLOT(OfxTimeLineSuiteV1, 2, getTimeBounds)

OFX_SUITE(OfxInteractSuiteV1, 3)
OFX_SLOT(OfxInteractSuiteV1, 0, interactSwapBuffers)
OFX_SLOT(OfxInteractSuiteV1, 1, interactRedraw)
OFX_SLOT(OfxInteractSuiteV1, 2, interactGetPropertySet)

static_assert(kOfxStatOK == 0 && kOfxStatFailed == 1 && kOfxStatErrFatal == 2 && kOfxStatErrUnknown == 3, "status");
static_assert(kOfxStatErrMissingHostFeature == 4 && kOfxStatErrUnsupported == 5 && kOfxStatErrExists == 6, "status");
static_assert(kOfxStatErrFormat == 7 && kOfxStatErrMemory == 8 && kOfxStatErrBadHandle == 9, "status");
static_assert(kOfxStatErrBadIndex == 10 && kOfxStatErrValue == 11 && kOfxStatReplyYes == 12, "status");
static_assert(kOfxStatReplyNo == 13 && kOfxStatReplyDefault == 14 && kOfxStatUnlicensed == 15, "status");
static_assert(kOfxStatErrImageFormat == 1000 && kOfxStatGPUOutOfMemory == 1001 && kOfxStatGPURenderFailed == 1002,
              "status");

#endif
