/* The message suite, both versions: text from a plug-in to the user, printf style. */
#ifndef TARNWELL_OFX_MESSAGE_H
#define TARNWELL_OFX_MESSAGE_H

#include "ofx_core.h"

/* clang-format off */

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMessageSuite "OfxMessageSuite"

#define kOfxMessageFatal    "OfxMessageFatal"
#define kOfxMessageError    "OfxMessageError"
#define kOfxMessageWarning  "OfxMessageWarning"
#define kOfxMessageMessage  "OfxMessageMessage"
#define kOfxMessageLog      "OfxMessageLog"
#define kOfxMessageQuestion "OfxMessageQuestion" /* answered by kOfxStatReplyYes or kOfxStatReplyNo */

typedef struct OfxMessageSuiteV1 {
    OfxStatus (*message)(void* handle, const char* messageType, const char* messageId, const char* format, ...);
} OfxMessageSuiteV1;

typedef struct OfxMessageSuiteV2 {
    OfxStatus (*message)(void* handle, const char* messageType, const char* messageId, const char* format, ...);
    OfxStatus (*setPersistentMessage)(void* handle, const char* messageType, const char* messageId, const char* format,
                                      ...);
    OfxStatus (*clearPersistentMessage)(void* handle);
} OfxMessageSuiteV2;

#ifdef __cplusplus
}
#endif
#endif
