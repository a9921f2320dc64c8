// The identity test: with every effect off the source is the result, whatever encoding it is in. Only parameters are
// looked at; a LUT file that is missing or does not parse still makes the frame one to render, and render then copies.
#include "plugin/actions.h"
#include "plugin/frame_request.h"
#include "plugin/host.h"

#include <cmath>

namespace velloid {

namespace {

// Whether the effect of this row's amount happens. The amount is taken as the host gives it, not clamped. NaN is not
// above zero, nor is it at most zero: of the amounts that need something besides, only one that is at most zero
// switches the effect off.
bool happens(const ParameterRow& row, OfxImageEffectHandle effect, double time) {
    if (row.needs == Needs::Nothing) return getDouble(effect, row.key, time) > 0.0;
    FrameRequest request;
    for (const ParameterRow& other : PARAMETERS) {
        if (other.provides == row.needs) readInto(request, other, effect, time);
    }
    return request.has(row.needs) && !(getDouble(effect, row.key, time) <= 0.0);
}

} // namespace

OfxStatus onIsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs) {
    if (!effect || !inArgs || !outArgs || !gPropSuite.load()) return kOfxStatErrBadHandle;
    double time = 0.0;
    if (!readDouble(inArgs, kOfxPropTime, time) || !std::isfinite(time)) return kOfxStatFailed;
    for (const ParameterRow& row : PARAMETERS) {
        if (row.amount && happens(row, effect, time)) return kOfxStatReplyDefault;
    }
    writeString(outArgs, kOfxPropName, kOfxImageEffectSimpleSourceClipName);
    writeDouble(outArgs, kOfxPropTime, time);
    return kOfxStatOK;
}

} // namespace velloid
