// The GPU renderer as the rest of the plug-in sees it: the whole film chain as one command buffer on the host's queue.
// No function here throws, but where it says so. Failures inside are written once to standard error and become false.
#pragma once

#include "color/looks.h"
#include "color/lut3d.h"

#include <cstddef>
#include <functional>
#include <optional>

namespace velloid {

// All that the GPU needs to know of one frame. Amounts count as "on" when they are finite and above 0.
struct MetalFrameParams {
    int width = 0;              // pixels
    int height = 0;             // pixels
    int components = 0;         // floats per host pixel: 3 or 4
    int srcStride = 0;          // floats per source row; 0 or less: width * components
    int dstStride = 0;          // floats per destination row; 0 or less: width * components
    bool premultiplied = false; // host colour is premultiplied by alpha (only with 4 components)
    double effectScaleX = 1.0;  // multiplies blur sigmas and the weave's shift in x
    double effectScaleY = 1.0;  // the same in y
    double grainScaleX = 1.0;   // pixels per grain cell in x
    double grainScaleY = 1.0;   // the same in y
    int originX = 0;            // x of the first column in the full image
    int originY = 0;            // y of the first row in the full image
    int io = 0;                 // IOSpace of source and destination
    double detail = 0.0;
    double grain = 0.0;    // already coupled to push and pull
    int stock = 0;         // NegativeStock; Off disables grain
    double halation = 0.0; // as the user set it, not squared
    double bloom = 0.0;
    double flicker = 0.0;
    double color = 0.0;                             // print-look strength, 0..1
    int look = static_cast<int>(PrintProcess::Off); // PrintProcess; Off, or none of them: none
    double weave = 0.0;
    double bw = 0.0;                  // black-and-white mix, 0..1
    double time = 0.0;                // frame time
    bool alexaSceneFit = false;       // scene-fit pass wanted
    const LUT3D* outputLut = nullptr; // borrowed for the call
    double outputLutStrength = 0.0;   // 0..1
    int outputLutDomain = 0;          // 1: indexed by LogC4 codes; else by the encoded output
};

// Renders src into dst (the host's float image buffers) on the host's queue. True: the work is committed, and the
// host's later work on the queue sees the image. False: nothing usable was produced.
bool metalRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p);

// The same for images in host memory, and waits for the result. For checking the GPU path.
bool metalRenderFrameCPU(void* queue, const float* src, float* dst, const MetalFrameParams& p);

// Copies the image without effects, on the host's queue.
bool metalPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                      int dstStride);

// The same for a host that renders with OpenCL: its cl_command_queue and cl_mem buffers.
bool openclRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p);
bool openclPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                       int dstStride);

bool openclRenderFrameCPU(void* queue, const float* src, float* dst, const MetalFrameParams& p);

// Whether this machine has an OpenCL runtime. The first call looks for it.
bool openclAvailable();

// What `test` said of the device behind an OpenCL queue. It is asked (with the device's name) until it has an answer,
// which then holds until metalShutdown; others wait meanwhile. Nothing without an answer. Throws what `test` throws.
std::optional<bool> openclDevicePasses(void* queue, const std::function<std::optional<bool>(const char*)>& test);

// Copies `length` bytes between a host's buffer and host memory, after everything that is on the queue, and waits.
// False when the runtime refuses, as it does beyond the end of the buffer.
bool openclRead(void* queue, void* buffer, void* bytes, std::size_t length);
bool openclWrite(void* queue, void* buffer, const void* bytes, std::size_t length);

// The two below are for both.

// Releases the cached tables and every working buffer that no frame uses.
void metalPurgeCaches();

// Waits for all GPU work and releases everything; a later frame starts afresh.
void metalShutdown();

} // namespace velloid
