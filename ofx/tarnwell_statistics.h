// An extension of our own to the render action: a host that wants to know where the time of a frame goes puts a pointer
// to one of these into the render arguments. The plug-in answers while the action runs, on the calling thread. Hosts
// that don't know it notice nothing, and nothing is measured for them.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Pointer property of the in-arguments of kOfxImageEffectActionRender.
#define kTarnwellPropRenderStatistics "TarnwellImageEffectPropRenderStatistics"

typedef struct TarnwellRenderStatistics {
    int size;       // sizeof(TarnwellRenderStatistics) of the caller
    void* receiver; // handed back with every call

    // Seconds of this frame's rendering that went to a stage; the stages in film order. Together they are the
    // frame but for its preparation: taps, noise keys, look tables.
    void (*stage)(void* receiver, const char* name, double seconds);

    // Largest amount of scratch memory that all frames so far had in use together, in bytes, and what is kept for the
    // next ones.
    void (*scratch)(void* receiver, double peakBytes, double keptBytes);
} TarnwellRenderStatistics;

#ifdef __cplusplus
}
#endif
