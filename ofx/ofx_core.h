/* The ground of the OpenFX interface, version 1: value types, handles, the host and plug-in records, status codes,
   the actions and properties that are not particular to image effects.

   Everything in this folder is our own declaration of the public binary interface of OpenFX (Academy Software
   Foundation). Names, strings, numbers, member orders and signatures are those of the standard; a macro's name is
   `k` followed by its string, and the few that differ say so. Plain C, clean in C++: layout_checks.h holds both
   languages to the layout. */
#ifndef TARNWELL_OFX_CORE_H
#define TARNWELL_OFX_CORE_H

#include <limits.h>
#include <stddef.h>

/* clang-format off */

#ifdef __cplusplus
extern "C" {
#endif

/* Marks the functions that a plug-in binary exports. */
#if defined(_WIN32)
#define OfxExport extern __declspec(dllexport)
#elif defined(__GNUC__)
#define OfxExport extern __attribute__((visibility("default")))
#else
#define OfxExport extern
#endif

/* ---- value types ------------------------------------------------------------------------------------------- */
typedef int    OfxStatus;
typedef double OfxTime; /* frames; 0 is the first frame of the effect; may be fractional */

typedef struct OfxRangeI { int min, max; } OfxRangeI;
typedef struct OfxRangeD { double min, max; } OfxRangeD;
typedef struct OfxPointI { int x, y; } OfxPointI;
typedef struct OfxPointD { double x, y; } OfxPointD;
typedef struct OfxRectI  { int x1, y1, x2, y2; } OfxRectI;    /* x1 <= x < x2, y1 <= y < y2, y points up */
typedef struct OfxRectD  { double x1, y1, x2, y2; } OfxRectD;

/* The sides of an infinite rectangle, integer or double. */
#define kOfxFlagInfiniteMin INT_MIN
#define kOfxFlagInfiniteMax INT_MAX

/* ---- handles: pointers to structs that are never defined ----------------------------------------------------- */
typedef struct OfxPropertySetStruct* OfxPropertySetHandle;

/* ---- the host record ------------------------------------------------------------------------------------------ */
typedef struct OfxHost {
    OfxPropertySetHandle host; /* the host descriptor */
    const void* (*fetchSuite)(OfxPropertySetHandle host, const char* suiteName, int suiteVersion);
} OfxHost;

/* ---- the plug-in record ----------------------------------------------------------------------------------------- */
typedef OfxStatus (OfxPluginEntryPoint)(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                                        OfxPropertySetHandle outArgs);

typedef struct OfxPlugin {
    const char*          pluginApi;
    int                  apiVersion;
    const char*          pluginIdentifier; /* ASCII, no blanks, unique, case-sensitive */
    unsigned int         pluginVersionMajor;
    unsigned int         pluginVersionMinor;
    void               (*setHost)(OfxHost* host); /* only stores the pointer */
    OfxPluginEntryPoint* mainEntry;
} OfxPlugin;

/* What a binary exports. OfxSetHost is optional and young (1.5): declared here as types for a host to look up, and
   left for a plug-in to define if it wants it. */
typedef int        (OfxGetNumberOfPluginsFunction)(void);
typedef OfxPlugin* (OfxGetPluginFunction)(int nth);
typedef OfxStatus  (OfxSetHostFunction)(const OfxHost* host);

OfxExport int OfxGetNumberOfPlugins(void);
OfxExport OfxPlugin* OfxGetPlugin(int nth);

/* ---- status codes: 0 to 999 general, 1000 to 1999 image effects (ofx_image_effect.h) --------------------------- */
#define kOfxStatOK                    ((int)0)
#define kOfxStatFailed                ((int)1)
#define kOfxStatErrFatal              ((int)2)
#define kOfxStatErrUnknown            ((int)3)
#define kOfxStatErrMissingHostFeature ((int)4)
#define kOfxStatErrUnsupported        ((int)5)
#define kOfxStatErrExists             ((int)6)
#define kOfxStatErrFormat             ((int)7)
#define kOfxStatErrMemory             ((int)8)
#define kOfxStatErrBadHandle          ((int)9)
#define kOfxStatErrBadIndex           ((int)10)
#define kOfxStatErrValue              ((int)11)
#define kOfxStatReplyYes              ((int)12)
#define kOfxStatReplyNo               ((int)13)
#define kOfxStatReplyDefault          ((int)14)
#define kOfxStatUnlicensed            ((int)15)

/* ---- actions ----------------------------------------------------------------------------------------------------- */
#define kOfxActionLoad                 "OfxActionLoad"
#define kOfxActionUnload               "OfxActionUnload"
#define kOfxActionDescribe             "OfxActionDescribe"
#define kOfxActionCreateInstance       "OfxActionCreateInstance"
#define kOfxActionDestroyInstance      "OfxActionDestroyInstance"
#define kOfxActionBeginInstanceChanged "OfxActionBeginInstanceChanged"
#define kOfxActionInstanceChanged      "OfxActionInstanceChanged"
#define kOfxActionEndInstanceChanged   "OfxActionEndInstanceChanged"
#define kOfxActionBeginInstanceEdit    "OfxActionBeginInstanceEdit"
#define kOfxActionEndInstanceEdit      "OfxActionEndInstanceEdit"
#define kOfxActionPurgeCaches          "OfxActionPurgeCaches"
#define kOfxActionSyncPrivateData      "OfxActionSyncPrivateData"
#define kOfxActionDialog               "OfxActionDialog"

/* ---- properties ---------------------------------------------------------------------------------------------------- */
#define kOfxPropAPIVersion         "OfxPropAPIVersion"         /* int xN */
#define kOfxPropTime               "OfxPropTime"               /* double */
#define kOfxPropIsInteractive      "OfxPropIsInteractive"      /* int */
#define kOfxPropInstanceData       "OfxPropInstanceData"       /* pointer, the plug-in's own */
#define kOfxPropType               "OfxPropType"               /* string, kOfxType... */
#define kOfxPropName               "OfxPropName"               /* string */
#define kOfxPropVersion            "OfxPropVersion"            /* int xN */
#define kOfxPropVersionLabel       "OfxPropVersionLabel"       /* string */
#define kOfxPropPluginDescription  "OfxPropPluginDescription"  /* string */
#define kOfxPropLabel              "OfxPropLabel"              /* string; writing it resets the other two labels */
#define kOfxPropShortLabel         "OfxPropShortLabel"         /* string, about 13 characters */
#define kOfxPropLongLabel          "OfxPropLongLabel"          /* string, about 32 characters */
#define kOfxPropIcon               "OfxPropIcon"               /* string x2: SVG, PNG */
#define kOfxPropChangeReason       "OfxPropChangeReason"       /* string, kOfxChange... */
#define kOfxPropHostOSHandle       "OfxPropHostOSHandle"       /* pointer */
#define kOfxPluginPropFilePath     "OfxPluginPropFilePath"     /* string: the bundle's folder */
#define kOfxPluginPropParamPageOrder   "OfxPluginPropParamPageOrder"   /* string xN */
#define kOfxPropParamSetNeedsSyncing   "OfxPropParamSetNeedsSyncing"   /* int */

#define kOfxTypeImageEffectHost     "OfxTypeImageEffectHost"
#define kOfxTypeImageEffect         "OfxTypeImageEffect"
#define kOfxTypeImageEffectInstance "OfxTypeImageEffectInstance"
#define kOfxTypeParameter           "OfxTypeParameter"
#define kOfxTypeParameterInstance   "OfxTypeParameterInstance"
#define kOfxTypeClip                "OfxTypeClip"
#define kOfxTypeImage               "OfxTypeImage"

#define kOfxChangeUserEdited   "OfxChangeUserEdited"
#define kOfxChangePluginEdited "OfxChangePluginEdited"
#define kOfxChangeTime         "OfxChangeTime"

/* Pixel depths. */
#define kOfxBitDepthNone  "OfxBitDepthNone"
#define kOfxBitDepthByte  "OfxBitDepthByte"  /* 0..255 */
#define kOfxBitDepthShort "OfxBitDepthShort" /* 0..65535 */
#define kOfxBitDepthHalf  "OfxBitDepthHalf"  /* 16-bit float, 1.0 is white */
#define kOfxBitDepthFloat "OfxBitDepthFloat" /* 32-bit float, 1.0 is white */

#ifdef __cplusplus
}
#endif
#endif
