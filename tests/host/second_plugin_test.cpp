// A plug-in that is not ours, from its bundle to pixels: every depth and component set it lists, row layouts of all
// kinds, windows, scales. Every pixel must be the formula's, and everything outside of the window untouched.
#include "host/bundle.h"
#include "host/catalog.h"
#include "host/effect.h"
#include "host/message.h"
#include "tests/host/half.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <thread>

namespace tarnwell {

namespace {

using testing::floatToHalf;
using testing::halfToFloat;

constexpr double GAIN = 1.5, OFFSET = -0.125;
constexpr double TINT[4] = {1.0, 0.5, 0.25, 0.75};
constexpr unsigned char UNTOUCHED = 0xA5;

// The plug-in and its test share these two, so known bit patterns pin them.
TEST(Half, HasTheBitsOfTheFormat) {
    const std::pair<int, float> cases[] = {{0x0000, 0.0f},
                                           {0x3C00, 1.0f},
                                           {0x3800, 0.5f},
                                           {0xC000, -2.0f},
                                           {0x0001, 0x1p-24f},
                                           {0x7BFF, 65504.0f},
                                           {0x3555, 0.333251953125f},
                                           {0x0400, 0x1p-14f}};
    for (const auto& [bits, value] : cases) {
        EXPECT_EQ(floatToHalf(value), bits) << value;
        EXPECT_EQ(halfToFloat(static_cast<std::uint16_t>(bits)), value) << bits;
    }
}

int channelsOf(const std::string& components) {
    return components == kOfxImageComponentRGBA ? 4 : components == kOfxImageComponentRGB ? 3 : 1;
}

// A layout to try: where the image lies, how its rows are stored.
struct Layout {
    std::string depth = kOfxBitDepthFloat;
    std::string components = kOfxImageComponentRGBA;
    OfxRectI bounds{0, 0, 13, 9};
    int padding = 0;
    bool topDown = false;
};

// An image in memory of its own, filled with a mark that no render may leave inside its window nor disturb outside.
class Picture {
public:
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    explicit Picture(const Layout& layout) : layout_(layout) {
        desc.depth = layout.depth;
        desc.components = layout.components;
        desc.bounds = layout.bounds;
        const auto width = static_cast<std::size_t>(layout.bounds.x2 - layout.bounds.x1);
        const auto height = static_cast<std::size_t>(layout.bounds.y2 - layout.bounds.y1);
        stride_ = width * bytesPerPixel(layout.depth, layout.components) + static_cast<std::size_t>(layout.padding);
        memory.assign(stride_ * height, UNTOUCHED);
        desc.rowBytes = static_cast<std::ptrdiff_t>(stride_) * (layout.topDown ? -1 : 1);
        desc.data = memory.data() + (layout.topDown ? stride_ * (height - 1) : 0);
    }

    unsigned char* at(int x, int y, int channel) const {
        const auto bytes = static_cast<std::ptrdiff_t>(bytesPerPixel(layout_.depth, kOfxImageComponentAlpha));
        return static_cast<unsigned char*>(desc.data) + (y - layout_.bounds.y1) * desc.rowBytes +
               ((x - layout_.bounds.x1) * channelsOf(layout_.components) + channel) * bytes;
    }

    double read(int x, int y, int channel) const {
        std::uint16_t word = 0;
        float value = 0.0f;
        const unsigned char* from = at(x, y, channel);
        if (layout_.depth == kOfxBitDepthByte) return *from / 255.0f;
        std::memcpy(&word, from, 2);
        if (layout_.depth == kOfxBitDepthShort) return static_cast<float>(word) / 65535.0f;
        if (layout_.depth == kOfxBitDepthHalf) return halfToFloat(word);
        std::memcpy(&value, from, 4);
        return value;
    }

    void write(int x, int y, int channel, float value) {
        const std::uint16_t word = layout_.depth == kOfxBitDepthHalf
                                       ? floatToHalf(value)
                                       : static_cast<std::uint16_t>(value * 65535.0f + 0.5f);
        unsigned char* to = at(x, y, channel);
        if (layout_.depth == kOfxBitDepthByte)
            *to = static_cast<unsigned char>(value * 255.0f + 0.5f);
        else if (layout_.depth == kOfxBitDepthFloat)
            std::memcpy(to, &value, 4);
        else
            std::memcpy(to, &word, 2);
    }

    void fill() {
        for (int y = layout_.bounds.y1; y < layout_.bounds.y2; ++y)
            for (int x = layout_.bounds.x1; x < layout_.bounds.x2; ++x)
                for (int c = 0; c < channelsOf(layout_.components); ++c)
                    write(x, y, c, static_cast<float>((x * 7 + y * 13 + c * 29) & 63) / 64.0f);
    }

    ImageDesc desc;
    std::vector<unsigned char> memory;

private:
    Layout layout_;
    std::size_t stride_ = 0;
};

double expected(double in, int channel, int channels) {
    if (channels == 1 || channel == 3) return in * TINT[3];
    return 1.0 - (in * GAIN + OFFSET) * TINT[channel];
}

double toleranceOf(const std::string& depth) {
    // Half a step of an integer depth; half an ulp at 1 for half floats; the rounding of the formula for floats.
    return depth == kOfxBitDepthByte    ? 0.5001 / 255.0
           : depth == kOfxBitDepthShort ? 0.51 / 65535.0
           : depth == kOfxBitDepthHalf  ? 1.0 / 2048.0
                                        : 1e-6;
}

class SecondPlugin : public ::testing::Test {
protected:
    SecondPlugin() {
        setMessageSink([this](const Message& message) { heard.push_back(message.text); });
        catalog.addBundle(host, std::string(TEST_BUNDLES) + "/Second.ofx.bundle");
        effect = std::make_unique<Effect>(host, catalog.find("tests:second"));
        effect->load();
    }
    ~SecondPlugin() override {
        instance.reset();
        effect.reset();
        setMessageSink(nullptr);
    }

    void makeInstance(const Layout& layout) {
        InstanceOptions options;
        options.depth = layout.depth;
        options.components = layout.components;
        instance = std::make_unique<Instance>(*effect, options);
        instance->setParameter("gainOffset", "1.5,-0.125");
        instance->setParameter("invert", "on");
        instance->setParameter("tint", "1, 0.5, 0.25, 0.75");
        instance->create();
    }

    static void expectFormula(const Layout& layout, const Picture& in, const Picture& out, const OfxRectI& window) {
        const int channels = channelsOf(layout.components);
        for (int y = window.y1; y < window.y2; ++y)
            for (int x = window.x1; x < window.x2; ++x)
                for (int c = 0; c < channels; ++c) {
                    double value = expected(in.read(x, y, c), c, channels);
                    const bool isWhole = layout.depth == kOfxBitDepthByte || layout.depth == kOfxBitDepthShort;
                    if (isWhole) value = std::clamp(value, 0.0, 1.0);
                    ASSERT_NEAR(out.read(x, y, c), value, toleranceOf(layout.depth))
                        << layout.depth << " " << layout.components << " at " << x << "," << y << " channel " << c
                        << ", input " << in.read(x, y, c);
                }
    }

    // Rubs out the window: what is left must all be the mark.
    static void expectUntouchedOutside(const Layout& layout, const Picture& out, const OfxRectI& window) {
        Picture blank(layout);
        std::memcpy(blank.memory.data(), out.memory.data(), out.memory.size());
        const auto bytes =
            static_cast<std::size_t>(window.x2 - window.x1) * bytesPerPixel(layout.depth, layout.components);
        for (int y = window.y1; y < window.y2; ++y)
            std::memset(blank.at(window.x1, y, 0), UNTOUCHED, bytes);
        EXPECT_TRUE(
            std::all_of(blank.memory.begin(), blank.memory.end(), [](unsigned char b) { return b == UNTOUCHED; }))
            << layout.depth << " " << layout.components << ": something outside of the window was written";
    }

    void renderAndCheck(const Layout& layout, const OfxRectI& window, OfxPointD scale = {1.0, 1.0},
                        double aspect = 1.0) {
        makeInstance(layout);
        Picture in(layout), out(layout);
        in.fill();
        RenderRequest request;
        request.time = 5.0;
        request.window = window;
        request.renderScale = scale;
        request.pixelAspect = aspect;
        request.source = in.desc;
        request.output = out.desc;
        EXPECT_FALSE(instance->renderFrame(request).has_value());
        expectFormula(layout, in, out, window);
        expectUntouchedOutside(layout, out, window);
    }

    std::vector<std::string> heard;
    Host host;
    Catalog catalog;
    std::unique_ptr<Effect> effect;
    std::unique_ptr<Instance> instance;
};

TEST_F(SecondPlugin, GivesTheFormulaInEveryDepthItLists) {
    ASSERT_EQ(effect->depths().size(), 4u);
    for (const std::string& depth : effect->depths())
        for (const char* components : {kOfxImageComponentRGBA, kOfxImageComponentRGB, kOfxImageComponentAlpha}) {
            Layout layout;
            layout.depth = depth;
            layout.components = components;
            renderAndCheck(layout, layout.bounds);
        }
}

TEST_F(SecondPlugin, GivesTheFormulaInTopDownAndPaddedRows) {
    for (const std::string& depth : effect->depths())
        for (bool topDown : {false, true})
            for (int padding : {0, 4, 68}) {
                Layout layout;
                layout.depth = depth;
                layout.padding = padding;
                layout.topDown = topDown;
                renderAndCheck(layout, layout.bounds);
            }
}

TEST_F(SecondPlugin, KeepsToItsTile) {
    Layout layout;
    layout.padding = 12;
    for (const OfxRectI tile :
         {OfxRectI{0, 0, 6, 4}, OfxRectI{6, 4, 13, 9}, OfxRectI{3, 3, 4, 4}, OfxRectI{5, 5, 5, 9}})
        renderAndCheck(layout, tile);
}

TEST_F(SecondPlugin, KnowsImagesThatLieElsewhere) {
    Layout layout;
    layout.bounds = {-5, 100, 8, 109};
    layout.topDown = true;
    renderAndCheck(layout, {-3, 102, 8, 109});
}

TEST_F(SecondPlugin, RendersAtHalfScaleWithWidePixels) {
    Layout layout;
    renderAndCheck(layout, layout.bounds, {0.5, 0.5}, 2.0);
}

TEST_F(SecondPlugin, SpeaksOfEveryRow) {
    Layout layout;
    renderAndCheck(layout, layout.bounds);
    EXPECT_EQ(heard, std::vector<std::string>{"9 rows graded"});
}

TEST_F(SecondPlugin, PassesTheSourceOnWhenThereIsNothingToDo) {
    Layout layout;
    makeInstance(layout);
    for (const auto& parameter : instance->parameters().all())
        parameter->resetToDefault();
    Layout topDown = layout;
    topDown.topDown = true;
    topDown.padding = 8;
    Picture in(layout), out(topDown);
    in.fill();
    RenderRequest request;
    request.window = layout.bounds;
    request.source = in.desc;
    request.output = out.desc;
    const auto identity = instance->renderFrame(request);
    ASSERT_TRUE(identity.has_value());
    EXPECT_EQ(identity->clip, "Source");
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 13; ++x)
            ASSERT_EQ(std::memcmp(in.at(x, y, 0), out.at(x, y, 0), 16), 0) << x << "," << y;
}

TEST_F(SecondPlugin, SetsItsOwnParameterWhenItsButtonIsPressed) {
    makeInstance({});
    instance->sendChanged("reset");
    EXPECT_EQ(instance->parameters().at("gainOffset").written(), "1,0");
}

TEST_F(SecondPlugin, TakesSeveralFramesOfOneInstanceAtOnce) {
    const Layout layout;
    makeInstance(layout);
    std::deque<Picture> ins, outs;
    std::vector<std::thread> threads;
    for (std::size_t frame = 0; frame < 6; ++frame) {
        ins.emplace_back(layout).fill();
        outs.emplace_back(layout);
    }
    for (std::size_t frame = 0; frame < ins.size(); ++frame) {
        ins[frame].write(0, 0, 0, 0.125f * static_cast<float>(frame));
        threads.emplace_back([&, frame] {
            RenderRequest request;
            request.time = static_cast<double>(frame / 2); // pairs of frames share a time
            request.window = layout.bounds;
            request.source = ins[frame].desc;
            request.output = outs[frame].desc;
            instance->render(request);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t frame = 0; frame < ins.size(); ++frame)
        expectFormula(layout, ins[frame], outs[frame], layout.bounds);
}

TEST_F(SecondPlugin, GivesRegionsAndFramesByDefault) {
    makeInstance({});
    const OfxRectD source = {-10.0, 0.0, 50.0, 40.0};
    EXPECT_EQ(instance->regionOfDefinition(1.0, {1.0, 1.0}, source).x1, -10.0);
    EXPECT_EQ(instance->regionsOfInterest(1.0, source).at("Source").y2, 40.0);
    EXPECT_EQ(instance->framesNeeded(7.0).at("Source").at(0).min, 7.0);
}

TEST_F(SecondPlugin, RendersInTheGeneralContextToo) {
    InstanceOptions options;
    options.context = kOfxImageEffectContextGeneral;
    Instance general(*effect, options);
    general.create();
    EXPECT_EQ(general.components("Output"), kOfxImageComponentRGBA);
    EXPECT_EQ(general.depth(), kOfxBitDepthFloat) << "the deepest of four";
}

} // namespace

} // namespace tarnwell
