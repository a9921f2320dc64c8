// lookgallery: draws the charts of the looks.
//
//   lookgallery DIR [TABLES]   writes PNG files into DIR, from the embedded tables, or from the .f32 files in TABLES
//                              (`lookgen files TABLES`), for comparing two states of the recipes
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tools/gallery/pictures.h"

namespace {

using namespace lookmeter;
namespace fs = std::filesystem;

std::vector<float> readTable(const fs::path& path, int points) {
    std::vector<float> table(static_cast<std::size_t>(points) * points * points * 3);
    std::ifstream file(path, std::ios::binary);
    const auto bytes = static_cast<std::streamsize>(table.size() * sizeof(float));
    if (!file.read(reinterpret_cast<char*>(table.data()), bytes))
        throw std::runtime_error("'" + path.string() + "' is missing or too short for " + std::to_string(points) +
                                 " points");
    return table;
}

void draw(const fs::path& folder, const gallery::LookSet& looks) {
    fs::create_directories(folder);
    gallery::toneCurves(looks).write(folder / "tone_curves.png");
    gallery::distanceMatrix(looks).write(folder / "distances.png");
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
    gallery::LookSet looks;
    std::array<std::vector<float>, LOOK_COUNT> tables;
    for (int i = 0; i < LOOK_COUNT; ++i) {
        const EmbeddedLook& embedded = embeddedLooks()[i];
        looks[i] = embedded.look;
        if (argc == 2) continue;
        tables[i] = readTable(fs::path(argv[2]) / (std::string(embedded.symbol) + ".f32"), embedded.look.points);
        looks[i].data = tables[i].data();
    }
    draw(argv[1], looks);
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "lookgallery: %s\n", failure.what());
    return 1;
}
