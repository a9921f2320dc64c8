/* The parameter suite. Its six value functions are really variadic: on some processors named and variadic arguments
   travel differently, so a fixed prototype works on one machine by luck and breaks on the next. A get passes one
   pointer per dimension, a set one value per dimension. */
#ifndef TARNWELL_OFX_PARAM_H
#define TARNWELL_OFX_PARAM_H

#include "ofx_core.h"

/* clang-format off */

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxParameterSuite "OfxParameterSuite"

typedef struct OfxParamStruct*    OfxParamHandle;
typedef struct OfxParamSetStruct* OfxParamSetHandle;

/* The value of a bytes parameter (1.5). */
typedef struct OfxBytes { const unsigned char* data; size_t length; } OfxBytes;

typedef struct OfxParameterSuiteV1 {
    OfxStatus (*paramDefine)(OfxParamSetHandle paramSet, const char* paramType, const char* name,
                             OfxPropertySetHandle* propertySet);
    OfxStatus (*paramGetHandle)(OfxParamSetHandle paramSet, const char* name, OfxParamHandle* param,
                                OfxPropertySetHandle* propertySet);
    OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle paramSet, OfxPropertySetHandle* propHandle);
    OfxStatus (*paramGetPropertySet)(OfxParamHandle param, OfxPropertySetHandle* propHandle);
    OfxStatus (*paramGetValue)(OfxParamHandle paramHandle, ...);
    OfxStatus (*paramGetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
    OfxStatus (*paramGetDerivative)(OfxParamHandle paramHandle, OfxTime time, ...);
    OfxStatus (*paramGetIntegral)(OfxParamHandle paramHandle, OfxTime time1, OfxTime time2, ...);
    OfxStatus (*paramSetValue)(OfxParamHandle paramHandle, ...);
    OfxStatus (*paramSetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
    OfxStatus (*paramGetNumKeys)(OfxParamHandle paramHandle, unsigned int* numberOfKeys);
    OfxStatus (*paramGetKeyTime)(OfxParamHandle paramHandle, unsigned int nthKey, OfxTime* time);
    OfxStatus (*paramGetKeyIndex)(OfxParamHandle paramHandle, OfxTime time, int direction, int* index);
    OfxStatus (*paramDeleteKey)(OfxParamHandle paramHandle, OfxTime time);
    OfxStatus (*paramDeleteAllKeys)(OfxParamHandle paramHandle);
    OfxStatus (*paramCopy)(OfxParamHandle paramTo, OfxParamHandle paramFrom, OfxTime dstOffset,
                           const OfxRangeD* frameRange);
    OfxStatus (*paramEditBegin)(OfxParamSetHandle paramSet, const char* name);
    OfxStatus (*paramEditEnd)(OfxParamSetHandle paramSet);
} OfxParameterSuiteV1;

/* ---- types, with the arguments of a get -------------------------------------------------------------------------- */
#define kOfxParamTypeInteger    "OfxParamTypeInteger"    /* int* */
#define kOfxParamTypeInteger2D  "OfxParamTypeInteger2D"  /* int* x2 */
#define kOfxParamTypeInteger3D  "OfxParamTypeInteger3D"  /* int* x3 */
#define kOfxParamTypeDouble     "OfxParamTypeDouble"     /* double* */
#define kOfxParamTypeDouble2D   "OfxParamTypeDouble2D"   /* double* x2 */
#define kOfxParamTypeDouble3D   "OfxParamTypeDouble3D"   /* double* x3 */
#define kOfxParamTypeBoolean    "OfxParamTypeBoolean"    /* int*, 0 or 1 */
#define kOfxParamTypeChoice     "OfxParamTypeChoice"     /* int*, the option's index */
#define kOfxParamTypeStrChoice  "OfxParamTypeStrChoice"  /* char** (1.5) */
#define kOfxParamTypeRGB        "OfxParamTypeRGB"        /* double* x3 */
#define kOfxParamTypeRGBA       "OfxParamTypeRGBA"       /* double* x4 */
#define kOfxParamTypeString     "OfxParamTypeString"     /* char** */
#define kOfxParamTypeCustom     "OfxParamTypeCustom"     /* char** */
#define kOfxParamTypeBytes      "OfxParamTypeBytes"      /* arguments not settled by the standard (1.5) */
#define kOfxParamTypeGroup      "OfxParamTypeGroup"      /* no value */
#define kOfxParamTypePage       "OfxParamTypePage"       /* no value */
#define kOfxParamTypePushButton "OfxParamTypePushButton" /* no value; a press is an instance-changed */

/* ---- properties of a parameter ------------------------------------------------------------------------------------- */
#define kOfxParamPropType                 "OfxParamPropType"                 /* string */
#define kOfxParamPropHint                 "OfxParamPropHint"                 /* string */
#define kOfxParamPropScriptName           "OfxParamPropScriptName"           /* string */
#define kOfxParamPropParent               "OfxParamPropParent"               /* string: key of a group, "" = top */
#define kOfxParamPropSecret               "OfxParamPropSecret"               /* int */
#define kOfxParamPropEnabled              "OfxParamPropEnabled"              /* int */
#define kOfxParamPropDataPtr              "OfxParamPropDataPtr"              /* pointer */
#define kOfxParamPropInteractV1           "OfxParamPropInteractV1"           /* pointer */
#define kOfxParamPropInteractSize         "OfxParamPropInteractSize"         /* double x2 */
#define kOfxParamPropInteractSizeAspect   "OfxParamPropInteractSizeAspect"   /* double */
#define kOfxParamPropInteractMinimumSize  "OfxParamPropInteractMinimumSize"  /* double x2 */
#define kOfxParamPropInteractPreferedSize "OfxParamPropInteractPreferedSize" /* int x2 */
#define kOfxParamPropHasHostOverlayHandle "OfxParamPropHasHostOverlayHandle" /* int */
#define kOfxParamPropUseHostOverlayHandle "kOfxParamPropUseHostOverlayHandle" /* int; the value begins with k */
#define kOfxParamPropDefault              "OfxParamPropDefault"              /* as the value */
#define kOfxParamPropAnimates             "OfxParamPropAnimates"             /* int */
#define kOfxParamPropIsAnimating          "OfxParamPropIsAnimating"          /* int */
#define kOfxParamPropIsAutoKeying         "OfxParamPropIsAutoKeying"         /* int */
#define kOfxParamPropPersistant           "OfxParamPropPersistant"           /* int; spelled so */
#define kOfxParamPropEvaluateOnChange     "OfxParamPropEvaluateOnChange"     /* int */
#define kOfxParamPropPluginMayWrite       "OfxParamPropPluginMayWrite"       /* int, deprecated */
#define kOfxParamPropCanUndo              "OfxParamPropCanUndo"              /* int */
#define kOfxParamPropCacheInvalidation    "OfxParamPropCacheInvalidation"    /* string, kOfxParamInvalidate... */
#define kOfxParamPropMin                  "OfxParamPropMin"                  /* as the value; resets the display one */
#define kOfxParamPropMax                  "OfxParamPropMax"                  /* as the value; resets the display one */
#define kOfxParamPropDisplayMin           "OfxParamPropDisplayMin"           /* as the value */
#define kOfxParamPropDisplayMax           "OfxParamPropDisplayMax"           /* as the value */
#define kOfxParamPropIncrement            "OfxParamPropIncrement"            /* double */
#define kOfxParamPropDigits               "OfxParamPropDigits"               /* int */
#define kOfxParamPropDoubleType           "OfxParamPropDoubleType"           /* string, kOfxParamDoubleType... */
#define kOfxParamPropShowTimeMarker       "OfxParamPropShowTimeMarker"       /* int */
#define kOfxParamPropDimensionLabel       "OfxParamPropDimensionLabel"       /* string */
#define kOfxParamPropChoiceOption         "OfxParamPropChoiceOption"         /* string xN */
#define kOfxParamPropChoiceOrder          "OfxParamPropChoiceOrder"          /* int xN (1.5) */
#define kOfxParamPropChoiceEnum           "OfxParamPropChoiceEnum"           /* string xN (1.5) */
#define kOfxParamPropStringMode           "OfxParamPropStringMode"           /* string, kOfxParamStringIs... */
#define kOfxParamPropStringFilePathExists "OfxParamPropStringFilePathExists" /* int */
#define kOfxParamPropGroupOpen            "OfxParamPropGroupOpen"            /* int */
#define kOfxParamPropPageChild            "OfxParamPropPageChild"            /* string xN */
#define kOfxParamPropCustomInterpCallbackV1 "OfxParamPropCustomCallbackV1"   /* pointer; the names differ */

#define kOfxParamInvalidateValueChange      "OfxParamInvalidateValueChange"
#define kOfxParamInvalidateValueChangeToEnd "OfxParamInvalidateValueChangeToEnd"
#define kOfxParamInvalidateAll              "OfxParamInvalidateAll"

#define kOfxParamDoubleTypePlain        "OfxParamDoubleTypePlain"
#define kOfxParamDoubleTypeAngle        "OfxParamDoubleTypeAngle"
#define kOfxParamDoubleTypeScale        "OfxParamDoubleTypeScale"
#define kOfxParamDoubleTypeTime         "OfxParamDoubleTypeTime"
#define kOfxParamDoubleTypeAbsoluteTime "OfxParamDoubleTypeAbsoluteTime"

#define kOfxParamStringIsSingleLine     "OfxParamStringIsSingleLine"
#define kOfxParamStringIsMultiLine      "OfxParamStringIsMultiLine"
#define kOfxParamStringIsFilePath       "OfxParamStringIsFilePath"
#define kOfxParamStringIsDirectoryPath  "OfxParamStringIsDirectoryPath"
#define kOfxParamStringIsLabel          "OfxParamStringIsLabel"
#define kOfxParamStringIsRichTextFormat "OfxParamStringIsRichTextFormat"

/* ---- what a host says about parameters -------------------------------------------------------------------------------- */
#define kOfxParamHostPropSupportsCustomInteract      "OfxParamHostPropSupportsCustomInteract"      /* int */
#define kOfxParamHostPropSupportsStringAnimation     "OfxParamHostPropSupportsStringAnimation"     /* int */
#define kOfxParamHostPropSupportsChoiceAnimation     "OfxParamHostPropSupportsChoiceAnimation"     /* int */
#define kOfxParamHostPropSupportsBooleanAnimation    "OfxParamHostPropSupportsBooleanAnimation"    /* int */
#define kOfxParamHostPropSupportsCustomAnimation     "OfxParamHostPropSupportsCustomAnimation"     /* int */
#define kOfxParamHostPropSupportsParametricAnimation "OfxParamHostPropSupportsParametricAnimation" /* int */
#define kOfxParamHostPropSupportsStrChoice           "OfxParamHostPropSupportsStrChoice"           /* int (1.5) */
#define kOfxParamHostPropSupportsStrChoiceAnimation  "OfxParamHostPropSupportsStrChoiceAnimation"  /* int (1.5) */
#define kOfxParamHostPropMaxParameters               "OfxParamHostPropMaxParameters"               /* int, -1 = any */
#define kOfxParamHostPropMaxPages                    "OfxParamHostPropMaxPages"                    /* int */
#define kOfxParamHostPropPageRowColumnCount          "OfxParamHostPropPageRowColumnCount"          /* int x2 */

#ifdef __cplusplus
}
#endif
#endif
