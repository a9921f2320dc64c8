// The plug-in as a host drives it: its own entry points, linked into the test, behind the host library.
#pragma once

#include "color/looks.h"
#include "host/effect.h"
#include "host/faults.h"
#include "plugin/parameters.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velloid::test {

using tarnwell::ImageDesc;
using tarnwell::RenderRequest;

inline std::shared_ptr<tarnwell::PluginBinary> linkedBinary() {
    return tarnwell::PluginBinary::linked({OfxGetNumberOfPlugins, OfxGetPlugin, nullptr});
}

// Where the menu of looks has a process; "Off" for one that it does not have.
inline int menuIndexOf(PrintProcess process) {
    const int off = static_cast<int>(kProcessMenu.size()) - 1;
    for (int i = 0; i < off; ++i) {
        if (processOfMenu(i) == process) return i;
    }
    return off;
}

// A loaded plug-in with one instance, its parameters at their defaults.
class PluginUnderTest {
public:
    explicit PluginUnderTest(const tarnwell::HostOptions& hostOptions = {},
                             const tarnwell::InstanceOptions& instanceOptions = {})
        : host(hostOptions), effect(host, linkedBinary(), OfxGetPlugin(0)) {
        effect.load();
        instance = std::make_unique<tarnwell::Instance>(effect, instanceOptions);
        instance->create();
    }

    PluginUnderTest& set(const std::string& key, const std::string& value) {
        instance->setParameter(key, value);
        return *this;
    }

    PluginUnderTest& set(const std::string& key, double value) { return set(key, std::to_string(value)); }

    // Exactly these values, without a detour through text.
    PluginUnderTest& setAmounts(std::initializer_list<std::pair<const char*, double>> amounts) {
        for (const auto& [key, value] : amounts)
            instance->parameters().at(key).setDoubles({value});
        return *this;
    }

    // Every effect off.
    PluginUnderTest& allOff() {
        for (const char* key : {"detail", "grainIntensity", "halationIntensity", "colorIntensity", "gateWeave",
                                "flicker", "bloom", "blackWhite"}) {
            set(key, 0.0);
        }
        return set("outputLutPath", "");
    }

    OfxStatus render(const RenderRequest& request) { return instance->tryRender(request).status; }

    tarnwell::Host host;
    tarnwell::Effect effect;
    std::unique_ptr<tarnwell::Instance> instance;
};

struct ImageShape {
    int width = 8;
    int height = 6;
    int x1 = 0;
    int y1 = 0;
    std::string depth = kOfxBitDepthFloat;
    std::string components = kOfxImageComponentRGBA;
    int padding = 0;      // bytes after each row
    bool topDown = false; // negative row bytes
    std::string preMultiplication = kOfxImageUnPreMultiplied;
};

// An image in memory, of any depth, components, padding and direction; filled with a marker so that strays show.
class TestImage {
public:
    static constexpr std::uint8_t MARKER = 0xAB;

    explicit TestImage(const ImageShape& s)
        : shape(s), memory_(static_cast<size_t>(stride()) * static_cast<size_t>(s.height), MARKER) {}

    int components() const {
        return shape.components == kOfxImageComponentRGBA ? 4 : shape.components == kOfxImageComponentRGB ? 3 : 1;
    }
    int sampleBytes() const { return shape.depth == kOfxBitDepthFloat ? 4 : shape.depth == kOfxBitDepthShort ? 2 : 1; }
    int stride() const { return shape.width * components() * sampleBytes() + shape.padding; }

    // The sample as a code value, 1.0 for the whole range of integer depths.
    double get(int x, int y, int c) const {
        const std::uint8_t* p = address(x, y, c);
        if (sampleBytes() == 1) return *p / 255.0;
        if (sampleBytes() == 2) {
            std::uint16_t v;
            std::memcpy(&v, p, 2);
            return v / 65535.0;
        }
        float v;
        std::memcpy(&v, p, 4);
        return v;
    }

    void put(int x, int y, int c, double value) {
        std::uint8_t* p = const_cast<std::uint8_t*>(address(x, y, c));
        if (sampleBytes() == 1) {
            *p = static_cast<std::uint8_t>(value * 255.0 + 0.5);
        } else if (sampleBytes() == 2) {
            const auto v = static_cast<std::uint16_t>(value * 65535.0 + 0.5);
            std::memcpy(p, &v, 2);
        } else {
            const auto v = static_cast<float>(value);
            std::memcpy(p, &v, 4);
        }
    }

    // Sets every pixel from fn(x, y, component) with coordinates from the lower left corner.
    TestImage& fill(const std::function<double(int, int, int)>& fn) {
        for (int y = 0; y < shape.height; ++y) {
            for (int x = 0; x < shape.width; ++x) {
                for (int c = 0; c < components(); ++c)
                    put(x, y, c, fn(x, y, c));
            }
        }
        return *this;
    }

    ImageDesc desc() {
        ImageDesc d;
        d.data = const_cast<std::uint8_t*>(address(0, 0, 0));
        d.bounds = bounds();
        d.rowBytes = shape.topDown ? -stride() : stride();
        d.depth = shape.depth;
        d.components = shape.components;
        d.preMultiplication = shape.preMultiplication;
        return d;
    }

    OfxRectI bounds() const { return {shape.x1, shape.y1, shape.x1 + shape.width, shape.y1 + shape.height}; }

    bool paddingUntouched() const {
        for (int row = 0; row < shape.height; ++row) {
            for (int i = stride() - shape.padding; i < stride(); ++i) {
                if (memory_[static_cast<size_t>(row) * static_cast<size_t>(stride()) + static_cast<size_t>(i)] !=
                    MARKER)
                    return false;
            }
        }
        return true;
    }

    const std::vector<std::uint8_t>& memory() const { return memory_; }

    ImageShape shape;

private:
    const std::uint8_t* address(int x, int y, int c) const {
        const int row = shape.topDown ? shape.height - 1 - y : y;
        return memory_.data() + static_cast<size_t>(row) * static_cast<size_t>(stride()) +
               static_cast<size_t>((x * components() + c) * sampleBytes());
    }

    std::vector<std::uint8_t> memory_;
};

// A request for the whole of the output.
inline RenderRequest requestFor(TestImage& source, TestImage& output, double time = 0.0) {
    RenderRequest request;
    request.time = time;
    request.window = output.bounds();
    request.source = source.desc();
    request.output = output.desc();
    request.allowUnlistedDepths = true;
    return request;
}

// A picture with a gradient, a bright spot and saturated corners, in code values.
inline double testPicture(int x, int y, int c) {
    if (c == 3) return 1.0;
    const double ramp = 0.05 + 0.02 * ((x * 7 + y * 3 + c * 5) % 37);
    return x == 3 && y == 2 ? 0.95 : ramp;
}

} // namespace velloid::test
