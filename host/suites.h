// The suites that the host hands out: one function per suite, each in a file of its own name.
#pragma once

#include "ofx/ofx.h"

namespace tarnwell {

const OfxPropertySuiteV1& propertySuite();
const OfxParameterSuiteV1& parameterSuite();
const OfxImageEffectSuiteV1& effectSuite();
const OfxMemorySuiteV1& memorySuite();
const OfxMultiThreadSuiteV1& multiThreadSuite();
const OfxMessageSuiteV1& messageSuiteV1();
const OfxMessageSuiteV2& messageSuiteV2();
const OfxProgressSuiteV1& progressSuiteV1();
const OfxProgressSuiteV2& progressSuiteV2();
const OfxTimeLineSuiteV1& timeLineSuite();

// The suite of that name and version, or null: interacts, drawing, OpenGL and the like are not for a program without a
// window.
const void* suiteNamed(const char* name, int version);

} // namespace tarnwell
