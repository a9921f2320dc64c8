/* Rendering on a GPU. The "...Supported" properties are strings, "true" or "false", on the host and the effect
   descriptor; the "...Enabled" ones are ints in the arguments of begin-sequence, render and end-sequence. An absent
   property means no. With one enabled, kOfxImagePropData of every image is the device's buffer object (Metal, OpenCL
   buffers) or device pointer (CUDA), and work is put on the given queue without waiting for it. */
#ifndef TARNWELL_OFX_GPU_H
#define TARNWELL_OFX_GPU_H

/* clang-format off */

#define kOfxImageEffectPropCPURenderSupported    "OfxImageEffectPropCPURenderSupported"    /* string, "true" by default */

#define kOfxImageEffectPropMetalRenderSupported  "OfxImageEffectPropMetalRenderSupported"  /* string */
#define kOfxImageEffectPropMetalEnabled          "OfxImageEffectPropMetalEnabled"          /* int */
#define kOfxImageEffectPropMetalCommandQueue     "OfxImageEffectPropMetalCommandQueue"     /* pointer: MTLCommandQueue */

#define kOfxImageEffectPropOpenCLRenderSupported "OfxImageEffectPropOpenCLRenderSupported" /* string: buffers */
#define kOfxImageEffectPropOpenCLSupported       "OfxImageEffectPropOpenCLSupported"       /* string: images */
#define kOfxImageEffectPropOpenCLEnabled         "OfxImageEffectPropOpenCLEnabled"         /* int: 1 = OpenCL objects */
#define kOfxImageEffectPropOpenCLCommandQueue    "OfxImageEffectPropOpenCLCommandQueue"    /* pointer: cl_command_queue */
#define kOfxImageEffectPropOpenCLImage           "OfxImageEffectPropOpenCLImage"           /* pointer on an image: cl_mem */

#define kOfxImageEffectPropCudaRenderSupported   "OfxImageEffectPropCudaRenderSupported"   /* string */
#define kOfxImageEffectPropCudaEnabled           "OfxImageEffectPropCudaEnabled"           /* int */
#define kOfxImageEffectPropCudaStreamSupported   "OfxImageEffectPropCudaStreamSupported"   /* string */
#define kOfxImageEffectPropCudaStream            "OfxImageEffectPropCudaStream"            /* pointer: cudaStream_t */

#define kOfxImageEffectPropOpenGLRenderSupported "OfxImageEffectPropOpenGLRenderSupported" /* string, also "needed" */
#define kOfxImageEffectPropOpenGLEnabled         "OfxImageEffectPropOpenGLEnabled"         /* int */
#define kOfxActionOpenGLContextAttached          "OfxActionOpenGLContextAttached"
#define kOfxActionOpenGLContextDetached          "kOfxActionOpenGLContextDetached"         /* the value begins with k */

#endif
