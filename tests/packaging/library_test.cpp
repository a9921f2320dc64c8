// The built library as a loader sees it: what it offers, what it asks for, and how old a system may be. Reads the real
// file with the system's own tool.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Symbol {
    std::string name;
    std::string version;
    bool defined;
    bool weak;
};

std::string outputOf(const std::string& command) {
    std::string text;
    std::array<char, 4096> block;
    FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    while (const size_t n = std::fread(block.data(), 1, block.size(), pipe))
        text.append(block.data(), n);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

std::vector<Symbol> dynamicSymbols() {
    std::istringstream lines(outputOf("readelf --wide --dyn-syms '" TARNWELL_BINARY "'"));
    std::vector<Symbol> symbols;
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string number, value, size, type, bind, visibility, section, name;
        if (!(words >> number >> value >> size >> type >> bind >> visibility >> section >> name)) continue;
        if (number.back() != ':' || bind == "LOCAL" || section == "Ndx") continue;
        const size_t at = name.find('@');
        symbols.push_back({name.substr(0, at), at == std::string::npos ? "" : name.substr(name.find_last_of('@') + 1),
                           section != "UND", bind == "WEAK"});
    }
    return symbols;
}

} // namespace

TEST(Library, OffersTheTwoEntryPointsAndNothingElse) {
    std::set<std::string> defined;
    for (const Symbol& symbol : dynamicSymbols()) {
        if (symbol.defined) defined.insert(symbol.name);
    }
    EXPECT_EQ(defined, (std::set<std::string>{"OfxGetNumberOfPlugins", "OfxGetPlugin"}));
}

TEST(Library, AsksForNothingButTheCLibraryAndTheLoader) {
    for (const Symbol& symbol : dynamicSymbols()) {
        if (symbol.defined || symbol.weak) continue;
        EXPECT_TRUE(std::regex_match(symbol.version, std::regex(R"((GLIBC|GCC)_[0-9.]+)")))
            << symbol.name << " of version '" << symbol.version << "'";
    }
    const std::string needed = outputOf("readelf --wide --dynamic '" TARNWELL_BINARY "'");
    const std::regex entry(R"(\(NEEDED\)[^\[]*\[([^\]]+)\])");
    for (std::sregex_iterator it(needed.begin(), needed.end(), entry), end; it != end; ++it) {
        EXPECT_TRUE(std::regex_match(
            (*it)[1].str(), std::regex(R"((libc|libm|libgcc_s|ld-linux-x86-64|ld-linux-aarch64)\.so\.[0-9]+)")))
            << (*it)[1];
    }
}

// A function's static is made under a guard, which a child forked just then would wait at for ever, and is destroyed
// while other threads may still use it. What outlives a frame stands in objects of lifetime/ instead.
TEST(Library, KeepsNothingInStaticsThatAreMadeAtFirstUse) {
    std::istringstream lines(outputOf("nm --demangle '" TARNWELL_BINARY "'"));
    int symbols = 0;
    for (std::string line; std::getline(lines, line); ++symbols)
        EXPECT_EQ(line.find("guard variable for velloid::"), std::string::npos) << line;
    EXPECT_GT(symbols, 1000);
}

TEST(Library, LoadsOnSystemsWithGlibc234) {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ > 36)
    GTEST_SKIP() << "this machine's C library is newer than the one that releases are built with";
#endif
    for (const Symbol& symbol : dynamicSymbols()) {
        std::smatch version;
        if (symbol.defined ||
            !std::regex_match(symbol.version, version, std::regex(R"(GLIBC_2\.([0-9]+)(\.[0-9]+)?)"))) {
            continue;
        }
        EXPECT_LE(std::stoi(version[1]), 34) << symbol.name << " needs " << symbol.version;
    }
}

TEST(Bundle, HoldsThePropertyListThatMacsRead) {
    std::ifstream file(TARNWELL_BUNDLE "/Contents/Info.plist");
    ASSERT_TRUE(file);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* part :
         {"<key>CFBundleExecutable</key>\n    <string>Tarnwell.ofx</string>",
          "<key>CFBundlePackageType</key>\n    <string>BNDL</string>",
          "<key>CFBundleInfoDictionaryVersion</key>\n    <string>6.0</string>",
          "<key>CFBundleVersion</key>\n    <string>7.1</string>", "<key>CFBundleDevelopmentRegion</key>"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part;
    }
}

TEST(Bundle, PutsTheLibraryWhereHostsLook) {
    const std::filesystem::path library(TARNWELL_BINARY);
    EXPECT_EQ(library.filename(), "Tarnwell.ofx");
    EXPECT_EQ(library.parent_path().parent_path().filename(), "Contents");
#if defined(__x86_64__) && defined(__linux__)
    EXPECT_EQ(library.parent_path().filename(), "Linux-x86-64");
#endif
}
