/* The interact suite, which only hosts with overlays offer. */
#ifndef TARNWELL_OFX_INTERACT_H
#define TARNWELL_OFX_INTERACT_H

#include "ofx_core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxInteractSuite "OfxInteractSuite"

typedef struct OfxInteract* OfxInteractHandle;

typedef struct OfxInteractSuiteV1 {
    OfxStatus (*interactSwapBuffers)(OfxInteractHandle interactInstance);
    OfxStatus (*interactRedraw)(OfxInteractHandle interactInstance);
    OfxStatus (*interactGetPropertySet)(OfxInteractHandle interactInstance, OfxPropertySetHandle* property);
} OfxInteractSuiteV1;

#ifdef __cplusplus
}
#endif
#endif
