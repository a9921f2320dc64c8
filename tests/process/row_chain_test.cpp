#include "process/row_chain.h"

#include "process/blur.h"
#include "process/frame_planes.h"
#include "process/stage_clock.h"
#include "tests/process/planes.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <stdexcept>

namespace velloid {
namespace {

using namespace velloid::test;

// Half of a sample as it came in, so that a stage has to hand both out.
float halfway(float own, float blurred) {
    return 0.5f * (own + blurred);
}

// Softens the red channel a lot, green a little, blue not at all.
class Softening : public BlurringStage {
public:
    Softening(Size size, const double (&sigma)[3]) {
        for (int c = 0; c < 3; ++c)
            taps[c].emplace_back(size.w, size.h, sigma[c], sigma[c]);
    }
    void leave(std::size_t n, float* const row[3], const float* const blurred[3][MAX_BLURS]) const override {
        for (int c = 0; c < 3; ++c)
            std::transform(row[c], row[c] + n, blurred[c][0], row[c], halfway);
    }
};

FramePlanes framePlanes(Size size) {
    FramePlanes planes(size.w, size.h);
    for (int c = 0; c < 3; ++c) {
        const Plane samples = brokenScene(size, static_cast<std::uint32_t>(c));
        std::copy(samples.begin(), samples.end(), planes.channel(c));
    }
    return planes;
}

Plane channelOf(const FramePlanes& planes, int c) {
    return Plane(planes.channel(c), planes.channel(c) + samplesOf(planes.width(), planes.height()));
}

TEST(TileGrid, CoversEveryPixelOnce) {
    for (const Region area :
         {Region{0, 0, 1, 1}, Region{3, 7, 1500, 300}, Region{0, 0, 513, 2}, Region{5, 5, 6, 4000}}) {
        for (const int threads : {1, 2, 3, 8, 32}) {
            for (const int reach : {0, 5, 70, 100000}) {
                const TileGrid grid(area, threads, reach, reach);
                std::vector<int> seen(samplesOf(area.width(), area.height()));
                for (int i = 0; i < grid.count(); ++i) {
                    const Region t = grid.tile(i);
                    ASSERT_LT(t.x0, t.x1);
                    ASSERT_LT(t.y0, t.y1);
                    ASSERT_TRUE(t.x0 >= area.x0 && t.x1 <= area.x1 && t.y0 >= area.y0 && t.y1 <= area.y1);
                    for (int y = t.y0; y < t.y1; ++y) {
                        for (int x = t.x0; x < t.x1; ++x)
                            ++seen[samplesOf(area.width(), y - area.y0) + static_cast<std::size_t>(x - area.x0)];
                    }
                }
                ASSERT_TRUE(std::all_of(seen.begin(), seen.end(), [](int n) { return n == 1; }))
                    << threads << " threads, reach " << reach;
            }
        }
    }
}

TEST(TileGrid, GivesEveryWorkerSomethingToDo) {
    for (const int threads : {2, 8, 32})
        EXPECT_GE(TileGrid({0, 0, 1920, 1080}, threads, 10, 10).count(), threads);
    EXPECT_EQ(TileGrid({0, 0, 256, 256}, 2, 10, 10).count() % 2, 0) << "two workers share a small frame evenly";
}

TEST(TileGrid, ComputesNoFrameManyTimesOver) {
    for (const Region frame : {Region{0, 0, 1920, 1080}, Region{0, 0, 3840, 2160}, Region{0, 0, 7680, 4320}}) {
        for (const int threads : {1, 2, 8, 32, 128}) {
            for (const int reach : {10, 40, 300, 3000}) {
                const TileGrid grid(frame, threads, reach, reach);
                double work = 0.0; // pixels of all tiles with their margins
                for (int i = 0; i < grid.count(); ++i) {
                    const Region t = grid.tile(i);
                    const double w = std::min(t.x1 + reach, frame.x1) - std::max(t.x0 - reach, 0);
                    const double h = std::min(t.y1 + reach, frame.y1) - std::max(t.y0 - reach, 0);
                    work += w * h;
                }
                EXPECT_LE(work / frame.width() / frame.height(), 7.0)
                    << frame.width() << " x " << frame.height() << ", " << threads << " threads, reach " << reach;
            }
        }
    }
}

TEST(RowChain, BlursAcrossTilesAsAWholePlaneIsBlurred) {
    const double sigma[3] = {9.0, 1.1, 0.0};
    for (const Size size : {Size{1, 1}, Size{5, 40}, Size{40, 150}, Size{1037, 61}, Size{600, 7}}) {
        const FramePlanes source = framePlanes(size);
        for (const unsigned threads : {1u, 2u, 8u}) {
            const WithThreads pool(threads);
            RowChain chain(size.w, size.h, "planes", planesOrigin(source));
            chain.add("soften", std::make_unique<Softening>(size, sigma));
            chain.add("soften again", std::make_unique<Softening>(size, sigma));
            FramePlanes result(size.w, size.h);
            chain.run({0, 0, size.w, size.h}, PlanesSink(result));
            for (int c = 0; c < 3; ++c) {
                Plane whole = channelOf(source, c);
                for (int pass = 0; pass < 2; ++pass) {
                    Plane blurred = whole;
                    blurSeparable(blurred.data(), size.w, size.h, sigma[c], sigma[c]);
                    std::transform(whole.begin(), whole.end(), blurred.begin(), whole.begin(), halfway);
                }
                const Plane rows = channelOf(result, c);
                for (std::size_t i = 0; i < whole.size(); ++i)
                    ASSERT_TRUE(sameBits(rows[i], whole[i]))
                        << size.w << " x " << size.h << ", channel " << c << ", sample " << i << ", " << threads
                        << " threads: rows " << rows[i] << ", plane " << whole[i];
            }
        }
    }
}

TEST(RowChain, RunsStagesInTheirOrderOnTheAskedPixelsOnly) {
    const Size size{40, 30};
    const FramePlanes source = framePlanes(size);
    RowChain chain(size.w, size.h, "planes", planesOrigin(source));
    chain.add("one", [](float* r, float*, float*, std::size_t n) { std::fill_n(r, n, 1.0f); });
    chain.add("doubled", [](float* r, float*, float*, std::size_t n) {
        std::transform(r, r + n, r, [](float v) { return 2.0f * v; });
    });
    FramePlanes result(size.w, size.h);
    for (int c = 0; c < 3; ++c)
        std::fill_n(result.channel(c), 40 * 30, -7.0f);
    chain.run({10, 5, 20, 25}, PlanesSink(result));
    for (int y = 0; y < size.h; ++y) {
        for (int x = 0; x < size.w; ++x) {
            const bool inside = x >= 10 && x < 20 && y >= 5 && y < 25;
            ASSERT_EQ(result.channel(0)[y * 40 + x], inside ? 2.0f : -7.0f) << x << ", " << y;
        }
    }
}

TEST(RowChain, RethrowsWhatAStageThrows) {
    const WithThreads pool(3);
    const Size size{64, 64};
    const FramePlanes source = framePlanes(size);
    RowChain chain(size.w, size.h, "planes", planesOrigin(source));
    chain.add("broken", [](float*, float*, float*, std::size_t) { throw std::runtime_error("no film"); });
    FramePlanes result(size.w, size.h);
    EXPECT_THROW(chain.run({0, 0, 64, 64}, PlanesSink(result)), std::runtime_error);
}

TEST(RowChain, NamesWhereTheTimeWent) {
    const Size size{64, 64};
    const FramePlanes source = framePlanes(size);
    const double sigma[3] = {2.0, 2.0, 2.0};
    RowChain chain(size.w, size.h, "planes", planesOrigin(source));
    chain.add("soften", std::make_unique<Softening>(size, sigma));
    chain.add("nothing", [](float*, float*, float*, std::size_t) {});
    StageClock clock;
    chain.measure(&clock, "collect");
    FramePlanes result(size.w, size.h);
    chain.run({0, 0, 64, 64}, PlanesSink(result));
    chain.run({0, 0, 64, 64}, PlanesSink(result));
    std::vector<std::string> names;
    for (const StageClock::Entry& entry : clock.entries()) {
        names.push_back(entry.stage);
        EXPECT_GE(entry.seconds, 0.0) << entry.stage;
    }
    EXPECT_EQ(names, (std::vector<std::string>{"planes", "soften", "nothing", "collect"}));
}

TEST(ParallelTasks, RunEachOnce) {
    for (const unsigned threads : {1u, 2u, 8u}) {
        const WithThreads pool(threads);
        for (const int count : {0, 1, 2, 7, 100}) {
            std::vector<std::atomic<int>> seen(static_cast<std::size_t>(count));
            parallelTasks(count, [&](int i) { ++seen[static_cast<std::size_t>(i)]; });
            for (const std::atomic<int>& n : seen)
                EXPECT_EQ(n, 1);
        }
    }
}

} // namespace
} // namespace velloid
