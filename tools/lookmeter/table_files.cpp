#include "tools/lookmeter/table_files.h"

#include <fstream>
#include <stdexcept>

namespace lookmeter {
namespace {

std::vector<float> readTable(const std::filesystem::path& path, int points) {
    std::vector<float> table(static_cast<std::size_t>(points) * points * points * 3);
    std::ifstream file(path, std::ios::binary);
    const auto bytes = static_cast<std::streamsize>(table.size() * sizeof(float));
    if (!file.read(reinterpret_cast<char*>(table.data()), bytes))
        throw std::runtime_error("'" + path.string() + "' is missing or too short for " + std::to_string(points) +
                                 " points per axis");
    return table;
}

} // namespace

LookSet embeddedLookSet() {
    LookSet looks;
    for (int i = 0; i < LOOK_COUNT; ++i)
        looks[i] = embeddedLooks()[i].look;
    return looks;
}

TableFiles::TableFiles(const std::filesystem::path& folder) : looks_(embeddedLookSet()) {
    for (int i = 0; i < LOOK_COUNT; ++i) {
        tables_[i] = readTable(folder / (std::string(embeddedLooks()[i].symbol) + ".f32"), looks_[i].points);
        looks_[i].data = tables_[i].data();
    }
}

} // namespace lookmeter
