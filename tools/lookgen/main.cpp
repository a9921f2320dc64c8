// lookgen: writes the look tables that the library carries.
//
//   lookgen files DIR         DIR/LOOK_....f32 per table: raw 32-bit floats, little-endian, for the assembler
//   lookgen arrays FILE.cpp   the same tables as C++ text, for compilers without file-scope assembly
//   lookgen checksums         one line per table
//
// Nothing is written unless every table could be computed and stored; the exit status says so.
#include "tools/lookgen/look_table.h"
#include "tools/lookgen/recipes.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace {

using lookgen::Recipe;
using lookgen::RECIPES;

std::vector<float> tableOf(const Recipe& recipe) {
    return lookgen::computeTable(recipe, static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 16u)));
}

std::ofstream create(const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) throw std::runtime_error("cannot write '" + path + "'");
    return file;
}

void finish(std::ofstream& file, const std::string& path) {
    file.close();
    if (!file) throw std::runtime_error("writing '" + path + "' failed: is the disk full?");
}

void writeFiles(const std::string& folder) {
    static_assert(std::endian::native == std::endian::little,
                  "the table files are little-endian: use `lookgen arrays`");
    for (const Recipe& recipe : RECIPES) {
        const std::vector<float> table = tableOf(recipe);
        const std::string path = folder + "/" + recipe.symbol + ".f32";
        std::ofstream file = create(path);
        file.write(reinterpret_cast<const char*>(table.data()),
                   static_cast<std::streamsize>(table.size() * sizeof(float)));
        finish(file, path);
    }
}

// Nine digits name a float exactly.
void writeArrays(const std::string& path) {
    std::ofstream file = create(path);
    file << "// Written by lookgen from its recipes: change those, not this.\n#include \"color/look_tables.h\"\n\n"
            "namespace velloid {\n";
    for (const Recipe& recipe : RECIPES) {
        file << "\nconst float " << recipe.symbol << "[] = {\n";
        int column = 0;
        for (const float value : tableOf(recipe)) {
            char text[32];
            std::snprintf(text, sizeof text, "%.8ef,%s", static_cast<double>(value), ++column % 6 ? "" : "\n");
            file << text;
        }
        file << "};\n";
    }
    file << "\n} // namespace velloid\n";
    finish(file, path);
}

void printChecksums() {
    for (const Recipe& recipe : RECIPES)
        std::printf("%016llx %s\n", static_cast<unsigned long long>(lookgen::checksum(tableOf(recipe))), recipe.symbol);
}

int usage() {
    std::fputs("usage: lookgen files DIR | lookgen arrays FILE.cpp | lookgen checksums\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv) try {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "files" && argc == 3) return writeFiles(argv[2]), 0;
    if (what == "arrays" && argc == 3) return writeArrays(argv[2]), 0;
    if (what == "checksums" && argc == 2) return printChecksums(), 0;
    return usage();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "lookgen: %s\n", failure.what());
    return 1;
}
