// A frame as whole planes, where a chain of rows has to stop: some effects need every row before they can make one.
#pragma once

#include "process/row_chain.h"
#include "process/scratch.h"

#include <memory>
#include <vector>

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

// Planes of a width that lie anywhere, row-major without gaps.
template <typename Sample>
struct PlaneView {
    Sample* channel[3];
    Sample* alpha; // null: none
    int w;
};

// The rows of planes, which must outlive this.
std::unique_ptr<RowOrigin> planesOrigin(const PlaneView<const float>& planes);
std::unique_ptr<RowOrigin> planesOrigin(const FramePlanes& planes, const float* alpha = nullptr);

// Rows go to where they belong in the planes.
class PlanesSink : public RowSink {
public:
    explicit PlanesSink(const PlaneView<float>& view) : planes(view) {}
    explicit PlanesSink(FramePlanes& p) : planes{{p.channel(0), p.channel(1), p.channel(2)}, nullptr, p.width()} {}

    std::unique_ptr<Tile> open(const Region& region) const override;

private:
    PlaneView<float> planes;
};

// The effects on whole planes of w x h samples, in place: the rows of `chain`, whose origin reads the planes, take
// their place. Throws as the chain does; the planes are then as before.
void replacePlanes(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h,
                   const RowChain& chain, std::vector<float>* alpha = nullptr);

// A chain that starts with the rows of these planes.
RowChain chainOf(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B, int w, int h);

} // namespace velloid
