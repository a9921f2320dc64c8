// A host whose output lies in the memory of its source: every layout and shift gives the pixels that two images apart
// would give.
#include "tests/bundle/bundle_frame.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace velloid::test;

namespace {

constexpr Size SIZE{6, 9};
constexpr int PIXEL = 4 * static_cast<int>(sizeof(float));
constexpr int TIGHT = SIZE.width * PIXEL;
constexpr int PADDED = TIGHT + 2 * PIXEL;
constexpr int MARGIN = 4 * PADDED; // around the source, for the shifts
constexpr int BYTES = 2 * MARGIN + SIZE.height * PADDED;

using Memory = std::vector<unsigned char>;

// Codes that tell every sample of the buffer from every other.
Memory numbered() {
    std::vector<float> samples(BYTES / sizeof(float));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.1f + static_cast<float>(i) * 0x1p-12f;
    Memory memory(BYTES);
    std::memcpy(memory.data(), samples.data(), BYTES);
    return memory;
}

// Where in the buffer an image's lower left pixel lies when its lowest byte is at `first`.
int originOf(int first, int rowBytes) {
    return rowBytes > 0 ? first : first - rowBytes * (SIZE.height - 1);
}

class Overlap : public testing::Test {
protected:
    // Renders with both images in `memory`.
    OfxStatus render(Instance& instance, unsigned char* source, int sourceRow, unsigned char* output, int outputRow) {
        PropertySet& in = instance.in();
        showImage(instance.effect().clip("Source")->image, source, sourceRow, SIZE);
        showImage(instance.effect().clip("Output")->image, output, outputRow, SIZE);
        in.set(kOfxPropTime, {0.0})
            .set(kOfxImageEffectPropRenderWindow, {0, 0, SIZE.width, SIZE.height})
            .set(kOfxImageEffectPropRenderScale, {1.0, 1.0});
        return instance.render();
    }

    // The same frame from a source that nobody writes to.
    Memory expected(Instance& instance, int source, int sourceRow, int output, int outputRow) {
        Memory apart = numbered();
        Memory memory = numbered();
        EXPECT_EQ(render(instance, apart.data() + source, sourceRow, memory.data() + output, outputRow), kOfxStatOK);
        EXPECT_EQ(apart, numbered()) << "the source is left as it was";
        return memory;
    }

    void checkEveryLayout(Instance& instance) {
        for (const int sourceRow : {TIGHT, PADDED, -TIGHT, -PADDED}) {
            for (const int outputRow : {TIGHT, PADDED, -TIGHT, -PADDED}) {
                for (const int shift : {-3 * PADDED, -2 * TIGHT, -TIGHT, -PIXEL, 0, PIXEL, TIGHT, PADDED,
                                        2 * TIGHT + PIXEL, 3 * PADDED}) {
                    const int source = originOf(MARGIN, sourceRow);
                    const int output = originOf(MARGIN + shift, outputRow);
                    Memory memory = numbered();
                    ASSERT_EQ(render(instance, memory.data() + source, sourceRow, memory.data() + output, outputRow),
                              kOfxStatOK);
                    const Memory right = expected(instance, source, sourceRow, output, outputRow);
                    const auto differs = std::mismatch(memory.begin(), memory.end(), right.begin());
                    EXPECT_EQ(memory.end() - differs.first, 0)
                        << "rows of " << sourceRow << " and " << outputRow << " bytes, shifted by " << shift
                        << ": byte " << differs.first - memory.begin() << " is the first that differs";
                }
            }
        }
    }

    void SetUp() override { host.start(); }

    Host host;
};

} // namespace

TEST_F(Overlap, OfACopyIsRightInEveryLayoutAndShift) {
    Instance instance(host);
    instance.allOff();
    ASSERT_EQ(instance.isIdentity(0.0), kOfxStatOK);
    checkEveryLayout(instance);
}

TEST_F(Overlap, OfAFrameOfRowsIsRightInEveryLayoutAndShift) {
    Instance instance(host);
    instance.allOff().set("blackWhite", 0.5).set("detail", 1.0);
    checkEveryLayout(instance);
}

TEST_F(Overlap, OfAFrameOfPlanesIsRightInEveryLayoutAndShift) {
    Instance instance(host);
    instance.allOff().set("gateWeave", 1.0).set("bloom", 0.5);
    checkEveryLayout(instance);
}
