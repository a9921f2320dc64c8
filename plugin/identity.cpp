// The identity test: with every effect off the source is the result, whatever encoding it is in. Only parameters are
// looked at; a LUT file that is missing or does not parse still makes the frame one to render, and render then copies.
#include "plugin/actions.h"
#include "plugin/host.h"
#include "plugin/parameters.h"
#include "process/stock.h"

#include <cmath>

namespace velloid {

namespace {

// The amounts as the host gives them, not clamped. NaN is not above zero, nor is it at most zero: of the amounts that
// have something to go with (a stock, a look, a file) only one that is at most zero switches the effect off.
class Amounts {
public:
    Amounts(OfxImageEffectHandle effect, double time) : effect_(effect), time_(time) {}

    bool on(const char* key) const { return getDouble(effect_, key, time_) > 0.0; }

    bool grain() const {
        return getChoice(effect_, "negStock", time_) < static_cast<int>(NegativeStock::Off) && !off("grainIntensity");
    }

    bool print() const {
        return processOfMenu(getChoice(effect_, "colorProcess", time_)) != PrintProcess{15} && !off("colorIntensity");
    }

    bool outputLut() const { return !getString(effect_, "outputLutPath", time_).empty() && !off("outputLutStrength"); }

private:
    bool off(const char* key) const { return getDouble(effect_, key, time_) <= 0.0; }

    OfxImageEffectHandle effect_;
    double time_;
};

} // namespace

OfxStatus onIsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs) {
    if (!effect || !inArgs || !outArgs || !gPropSuite.load()) return kOfxStatErrBadHandle;
    double time = 0.0;
    if (!readDouble(inArgs, kOfxPropTime, time) || !std::isfinite(time)) return kOfxStatFailed;
    const Amounts amount(effect, time);
    const bool active = amount.on("detail") || amount.grain() || amount.on("halationIntensity") || amount.print() ||
                        amount.on("gateWeave") || amount.on("flicker") || amount.on("bloom") ||
                        amount.on("blackWhite") || amount.outputLut();
    if (active) return kOfxStatReplyDefault;
    writeString(outArgs, kOfxPropName, kOfxImageEffectSimpleSourceClipName);
    writeDouble(outArgs, kOfxPropTime, time);
    return kOfxStatOK;
}

} // namespace velloid
