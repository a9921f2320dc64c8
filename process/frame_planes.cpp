#include "process/frame_planes.h"

#include <cstring>

namespace velloid {

namespace {

class PlanesFeed : public RowFeed {
public:
    PlanesFeed(const FramePlanes& framePlanes, const float* alphaPlane, const Region& wanted)
        : planes(framePlanes), alpha(alphaPlane), region(wanted) {}

    void next(int y, int count, const ColorRows& out) override {
        for (int k = 0; k < count; ++k) {
            for (int c = 0; c < 3; ++c)
                copyRow(planes.channel(c), y + k, out.channel[c][k]);
            if (alpha) copyRow(alpha, y + k, out.alpha[k]);
        }
    }

private:
    void copyRow(const float* plane, int y, float* out) const {
        std::memcpy(out, plane + samplesOf(planes.width(), y) + region.x0,
                    static_cast<std::size_t>(region.width()) * sizeof(float));
    }

    const FramePlanes& planes;
    const float* alpha;
    Region region;
};

class PlanesOrigin : public RowOrigin {
public:
    PlanesOrigin(const FramePlanes& framePlanes, const float* alphaPlane) : planes(framePlanes), alpha(alphaPlane) {}

    std::unique_ptr<RowFeed> open(const Region& region) const override {
        return std::make_unique<PlanesFeed>(planes, alpha, region);
    }

private:
    const FramePlanes& planes;
    const float* alpha;
};

class PlanesTile : public RowSink::Tile {
public:
    PlanesTile(FramePlanes& framePlanes, int left) : planes(framePlanes), x(left) {}

    ColorRows room(int y, int count) override {
        ColorRows rows;
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < count; ++k)
                rows.channel[c][k] = planes.channel(c) + samplesOf(planes.width(), y + k) + x;
        }
        return rows;
    }
    void done(int, int) override {}

private:
    FramePlanes& planes;
    int x;
};

} // namespace

FramePlanes::FramePlanes(int width, int height)
    : w(width), h(height), samples{Scratch(samplesOf(w, h)), Scratch(samplesOf(w, h)), Scratch(samplesOf(w, h))} {}

std::unique_ptr<RowOrigin> planesOrigin(const FramePlanes& planes, const float* alpha) {
    return std::make_unique<PlanesOrigin>(planes, alpha);
}

std::unique_ptr<RowSink::Tile> PlanesSink::open(const Region& region) const {
    return std::make_unique<PlanesTile>(planes, region.x0);
}

} // namespace velloid
