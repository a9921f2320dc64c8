#include "bench/plugin_frame.h"

#include "ofx/ofx.h"

namespace tarnwell::bench {

namespace {

std::shared_ptr<PluginBinary> linkedBinary() {
    return PluginBinary::linked({OfxGetNumberOfPlugins, OfxGetPlugin, nullptr});
}

void setParameters(ParameterSet& parameters, const reference::ChainSettings& s, const std::string& lutPath) {
    const std::pair<const char*, double> amounts[] = {
        {"detail", s.detail},        {"grainIntensity", s.grain},  {"halationIntensity", s.halation},
        {"colorIntensity", s.color}, {"gateWeave", s.weave},       {"flicker", s.flicker},
        {"bloom", s.bloom},          {"blackWhite", s.blackWhite}, {"outputLutStrength", s.outputLutStrength}};
    for (const auto& [key, value] : amounts)
        parameters.at(key).setDoubles({value});
    parameters.at("ioSpace").setInts({s.ioSpace});
    parameters.at("outputLutDomain").setInts({s.outputLutInLogC4 ? 1 : 0});
    parameters.at("outputLutPath").setText(lutPath);
}

} // namespace

PluginFrame::PluginFrame(const reference::ChainSettings& settings, const Size& frameSize, std::vector<float>& pixels,
                         const std::string& lutPath)
    : size(frameSize), effect(host, linkedBinary(), OfxGetPlugin(0)), output(pixels.size()) {
    effect.load();
    InstanceOptions options;
    options.projectSize = {static_cast<double>(size.width), static_cast<double>(size.height)};
    instance = std::make_unique<Instance>(effect, options);
    setParameters(instance->parameters(), settings, lutPath);
    instance->create();
    request.time = settings.time;
    request.window = {0, 0, size.width, size.height};
    request.source = describe(pixels);
    request.output = describe(output);
}

ImageDesc PluginFrame::describe(std::vector<float>& pixels) const {
    ImageDesc image;
    image.data = pixels.data();
    image.bounds = {0, 0, size.width, size.height};
    image.rowBytes = static_cast<std::ptrdiff_t>(size.width) * 4 * static_cast<std::ptrdiff_t>(sizeof(float));
    image.preMultiplication = kOfxImageUnPreMultiplied;
    return image;
}

void PluginFrame::render() {
    instance->render(request);
}

void PluginFrame::purge() {
    instance->purgeCaches();
}

} // namespace tarnwell::bench
