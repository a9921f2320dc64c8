// Pixels go through in blocks that stay in the first-level cache:
//   import  host samples -> code values in double -> decode -> rows
//   export  rows -> encode -> code values in double -> (blend with graded codes) -> host samples
#include "plugin/pixel_io.h"

#include "process/parallel_pool.h"
#include "process/row_block.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cstring>
#include <optional>

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

// ---- import --------------------------------------------------------------------------------------------------------

class ImportFeed : public RowFeed {
public:
    ImportFeed(const ImageFacts& image, const PixelLayout& pixelLayout, IOSpace ioSpace, const Region& wanted)
        : source(image), layout(pixelLayout), space(ioSpace), region(wanted) {}

    void next(int y, int count, const ColorRows& out) override {
        for (int k = 0; k < count; ++k)
            importRow(y + k, out.channel[0][k], out.channel[1][k], out.channel[2][k]);
    }

private:
    void importRow(int y, float* r, float* g, float* b) const {
        const std::uint8_t* pixels =
            rowAddress(source, source.bounds.y1 + y) + std::int64_t{region.x0} * layout.pixelBytes();
        CodeBlock codes;
        forBlocks(region.width(), [&](int first, int count) {
            const auto n = static_cast<size_t>(count);
            rowKernels().pixel.importPixels(rowFormat(layout), pixels + std::int64_t{first} * layout.pixelBytes(), n,
                                            codes.r, codes.g, codes.b, nullptr);
            decodeRowToLinearAWG4(codes.r, codes.g, codes.b, r + first, g + first, b + first, n, space);
        });
    }

    const ImageFacts& source;
    PixelLayout layout;
    IOSpace space;
    Region region;
};

class ImportOrigin : public RowOrigin {
public:
    ImportOrigin(const ImageFacts& image, const PixelLayout& pixelLayout, IOSpace ioSpace)
        : source(image), layout(pixelLayout), space(ioSpace) {}

    std::unique_ptr<RowFeed> open(const Region& region) const override {
        return std::make_unique<ImportFeed>(source, layout, space, region);
    }

private:
    const ImageFacts& source;
    PixelLayout layout;
    IOSpace space;
};

// ---- export --------------------------------------------------------------------------------------------------------

// Widens row values that are codes already.
void widen(const float* from, int n, double* to) {
    std::copy(from, from + n, to);
}

void blendGraded(const GradingTable& grading, const float* const row[3], int count, CodeBlock& codes) {
    float graded[3][BLOCK];
    const auto n = static_cast<size_t>(count);
    for (int c = 0; c < 3; ++c)
        logc4EncodeRow(row[c], graded[c], n);
    grading.table->blend(graded[0], graded[1], graded[2], n, 1.0);
    double* const code[3] = {codes.r, codes.g, codes.b};
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < count; ++i)
            code[c][i] += (graded[c][i] - code[c][i]) * grading.strength;
    }
}

void codesOf(const float* const row[3], int n, const ExportFormat& format, CodeBlock& codes) {
    if (format.alreadyEncoded) {
        widen(row[0], n, codes.r);
        widen(row[1], n, codes.g);
        widen(row[2], n, codes.b);
        return;
    }
    encodeRowFromLinearAWG4(row[0], row[1], row[2], codes.r, codes.g, codes.b, static_cast<size_t>(n), format.space);
    if (format.grading.table) blendGraded(format.grading, row, n, codes);
}

class ExportTile : public RowSink::Tile {
public:
    ExportTile(const ImageFacts& from, const ImageFacts& to, const ExportFormat& exportFormat, const Region& tile)
        : source(from), output(to), format(exportFormat),
          region(tile), color{RowBlock(tile.width()), RowBlock(tile.width()), RowBlock(tile.width())} {
        if (format.ownAlpha) alpha.emplace(tile.width());
    }

    ColorRows room(int, int count) override {
        ColorRows rows;
        for (int k = 0; k < count; ++k) {
            for (int c = 0; c < 3; ++c)
                rows.channel[c][k] = color[c].rows()[k];
            rows.alpha[k] = alpha ? alpha->rows()[k] : nullptr;
        }
        return rows;
    }

    void done(int y, int count) override {
        for (int k = 0; k < count; ++k)
            exportRow(y + k, k);
    }

private:
    std::uint8_t* pixelsOf(const ImageFacts& image, int y) const {
        const std::int64_t column = std::int64_t{source.bounds.x1} + region.x0 - image.bounds.x1;
        return rowAddress(image, source.bounds.y1 + y) + column * format.layout.pixelBytes();
    }

    void exportRow(int y, int k) const {
        const std::uint8_t* from = pixelsOf(source, y);
        std::uint8_t* to = pixelsOf(output, y);
        CodeBlock codes;
        forBlocks(region.width(), [&](int first, int n) {
            const float* const row[3] = {color[0].row(k) + first, color[1].row(k) + first, color[2].row(k) + first};
            const float* alphaRow = alpha ? alpha->row(k) + first : nullptr;
            const std::int64_t offset = std::int64_t{first} * format.layout.pixelBytes();
            codesOf(row, n, format, codes);
            rowKernels().pixel.exportPixels(rowFormat(format.layout), codes.r, codes.g, codes.b, alphaRow,
                                            from + offset, static_cast<size_t>(n), to + offset);
        });
    }

    const ImageFacts& source;
    const ImageFacts& output;
    const ExportFormat& format;
    Region region;
    RowBlock color[3];
    std::optional<RowBlock> alpha;
};

} // namespace

std::unique_ptr<RowOrigin> importOrigin(const ImageFacts& source, const PixelLayout& layout, IOSpace space) {
    return std::make_unique<ImportOrigin>(source, layout, space);
}

void importAlpha(const ImageFacts& source, const PixelLayout& layout, float* plane) {
    const int w = static_cast<int>(source.width());
    parallelFor(0, static_cast<int>(source.height()), [&](int begin, int end) {
        CodeBlock unused;
        for (int y = begin; y < end; ++y) {
            const std::uint8_t* pixels = rowAddress(source, source.bounds.y1 + y);
            float* alpha = plane + samplesOf(w, y);
            forBlocks(w, [&](int first, int n) {
                rowKernels().pixel.importPixels(rowFormat(layout), pixels + std::int64_t{first} * layout.pixelBytes(),
                                                static_cast<size_t>(n), unused.r, unused.g, unused.b, alpha + first);
            });
        }
    });
}

std::unique_ptr<RowSink::Tile> ExportSink::open(const Region& region) const {
    return std::make_unique<ExportTile>(source_, output_, format_, region);
}

void copyImage(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout, const OfxRectI& area) {
    const std::int64_t pixelBytes = layout.pixelBytes();
    const auto bytes = static_cast<size_t>((std::int64_t{area.x2} - area.x1) * pixelBytes);
    const auto pixelsOf = [&](const ImageFacts& image, int y) {
        return rowAddress(image, y) + (std::int64_t{area.x1} - image.bounds.x1) * pixelBytes;
    };
    for (int y = area.y1; y < area.y2; ++y)
        std::memcpy(pixelsOf(output, y), pixelsOf(source, y), bytes);
}

SeparateSource::SeparateSource(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout)
    : image_(source) {
    if (!shareMemory(source, output, layout)) return;
    const std::int64_t rowBytes = source.width() * layout.pixelBytes();
    const auto bytes = static_cast<size_t>(rowBytes * source.height());
    copy_.emplace((bytes + sizeof(float) - 1) / sizeof(float));
    image_.data = copy_->data();
    image_.rowBytes = static_cast<int>(rowBytes);
    parallelFor(source.bounds.y1, source.bounds.y2, [&](int begin, int end) {
        copyImage(source, image_, layout, {source.bounds.x1, begin, source.bounds.x2, end});
    });
}

} // namespace velloid
