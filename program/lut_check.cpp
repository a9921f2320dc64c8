// The reader is the plug-in's own source file, so that the two never disagree about a file.
#include "program/lut_check.h"

#include "color/cube_reader.h"
#include "pictures/image_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

namespace velloid {

// The reader numbers its tables by the plug-in's counter, which lives with the sampler; a check needs no number.
std::uint64_t nextLutCacheId() {
    return 1;
}

} // namespace velloid

namespace tarnwell {

namespace {

// "" for a file that is fine.
std::string faultOf(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) return "no such file";
    if (endingOf(path) != "cube") return std::ifstream(path) ? "" : "cannot be read";
    velloid::LUT3D table;
    velloid::CubeError error;
    if (velloid::loadCubeLut(path.c_str(), table, &error)) return {};
    return error.line > 0 ? fmt::format("line {}: {}", error.line, error.reason) : error.reason;
}

bool namesInputFile(const Parameter& parameter) {
    const PropertySet& properties = parameter.properties();
    if (parameter.kind().values != ValueClass::Text || !properties.has(kOfxParamPropStringMode)) return false;
    if (properties.textAt(kOfxParamPropStringMode) != kOfxParamStringIsFilePath) return false;
    return !properties.has(kOfxParamPropStringFilePathExists) ||
           properties.intAt(kOfxParamPropStringFilePathExists) != 0;
}

} // namespace

void checkLutFiles(const ParameterSet& parameters) {
    for (const auto& parameter : parameters.all()) {
        if (!namesInputFile(*parameter)) continue;
        const std::string path = parameter->text();
        if (path.empty()) continue;
        if (const std::string fault = faultOf(path); !fault.empty())
            throw CommandError(ExitCode::Failure, fmt::format("{}: {}: {} (--allow-missing-lut renders without it)",
                                                              parameter->key(), path, fault));
    }
}

} // namespace tarnwell
