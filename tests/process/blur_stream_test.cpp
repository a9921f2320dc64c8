#include "process/blur_stream.h"

#include "process/blur.h"
#include "process/wide_blur.h"
#include "tests/process/planes.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <vector>

namespace velloid {
namespace {

using namespace velloid::test;

TEST(RowStretches, CoverEveryRowOnceInWholeBlocks) {
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        for (const int rows : {1, 2, 3, 4, 5, 31, 32, 33, 1080}) {
            std::vector<std::atomic<int>> seen(static_cast<std::size_t>(rows));
            std::atomic<int> stretches{0};
            forRowStretches(rows, [&](int begin, int end) {
                EXPECT_EQ(begin % BLUR_BLOCK_ROWS, 0) << rows << " rows";
                ++stretches;
                for (int y = begin; y < end; ++y)
                    ++seen[static_cast<std::size_t>(y)];
            });
            EXPECT_LE(stretches, static_cast<int>(threads)) << rows << " rows";
            for (const std::atomic<int>& count : seen)
                EXPECT_EQ(count, 1) << rows << " rows, " << threads << " threads";
        }
    }
}

// Whatever columns and rows somebody asks for are those of the whole blurred plane.
TEST(BlurredRows, OfAnyRegionAreThoseOfTheWhole) {
    const Size size{150, 64};
    const Plane plane = scene(size, 1);
    const RowSource source = planeRows(plane.data(), size.w);
    for (const double sigma : {0.0, 0.7, 3.0, 30.0}) {
        Plane whole(plane.size());
        blurInto(whole.data(), source, size.w, size.h, sigma, sigma);
        const BlurTaps taps(size.w, size.h, sigma, sigma);
        for (const ColumnSpan columns :
             {ColumnSpan{0, 150}, ColumnSpan{0, 16}, ColumnSpan{48, 100}, ColumnSpan{149, 150}}) {
            for (const int begin : {0, 4, 60}) {
                BlurredRows rows(taps, source, columns, begin);
                Plane block(static_cast<std::size_t>(columns.size() * BLUR_BLOCK_ROWS));
                float* out[BLUR_BLOCK_ROWS];
                for (int k = 0; k < BLUR_BLOCK_ROWS; ++k)
                    out[k] = block.data() + k * columns.size();
                rows.next(begin, BLUR_BLOCK_ROWS, out);
                for (int k = 0; k < BLUR_BLOCK_ROWS; ++k) {
                    for (int x = columns.first; x < columns.end; ++x) {
                        const float expected = whole[static_cast<std::size_t>((begin + k) * size.w + x)];
                        const float found = out[k][x - columns.first];
                        ASSERT_TRUE(sameBits(found, expected)) << "sigma " << sigma << ", (" << x << ", " << begin + k
                                                               << "): expected " << expected << ", found " << found;
                    }
                }
            }
        }
    }
}

TEST(WideBlur, OfAnyColumnsIsThatOfTheWhole) {
    for (const Size size : {Size{128, 64}, Size{131, 67}}) {
        const Plane plane = scene(size, 1);
        for (const double sigma : {2.0, 9.0, 30.0}) {
            Plane whole = plane;
            blurPyramid(whole, size.w, size.h, sigma, sigma);
            const WideBlur blur(planeRows(plane.data(), size.w), size.w, size.h, sigma, sigma);
            for (const ColumnSpan columns :
                 {ColumnSpan{0, size.w}, ColumnSpan{0, 16}, ColumnSpan{16, 64}, ColumnSpan{112, size.w}}) {
                WideBlur::Rows rows(blur, columns, 8);
                Plane block(static_cast<std::size_t>(columns.size() * BLUR_BLOCK_ROWS));
                float* out[BLUR_BLOCK_ROWS];
                for (int k = 0; k < BLUR_BLOCK_ROWS; ++k)
                    out[k] = block.data() + k * columns.size();
                rows.next(8, BLUR_BLOCK_ROWS, out);
                for (int k = 0; k < BLUR_BLOCK_ROWS; ++k) {
                    for (int x = columns.first; x < columns.end; ++x) {
                        const float expected = whole[static_cast<std::size_t>((8 + k) * size.w + x)];
                        const float found = out[k][x - columns.first];
                        ASSERT_TRUE(sameBits(found, expected)) << "sigma " << sigma << ", (" << x << ", " << 8 + k
                                                               << "): expected " << expected << ", found " << found;
                    }
                }
            }
        }
    }
}

TEST(RowBlur, OfSparseRowsHasTheBitsOfAnyRows) {
    // Zeros, but for a lamp, a lone pixel at either edge, a negative zero, and numbers that are none.
    const Size size{700, 60};
    Plane plane(static_cast<std::size_t>(size.w * size.h), 0.0f);
    const auto at = [&](int x, int y) -> float& { return plane[static_cast<std::size_t>(y * size.w + x)]; };
    for (int y = 20; y < 24; ++y) {
        for (int x = 310; x < 330; ++x)
            at(x, y) = 50.0f;
    }
    at(0, 3) = 1.0f;
    at(699, 59) = 2.0f;
    at(500, 40) = -0.0f;
    at(64, 50) = std::numeric_limits<float>::infinity();
    at(640, 9) = std::numeric_limits<float>::quiet_NaN();
    for (const unsigned threads : {1u, 3u}) {
        const WithThreads pool(threads);
        for (const double sigma : {0.0, 0.7, 6.5, 40.0}) {
            Plane results[2] = {Plane(plane.size()), Plane(plane.size())};
            for (const RowContent content : {RowContent::Any, RowContent::Sparse}) {
                Plane& out = results[content == RowContent::Sparse];
                const RowSource source = planeRows(plane.data(), size.w);
                const BlurTaps taps(size.w, size.h, sigma, sigma);
                forRowStretches(size.h, [&](int begin, int end) {
                    BlurredRows rows(taps, source, {0, size.w}, begin, content);
                    forEachBlock(begin, end, [&](int y, int count) {
                        float* to[BLUR_BLOCK_ROWS] = {};
                        for (int i = 0; i < count; ++i)
                            to[i] = out.data() + (y + i) * size.w;
                        rows.next(y, count, to);
                    });
                });
            }
            for (std::size_t i = 0; i < plane.size(); ++i)
                ASSERT_TRUE(sameBits(results[0][i], results[1][i])) << "sigma " << sigma << ", sample " << i << ": any "
                                                                    << results[0][i] << ", sparse " << results[1][i];
        }
    }
}

} // namespace
} // namespace velloid
