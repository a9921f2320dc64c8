// An instance of the plug-in in the bundle, and frames of the golden street rendered with it.
#pragma once

#include "tests/bundle/bundle_host.h"
#include "tests/golden/golden_cases.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velloid::test {

struct Size {
    int width;
    int height;
};

// Float RGBA, rows from the bottom up and without padding.
struct Picture {
    explicit Picture(Size s) : size(s), samples(static_cast<size_t>(s.width) * static_cast<size_t>(s.height) * 4) {}

    float& at(int x, int y, int c) {
        return samples[(static_cast<size_t>(y) * static_cast<size_t>(size.width) + static_cast<size_t>(x)) * 4 +
                       static_cast<size_t>(c)];
    }
    std::uint64_t hash() const;

    Size size;
    std::vector<float> samples;
};

// The golden street, or its lower left part.
Picture streetOf(Size size);

struct FrameArgs {
    double time = 0.0;
    double scaleX = 1.0;
    double scaleY = 1.0;
};

// How pixels lie in memory: `data` is the pixel at the lower left corner.
void showImage(PropertySet& image, void* data, int rowBytes, Size size,
               const char* components = kOfxImageComponentRGBA);

class Instance {
public:
    // Of the plug-in that the host has described; parameters at their defaults.
    explicit Instance(Host& host);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    Instance& set(const char* key, Value value); // the same at all times
    Instance& animate(const char* key, std::function<Value(double)> at);
    Instance& choose(const std::string& key, const std::string& text); // an option's label, or a number
    Instance& reset();                                                 // everything at its default
    Instance& allOff();                                                // every effect
    Instance& apply(const GoldenCase& golden);                         // defaults, all off, then its settings
    Instance& everything();                                            // every effect at once: the last golden case

    // One frame: prepare tells the images and the arguments, render is the action alone.
    void prepare(Picture& source, Picture& output, const FrameArgs& args);
    OfxStatus render() { return host_.act(kOfxImageEffectActionRender, &effect_, &in_); }
    // Both; the status must be OK.
    Picture frame(Picture source, const FrameArgs& args = {});
    OfxStatus isIdentity(double time);
    OfxStatus clipPreferences();

    Effect& effect() { return effect_; }
    PropertySet& in() { return in_; }   // arguments of the last action
    PropertySet& out() { return out_; } // and what it answered

private:
    Host& host_;
    Effect effect_;
    PropertySet in_{"arguments"};
    PropertySet out_{"answers"};
};

const GoldenCase& goldenCase(const std::string& name);
// The frame of a golden case as this instance renders it now.
std::uint64_t goldenHash(Instance& instance, const GoldenCase& golden);
// False where the golden hashes may be off by a last bit.
bool hasFusedMultiplyAdd();

// Whether any of the plug-in's library is in this process's memory.
bool libraryIsMapped();

// Threads of this process that have not ended, the one included that thread sanitizer starts along with the first.
int liveThreads();
// Waits until there are no more than this many; false when it takes too long.
bool threadsSettleAt(int count);

} // namespace velloid::test
