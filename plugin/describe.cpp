// Describe walks the tables: the descriptor's properties, the two clips, the sixteen parameters. No status is checked:
// a host that does not know a property is simply not told it.
#include "metal/renderer.h"
#include "plugin/actions.h"
#include "plugin/host.h"
#include "plugin/parameters.h"

namespace velloid {

namespace {

struct StringProperty {
    const char* name;
    int index;
    const char* value;
};

struct IntProperty {
    const char* name;
    int value;
};

// The label comes first: writing it resets the short and the long one in some hosts.
constexpr StringProperty IDENTITY_PROPERTIES[] = {
    {kOfxPropLabel, 0, "Tarnwell"},
    {kOfxPropShortLabel, 0, "Tarnwell"},
    {kOfxPropLongLabel, 0, "Tarnwell"},
    {kOfxImageEffectPluginPropGrouping, 0, "Film"},
    {kOfxImageEffectPropSupportedContexts, 0, kOfxImageEffectContextFilter},
    {kOfxImageEffectPropSupportedContexts, 1, kOfxImageEffectContextGeneral},
    {kOfxImageEffectPropSupportedPixelDepths, 0, kOfxBitDepthFloat},
};

constexpr IntProperty CAPABILITIES[] = {
    {kOfxImageEffectPropSupportsTiles, 0},
    {kOfxImageEffectPropSupportsMultiResolution, 0},
    {kOfxImageEffectPropSupportsMultipleClipDepths, 0},
    {kOfxImageEffectPluginPropHostFrameThreading, 0}, // the plug-in threads itself
};

constexpr StringProperty RENDER_PROPERTIES[] = {
    {kOfxImageEffectPluginRenderThreadSafety, 0, kOfxImageEffectRenderFullySafe},
    {kOfxImageEffectPropMetalRenderSupported, 0, "true"},
};

void defineClip(OfxImageEffectHandle effect, const char* name) {
    OfxPropertySetHandle clip = nullptr;
    gEffectSuite.load()->clipDefine(effect, name, &clip);
    writeString(clip, kOfxImageEffectPropSupportedComponents, kOfxImageComponentRGBA, 0);
    writeString(clip, kOfxImageEffectPropSupportedComponents, kOfxImageComponentRGB, 1);
}

const char* typeString(ParameterType type) {
    switch (type) {
    case ParameterType::Choice:
        return kOfxParamTypeChoice;
    case ParameterType::Double:
        return kOfxParamTypeDouble;
    case ParameterType::String:
        return kOfxParamTypeString;
    case ParameterType::Group:
        return kOfxParamTypeGroup;
    case ParameterType::PushButton:
        return kOfxParamTypePushButton;
    }
    return "";
}

void describeDouble(OfxPropertySetHandle props, const ParameterRow& row) {
    writeDouble(props, kOfxParamPropDefault, row.defaultValue);
    writeDouble(props, kOfxParamPropMin, 0.0);
    writeDouble(props, kOfxParamPropMax, 1.0);
    writeDouble(props, kOfxParamPropDisplayMin, 0.0);
    writeDouble(props, kOfxParamPropDisplayMax, 1.0);
}

void describeChoice(OfxPropertySetHandle props, const ParameterRow& row) {
    for (size_t i = 0; i < row.options.size(); ++i) {
        writeString(props, kOfxParamPropChoiceOption, row.options[i], static_cast<int>(i));
    }
    writeInt(props, kOfxParamPropDefault, static_cast<int>(row.defaultValue));
}

void describeText(OfxPropertySetHandle props) {
    writeString(props, kOfxParamPropStringMode, kOfxParamStringIsFilePath);
    writeString(props, kOfxParamPropDefault, "");
}

void defineParameter(OfxParamSetHandle set, const ParameterRow& row) {
    OfxPropertySetHandle props = nullptr;
    gParamSuite.load()->paramDefine(set, typeString(row.type), row.key, &props);
    if (row.type == ParameterType::Double) writeString(props, kOfxParamPropDoubleType, kOfxParamDoubleTypePlain);
    writeString(props, kOfxPropLabel, row.label);
    if (row.hint) writeString(props, kOfxParamPropHint, row.hint);
    switch (row.type) {
    case ParameterType::Double:
        describeDouble(props, row);
        break;
    case ParameterType::Choice:
        describeChoice(props, row);
        break;
    case ParameterType::String:
        describeText(props);
        break;
    case ParameterType::Group:
        writeInt(props, kOfxParamPropGroupOpen, 1);
        break;
    case ParameterType::PushButton:
        break;
    }
    if (row.parent) writeString(props, kOfxParamPropParent, row.parent);
}

} // namespace

void onDescribe(OfxImageEffectHandle effect) {
    const OfxImageEffectSuiteV1* effects = gEffectSuite;
    if (!effects || !effects->getPropertySet) return;
    OfxPropertySetHandle props = nullptr;
    effects->getPropertySet(effect, &props);
    for (const StringProperty& p : IDENTITY_PROPERTIES)
        writeString(props, p.name, p.value, p.index);
    for (const IntProperty& p : CAPABILITIES)
        writeInt(props, p.name, p.value);
    for (const StringProperty& p : RENDER_PROPERTIES)
        writeString(props, p.name, p.value, p.index);
    int slaves = 0;
    for (const ParameterRow& row : PARAMETERS) {
        if (row.changesWithFrame) writeString(props, kOfxImageEffectPropClipPreferencesSlaveParam, row.key, slaves++);
    }
    // Only to a host that offers it: all others see the plain descriptor.
    if (hostRendersWithOpenCl() && openclAvailable())
        writeString(props, kOfxImageEffectPropOpenCLRenderSupported, "true");
}

void onDescribeInContext(OfxImageEffectHandle effect) {
    const OfxImageEffectSuiteV1* effects = gEffectSuite;
    const OfxParameterSuiteV1* parameters = gParamSuite;
    if (!effects || !effects->clipDefine || !effects->getParamSet || !parameters || !parameters->paramDefine) return;
    defineClip(effect, kOfxImageEffectSimpleSourceClipName);
    defineClip(effect, kOfxImageEffectOutputClipName);
    OfxParamSetHandle set = nullptr;
    effects->getParamSet(effect, &set);
    for (const ParameterRow& row : PARAMETERS)
        defineParameter(set, row);
}

} // namespace velloid
