// The whole GPU story where no GPU device is built in: every frame fails, purge and shutdown have nothing to do.
#include "metal/renderer.h"

namespace velloid {

bool metalRenderFrame(void*, void*, void*, const MetalFrameParams&) { return false; }
bool metalRenderFrameCPU(void*, const float*, float*, const MetalFrameParams&) { return false; }
bool metalPassthrough(void*, void*, void*, int, int, int, int, int) { return false; }
void metalPurgeCaches() {}
void metalShutdown() {}

} // namespace velloid
