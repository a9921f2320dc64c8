// Clip preferences: the output is like the source, and no two frames are alike.
#include "plugin/actions.h"
#include "plugin/host.h"

namespace velloid {

namespace {

// Copies a string of the source clip to a preference; false when the source does not say.
bool passOn(OfxPropertySetHandle source, const char* name, OfxPropertySetHandle outArgs, const char* preference) {
    const std::string value = readString(source, name);
    if (value.empty()) return false;
    writeString(outArgs, preference, value.c_str());
    return true;
}

} // namespace

OfxStatus onGetClipPreferences(OfxImageEffectHandle effect, OfxPropertySetHandle outArgs) {
    if (!effect || !outArgs || !gEffectSuite.load() || !gPropSuite.load()) return kOfxStatErrBadHandle;
    writeInt(outArgs, kOfxImageEffectFrameVarying, 1);
    OfxImageClipHandle clip = nullptr;
    OfxPropertySetHandle source = nullptr;
    const auto getHandle = gEffectSuite.load()->clipGetHandle;
    if (!getHandle || getHandle(effect, kOfxImageEffectSimpleSourceClipName, &clip, &source) != kOfxStatOK || !source) {
        return kOfxStatOK;
    }
    passOn(source, kOfxImageEffectPropPreMultiplication, outArgs, kOfxImageEffectPropPreMultiplication);
    passOn(source, kOfxImageEffectPropComponents, outArgs, "OfxImageClipPropComponents_Output");
    passOn(source, kOfxImageEffectPropPixelDepth, outArgs, "OfxImageClipPropDepth_Output");
    return kOfxStatOK;
}

} // namespace velloid
