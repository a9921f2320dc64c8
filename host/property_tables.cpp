// Name, type, dimension (0: variable), and what every element starts as.
#include "host/property_tables.h"

#include "ofx/ofx.h"

#include <cfloat>
#include <climits>

namespace tarnwell {

namespace {

constexpr PropertyType POINTER = PropertyType::Pointer;
constexpr PropertyType STRING = PropertyType::String;
constexpr PropertyType DOUBLE = PropertyType::Double;
constexpr PropertyType INT = PropertyType::Int;

// clang-format off

constexpr PropertyRow HOST_ROWS[] = {
    {kOfxPropAPIVersion,                               INT,     0},
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeImageEffectHost},
    {kOfxPropName,                                     STRING,  1},
    {kOfxPropLabel,                                    STRING,  1},
    {kOfxPropVersion,                                  INT,     0},
    {kOfxPropVersionLabel,                             STRING,  1},
    {kOfxPropHostOSHandle,                             POINTER, 1},
    {kOfxImageEffectHostPropIsBackground,              INT,     1, 1.0},
    {kOfxImageEffectHostPropNativeOrigin,              STRING,  1, 0.0, kOfxHostNativeOriginBottomLeft},
    {kOfxImageEffectPropSupportedContexts,             STRING,  0},
    {kOfxImageEffectPropSupportedComponents,           STRING,  0},
    {kOfxImageEffectPropSupportedPixelDepths,          STRING,  0},
    {kOfxImageEffectPropSupportsOverlays,              INT,     1},
    {kOfxImageEffectPropSupportsMultiResolution,       INT,     1},
    {kOfxImageEffectPropSupportsTiles,                 INT,     1},
    {kOfxImageEffectPropTemporalClipAccess,            INT,     1},
    {kOfxImageEffectPropSupportsMultipleClipDepths,    INT,     1},
    {kOfxImageEffectPropSupportsMultipleClipPARs,      INT,     1},
    {kOfxImageEffectPropSetableFrameRate,              INT,     1},
    {kOfxImageEffectPropSetableFielding,               INT,     1},
    {kOfxImageEffectInstancePropSequentialRender,      INT,     1},
    {kOfxImageEffectPropRenderQualityDraft,            INT,     1},
    {kOfxParamHostPropSupportsCustomInteract,          INT,     1},
    {kOfxParamHostPropSupportsStringAnimation,         INT,     1},
    {kOfxParamHostPropSupportsChoiceAnimation,         INT,     1},
    {kOfxParamHostPropSupportsBooleanAnimation,        INT,     1},
    {kOfxParamHostPropSupportsCustomAnimation,         INT,     1},
    {kOfxParamHostPropSupportsParametricAnimation,     INT,     1},
    {kOfxParamHostPropSupportsStrChoice,               INT,     1, 1.0},
    {kOfxParamHostPropSupportsStrChoiceAnimation,      INT,     1},
    {kOfxParamHostPropMaxParameters,                   INT,     1, -1.0},
    {kOfxParamHostPropMaxPages,                        INT,     1},
    {kOfxParamHostPropPageRowColumnCount,              INT,     2},
    {kOfxImageEffectPropCPURenderSupported,            STRING,  1, 0.0, "true"},
    {kOfxImageEffectPropOpenGLRenderSupported,         STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropMetalRenderSupported,          STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropCudaRenderSupported,           STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropCudaStreamSupported,           STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropOpenCLRenderSupported,         STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropOpenCLSupported,               STRING,  1, 0.0, "false"},
};

constexpr PropertyRow EFFECT_ROWS[] = {
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeImageEffect},
    {kOfxPropLabel,                                    STRING,  1},
    {kOfxPropShortLabel,                               STRING,  1},
    {kOfxPropLongLabel,                                STRING,  1},
    {kOfxPropVersion,                                  INT,     0},
    {kOfxPropVersionLabel,                             STRING,  1},
    {kOfxPropPluginDescription,                        STRING,  1},
    {kOfxPropIcon,                                     STRING,  2},
    {kOfxPluginPropFilePath,                           STRING,  1},
    {kOfxPluginPropParamPageOrder,                     STRING,  0},
    {kOfxImageEffectPluginPropGrouping,                STRING,  1},
    {kOfxImageEffectPropSupportedContexts,             STRING,  0},
    {kOfxImageEffectPropSupportedPixelDepths,          STRING,  0},
    {kOfxImageEffectPluginPropSingleInstance,          INT,     1},
    {kOfxImageEffectPluginRenderThreadSafety,          STRING,  1, 0.0, kOfxImageEffectRenderInstanceSafe},
    {kOfxImageEffectPluginPropHostFrameThreading,      INT,     1, 1.0},
    {kOfxImageEffectPropSupportsMultiResolution,       INT,     1, 1.0},
    {kOfxImageEffectPropSupportsTiles,                 INT,     1, 1.0},
    {kOfxImageEffectPropSupportsMultipleClipDepths,    INT,     1},
    {kOfxImageEffectPropSupportsMultipleClipPARs,      INT,     1},
    {kOfxImageEffectPropTemporalClipAccess,            INT,     1},
    {kOfxImageEffectPluginPropFieldRenderTwiceAlways,  INT,     1, 1.0},
    {kOfxImageEffectPropClipPreferencesSlaveParam,     STRING,  0},
    {kOfxImageEffectInstancePropSequentialRender,      INT,     1},
    {kOfxImageEffectPluginPropOverlayInteractV1,       POINTER, 1},
    {kOfxImageEffectPluginPropOverlayInteractV2,       POINTER, 1},
    {kOfxImageEffectPropCPURenderSupported,            STRING,  1, 0.0, "true"},
    {kOfxImageEffectPropOpenGLRenderSupported,         STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropMetalRenderSupported,          STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropCudaRenderSupported,           STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropCudaStreamSupported,           STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropOpenCLRenderSupported,         STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropOpenCLSupported,               STRING,  1, 0.0, "false"},
    {kOfxImageEffectPropNoSpatialAwareness,            STRING,  1, 0.0, "false"},
    {kOfxImageEffectPluginPropObsolete,                INT,     1},
};

constexpr PropertyRow INSTANCE_ROWS[] = {
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeImageEffectInstance},
    {kOfxPropInstanceData,                             POINTER, 1},
    {kOfxPropIsInteractive,                            INT,     1},
    {kOfxPropParamSetNeedsSyncing,                     INT,     1},
    {kOfxImageEffectPropContext,                       STRING,  1},
    {kOfxImageEffectPropPluginHandle,                  POINTER, 1},
    {kOfxImageEffectPropProjectSize,                   DOUBLE,  2},
    {kOfxImageEffectPropProjectOffset,                 DOUBLE,  2},
    {kOfxImageEffectPropProjectExtent,                 DOUBLE,  2},
    {kOfxImageEffectPropProjectPixelAspectRatio,       DOUBLE,  1, 1.0},
    {kOfxImageEffectPropFrameRate,                     DOUBLE,  1, 24.0},
    {kOfxImageEffectInstancePropEffectDuration,        DOUBLE,  1, 1.0},
    {kOfxImageEffectInstancePropSequentialRender,      INT,     1},
    {kOfxImageEffectPropSupportsTiles,                 INT,     1},
    {kOfxImageEffectPropOpenGLRenderSupported,         STRING,  1, 0.0, "false"},
};

constexpr PropertyRow CLIP_ROWS[] = {
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeClip},
    {kOfxPropName,                                     STRING,  1},
    {kOfxPropLabel,                                    STRING,  1},
    {kOfxPropShortLabel,                               STRING,  1},
    {kOfxPropLongLabel,                                STRING,  1},
    {kOfxImageEffectPropSupportedComponents,           STRING,  0},
    {kOfxImageEffectPropTemporalClipAccess,            INT,     1},
    {kOfxImageClipPropOptional,                        INT,     1},
    {kOfxImageClipPropIsMask,                          INT,     1},
    {kOfxImageEffectPropSupportsTiles,                 INT,     1, 1.0},
    {kOfxImageClipPropFieldExtraction,                 STRING,  1, 0.0, kOfxImageFieldDoubled},
};

constexpr PropertyRow CLIP_INSTANCE_ROWS[] = {
    {kOfxImageEffectPropPixelDepth,                    STRING,  1, 0.0, kOfxBitDepthNone},
    {kOfxImageClipPropUnmappedPixelDepth,              STRING,  1, 0.0, kOfxBitDepthNone},
    {kOfxImageEffectPropComponents,                    STRING,  1, 0.0, kOfxImageComponentNone},
    {kOfxImageClipPropUnmappedComponents,              STRING,  1, 0.0, kOfxImageComponentNone},
    {kOfxImageEffectPropPreMultiplication,             STRING,  1, 0.0, kOfxImagePreMultiplied},
    {kOfxImagePropPixelAspectRatio,                    DOUBLE,  1, 1.0},
    {kOfxImageEffectPropFrameRate,                     DOUBLE,  1, 24.0},
    {kOfxImageEffectPropUnmappedFrameRate,             DOUBLE,  1, 24.0},
    {kOfxImageEffectPropFrameRange,                    DOUBLE,  2},
    {kOfxImageEffectPropUnmappedFrameRange,            DOUBLE,  2},
    {kOfxImageClipPropFieldOrder,                      STRING,  1, 0.0, kOfxImageFieldNone},
    {kOfxImageClipPropConnected,                       INT,     1},
    {kOfxImageClipPropContinuousSamples,               INT,     1},
};

constexpr PropertyRow IMAGE_ROWS[] = {
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeImage},
    {kOfxImageEffectPropPixelDepth,                    STRING,  1},
    {kOfxImageEffectPropComponents,                    STRING,  1},
    {kOfxImageEffectPropPreMultiplication,             STRING,  1},
    {kOfxImageEffectPropRenderScale,                   DOUBLE,  2, 1.0},
    {kOfxImagePropPixelAspectRatio,                    DOUBLE,  1, 1.0},
    {kOfxImagePropData,                                POINTER, 1},
    {kOfxImagePropBounds,                              INT,     4},
    {kOfxImagePropRegionOfDefinition,                  INT,     4},
    {kOfxImagePropRowBytes,                            INT,     1},
    {kOfxImagePropField,                               STRING,  1, 0.0, kOfxImageFieldNone},
    {kOfxImagePropUniqueIdentifier,                    STRING,  1},
};

// ---- parameters ---------------------------------------------------------------------------------------------------

constexpr PropertyRow PARAMETER_ROWS[] = {
    {kOfxPropType,                                     STRING,  1, 0.0, kOfxTypeParameter},
    {kOfxParamPropType,                                STRING,  1},
    {kOfxPropName,                                     STRING,  1},
    {kOfxPropLabel,                                    STRING,  1},
    {kOfxPropShortLabel,                               STRING,  1},
    {kOfxPropLongLabel,                                STRING,  1},
    {kOfxParamPropHint,                                STRING,  1},
    {kOfxParamPropScriptName,                          STRING,  1},
    {kOfxParamPropParent,                              STRING,  1},
    {kOfxParamPropSecret,                              INT,     1},
    {kOfxParamPropEnabled,                             INT,     1, 1.0},
    {kOfxParamPropDataPtr,                             POINTER, 1},
    {kOfxPropIcon,                                     STRING,  2},
};

// Not of groups and pages.
constexpr PropertyRow INTERACT_ROWS[] = {
    {kOfxParamPropInteractV1,                          POINTER, 1},
    {kOfxParamPropInteractSize,                        DOUBLE,  2},
    {kOfxParamPropInteractSizeAspect,                  DOUBLE,  1, 1.0},
    {kOfxParamPropInteractMinimumSize,                 DOUBLE,  2, 10.0},
    {kOfxParamPropInteractPreferedSize,                INT,     2, 10.0},
    {kOfxParamPropHasHostOverlayHandle,                INT,     1},
    {kOfxParamPropUseHostOverlayHandle,                INT,     1},
};

constexpr PropertyRow VALUE_ROWS[] = {
    {kOfxParamPropIsAnimating,                         INT,     1},
    {kOfxParamPropIsAutoKeying,                        INT,     1},
    {kOfxParamPropPersistant,                          INT,     1, 1.0},
    {kOfxParamPropEvaluateOnChange,                    INT,     1, 1.0},
    {kOfxParamPropCanUndo,                             INT,     1, 1.0},
    {kOfxParamPropPluginMayWrite,                      INT,     1},
    {kOfxParamPropCacheInvalidation,                   STRING,  1, 0.0, kOfxParamInvalidateValueChange},
};

constexpr PropertyRow DOUBLE_ROWS[] = {
    {kOfxParamPropIncrement,                           DOUBLE,  1, 1.0},
    {kOfxParamPropDigits,                              INT,     1, 2.0},
    {kOfxParamPropDoubleType,                          STRING,  1, 0.0, kOfxParamDoubleTypePlain},
    {kOfxParamPropShowTimeMarker,                      INT,     1},
};

// By type: what one type has that others have not.
struct OwnRow {
    const char* type;
    PropertyRow row;
};

constexpr OwnRow OWN_ROWS[] = {
    {kOfxParamTypeChoice,    {kOfxParamPropChoiceOption,           STRING,  0}},
    {kOfxParamTypeChoice,    {kOfxParamPropChoiceOrder,            INT,     0}},
    {kOfxParamTypeStrChoice, {kOfxParamPropChoiceOption,           STRING,  0}},
    {kOfxParamTypeStrChoice, {kOfxParamPropChoiceOrder,            INT,     0}},
    {kOfxParamTypeStrChoice, {kOfxParamPropChoiceEnum,             STRING,  0}},
    {kOfxParamTypeString,    {kOfxParamPropStringMode,             STRING,  1, 0.0, kOfxParamStringIsSingleLine}},
    {kOfxParamTypeString,    {kOfxParamPropStringFilePathExists,   INT,     1, 1.0}},
    {kOfxParamTypeCustom,    {kOfxParamPropCustomInterpCallbackV1, POINTER, 1}},
    {kOfxParamTypeGroup,     {kOfxParamPropGroupOpen,              INT,     1, 1.0}},
    {kOfxParamTypePage,      {kOfxParamPropPageChild,              STRING,  0}},
};

// clang-format on

PropertyType typeOf(ValueClass values) {
    switch (values) {
    case ValueClass::Int:
        return INT;
    case ValueClass::Double:
        return DOUBLE;
    default:
        return STRING;
    }
}

bool isColour(const ParameterKind& kind) {
    return std::string(kind.type) == kOfxParamTypeRGB || std::string(kind.type) == kOfxParamTypeRGBA;
}

// Bounds as wide as the type; a colour is shown from 0 to 1.
void appendBounds(std::vector<PropertyRow>& rows, const ParameterKind& kind) {
    const PropertyType type = typeOf(kind.values);
    const double lowest = type == INT ? INT_MIN : -DBL_MAX;
    const double highest = type == INT ? INT_MAX : DBL_MAX;
    rows.push_back({kOfxParamPropMin, type, kind.dimension, lowest});
    rows.push_back({kOfxParamPropMax, type, kind.dimension, highest});
    rows.push_back({kOfxParamPropDisplayMin, type, kind.dimension, isColour(kind) ? 0.0 : lowest});
    rows.push_back({kOfxParamPropDisplayMax, type, kind.dimension, isColour(kind) ? 1.0 : highest});
}

void append(std::vector<PropertyRow>& rows, std::span<const PropertyRow> more) {
    rows.insert(rows.end(), more.begin(), more.end());
}

} // namespace

std::span<const PropertyRow> hostRows() {
    return HOST_ROWS;
}
std::span<const PropertyRow> effectRows() {
    return EFFECT_ROWS;
}
std::span<const PropertyRow> instanceRows() {
    return INSTANCE_ROWS;
}
std::span<const PropertyRow> clipRows() {
    return CLIP_ROWS;
}
std::span<const PropertyRow> clipInstanceRows() {
    return CLIP_INSTANCE_ROWS;
}
std::span<const PropertyRow> imageRows() {
    return IMAGE_ROWS;
}

std::vector<PropertyRow> parameterRows(const ParameterKind& kind) {
    std::vector<PropertyRow> rows;
    append(rows, PARAMETER_ROWS);
    const std::string type = kind.type;
    if (type != kOfxParamTypeGroup && type != kOfxParamTypePage) append(rows, INTERACT_ROWS);
    if (kind.values != ValueClass::None) {
        append(rows, VALUE_ROWS);
        rows.push_back({kOfxParamPropDefault, typeOf(kind.values), kind.dimension});
        rows.push_back({kOfxParamPropAnimates, INT, 1, static_cast<double>(kind.animatesByDefault)});
    }
    if (kind.isNumber) {
        appendBounds(rows, kind);
        rows.push_back({kOfxParamPropDimensionLabel, STRING, kind.dimension});
    }
    if (kind.values == ValueClass::Double) append(rows, DOUBLE_ROWS);
    for (const OwnRow& own : OWN_ROWS)
        if (type == own.type) rows.push_back(own.row);
    return rows;
}

} // namespace tarnwell
