// Pixels go through in blocks that stay in the first-level cache:
//   import  host samples -> code values in double -> decode -> planes
//   export  planes -> encode -> code values in double -> (blend with graded codes) -> host samples
#include "plugin/pixel_io.h"

#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cstring>

namespace velloid {

namespace {

constexpr int BLOCK = 256; // pixels

// Code values of a block of pixels.
struct CodeBlock {
    double r[BLOCK];
    double g[BLOCK];
    double b[BLOCK];
};

RowFormat rowFormat(const PixelLayout& layout) {
    return {static_cast<RowSample>(layout.type), layout.components, layout.premultiplied};
}

// Calls fn(first, count) for each block of [0, n).
template <typename Fn>
void forBlocks(int n, Fn fn) {
    for (int first = 0; first < n; first += BLOCK)
        fn(first, std::min(BLOCK, n - first));
}

// Widens plane values that are codes already.
void widen(const float* from, int n, double* to) {
    std::copy(from, from + n, to);
}

void blendGraded(const FramePlanes& graded, size_t at, int n, double strength, CodeBlock& codes) {
    const auto blend = [&](const Plane& plane, double* code) {
        for (int i = 0; i < n; ++i)
            code[i] += (plane[at + static_cast<size_t>(i)] - code[i]) * strength;
    };
    blend(graded.R, codes.r);
    blend(graded.G, codes.g);
    blend(graded.B, codes.b);
}

void codesOf(const FramePlanes& planes, size_t at, int n, IOSpace space, const ExportColor& color, CodeBlock& codes) {
    if (color.alreadyEncoded) {
        widen(&planes.R[at], n, codes.r);
        widen(&planes.G[at], n, codes.g);
        widen(&planes.B[at], n, codes.b);
        return;
    }
    encodeRowFromLinearAWG4(&planes.R[at], &planes.G[at], &planes.B[at], codes.r, codes.g, codes.b,
                            static_cast<size_t>(n), space);
    if (color.graded) blendGraded(*color.graded, at, n, color.gradedStrength, codes);
}

} // namespace

void importImage(const ImageFacts& source, const PixelLayout& layout, IOSpace space, FramePlanes& planes) {
    const RowFormat format = rowFormat(layout);
    const PixelRows& rows = rowKernels().pixel;
    const auto importRow = [&](int y) {
        const std::uint8_t* pixels = rowAddress(source, source.bounds.y1 + y);
        const size_t rowStart = static_cast<size_t>(y) * static_cast<size_t>(planes.width);
        CodeBlock codes;
        forBlocks(planes.width, [&](int first, int n) {
            const size_t at = rowStart + static_cast<size_t>(first);
            float* alpha = planes.alpha.empty() ? nullptr : &planes.alpha[at];
            const std::int64_t offset = std::int64_t{first} * layout.pixelBytes();
            rows.importPixels(format, pixels + offset, static_cast<size_t>(n), codes.r, codes.g, codes.b, alpha);
            decodeRowToLinearAWG4(codes.r, codes.g, codes.b, &planes.R[at], &planes.G[at], &planes.B[at],
                                  static_cast<size_t>(n), space);
        });
    };
    parallelFor(0, planes.height, [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            importRow(y);
    });
}

void exportImage(const FramePlanes& planes, const ImageFacts& source, const ImageFacts& output,
                 const PixelLayout& layout, IOSpace space, const ExportColor& color, const OfxRectI& area) {
    const RowFormat format = rowFormat(layout);
    const PixelRows& rows = rowKernels().pixel;
    const std::int64_t pixelBytes = layout.pixelBytes();
    const auto exportRow = [&](int y) {
        const std::uint8_t* from = rowAddress(source, y) + (std::int64_t{area.x1} - source.bounds.x1) * pixelBytes;
        std::uint8_t* to = rowAddress(output, y) + (std::int64_t{area.x1} - output.bounds.x1) * pixelBytes;
        const size_t rowStart =
            static_cast<size_t>(std::int64_t{y} - source.bounds.y1) * static_cast<size_t>(planes.width) +
            static_cast<size_t>(std::int64_t{area.x1} - source.bounds.x1);
        CodeBlock codes;
        forBlocks(area.x2 - area.x1, [&](int first, int n) {
            const size_t at = rowStart + static_cast<size_t>(first);
            const float* alpha = planes.alpha.empty() ? nullptr : &planes.alpha[at];
            const std::int64_t offset = first * pixelBytes;
            codesOf(planes, at, n, space, color, codes);
            rows.exportPixels(format, codes.r, codes.g, codes.b, alpha, from + offset, static_cast<size_t>(n),
                              to + offset);
        });
    };
    parallelFor(area.y1, area.y2, [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            exportRow(y);
    });
}

void copyImage(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout, const OfxRectI& area) {
    const std::int64_t pixelBytes = layout.pixelBytes();
    const auto bytes = static_cast<size_t>((std::int64_t{area.x2} - area.x1) * pixelBytes);
    for (int y = area.y1; y < area.y2; ++y) {
        std::memcpy(rowAddress(output, y) + (std::int64_t{area.x1} - output.bounds.x1) * pixelBytes,
                    rowAddress(source, y) + (std::int64_t{area.x1} - source.bounds.x1) * pixelBytes, bytes);
    }
}

} // namespace velloid
