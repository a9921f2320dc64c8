// A grade filter that has nothing in common with the film plug-in: a double2D (gain, offset), a boolean (invert), an
// RGBA tint, a push button; it asks for the memory, multithread and message suites, and renders rows on host threads.
//
//   colour: v = (in * gain + offset) * tint[channel], then 1 - v if inverted;   alpha: in * tint[3]
//
// Values are normalised (white is 1); integer depths are rounded and clipped. An alpha-only image is graded as alpha.
#include "ofx/ofx.h"
#include "tests/host/half.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

using tarnwell::testing::floatToHalf;
using tarnwell::testing::halfToFloat;

OfxHost* gHost = nullptr;
const OfxPropertySuiteV1* gProperties = nullptr;
const OfxImageEffectSuiteV1* gEffects = nullptr;
const OfxParameterSuiteV1* gParameters = nullptr;
const OfxMemorySuiteV1* gMemory = nullptr;
const OfxMultiThreadSuiteV1* gThreads = nullptr;
const OfxMessageSuiteV1* gMessages = nullptr;

template <class Suite>
bool fetch(const Suite*& suite, const char* name) {
    suite = static_cast<const Suite*>(gHost->fetchSuite(gHost->host, name, 1));
    return suite != nullptr;
}

OfxStatus onLoad() {
    const bool all = fetch(gProperties, kOfxPropertySuite) && fetch(gEffects, kOfxImageEffectSuite) &&
                     fetch(gParameters, kOfxParameterSuite) && fetch(gMemory, kOfxMemorySuite) &&
                     fetch(gThreads, kOfxMultiThreadSuite) && fetch(gMessages, kOfxMessageSuite);
    return all ? kOfxStatOK : kOfxStatErrMissingHostFeature;
}

OfxStatus onDescribe(OfxImageEffectHandle effect) {
    OfxPropertySetHandle set;
    gEffects->getPropertySet(effect, &set);
    // Wrappers of other plug-ins ask for the length of a list before they fill it, and give up on an error.
    int count = -1;
    if (gProperties->propGetDimension(set, kOfxImageEffectPropSupportedContexts, &count) != kOfxStatOK || count != 0)
        return kOfxStatFailed;
    gProperties->propSetString(set, kOfxPropLabel, 0, "Second");
    gProperties->propSetString(set, kOfxImageEffectPluginPropGrouping, 0, "Tests");
    gProperties->propSetString(set, kOfxImageEffectPropSupportedContexts, 0, kOfxImageEffectContextFilter);
    gProperties->propSetString(set, kOfxImageEffectPropSupportedContexts, 1, kOfxImageEffectContextGeneral);
    const char* depths[] = {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthHalf, kOfxBitDepthFloat};
    gProperties->propSetStringN(set, kOfxImageEffectPropSupportedPixelDepths, 4, depths);
    gProperties->propSetString(set, kOfxImageEffectPluginRenderThreadSafety, 0, kOfxImageEffectRenderFullySafe);
    gProperties->propSetPointer(set, kOfxImageEffectPluginPropOverlayInteractV1, 0, nullptr);
    return kOfxStatOK;
}

void defineClip(OfxImageEffectHandle effect, const char* name) {
    OfxPropertySetHandle set;
    gEffects->clipDefine(effect, name, &set);
    const char* components[] = {kOfxImageComponentRGBA, kOfxImageComponentRGB, kOfxImageComponentAlpha};
    gProperties->propSetStringN(set, kOfxImageEffectPropSupportedComponents, 3, components);
}

OfxStatus onDescribeInContext(OfxImageEffectHandle effect) {
    defineClip(effect, kOfxImageEffectSimpleSourceClipName);
    defineClip(effect, kOfxImageEffectOutputClipName);
    OfxParamSetHandle parameters;
    gEffects->getParamSet(effect, &parameters);
    OfxPropertySetHandle set;
    gParameters->paramDefine(parameters, kOfxParamTypeDouble2D, "gainOffset", &set);
    const double gainOffset[] = {1.0, 0.0};
    gProperties->propSetDoubleN(set, kOfxParamPropDefault, 2, gainOffset);
    gProperties->propSetString(set, kOfxPropLabel, 0, "Gain and Offset");
    gParameters->paramDefine(parameters, kOfxParamTypeBoolean, "invert", nullptr);
    gParameters->paramDefine(parameters, kOfxParamTypeRGBA, "tint", &set);
    const double white[] = {1.0, 1.0, 1.0, 1.0};
    gProperties->propSetDoubleN(set, kOfxParamPropDefault, 4, white);
    gParameters->paramDefine(parameters, kOfxParamTypePushButton, "reset", nullptr);
    return kOfxStatOK;
}

// ---- pixels -------------------------------------------------------------------------------------------------------

struct Image {
    OfxPropertySetHandle handle = nullptr;
    char* data = nullptr;
    int bounds[4] = {};
    int rowBytes = 0;
    std::string depth;
    int channels = 0;

    int bytes() const { return depth == kOfxBitDepthFloat ? 4 : depth == kOfxBitDepthByte ? 1 : 2; }
    char* at(int x, int y) const {
        return data + static_cast<std::ptrdiff_t>(y - bounds[1]) * rowBytes +
               static_cast<std::ptrdiff_t>(x - bounds[0]) * channels * bytes();
    }
};

bool open(OfxImageEffectHandle effect, const char* name, double time, Image& image) {
    OfxImageClipHandle clip;
    if (gEffects->clipGetHandle(effect, name, &clip, nullptr) != kOfxStatOK) return false;
    if (gEffects->clipGetImage(clip, time, nullptr, &image.handle) != kOfxStatOK) return false;
    void* data = nullptr;
    char* text = nullptr;
    gProperties->propGetPointer(image.handle, kOfxImagePropData, 0, &data);
    gProperties->propGetIntN(image.handle, kOfxImagePropBounds, 4, image.bounds);
    gProperties->propGetInt(image.handle, kOfxImagePropRowBytes, 0, &image.rowBytes);
    gProperties->propGetString(image.handle, kOfxImageEffectPropPixelDepth, 0, &text);
    image.depth = text;
    gProperties->propGetString(image.handle, kOfxImageEffectPropComponents, 0, &text);
    image.channels = std::strcmp(text, kOfxImageComponentRGBA) == 0  ? 4
                     : std::strcmp(text, kOfxImageComponentRGB) == 0 ? 3
                                                                     : 1;
    image.data = static_cast<char*>(data);
    return true;
}

float load(const std::string& depth, const char* at) {
    std::uint16_t word;
    float value;
    std::memcpy(&word, at, depth == kOfxBitDepthByte ? 1 : 2);
    if (depth == kOfxBitDepthByte) return static_cast<float>(static_cast<unsigned char>(*at)) / 255.0f;
    if (depth == kOfxBitDepthShort) return static_cast<float>(word) / 65535.0f;
    if (depth == kOfxBitDepthHalf) return halfToFloat(word);
    std::memcpy(&value, at, 4);
    return value;
}

void store(const std::string& depth, char* at, float value) {
    const float clipped = std::clamp(value, 0.0f, 1.0f);
    if (depth == kOfxBitDepthByte) {
        *at = static_cast<char>(static_cast<unsigned char>(clipped * 255.0f + 0.5f));
    } else if (depth == kOfxBitDepthShort) {
        const auto word = static_cast<std::uint16_t>(clipped * 65535.0f + 0.5f);
        std::memcpy(at, &word, 2);
    } else if (depth == kOfxBitDepthHalf) {
        const std::uint16_t word = floatToHalf(value);
        std::memcpy(at, &word, 2);
    } else {
        std::memcpy(at, &value, 4);
    }
}

struct Work {
    Image source, output;
    int window[4];
    double gain, offset, tint[4];
    int invert;
    OfxMutexHandle mutex;
    int* rowsDone; // from the memory suite, guarded by the mutex
};

float graded(const Work& work, float in, int channel, bool isAlpha) {
    if (isAlpha) return static_cast<float>(in * work.tint[3]);
    const double value = (in * work.gain + work.offset) * work.tint[channel];
    return static_cast<float>(work.invert != 0 ? 1.0 - value : value);
}

void gradeRow(const Work& work, int y) {
    const int channels = work.output.channels;
    for (int x = work.window[0]; x < work.window[2]; ++x)
        for (int c = 0; c < channels; ++c) {
            const int at = c * work.output.bytes();
            const bool isAlpha = channels == 1 || c == 3;
            const float in = load(work.source.depth, work.source.at(x, y) + at);
            store(work.output.depth, work.output.at(x, y) + at, graded(work, in, c, isAlpha));
        }
}

void gradeRows(unsigned int index, unsigned int count, void* argument) {
    Work& work = *static_cast<Work*>(argument);
    for (int y = work.window[1] + static_cast<int>(index); y < work.window[3]; y += static_cast<int>(count)) {
        gradeRow(work, y);
        gThreads->mutexLock(work.mutex);
        ++*work.rowsDone;
        gThreads->mutexUnLock(work.mutex);
    }
}

void readParameters(OfxImageEffectHandle effect, double time, Work& work) {
    OfxParamSetHandle set;
    OfxParamHandle parameter;
    gEffects->getParamSet(effect, &set);
    gParameters->paramGetHandle(set, "gainOffset", &parameter, nullptr);
    gParameters->paramGetValueAtTime(parameter, time, &work.gain, &work.offset);
    gParameters->paramGetHandle(set, "invert", &parameter, nullptr);
    gParameters->paramGetValue(parameter, &work.invert);
    gParameters->paramGetHandle(set, "tint", &parameter, nullptr);
    gParameters->paramGetValueAtTime(parameter, time, &work.tint[0], &work.tint[1], &work.tint[2], &work.tint[3]);
}

OfxStatus grade(OfxImageEffectHandle effect, Work& work) {
    void* memory = nullptr;
    if (gMemory->memoryAlloc(effect, sizeof(int), &memory) != kOfxStatOK) return kOfxStatErrMemory;
    work.rowsDone = static_cast<int*>(memory);
    *work.rowsDone = 0;
    gThreads->mutexCreate(&work.mutex, 0);
    const OfxStatus status = gThreads->multiThread(gradeRows, 0, &work);
    gThreads->mutexDestroy(work.mutex);
    gMessages->message(effect, kOfxMessageLog, "", "%d rows graded", *work.rowsDone);
    gMemory->memoryFree(memory);
    return status;
}

OfxStatus onRender(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs) {
    double time = 0.0;
    Work work{};
    gProperties->propGetDouble(inArgs, kOfxPropTime, 0, &time);
    gProperties->propGetIntN(inArgs, kOfxImageEffectPropRenderWindow, 4, work.window);
    readParameters(effect, time, work);
    OfxStatus status = kOfxStatFailed;
    if (open(effect, kOfxImageEffectSimpleSourceClipName, time, work.source)) {
        if (open(effect, kOfxImageEffectOutputClipName, time, work.output)) {
            status = grade(effect, work);
            gEffects->clipReleaseImage(work.output.handle);
        }
        gEffects->clipReleaseImage(work.source.handle);
    }
    return status;
}

OfxStatus onIsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle outArgs) {
    Work work{};
    readParameters(effect, 0.0, work);
    const bool plain = work.gain == 1.0 && work.offset == 0.0 && work.invert == 0 &&
                       std::all_of(work.tint, work.tint + 4, [](double t) { return t == 1.0; });
    if (!plain) return kOfxStatReplyDefault;
    gProperties->propSetString(outArgs, kOfxPropName, 0, kOfxImageEffectSimpleSourceClipName);
    return kOfxStatOK;
}

// The button puts the gain back to one, as a plug-in does with its own parameters.
OfxStatus onChanged(OfxImageEffectHandle effect, OfxPropertySetHandle inArgs) {
    char* name = nullptr;
    gProperties->propGetString(inArgs, kOfxPropName, 0, &name);
    if (std::strcmp(name, "reset") != 0) return kOfxStatReplyDefault;
    OfxParamSetHandle set;
    OfxParamHandle parameter;
    gEffects->getParamSet(effect, &set);
    gParameters->paramGetHandle(set, "gainOffset", &parameter, nullptr);
    return gParameters->paramSetValue(parameter, 1.0, 0.0);
}

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs) {
    const auto effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const std::string name = action;
    if (name == kOfxActionLoad) return onLoad();
    if (name == kOfxActionDescribe) return onDescribe(effect);
    if (name == kOfxImageEffectActionDescribeInContext) return onDescribeInContext(effect);
    if (name == kOfxImageEffectActionIsIdentity) return onIsIdentity(effect, outArgs);
    if (name == kOfxActionInstanceChanged) return onChanged(effect, inArgs);
    if (name == kOfxImageEffectActionRender) return onRender(effect, inArgs);
    return kOfxStatReplyDefault;
}

OfxPlugin gPlugin = {kOfxImageEffectPluginApi,
                     kOfxImageEffectPluginApiVersion,
                     "tests:second",
                     2,
                     1,
                     [](OfxHost* host) { gHost = host; },
                     mainEntry};

} // namespace

int OfxGetNumberOfPlugins(void) {
    return 1;
}

OfxPlugin* OfxGetPlugin(int nth) {
    return nth == 0 ? &gPlugin : nullptr;
}
