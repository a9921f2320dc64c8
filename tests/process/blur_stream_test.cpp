#include "process/blur_stream.h"

#include "tests/process/planes.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <vector>

namespace velloid {
namespace {

using namespace velloid::test;

TEST(RowBands, CoverEveryRowOnceAndStartAtWholeBlocks) {
    for (const unsigned threads : {1u, 2u, 3u, 8u}) {
        const WithThreads pool(threads);
        for (const int rows : {1, 2, 3, 4, 5, 31, 32, 33, 1080}) {
            const RowBands bands(rows);
            EXPECT_LE(bands.count(), static_cast<int>(threads)) << rows;
            EXPECT_EQ(bands.begin(0), 0);
            EXPECT_EQ(bands.begin(bands.count()), rows);
            for (int k = 0; k < bands.count(); ++k) {
                EXPECT_EQ(bands.begin(k) % BLUR_BLOCK_ROWS, 0) << rows << " rows, band " << k;
                EXPECT_LT(bands.begin(k), bands.begin(k + 1)) << rows << " rows, band " << k;
            }
            std::vector<std::atomic<int>> seen(static_cast<std::size_t>(rows));
            bands.forEach([&](int begin, int end) {
                for (int y = begin; y < end; ++y)
                    ++seen[static_cast<std::size_t>(y)];
            });
            for (const std::atomic<int>& count : seen)
                EXPECT_EQ(count, 1) << rows << " rows, " << threads << " threads";
        }
    }
}

TEST(RowBands, AreOneInsideAWorker) {
    const WithThreads pool(3);
    std::atomic<int> most{0};
    parallelFor(0, 3, [&](int, int) { most = std::max(most.load(), RowBands(100).count()); });
    EXPECT_EQ(most, 1);
}

TEST(BlurStream, MayOverwriteTheRowsThatItReads) {
    // Every output row goes to where its source row was, before the band below has read its own first rows.
    const Size size{19, 64};
    Plane plane = scene(size, 1);
    Plane apart(plane.size());
    const auto blurTo = [&](Plane& out) {
        const RowBands bands(size.h);
        const BlurStream blur(bands, size.w, 3.0, 3.0, planeRows(plane.data(), size.w));
        for (int k = bands.count(); k-- > 0;) { // the lower bands first
            BlurStream::Rows rows(blur, bands.begin(k));
            forEachBlock(bands.begin(k), bands.begin(k + 1), [&](int y, int count) {
                float* to[BLUR_BLOCK_ROWS] = {};
                for (int i = 0; i < count; ++i)
                    to[i] = out.data() + (y + i) * size.w;
                rows.next(y, count, to);
            });
        }
    };
    const WithThreads pool(4);
    blurTo(apart);
    blurTo(plane);
    EXPECT_TRUE(equalPlanes(apart, plane));
}

TEST(BlurStream, ReadsEveryRowOnce) {
    const Size size{8, 50};
    const Plane plane = scene(size, 1);
    for (const unsigned threads : {1u, 3u}) {
        const WithThreads pool(threads);
        std::vector<std::atomic<int>> reads(static_cast<std::size_t>(size.h));
        const RowBands bands(size.h);
        const BlurStream blur(bands, size.w, 2.0, 2.0, [&](int y, float*) {
            ++reads[static_cast<std::size_t>(y)];
            return plane.data() + y * size.w;
        });
        bands.forEach([&](int begin, int end) {
            BlurStream::Rows rows(blur, begin);
            Plane block(static_cast<std::size_t>(size.w * BLUR_BLOCK_ROWS));
            float* out[BLUR_BLOCK_ROWS];
            for (int k = 0; k < BLUR_BLOCK_ROWS; ++k)
                out[k] = block.data() + k * size.w;
            forEachBlock(begin, end, [&](int y, int count) { rows.next(y, count, out); });
        });
        for (int y = 0; y < size.h; ++y)
            EXPECT_EQ(reads[static_cast<std::size_t>(y)], 1) << "row " << y;
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
        const RowBands bands(size.h);
        for (const double sigma : {0.0, 0.7, 6.5, 40.0}) {
            Plane results[2] = {Plane(plane.size()), Plane(plane.size())};
            for (const RowContent content : {RowContent::Any, RowContent::Sparse}) {
                Plane& out = results[content == RowContent::Sparse];
                const BlurStream blur(bands, size.w, sigma, sigma, planeRows(plane.data(), size.w), content);
                bands.forEach([&](int begin, int end) {
                    BlurStream::Rows rows(blur, begin);
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
