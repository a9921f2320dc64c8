// The operations on the runtimes of this build and machine. Where there is none every frame fails, and purge and
// shutdown have nothing to do.
#include "metal/renderer.h"

#include "metal/device_context.h"
#include "metal/devices/opencl_device.h"
#include "metal/frame_encoder.h"

namespace velloid {

namespace {

// Runs `operation` on a runtime; false where the build or the machine has none.
template <typename Operation>
bool on(gpu::Runtime* runtime, Operation operation) {
    return runtime && operation(*runtime);
}

} // namespace

bool metalRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p) {
    return on(gpu::metalRuntime(), [&](gpu::Runtime& r) { return gpu::renderFrame(r, queue, src, dst, p); });
}

bool metalRenderFrameCPU(void* queue, const float* src, float* dst, const MetalFrameParams& p) {
    return on(gpu::metalRuntime(), [&](gpu::Runtime& r) { return gpu::renderFrameFromHost(r, queue, src, dst, p); });
}

bool metalPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                      int dstStride) {
    return on(gpu::metalRuntime(), [&](gpu::Runtime& r) {
        return gpu::passthrough(r, queue, src, dst, width, height, components, srcStride, dstStride);
    });
}

bool openclRenderFrame(void* queue, void* src, void* dst, const MetalFrameParams& p) {
    return on(gpu::openclRuntime(), [&](gpu::Runtime& r) { return gpu::renderFrame(r, queue, src, dst, p); });
}

bool openclPassthrough(void* queue, void* src, void* dst, int width, int height, int components, int srcStride,
                       int dstStride) {
    return on(gpu::openclRuntime(), [&](gpu::Runtime& r) {
        return gpu::passthrough(r, queue, src, dst, width, height, components, srcStride, dstStride);
    });
}

bool openclRenderFrameCPU(void* queue, const float* src, float* dst, const MetalFrameParams& p) {
    return on(gpu::openclRuntime(), [&](gpu::Runtime& r) { return gpu::renderFrameFromHost(r, queue, src, dst, p); });
}

bool openclAvailable() {
    return gpu::openclRuntime() != nullptr;
}

std::optional<bool> openclDevicePasses(void* queue, const std::function<std::optional<bool>(const char*)>& test) {
    const gpu::MetalApiGuard admitted(gpu::openclRuntime());
    return admitted ? gpu::openclVerdict(queue, test) : std::nullopt;
}

bool openclRead(void* queue, void* buffer, void* bytes, std::size_t length) {
    return gpu::readOpenClBuffer(queue, buffer, bytes, length);
}

bool openclWrite(void* queue, void* buffer, const void* bytes, std::size_t length) {
    return gpu::writeOpenClBuffer(queue, buffer, bytes, length);
}

void metalPurgeCaches() {
    gpu::purgeCaches();
}

void metalShutdown() {
    gpu::shutdown();
}

} // namespace velloid
