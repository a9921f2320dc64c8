// The host's side of the boundary: the three suites that the plug-in uses, and small typed property readers over them.
// The load action writes the pointers, possibly while frames render; every other action only reads them.
#pragma once

#include "ofx/ofx.h"

#include <atomic>
#include <string>

namespace velloid {

extern std::atomic<const OfxHost*> gHost;
extern std::atomic<const OfxImageEffectSuiteV1*> gEffectSuite;
extern std::atomic<const OfxPropertySuiteV1*> gPropSuite;
extern std::atomic<const OfxParameterSuiteV1*> gParamSuite;

// Stores the host's record; the suites are fetched by the load action.
void setHostFunc(OfxHost* host);

// Fetches the suites. kOfxStatErrMissingHostFeature without a host or without one of the three.
OfxStatus fetchSuites();

// True when all three suites are there.
bool haveSuites();

// Whether the host says that it renders with OpenCL buffers.
bool hostRendersWithOpenCl();

// Readers of one property. False (and the value untouched) when the host does not answer with kOfxStatOK.
bool readDouble(OfxPropertySetHandle set, const char* name, double& value);
bool readDoubles(OfxPropertySetHandle set, const char* name, int count, double* values);
bool readInt(OfxPropertySetHandle set, const char* name, int& value);
bool readInts(OfxPropertySetHandle set, const char* name, int count, int* values);
bool readPointer(OfxPropertySetHandle set, const char* name, void*& value);
// An owned copy of a string property; empty when it can't be read or is null.
std::string readString(OfxPropertySetHandle set, const char* name);

// Writers: a host that does not know a property is ignored.
void writeString(OfxPropertySetHandle set, const char* name, const char* value, int index = 0);
void writeInt(OfxPropertySetHandle set, const char* name, int value);
void writeDouble(OfxPropertySetHandle set, const char* name, double value);

} // namespace velloid
