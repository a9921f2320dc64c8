// What a Linux shared library says of itself, read from the file without loading it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarnwell {

struct ElfFile {
    bool isShared = false;
    bool is64Bit = false;
    std::string machine; // "x86-64", "aarch64", "x86", or "machine N"
    bool isForThisMachine = false;
    std::vector<std::string> neededLibraries; // 64-bit files only, as are all that follow
    std::vector<std::string> definedSymbols;
    std::vector<std::string> undefinedSymbols; // weak ones left out: they may stay undefined
    std::string neededGlibc;                   // highest version, "2.34"
    std::string neededGlibcxx;                 // "3.4.30"
};

// Nothing if the file is not an ELF file at all. A damaged one gives what could be read.
std::optional<ElfFile> readElf(const std::filesystem::path& path);

// The higher one of two dotted version numbers.
std::string higherVersion(const std::string& a, const std::string& b);

} // namespace tarnwell
