#include "plugin/frame_request.h"

#include "plugin/host.h"
#include "plugin/output_lut_cache.h"

#include <algorithm>
#include <cmath>

namespace velloid {

namespace {

// The table to apply, or null: no path, no strength, no readable file, or a table too small to sample.
std::shared_ptr<const LUT3D> outputLutOf(const FrameRequest& request) {
    if (request.outputLutPath.empty() || request.outputLutStrength <= 0.0) return nullptr;
    std::shared_ptr<const LUT3D> lut = loadCachedOutputLut(request.outputLutPath);
    return lut && lut->size >= 2 ? lut : nullptr;
}

} // namespace

bool usableScale(double scale) {
    return std::isfinite(scale) && scale >= 1e-6 && scale <= 64.0;
}

OfxStatus readRenderArgs(OfxPropertySetHandle inArgs, RenderArgs& args) {
    if (!readDouble(inArgs, kOfxPropTime, args.time) || !std::isfinite(args.time)) return kOfxStatFailed;
    int window[4] = {0, 0, 0, 0};
    if (!readInts(inArgs, kOfxImageEffectPropRenderWindow, 4, window)) return kOfxStatFailed;
    args.window = {window[0], window[1], window[2], window[3]};
    if (args.emptyWindow()) return kOfxStatOK;
    double scale[2] = {1.0, 1.0};
    if (!readDoubles(inArgs, kOfxImageEffectPropRenderScale, 2, scale)) return kOfxStatFailed;
    if (!usableScale(scale[0]) || !usableScale(scale[1])) return kOfxStatFailed;
    args.scaleX = scale[0];
    args.scaleY = scale[1];
    return kOfxStatOK;
}

FrameRequest readFrameRequest(OfxImageEffectHandle effect, const RenderArgs& args) {
    FrameRequest request;
    request.args = args;
    for (const ParameterRow& row : PARAMETERS)
        readInto(request, row, effect, args.time);
    request.outputLut = outputLutOf(request);
    if (!request.outputLut) request.outputLutPath.clear();
    return request;
}

bool FrameRequest::has(Needs what) const {
    switch (what) {
    case Needs::Stock:
        return stock != NegativeStock::Off;
    case Needs::Look:
        return process != PrintProcess::Off;
    case Needs::Table:
        return !outputLutPath.empty();
    case Needs::Nothing:
        break;
    }
    return true;
}

bool FrameRequest::nothingToDo() const {
    return std::none_of(PARAMETERS.begin(), PARAMETERS.end(),
                        [this](const ParameterRow& row) { return row.amount && amountOf(row) > 0.0; });
}

NegativeStock FrameRequest::profileStock() const {
    return stock == NegativeStock::Off ? NegativeStock::Vision500T : stock;
}

double FrameRequest::grainScale() const {
    return processGrainScale(process, printStrength());
}

} // namespace velloid
