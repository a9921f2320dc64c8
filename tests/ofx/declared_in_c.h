/* What the C half of the test offers to the C++ half: the same declarations, seen by the other language. */
#ifndef TARNWELL_TESTS_OFX_DECLARED_IN_C_H
#define TARNWELL_TESTS_OFX_DECLARED_IN_C_H

#include "ofx/ofx.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A plug-in record initialised by the C compiler. */
const OfxPlugin* pluginRecordWrittenInC(void);

/* Sets a three-dimensional parameter to (0.25, 0.5, 0.75) and reads it back; answers the third value, or below zero. */
double lastOfThreeWrittenThroughC(const OfxParameterSuiteV1* suite, OfxParamHandle param);

#ifdef __cplusplus
}
#endif
#endif
