// lookgallery: draws the charts of the looks.
//
//   lookgallery DIR [TABLES]   writes PNG files into DIR, from the embedded tables, or from the .f32 files in TABLES
//                              (`lookgen files TABLES`), for comparing two states of the recipes
#include <cstdio>
#include <exception>
#include <filesystem>

#include "tools/gallery/pictures.h"
#include "tools/gallery/scene.h"

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

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2 && argc != 3) {
        std::fputs("usage: lookgallery DIR [TABLES]\n", stderr);
        return 2;
    }
    if (argc == 2)
        draw(argv[1], embeddedLookSet());
    else
        draw(argv[1], TableFiles(argv[2]).looks());
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "lookgallery: %s\n", failure.what());
    return 1;
}
