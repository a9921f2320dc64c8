// Named frames and the hashes of their pixels. A change of any bit shows here: on purpose (then the table changes with
// the commit that says why) or by accident. Each frame is rendered with 1, 2, 3 and 8 pool threads and on every
// instruction set with a fused multiply-add that this machine runs; all must give the bits of the table. The hashes
// were captured from this program's own output; what the frames must look like is held by the literal references.
#include "plugin_under_test.h"
#include "process/parallel_pool.h"
#include "rows/level.h"
#include "tests/golden/golden_cases.h"
#include "tests/golden/golden_frame.h"

#include <gtest/gtest.h>

#include <cstdint>

using namespace velloid;
using namespace velloid::test;

namespace {

std::uint64_t render(const GoldenCase& golden) {
    PluginUnderTest plugin;
    plugin.allOff();
    for (const auto& [key, value] : golden.settings)
        plugin.set(key, value);
    ImageShape shape;
    shape.width = GOLDEN_WIDTH;
    shape.height = GOLDEN_HEIGHT;
    TestImage source(shape);
    TestImage output(shape);
    source.fill(street);
    RenderRequest r = requestFor(source, output, golden.time);
    r.renderScale = {golden.scale, golden.scale};
    EXPECT_EQ(plugin.render(r), kOfxStatOK) << golden.name;
    return hashOf(output.memory().data(), output.memory().size());
}

class Golden : public testing::TestWithParam<GoldenCase> {};

} // namespace

TEST_P(Golden, FrameHasTheKnownBits) {
    const GoldenCase& golden = GetParam();
    bool anyFused = false;
    for (int i = 0; i < ROW_LEVEL_COUNT; ++i) {
        const auto level = static_cast<RowLevel>(i);
        if (!rowLevelIsFused(level) || !setRowLevel(level)) continue;
        anyFused = true;
        for (const unsigned threads : {1u, 2u, 3u, 8u}) {
            ParallelPool pool(threads);
            useParallelPool(&pool);
            EXPECT_EQ(hex(render(golden)), hex(golden.hash))
                << golden.name << " on " << rowLevelName(level) << " with " << threads << " threads";
            useParallelPool(nullptr);
        }
    }
    if (!anyFused) GTEST_SKIP() << "this processor has no fused multiply-add; its last bits may differ";
}

INSTANTIATE_TEST_SUITE_P(Frames, Golden, testing::ValuesIn(GOLDEN_CASES),
                         [](const auto& tested) { return tested.param.name; });
