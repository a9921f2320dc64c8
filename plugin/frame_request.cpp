#include "plugin/frame_request.h"

#include "color/strength.h"
#include "plugin/host.h"
#include "plugin/output_lut_cache.h"
#include "plugin/parameters.h"

#include <algorithm>
#include <cmath>

namespace velloid {

namespace {

double readAmount(OfxImageEffectHandle effect, const char* key, double time) {
    return clampStrength(getDouble(effect, key, time));
}

int readOption(OfxImageEffectHandle effect, const char* key, double time, int last) {
    return std::clamp(getChoice(effect, key, time), 0, last);
}

// The table to apply, or null: no path, no strength, no readable file, or a table too small to sample.
std::shared_ptr<const LUT3D> readOutputLut(OfxImageEffectHandle effect, double time, double strength) {
    const std::string path = getString(effect, "outputLutPath", time);
    if (path.empty() || strength <= 0.0) return nullptr;
    std::shared_ptr<const LUT3D> lut = loadCachedOutputLut(path);
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
    const double time = args.time;
    FrameRequest request;
    request.args = args;
    request.stock = static_cast<NegativeStock>(readOption(effect, "negStock", time, NEGATIVE_STOCK_COUNT - 1));
    request.ioSpace = static_cast<IOSpace>(readOption(effect, "ioSpace", time, 16));
    request.process = processOfMenu(getChoice(effect, "colorProcess", time));
    request.detail = readAmount(effect, "detail", time);
    request.grainIntensity = readAmount(effect, "grainIntensity", time);
    request.halation = readAmount(effect, "halationIntensity", time);
    request.colorIntensity = readAmount(effect, "colorIntensity", time);
    request.gateWeave = readAmount(effect, "gateWeave", time);
    request.flicker = readAmount(effect, "flicker", time);
    request.bloom = readAmount(effect, "bloom", time);
    request.blackWhite = readAmount(effect, "blackWhite", time);
    request.outputLutStrength = readAmount(effect, "outputLutStrength", time);
    request.outputLutInLogC4 = getChoice(effect, "outputLutDomain", time) > 0;
    request.outputLut = readOutputLut(effect, time, request.outputLutStrength);
    return request;
}

bool FrameRequest::nothingToDo() const {
    return detail <= 0.0 && grainOff() && halation <= 0.0 && blackWhite <= 0.0 && bloom <= 0.0 && flicker <= 0.0 &&
           gateWeave <= 0.0 && printOff() && !outputLut;
}

NegativeStock FrameRequest::profileStock() const {
    return stock == NegativeStock::Off ? NegativeStock::Vision500T : stock;
}

double FrameRequest::grainAmount() const {
    return grainIntensity * processGrainScale(process, printStrength());
}

} // namespace velloid
