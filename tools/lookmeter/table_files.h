// All eight looks, from the library or from files that lookgen wrote.
#pragma once

#include "tools/lookmeter/bounds.h"

#include <filesystem>

namespace lookmeter {

using LookSet = std::array<Look, LOOK_COUNT>;

LookSet embeddedLookSet();

// Holds the tables of DIR/LOOK_....f32. Throws std::runtime_error naming the file that is missing or too short.
class TableFiles {
public:
    explicit TableFiles(const std::filesystem::path& folder);
    const LookSet& looks() const { return looks_; }

private:
    std::array<std::vector<float>, LOOK_COUNT> tables_;
    LookSet looks_;
};

} // namespace lookmeter
