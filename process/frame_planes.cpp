#include "process/frame_planes.h"

#include <algorithm>
#include <cstring>

namespace velloid {

namespace {

class PlanesFeed : public RowFeed {
public:
    PlanesFeed(const PlaneView<const float>& view, const Region& wanted) : planes(view), region(wanted) {}

    void next(int y, int count, const ColorRows& out) override {
        for (int k = 0; k < count; ++k) {
            for (int c = 0; c < 3; ++c)
                copyRow(planes.channel[c], y + k, out.channel[c][k]);
            if (planes.alpha) copyRow(planes.alpha, y + k, out.alpha[k]);
        }
    }

private:
    void copyRow(const float* plane, int y, float* out) const {
        std::memcpy(out, plane + samplesOf(planes.w, y) + region.x0,
                    static_cast<std::size_t>(region.width()) * sizeof(float));
    }

    PlaneView<const float> planes;
    Region region;
};

class PlanesOrigin : public RowOrigin {
public:
    explicit PlanesOrigin(const PlaneView<const float>& view) : planes(view) {}

    std::unique_ptr<RowFeed> open(const Region& region) const override {
        return std::make_unique<PlanesFeed>(planes, region);
    }

private:
    PlaneView<const float> planes;
};

class PlanesTile : public RowSink::Tile {
public:
    PlanesTile(const PlaneView<float>& view, int left) : planes(view), x(left) {}

    ColorRows room(int y, int count) override {
        ColorRows rows;
        for (int k = 0; k < count; ++k) {
            const std::size_t at = samplesOf(planes.w, y + k) + static_cast<std::size_t>(x);
            for (int c = 0; c < 3; ++c)
                rows.channel[c][k] = planes.channel[c] + at;
            rows.alpha[k] = planes.alpha ? planes.alpha + at : nullptr;
        }
        return rows;
    }
    void done(int, int) override {}

private:
    PlaneView<float> planes;
    int x;
};

} // namespace

FramePlanes::FramePlanes(int width, int height)
    : w(width), h(height), samples{Scratch(samplesOf(w, h)), Scratch(samplesOf(w, h)), Scratch(samplesOf(w, h))} {}

std::unique_ptr<RowOrigin> planesOrigin(const PlaneView<const float>& planes) {
    return std::make_unique<PlanesOrigin>(planes);
}

std::unique_ptr<RowOrigin> planesOrigin(const FramePlanes& planes, const float* alpha) {
    return planesOrigin({{planes.channel(0), planes.channel(1), planes.channel(2)}, alpha, planes.width()});
}

std::unique_ptr<RowSink::Tile> PlanesSink::open(const Region& region) const {
    return std::make_unique<PlanesTile>(planes, region.x0);
}

void replacePlanes(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int w, int h,
                   const RowChain& chain, std::vector<float>* alpha) {
    const std::size_t samples = samplesOf(w, h);
    FramePlanes rows(w, h);
    Scratch alphaRows(alpha ? samples : 0);
    chain.run({0, 0, w, h}, PlanesSink({{rows.channel(0), rows.channel(1), rows.channel(2)}, alphaRows.data(), w}));
    std::copy_n(rows.channel(0), samples, R.data());
    std::copy_n(rows.channel(1), samples, G.data());
    std::copy_n(rows.channel(2), samples, B.data());
    if (alpha) std::copy_n(alphaRows.data(), samples, alpha->data());
}

RowChain chainOf(const std::vector<float>& R, const std::vector<float>& G, const std::vector<float>& B, int w, int h) {
    return {w, h, "planes", planesOrigin({{R.data(), G.data(), B.data()}, nullptr, w})};
}

} // namespace velloid
