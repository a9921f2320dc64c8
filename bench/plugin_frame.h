// A frame through the OpenFX boundary: the plug-in's own entry points behind the host library, as any host drives them.
#pragma once

#include "bench/content.h"
#include "host/effect.h"
#include "tests/reference/chain_reference.h"

#include <memory>
#include <string>
#include <vector>

namespace tarnwell::bench {

class PluginFrame {
public:
    // `pixels` are RGBA floats, unpremultiplied, and stay the caller's. Stock and process of the settings stay the
    // plug-in's defaults; lutPath is the output table, "" for none. Throws what the host throws.
    PluginFrame(const reference::ChainSettings& settings, const Size& size, std::vector<float>& pixels,
                const std::string& lutPath);

    // Throws ActionError unless the plug-in answers that all is well.
    void render();
    // Has the plug-in hand back what it keeps.
    void purge();
    const std::vector<float>& result() const { return output; }

private:
    ImageDesc describe(std::vector<float>& pixels) const;

    Size size;
    Host host;
    Effect effect;
    std::unique_ptr<Instance> instance;
    std::vector<float> output;
    RenderRequest request;
};

} // namespace tarnwell::bench
