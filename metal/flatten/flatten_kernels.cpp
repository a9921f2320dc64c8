// Writes the kernel text that the plug-in carries: a file with everything that it includes in quotes, each once, in the
// order of inclusion, with #line marks, so that a message of the GPU's compiler names the file that one edits.
//
//   flatten_kernels ROOT ENTRY TEXT SOURCE DEPFILE
//
// ENTRY and the names in its includes are relative to ROOT. TEXT receives the flattened text, SOURCE a C++ file that
// holds the same text, DEPFILE the files read, for the build. #pragma once is dropped, includes in angle brackets stay.
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Well below what any compiler allows for one string literal (MSVC: 16380 bytes).
constexpr std::size_t LITERAL_BYTES = 8000;

struct Flattened {
    std::string text;
    std::vector<std::string> files; // paths as opened
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path);
}

// The name in `#include "name"`; empty when the line is something else.
std::string quotedInclude(const std::string& line) {
    constexpr std::string_view MARK = "#include \"";
    if (line.compare(0, MARK.size(), MARK) != 0) return {};
    const auto end = line.find('"', MARK.size());
    return end == std::string::npos ? std::string() : line.substr(MARK.size(), end - MARK.size());
}

void markLine(std::string& text, std::size_t number, const std::string& name) {
    text += "#line " + std::to_string(number) + " \"" + name + "\"\n";
}

void append(Flattened& out, std::set<std::string>& seen, const std::string& root, const std::string& name) {
    out.files.push_back(root + "/" + name);
    std::istringstream lines(readFile(out.files.back()));
    markLine(out.text, 1, name);
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        const std::string included = quotedInclude(line);
        if (included.empty()) {
            out.text += (line == "#pragma once" ? std::string() : line) + "\n";
        } else if (seen.insert(included).second) {
            append(out, seen, root, included);
            markLine(out.text, number + 1, name);
        } else {
            out.text += "\n"; // keeps the count of lines
        }
    }
}

std::string asSource(const std::string& text) {
    constexpr std::string_view CLOSE = ")KERNELS\"";
    if (text.find(CLOSE) != std::string::npos) throw std::runtime_error("the text holds its own end mark");
    std::string source = "// Made by the build from metal/kernels/.\n#include \"metal/kernel_source.h\"\n\n"
                         "namespace velloid {\n\nstd::string kernelSource() {\n    std::string text;\n";
    source += "    text.reserve(" + std::to_string(text.size()) + ");\n";
    for (std::size_t at = 0; at < text.size();) {
        // Cut after a line, so that no literal divides a character of several bytes.
        const std::size_t cut =
            at + LITERAL_BYTES < text.size() ? text.rfind('\n', at + LITERAL_BYTES) : text.size() - 1;
        if (cut == std::string::npos || cut < at) throw std::runtime_error("a line is longer than a literal may be");
        source += "    text += R\"KERNELS(";
        source += text.substr(at, cut + 1 - at);
        source += CLOSE;
        source += ";\n";
        at = cut + 1;
    }
    return source + "    return text;\n}\n\n} // namespace velloid\n";
}

std::string asDepfile(const std::string& target, const std::vector<std::string>& files) {
    std::string rule = target + ":";
    for (const std::string& file : files) {
        rule += " ";
        for (const char c : file)
            rule += c == ' ' ? std::string("\\ ") : std::string(1, c);
    }
    return rule + "\n";
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 6) throw std::runtime_error("usage: flatten_kernels ROOT ENTRY TEXT SOURCE DEPFILE");
    Flattened flattened;
    std::set<std::string> seen = {argv[2]};
    append(flattened, seen, argv[1], argv[2]);
    writeFile(argv[3], flattened.text);
    writeFile(argv[4], asSource(flattened.text));
    writeFile(argv[5], asDepfile(argv[3], flattened.files));
    return 0;
} catch (const std::exception& error) {
    std::cerr << "flatten_kernels: " << error.what() << "\n";
    return 1;
}
