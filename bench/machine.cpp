#include "bench/machine.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/utsname.h>
#endif

namespace tarnwell::bench {

namespace {

std::string textOf(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The value of a line "name : value".
std::string valueIn(const std::string& text, const std::string& name) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        if (line.rfind(name, 0) != 0 || colon == std::string::npos) continue;
        const std::size_t first = line.find_first_not_of(" \t", colon + 1);
        return first == std::string::npos ? "" : line.substr(first);
    }
    return "";
}

std::string systemName() {
#if defined(__unix__) || defined(__APPLE__)
    utsname names;
    if (uname(&names) == 0) return std::string(names.sysname) + " " + names.release + ", " + names.machine;
#endif
    return "unknown";
}

} // namespace

std::string processorIn(const std::string& cpuInfo) {
    const std::string name = valueIn(cpuInfo, "model name");
    if (name.empty()) return "unknown";
    return name + ", family " + valueIn(cpuInfo, "cpu family") + ", model " + valueIn(cpuInfo, "model\t");
}

Facts machineFacts() {
    const std::string memory = valueIn(textOf("/proc/meminfo"), "MemTotal");
    return {{"processor", processorIn(textOf("/proc/cpuinfo"))},
            {"processors seen", std::to_string(std::thread::hardware_concurrency())},
            {"memory", memory.empty() ? "unknown" : memory},
            {"system", systemName()}};
}

} // namespace tarnwell::bench
