// Where a frame's rows come from and go to: 8-bit, 16-bit and float pixels of the host's images, decoded to
// scene-linear AWG4 and encoded again. Frame coordinates count from the source image's lower left corner.
#pragma once

#include "color/colorspace.h"
#include "color/lut3d.h"
#include "plugin/image.h"
#include "process/row_chain.h"
#include "process/scratch.h"

#include <memory>
#include <optional>

namespace velloid {

// The rows of the source image in scene-linear AWG4. The image must outlive this.
std::unique_ptr<RowOrigin> importOrigin(const ImageFacts& source, const PixelLayout& layout, IOSpace space);

// Reads the alpha of the whole source image (4 components) into a plane, clamped to [0, 1].
void importAlpha(const ImageFacts& source, const PixelLayout& layout, float* plane);

// A table to lay over the exported codes, indexed by the LogC4 codes of the rows.
struct GradingTable {
    std::shared_ptr<const LutRowTable> table; // null: none
    double strength = 0.0;                    // 0..1
};

// How the rows become pixels.
struct ExportFormat {
    PixelLayout layout;
    IOSpace space;
    bool alreadyEncoded = false; // the rows hold codes of the I/O encoding
    bool ownAlpha = false;       // alpha comes with the rows; else the source's leaves as it came
    GradingTable grading = {};
};

// Writes rows to the output image, whose pixels the tiles must lie in, as they must in the source's.
class ExportSink : public RowSink {
public:
    // The images must outlive this.
    ExportSink(const ImageFacts& source, const ImageFacts& output, const ExportFormat& format)
        : source_(source), output_(output), format_(format) {}

    std::unique_ptr<Tile> open(const Region& region) const override;

private:
    const ImageFacts& source_;
    const ImageFacts& output_;
    ExportFormat format_;
};

// Copies the source's pixels in `area` (within both images, which are apart in memory) to the output as they are.
void copyImage(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout, const OfxRectI& area);

// The source image of a frame; where a host renders in place, or nearly so, a copy of it: the colour and the alpha of a
// pixel are read long after others have been written.
class SeparateSource {
public:
    SeparateSource(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout);

    const ImageFacts& image() const { return image_; }

private:
    std::optional<Scratch> copy_;
    ImageFacts image_;
};

} // namespace velloid
