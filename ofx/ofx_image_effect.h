/* Image effects: the effect suite, the actions of an effect, and the properties of effects, clips and images.

   An image is a property set. Pixel (x, y) lies at data + (y - bounds.y1) * rowBytes + (x - bounds.x1) * bytesPerPixel;
   y points up, and rowBytes may be negative or larger than a row. */
#ifndef TARNWELL_OFX_IMAGE_EFFECT_H
#define TARNWELL_OFX_IMAGE_EFFECT_H

#include "ofx_core.h"
#include "ofx_param.h"

/* clang-format off */

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxImageEffectSuite            "OfxImageEffectSuite"
#define kOfxImageEffectPluginApi        "OfxImageEffectPluginAPI" /* the names differ in case */
#define kOfxImageEffectPluginApiVersion 1

typedef struct OfxImageEffectStruct* OfxImageEffectHandle;
typedef struct OfxImageClipStruct*   OfxImageClipHandle;
typedef struct OfxImageMemoryStruct* OfxImageMemoryHandle;

typedef struct OfxImageEffectSuiteV1 {
    OfxStatus (*getPropertySet)(OfxImageEffectHandle imageEffect, OfxPropertySetHandle* propHandle);
    OfxStatus (*getParamSet)(OfxImageEffectHandle imageEffect, OfxParamSetHandle* paramSet);
    OfxStatus (*clipDefine)(OfxImageEffectHandle imageEffect, const char* name, OfxPropertySetHandle* propertySet);
    OfxStatus (*clipGetHandle)(OfxImageEffectHandle imageEffect, const char* name, OfxImageClipHandle* clip,
                               OfxPropertySetHandle* propertySet);
    OfxStatus (*clipGetPropertySet)(OfxImageClipHandle clip, OfxPropertySetHandle* propHandle);
    OfxStatus (*clipGetImage)(OfxImageClipHandle clip, OfxTime time, const OfxRectD* region,
                              OfxPropertySetHandle* imageHandle);
    OfxStatus (*clipReleaseImage)(OfxPropertySetHandle imageHandle);
    OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle clip, OfxTime time, OfxRectD* bounds);
    int       (*abort)(OfxImageEffectHandle imageEffect); /* not a status: non-zero means stop */
    OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle instanceHandle, size_t nBytes,
                                  OfxImageMemoryHandle* memoryHandle);
    OfxStatus (*imageMemoryFree)(OfxImageMemoryHandle memoryHandle);
    OfxStatus (*imageMemoryLock)(OfxImageMemoryHandle memoryHandle, void** returnedPtr);
    OfxStatus (*imageMemoryUnlock)(OfxImageMemoryHandle memoryHandle);
} OfxImageEffectSuiteV1;

/* ---- status codes of image effects ----------------------------------------------------------------------------------- */
#define kOfxStatErrImageFormat  ((int)1000)
#define kOfxStatGPUOutOfMemory  ((int)1001)
#define kOfxStatGLOutOfMemory   ((int)1001)
#define kOfxStatGPURenderFailed ((int)1002)
#define kOfxStatGLRenderFailed  ((int)1002)

/* ---- actions ------------------------------------------------------------------------------------------------------------ */
#define kOfxImageEffectActionDescribeInContext     "OfxImageEffectActionDescribeInContext"
#define kOfxImageEffectActionGetClipPreferences    "OfxImageEffectActionGetClipPreferences"
#define kOfxImageEffectActionIsIdentity            "OfxImageEffectActionIsIdentity"
#define kOfxImageEffectActionGetRegionOfDefinition "OfxImageEffectActionGetRegionOfDefinition"
#define kOfxImageEffectActionGetRegionsOfInterest  "OfxImageEffectActionGetRegionsOfInterest"
#define kOfxImageEffectActionGetTimeDomain         "OfxImageEffectActionGetTimeDomain"
#define kOfxImageEffectActionGetFramesNeeded       "OfxImageEffectActionGetFramesNeeded"
#define kOfxImageEffectActionBeginSequenceRender   "OfxImageEffectActionBeginSequenceRender"
#define kOfxImageEffectActionRender                "OfxImageEffectActionRender"
#define kOfxImageEffectActionEndSequenceRender     "OfxImageEffectActionEndSequenceRender"
#define kOfxImageEffectActionGetOutputColourspace  "OfxImageEffectActionGetOutputColourspace"

/* ---- contexts and the clips they demand ---------------------------------------------------------------------------------- */
#define kOfxImageEffectContextFilter     "OfxImageEffectContextFilter" /* Source and Output */
#define kOfxImageEffectContextGeneral    "OfxImageEffectContextGeneral" /* Output */
#define kOfxImageEffectContextGenerator  "OfxImageEffectContextGenerator"
#define kOfxImageEffectContextTransition "OfxImageEffectContextTransition"
#define kOfxImageEffectContextPaint      "OfxImageEffectContextPaint"
#define kOfxImageEffectContextRetimer    "OfxImageEffectContextRetimer"

/* Macro and string differ in all of these. */
#define kOfxImageEffectOutputClipName               "Output"
#define kOfxImageEffectSimpleSourceClipName         "Source"
#define kOfxImageEffectTransitionSourceFromClipName "SourceFrom"
#define kOfxImageEffectTransitionSourceToClipName   "SourceTo"
#define kOfxImageEffectTransitionParamName          "Transition"
#define kOfxImageEffectRetimerParamName             "SourceTime"

/* ---- host, effect descriptor and effect instance --------------------------------------------------------------------------- */
#define kOfxImageEffectHostPropIsBackground  "OfxImageEffectHostPropIsBackground"  /* int */
#define kOfxImageEffectHostPropNativeOrigin  "OfxImageEffectHostPropNativeOrigin"  /* string, one of the next three */
#define kOfxHostNativeOriginBottomLeft       "kOfxImageEffectHostPropNativeOriginBottomLeft" /* values begin with k */
#define kOfxHostNativeOriginTopLeft          "kOfxImageEffectHostPropNativeOriginTopLeft"
#define kOfxHostNativeOriginCenter           "kOfxImageEffectHostPropNativeOriginCenter"

#define kOfxImageEffectPropSupportedContexts           "OfxImageEffectPropSupportedContexts"           /* string xN */
#define kOfxImageEffectPropSupportedComponents         "OfxImageEffectPropSupportedComponents"         /* string xN */
#define kOfxImageEffectPropSupportedPixelDepths        "OfxImageEffectPropSupportedPixelDepths"        /* string xN */
#define kOfxImageEffectPropSupportsOverlays            "OfxImageEffectPropSupportsOverlays"            /* int */
#define kOfxImageEffectPropSupportsMultiResolution     "OfxImageEffectPropSupportsMultiResolution"     /* int */
#define kOfxImageEffectPropSupportsTiles               "OfxImageEffectPropSupportsTiles"               /* int */
#define kOfxImageEffectPropTemporalClipAccess          "OfxImageEffectPropTemporalClipAccess"          /* int */
#define kOfxImageEffectPropSupportsMultipleClipDepths  "OfxImageEffectPropMultipleClipDepths"  /* int; names differ */
#define kOfxImageEffectPropSupportsMultipleClipPARs    "OfxImageEffectPropSupportsMultipleClipPARs"    /* int */
#define kOfxImageEffectPropSetableFrameRate            "OfxImageEffectPropSetableFrameRate"            /* int */
#define kOfxImageEffectPropSetableFielding             "OfxImageEffectPropSetableFielding"             /* int */
#define kOfxImageEffectInstancePropSequentialRender    "OfxImageEffectInstancePropSequentialRender"    /* int */
#define kOfxImageEffectPropRenderQualityDraft          "OfxImageEffectPropRenderQualityDraft"          /* int */

#define kOfxImageEffectPluginPropGrouping                "OfxImageEffectPluginPropGrouping"                /* string */
#define kOfxImageEffectPluginPropSingleInstance          "OfxImageEffectPluginPropSingleInstance"          /* int */
#define kOfxImageEffectPluginRenderThreadSafety          "OfxImageEffectPluginRenderThreadSafety"          /* string */
#define kOfxImageEffectPluginPropHostFrameThreading      "OfxImageEffectPluginPropHostFrameThreading"      /* int */
#define kOfxImageEffectPluginPropFieldRenderTwiceAlways  "OfxImageEffectPluginPropFieldRenderTwiceAlways"  /* int */
#define kOfxImageEffectPropClipPreferencesSlaveParam     "OfxImageEffectPropClipPreferencesSlaveParam"     /* string xN */
#define kOfxImageEffectPluginPropOverlayInteractV1       "OfxImageEffectPluginPropOverlayInteractV1"       /* pointer */
#define kOfxImageEffectPluginPropOverlayInteractV2       "OfxImageEffectPluginPropOverlayInteractV2"       /* pointer */
#define kOfxImageEffectPropNoSpatialAwareness            "OfxImageEffectPropNoSpatialAwareness"            /* string */
#define kOfxImageEffectPluginPropObsolete                "OfxImageEffectPluginPropObsolete"                /* int */

#define kOfxImageEffectRenderUnsafe       "OfxImageEffectRenderUnsafe"
#define kOfxImageEffectRenderInstanceSafe "OfxImageEffectRenderInstanceSafe"
#define kOfxImageEffectRenderFullySafe    "OfxImageEffectRenderFullySafe"

#define kOfxImageEffectPropContext                 "OfxImageEffectPropContext"                 /* string */
#define kOfxImageEffectPropPluginHandle            "OfxImageEffectPropPluginHandle"            /* pointer */
#define kOfxImageEffectPropProjectSize             "OfxImageEffectPropProjectSize"             /* double x2, canonical */
#define kOfxImageEffectPropProjectOffset           "OfxImageEffectPropProjectOffset"           /* double x2 */
#define kOfxImageEffectPropProjectExtent           "OfxImageEffectPropProjectExtent"           /* double x2 */
#define kOfxImageEffectPropProjectPixelAspectRatio "OfxImageEffectPropPixelAspectRatio" /* double; of the project */
#define kOfxImageEffectPropFrameRate               "OfxImageEffectPropFrameRate"               /* double */
#define kOfxImageEffectInstancePropEffectDuration  "OfxImageEffectInstancePropEffectDuration"  /* double, frames */

/* ---- clips ------------------------------------------------------------------------------------------------------------------- */
#define kOfxImageClipPropOptional              "OfxImageClipPropOptional"              /* int */
#define kOfxImageClipPropIsMask                "OfxImageClipPropIsMask"                /* int */
#define kOfxImageClipPropFieldExtraction       "OfxImageClipPropFieldExtraction"       /* string */
#define kOfxImageClipPropUnmappedPixelDepth    "OfxImageClipPropUnmappedPixelDepth"    /* string */
#define kOfxImageClipPropUnmappedComponents    "OfxImageClipPropUnmappedComponents"    /* string */
#define kOfxImageEffectPropUnmappedFrameRate   "OfxImageEffectPropUnmappedFrameRate"   /* double */
#define kOfxImageEffectPropFrameRange          "OfxImageEffectPropFrameRange"          /* double x2 */
#define kOfxImageEffectPropUnmappedFrameRange  "OfxImageEffectPropUnmappedFrameRange"  /* double x2 */
#define kOfxImageClipPropFieldOrder            "OfxImageClipPropFieldOrder"            /* string */
#define kOfxImageClipPropConnected             "OfxImageClipPropConnected"             /* int */
#define kOfxImageClipPropContinuousSamples     "OfxImageClipPropContinuousSamples"     /* int */

/* Clip preferences: these stems, followed by the clip's name. */
#define kOfxImageClipPropComponentsStem           "OfxImageClipPropComponents_"           /* string */
#define kOfxImageClipPropDepthStem                "OfxImageClipPropDepth_"                /* string */
#define kOfxImageClipPropPARStem                  "OfxImageClipPropPAR_"                  /* double */
#define kOfxImageClipPropPreferredColourspacesStem "OfxImageClipPropPreferredColourspaces_" /* string xN */
#define kOfxImageClipPropRoIStem                  "OfxImageClipPropRoI_"                  /* double x4 */
#define kOfxImageClipPropFrameRangeStem           "OfxImageClipPropFrameRange_"           /* double xN, N even */
#define kOfxImageEffectFrameVarying               "OfxImageEffectFrameVarying"            /* int; no "Prop" in it */

/* ---- images -------------------------------------------------------------------------------------------------------------------- */
#define kOfxImageEffectPropPixelDepth        "OfxImageEffectPropPixelDepth"        /* string */
#define kOfxImageEffectPropComponents        "OfxImageEffectPropComponents"        /* string */
#define kOfxImageEffectPropPreMultiplication "OfxImageEffectPropPreMultiplication" /* string */
#define kOfxImagePropPixelAspectRatio        "OfxImagePropPixelAspectRatio"        /* double */
#define kOfxImagePropData                    "OfxImagePropData"                    /* pointer: pixel (x1, y1) */
#define kOfxImagePropBounds                  "OfxImagePropBounds"                  /* int x4, pixels in memory */
#define kOfxImagePropRegionOfDefinition      "OfxImagePropRegionOfDefinition"      /* int x4, the whole image */
#define kOfxImagePropRowBytes                "OfxImagePropRowBytes"                /* int, may be negative */
#define kOfxImagePropField                   "OfxImagePropField"                   /* string */
#define kOfxImagePropUniqueIdentifier        "OfxImagePropUniqueIdentifier"        /* string */

#define kOfxImageComponentNone  "OfxImageComponentNone"
#define kOfxImageComponentRGBA  "OfxImageComponentRGBA"
#define kOfxImageComponentRGB   "OfxImageComponentRGB"
#define kOfxImageComponentAlpha "OfxImageComponentAlpha"

/* Macro and string differ in the last two. */
#define kOfxImageOpaque          "OfxImageOpaque"
#define kOfxImagePreMultiplied   "OfxImageAlphaPremultiplied"
#define kOfxImageUnPreMultiplied "OfxImageAlphaUnPremultiplied"

/* Macro and string differ in all of these. */
#define kOfxImageFieldNone    "OfxFieldNone"
#define kOfxImageFieldLower   "OfxFieldLower"
#define kOfxImageFieldUpper   "OfxFieldUpper"
#define kOfxImageFieldBoth    "OfxFieldBoth"
#define kOfxImageFieldSingle  "OfxFieldSingle"
#define kOfxImageFieldDoubled "OfxFieldDoubled"

/* ---- arguments of the actions ------------------------------------------------------------------------------------------------------ */
#define kOfxImageEffectPropFieldToRender           "OfxImageEffectPropFieldToRender"           /* string */
#define kOfxImageEffectPropRenderWindow            "OfxImageEffectPropRenderWindow"            /* int x4, pixels */
#define kOfxImageEffectPropRenderScale             "OfxImageEffectPropRenderScale"             /* double x2 */
#define kOfxImageEffectPropRegionOfDefinition      "OfxImageEffectPropRegionOfDefinition"      /* double x4, canonical */
#define kOfxImageEffectPropRegionOfInterest        "OfxImageEffectPropRegionOfInterest"        /* double x4, canonical */
#define kOfxImageEffectPropFrameStep               "OfxImageEffectPropFrameStep"               /* double */
#define kOfxImageEffectPropSequentialRenderStatus  "OfxImageEffectPropSequentialRenderStatus"  /* int */
#define kOfxImageEffectPropInteractiveRenderStatus "OfxImageEffectPropInteractiveRenderStatus" /* int */
#define kOfxImageEffectPropThumbnailRender         "OfxImageEffectPropThumbnailRender"         /* string (1.5.1) */

#ifdef __cplusplus
}
#endif
#endif
