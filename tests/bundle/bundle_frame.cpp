#include "tests/bundle/bundle_frame.h"
#include "tests/golden/golden_frame.h"

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace velloid::test {

namespace {

constexpr const char* AMOUNTS[] = {"detail",  "grainIntensity", "halationIntensity", "colorIntensity", "gateWeave",
                                   "flicker", "bloom",          "blackWhite"};

Value defaultOf(const Parameter& parameter) {
    const auto found = parameter.properties.values.find(std::string_view(kOfxParamPropDefault));
    return found == parameter.properties.values.end() ? Value(0) : found->second.at(0);
}

bool hasEnded(const std::filesystem::path& task) {
    std::ifstream file(task / "stat");
    std::string line;
    if (!std::getline(file, line)) return true;
    const size_t state = line.rfind(") ") + 2; // the name before it may hold anything
    return line.at(state) == 'X' || line.at(state) == 'Z';
}

} // namespace

std::uint64_t Picture::hash() const {
    return hashOf(samples.data(), samples.size() * sizeof(float));
}

Picture streetOf(Size size) {
    Picture picture(size);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            for (int c = 0; c < 4; ++c)
                picture.at(x, y, c) = static_cast<float>(street(x, y, c));
        }
    }
    return picture;
}

void showImage(PropertySet& image, void* data, int rowBytes, Size size, const char* components) {
    image.set(kOfxImagePropData, {data})
        .set(kOfxImagePropRowBytes, {rowBytes})
        .set(kOfxImagePropBounds, {0, 0, size.width, size.height})
        .set(kOfxImageEffectPropPixelDepth, {std::string(kOfxBitDepthFloat)})
        .set(kOfxImageEffectPropComponents, {std::string(components)})
        .set(kOfxImageEffectPropPreMultiplication, {std::string(kOfxImageUnPreMultiplied)})
        .set(kOfxImagePropPixelAspectRatio, {1.0});
}

Instance::Instance(Host& host) : host_(host) {
    effect_.parameters = host.descriptor.parameters;
    effect_.clips = host.descriptor.clips;
    reset();
    if (host_.act(kOfxActionCreateInstance, &effect_) != kOfxStatOK) giveUp("no instance");
}

Instance::~Instance() {
    if (host_.isOpen()) host_.act(kOfxActionDestroyInstance, &effect_);
}

Instance& Instance::animate(const char* key, std::function<Value(double)> at) {
    Parameter* parameter = effect_.find(key);
    if (!parameter) giveUp(std::string("no parameter ") + key);
    parameter->at = std::move(at);
    return *this;
}

Instance& Instance::set(const char* key, Value value) {
    return animate(key, [value = std::move(value)](double) { return value; });
}

Instance& Instance::choose(const std::string& key, const std::string& text) {
    const Parameter* parameter = effect_.find(key);
    if (parameter && parameter->type == kOfxParamTypeDouble)
        return set(key.c_str(), std::strtod(text.c_str(), nullptr));
    const auto options = parameter->properties.values.find(std::string_view(kOfxParamPropChoiceOption));
    if (options == parameter->properties.values.end()) giveUp(key + " has no options");
    const auto option = std::find(options->second.begin(), options->second.end(), Value(text));
    if (option == options->second.end()) giveUp(key + " has no option " + text);
    return set(key.c_str(), static_cast<int>(option - options->second.begin()));
}

Instance& Instance::reset() {
    for (Parameter& parameter : effect_.parameters)
        parameter.at = [value = defaultOf(parameter)](double) { return value; };
    return *this;
}

Instance& Instance::allOff() {
    for (const char* key : AMOUNTS)
        set(key, 0.0);
    return set("outputLutPath", std::string());
}

Instance& Instance::apply(const GoldenCase& golden) {
    reset().allOff();
    for (const auto& [key, text] : golden.settings)
        choose(key, text);
    return *this;
}

Instance& Instance::everything() {
    return apply(GOLDEN_CASES.back());
}

void Instance::prepare(Picture& source, Picture& output, const FrameArgs& args) {
    const Size size = source.size;
    const int rowBytes = size.width * 4 * static_cast<int>(sizeof(float));
    showImage(effect_.clip(kOfxImageEffectSimpleSourceClipName)->image, source.samples.data(), rowBytes, size);
    showImage(effect_.clip(kOfxImageEffectOutputClipName)->image, output.samples.data(), rowBytes, size);
    in_.set(kOfxPropTime, {args.time})
        .set(kOfxImageEffectPropRenderWindow, {0, 0, size.width, size.height})
        .set(kOfxImageEffectPropRenderScale, {args.scaleX, args.scaleY});
}

Picture Instance::frame(Picture source, const FrameArgs& args) {
    Picture output(source.size);
    prepare(source, output, args);
    const OfxStatus status = render();
    if (status != kOfxStatOK) giveUp("a frame that must render answers " + std::to_string(status));
    return output;
}

OfxStatus Instance::isIdentity(double time) {
    in_.set(kOfxPropTime, {time});
    out_.values.clear();
    return host_.act(kOfxImageEffectActionIsIdentity, &effect_, &in_, &out_);
}

OfxStatus Instance::clipPreferences() {
    effect_.clip(kOfxImageEffectSimpleSourceClipName)
        ->properties.set(kOfxImageEffectPropPreMultiplication, {std::string(kOfxImageOpaque)})
        .set(kOfxImageEffectPropComponents, {std::string(kOfxImageComponentRGB)})
        .set(kOfxImageEffectPropPixelDepth, {std::string(kOfxBitDepthFloat)});
    out_.values.clear();
    return host_.act(kOfxImageEffectActionGetClipPreferences, &effect_, nullptr, &out_);
}

const GoldenCase& goldenCase(const std::string& name) {
    for (const GoldenCase& golden : GOLDEN_CASES) {
        if (golden.name == name) return golden;
    }
    giveUp("no golden case " + name);
}

std::uint64_t goldenHash(Instance& instance, const GoldenCase& golden) {
    instance.apply(golden);
    return instance.frame(streetOf({GOLDEN_WIDTH, GOLDEN_HEIGHT}), {golden.time, golden.scale, golden.scale}).hash();
}

bool hasFusedMultiplyAdd() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("fma");
#else
    return true;
#endif
}

bool libraryIsMapped() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(TARNWELL_BINARY) != std::string::npos) return true;
    }
    return false;
}

int liveThreads() {
    static const bool started = [] {
        std::thread([] {}).join();
        return true;
    }();
    (void)started;
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        count += hasEnded(task.path()) ? 0 : 1;
    return count;
}

bool threadsSettleAt(int count) {
    const auto giveUpAt = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (liveThreads() > count) {
        if (std::chrono::steady_clock::now() > giveUpAt) return false;
        sched_yield(); // a thread that was joined may be a moment in the kernel still
    }
    return true;
}

} // namespace velloid::test
