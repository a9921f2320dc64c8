// lookgallery: pictures about looks.
//
//   lookgallery charts DIR [TABLES]   charts of the embedded tables as PNG into DIR; or of the .f32 files in TABLES
//                                     (`lookgen files TABLES`), for comparing two states of the recipes
//   lookgallery contact OUT COLUMNS CROP LABEL FILE [LABEL FILE ...]
//                                     pictures of one size on one sheet. CROP is X,Y,WIDTH,HEIGHT,ZOOM; WIDTH 0: all;
//                                     ZOOM 2 doubles pixels, -2 halves the picture
#include "tools/gallery/contact.h"
#include "tools/gallery/pictures.h"
#include "tools/gallery/scene.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace {

using namespace lookmeter;
namespace fs = std::filesystem;

void draw(const fs::path& folder, const LookSet& looks) {
    fs::create_directories(folder);
    gallery::toneCurves(looks).write(folder / "tone_curves.png");
    gallery::distanceMatrix(looks).write(folder / "distances.png");
    gallery::sceneSheet(looks).write(folder / "scene.png");
    gallery::pushAndPull(looks).write(folder / "push_and_pull.png");
    for (int i = 0; i < LOOK_COUNT; ++i) {
        const std::string name = std::string(embeddedLooks()[i].symbol) + ".png";
        gallery::lookSheet(looks[i], static_cast<LookIndex>(i)).write(folder / name);
    }
}

gallery::Crop parseCrop(const char* text) {
    gallery::Crop crop;
    if (std::sscanf(text, "%d,%d,%d,%d,%d", &crop.x, &crop.y, &crop.width, &crop.height, &crop.zoom) != 5)
        throw std::runtime_error(std::string("'") + text + "' is not X,Y,WIDTH,HEIGHT,ZOOM");
    return crop;
}

void contact(int argc, char** argv) {
    std::vector<gallery::Tile> tiles;
    for (int i = 5; i + 1 < argc; i += 2)
        tiles.push_back({argv[i], argv[i + 1]});
    gallery::contactSheet(tiles, std::stoi(argv[3]), parseCrop(argv[4])).write(argv[2]);
}

void charts(int argc, char** argv) {
    if (argc == 3)
        draw(argv[2], embeddedLookSet());
    else
        draw(argv[2], TableFiles(argv[3]).looks());
}

} // namespace

int main(int argc, char** argv) try {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "charts" && (argc == 3 || argc == 4)) return charts(argc, argv), 0;
    if (what == "contact" && argc >= 7 && argc % 2 == 1) return contact(argc, argv), 0;
    std::fputs("usage: lookgallery charts DIR [TABLES] | contact OUT COLUMNS CROP LABEL FILE [LABEL FILE ...]\n",
               stderr);
    return 2;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "lookgallery: %s\n", failure.what());
    return 1;
}
