// A frame as whole planes, where a chain of rows has to stop: some effects need every row before they can make one.
#pragma once

#include "process/row_chain.h"
#include "process/scratch.h"

#include <memory>

namespace velloid {

// Three planes of w x h samples, row-major without gaps, not initialised.
class FramePlanes {
public:
    FramePlanes(int w, int h);

    int width() const { return w; }
    int height() const { return h; }
    float* channel(int c) { return samples[c].data(); }
    const float* channel(int c) const { return samples[c].data(); }

private:
    int w;
    int h;
    Scratch samples[3];
};

// The rows of planes, and those of an alpha plane of the same size (null: none), which must outlive this.
std::unique_ptr<RowOrigin> planesOrigin(const FramePlanes& planes, const float* alpha = nullptr);

// Rows go to where they belong in the planes.
class PlanesSink : public RowSink {
public:
    explicit PlanesSink(FramePlanes& framePlanes) : planes(framePlanes) {}

    std::unique_ptr<Tile> open(const Region& region) const override;

private:
    FramePlanes& planes;
};

} // namespace velloid
