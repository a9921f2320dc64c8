// The render action: validates, fetches the images, and chooses between the CPU and the GPU.
#include "plugin/actions.h"
#include "plugin/film_pass.h"
#include "plugin/gpu_frame.h"
#include "plugin/host.h"

namespace velloid {

namespace {

OfxStatus renderImages(const FrameRequest& request, OfxPropertySetHandle inArgs, const ClipImage& sourceImage,
                       const ClipImage& outputImage) {
    ImageFacts source;
    ImageFacts output;
    if (!readImageFacts(sourceImage.handle(), source) || !readImageFacts(outputImage.handle(), output)) {
        return kOfxStatFailed;
    }
    const OfxStatus usable = checkImages(source, output, request.args.scaleX, request.args.scaleY);
    if (usable != kOfxStatOK) return usable;
    const Frame frame{request, source, output, layoutOf(source)};
    const GpuRuntime runtime = requestedRuntime(inArgs);
    return runtime == GpuRuntime::None ? renderOnCpu(frame, wantedStatistics(inArgs))
                                       : renderOnGpu(frame, runtime, inArgs);
}

} // namespace

OfxStatus onRender(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs) {
    if (!effect || !inArgs || !haveSuites()) return kOfxStatErrBadHandle;
    RenderArgs args;
    const OfxStatus status = readRenderArgs(inArgs, args);
    if (status != kOfxStatOK || args.emptyWindow()) return status;
    const FrameRequest request = readFrameRequest(effect, args);
    const OfxImageClipHandle sourceClip = findClip(effect, kOfxImageEffectSimpleSourceClipName);
    if (!sourceClip) return kOfxStatFailed;
    const OfxImageClipHandle outputClip = findClip(effect, kOfxImageEffectOutputClipName);
    if (!outputClip) return kOfxStatFailed;
    // Released in reverse: the output, the source, and last the request with its table.
    const ClipImage source(sourceClip, args.time);
    if (!source.handle()) return kOfxStatFailed;
    const ClipImage output(outputClip, args.time);
    if (!output.handle()) return kOfxStatFailed;
    return renderImages(request, inArgs, source, output);
}

} // namespace velloid
