// The handlers behind the action table in entry.cpp. They may throw; the dispatcher turns that into a status.
#pragma once

#include "ofx/ofx.h"

namespace velloid {

// The plug-in's one entry point: routes an action to its handler. Never throws. kOfxStatReplyDefault for any action
// that the table does not list, kOfxStatErrBadHandle for a null action.
OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs);

// What the host shows of the plug-in: label, contexts, depths, threading, GPU.
void onDescribe(OfxImageEffectHandle effect);
// Clips and parameters; the same in every context.
void onDescribeInContext(OfxImageEffectHandle effect);

// Opens the donation page when the changed parameter is the support button.
void onInstanceChanged(OfxPropertySetHandle inArgs);

// The output takes the source's components, depth and premultiplication, and differs from frame to frame.
OfxStatus onGetClipPreferences(OfxImageEffectHandle effect, OfxPropertySetHandle outArgs);

// kOfxStatOK when every effect is off at the frame's time (outArgs then name the source), else kOfxStatReplyDefault.
OfxStatus onIsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs);

// Renders one frame.
OfxStatus onRender(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs);

} // namespace velloid
