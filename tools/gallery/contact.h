// Many pictures on one sheet, each under its name.
#pragma once

#include "tools/gallery/canvas.h"

#include <string>
#include <vector>

namespace gallery {

struct Tile {
    std::string label, path;
};

// What of each picture goes onto the sheet: width 0 takes all of it. zoom > 0 repeats pixels, zoom < 0 averages that
// many by that many.
struct Crop {
    int x = 0, y = 0, width = 0, height = 0, zoom = 1;
};

// Pictures of one size, display-encoded. Throws std::runtime_error naming the file that cannot be read.
Canvas contactSheet(const std::vector<Tile>& tiles, int columns, const Crop& crop);

} // namespace gallery
