#include "tools/gallery/contact.h"

#include <OpenImageIO/imagebuf.h>

#include <stdexcept>

namespace gallery {
namespace {

constexpr int GAP = 10, LABEL = 22;

struct Pixels {
    int width, height;
    std::vector<float> rgb;
    Color at(int x, int y) const {
        const float* p = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
        return {p[0], p[1], p[2]};
    }
};

Pixels read(const std::string& path, const Crop& crop) {
    OIIO::ImageBuf image(path);
    if (!image.read(0, 0, true, OIIO::TypeDesc::FLOAT))
        throw std::runtime_error("cannot read '" + path + "': " + image.geterror());
    const int width = crop.width ? crop.width : image.spec().width,
              height = crop.width ? crop.height : image.spec().height;
    Pixels out{width, height, std::vector<float>(static_cast<std::size_t>(width) * height * 3)};
    const OIIO::ROI roi(crop.x, crop.x + width, crop.y, crop.y + height, 0, 1, 0, 3);
    if (image.nchannels() < 3 || !image.get_pixels(roi, OIIO::TypeDesc::FLOAT, out.rgb.data()))
        throw std::runtime_error("'" + path + "' is not a colour picture of the size expected");
    return out;
}

Color average(const Pixels& pixels, int x0, int y0, int size) {
    Color sum{};
    for (int y = y0; y < y0 + size; ++y)
        for (int x = x0; x < x0 + size; ++x)
            for (int c = 0; c < 3; ++c)
                sum[c] += pixels.at(x, y)[c] / static_cast<float>(size * size);
    return sum;
}

int scaledSize(int size, int zoom) {
    return zoom > 0 ? size * zoom : size / -zoom;
}

} // namespace

Canvas contactSheet(const std::vector<Tile>& tiles, int columns, const Crop& crop) {
    if (tiles.empty() || columns < 1 || crop.zoom == 0) throw std::runtime_error("a contact sheet needs pictures");
    const Pixels first = read(tiles[0].path, crop);
    const int width = scaledSize(first.width, crop.zoom), height = scaledSize(first.height, crop.zoom);
    const int rows = (static_cast<int>(tiles.size()) + columns - 1) / columns;
    Canvas canvas(GAP + columns * (width + GAP), GAP / 2 + rows * (height + LABEL + GAP / 2));
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        const Pixels pixels = read(tiles[i].path, crop);
        const int left = GAP + static_cast<int>(i) % columns * (width + GAP);
        const int top = GAP / 2 + LABEL + static_cast<int>(i) / columns * (height + LABEL + GAP / 2);
        canvas.text(left, top - 6, tiles[i].label, INK, 13);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                canvas.set(left + x, top + y,
                           crop.zoom > 0 ? pixels.at(x / crop.zoom, y / crop.zoom)
                                         : average(pixels, x * -crop.zoom, y * -crop.zoom, -crop.zoom));
    }
    return canvas;
}

} // namespace gallery
