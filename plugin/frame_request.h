// All that one frame asks for: the render arguments and every parameter at the frame's time, sanitised once.
#pragma once

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/lut3d.h"
#include "ofx/ofx.h"
#include "plugin/parameters.h"
#include "process/stock.h"

#include <memory>
#include <string>

namespace velloid {

// The render action's own arguments.
struct RenderArgs {
    double time = 0.0;              // frame
    OfxRectI window = {0, 0, 0, 0}; // pixels to render
    double scaleX = 1.0;            // render scale
    double scaleY = 1.0;

    bool emptyWindow() const { return window.x2 <= window.x1 || window.y2 <= window.y1; }
};

// True when `scale` is finite and between 1e-6 and 64.
bool usableScale(double scale);

// Reads time, window and render scale, in this order. kOfxStatFailed when one can't be read or can't be used; an empty
// window ends the reading early with kOfxStatOK.
OfxStatus readRenderArgs(OfxPropertySetHandle inArgs, RenderArgs& args);

struct FrameRequest {
    RenderArgs args;
    NegativeStock stock = NegativeStock::Off;
    IOSpace ioSpace{};
    PrintProcess process = PrintProcess::Off;
    // Amounts, all within [0, 1].
    double detail = 0.0;
    double grainIntensity = 0.0;
    double halation = 0.0;
    double colorIntensity = 0.0;
    double gateWeave = 0.0;
    double flicker = 0.0;
    double bloom = 0.0;
    double blackWhite = 0.0;
    double outputLutStrength = 0.0;
    bool outputLutInLogC4 = false;
    std::string outputLutPath;              // empty when there is none to apply
    std::shared_ptr<const LUT3D> outputLut; // null when there is none to apply

    // Whether what an effect needs is there.
    bool has(Needs what) const;
    // The amount of a row that counts: 0 where what it needs is missing.
    double amountOf(const ParameterRow& row) const { return has(row.needs) ? this->*row.amount : 0.0; }

    bool grainOff() const { return grainIntensity <= 0.0 || !has(Needs::Stock); }
    bool printOff() const { return colorIntensity <= 0.0 || !has(Needs::Look); }
    bool sceneFit() const { return colorIntensity > 0.0 && hasSceneFit(process); }
    bool nothingToDo() const;

    // The stock for the profiles of detail and halation: "Off" switches only the grain off.
    NegativeStock profileStock() const;
    // Strength of the print look, 0 when it is off.
    double printStrength() const { return printOff() ? 0.0 : colorIntensity; }
    // What the push and pull processes do to the grain's amount.
    double grainScale() const;
};

// Reads every parameter at the frame's time and loads the output LUT when one is asked for.
FrameRequest readFrameRequest(OfxImageEffectHandle effect, const RenderArgs& args);

} // namespace velloid
