// Rows of 8-bit, 16-bit and float pixels, to planes in scene-linear AWG4 and back.
#pragma once

#include "color/colorspace.h"
#include "plugin/image.h"
#include "plugin/planes.h"

namespace velloid {

// Reads the whole source image into the planes, decoded to scene-linear AWG4. Fills the alpha plane when it is there.
void importImage(const ImageFacts& source, const PixelLayout& layout, IOSpace space, FramePlanes& planes);

// What the export writes.
struct ExportColor {
    bool alreadyEncoded = false;         // the planes hold codes of the I/O encoding
    const FramePlanes* graded = nullptr; // codes to blend over the encoded planes; null: none
    double gradedStrength = 0.0;         // 0..1
};

// Writes the planes, encoded, to the pixels of the output that lie in `area` (within both images).
void exportImage(const FramePlanes& planes, const ImageFacts& source, const ImageFacts& output,
                 const PixelLayout& layout, IOSpace space, const ExportColor& color, const OfxRectI& area);

// Copies the source's pixels in `area` (within both images) to the output as they are.
void copyImage(const ImageFacts& source, const ImageFacts& output, const PixelLayout& layout, const OfxRectI& area);

} // namespace velloid
