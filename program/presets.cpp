// Presets are read with every fault named; what is written is what is read.
#include "program/presets.h"

#include "program/exit_codes.h"
#include "text/words.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

namespace tarnwell {

namespace {

// A JSON value as the text that Parameter::parse reads. Throws std::invalid_argument for objects, nulls, nested lists.
std::string textOf(const Json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
    if (value.is_number()) return value.dump();
    if (value.is_array()) {
        std::string text;
        for (const Json& element : value) {
            if (!element.is_number()) throw std::invalid_argument("a list holds numbers only");
            if (!text.empty()) text += ',';
            text += element.dump();
        }
        return text;
    }
    throw std::invalid_argument("a value is a number, a text, true, false or a list of numbers");
}

Preset presetOf(const Json& document) {
    if (!document.is_object() || !document.contains("parameters") || !document["parameters"].is_object())
        throw std::invalid_argument("it must be an object with \"parameters\"");
    Preset preset;
    if (document.contains("plugin")) preset.plugin = document["plugin"].get<std::string>();
    for (const auto& [key, given] : document["parameters"].items()) {
        try {
            preset.settings.emplace_back(key,
                                         textOf(given.is_object() && given.contains("value") ? given["value"] : given));
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(fmt::format("parameter \"{}\": {}", key, error.what()));
        }
    }
    return preset;
}

Json numberOf(const Parameter& parameter, int index) {
    if (parameter.kind().values == ValueClass::Double) return parameter.doubles()[static_cast<std::size_t>(index)];
    return parameter.ints()[static_cast<std::size_t>(index)];
}

// One value of a property that is as wide as the parameter, or the list of them.
Json propertyOf(const Parameter& parameter, const char* name) {
    const PropertySet& properties = parameter.properties();
    Json list = Json::array();
    for (int i = 0; i < properties.dimensionOf(name); ++i) {
        if (parameter.kind().values == ValueClass::Double)
            list.push_back(properties.doubleAt(name, i));
        else
            list.push_back(properties.intAt(name, i));
    }
    return list.size() == 1 ? list[0] : list;
}

Json defaultOf(const Parameter& parameter) {
    Parameter fresh(parameter); // an instance starts at the default
    return valueOf(fresh);
}

// The type's name without the interface's prefix: "choice".
std::string typeOf(const Parameter& parameter) {
    std::string type = parameter.kind().type;
    const std::string prefix = "OfxParamType";
    if (type.compare(0, prefix.size(), prefix) == 0) type.erase(0, prefix.size());
    return lowered(type);
}

} // namespace

Preset readPreset(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw CommandError(ExitCode::NoInput, fmt::format("preset {}: no such file", path));
    try {
        return presetOf(Json::parse(file));
    } catch (const nlohmann::json::exception& error) {
        throw usageError(fmt::format("preset {}: {}", path, error.what()));
    } catch (const std::invalid_argument& error) {
        throw usageError(fmt::format("preset {}: {}", path, error.what()));
    }
}

std::pair<std::string, std::string> parseSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw usageError(fmt::format("\"{}\" is not a setting of the form key=value", text));
    return {text.substr(0, equals), text.substr(equals + 1)};
}

bool holdsValue(const Parameter& parameter) {
    return parameter.kind().values != ValueClass::None;
}

Json valueOf(const Parameter& parameter) {
    const ParameterKind& kind = parameter.kind();
    if (kind.values == ValueClass::Text || !parameter.options().empty()) return parameter.written();
    if (std::string(kind.type) == kOfxParamTypeBoolean) return parameter.ints()[0] != 0;
    if (kind.dimension == 1) return numberOf(parameter, 0);
    Json list = Json::array();
    for (int i = 0; i < kind.dimension; ++i)
        list.push_back(numberOf(parameter, i));
    return list;
}

Json describeParameter(const Parameter& parameter) {
    const PropertySet& properties = parameter.properties();
    Json all = {{"type", typeOf(parameter)}, {"label", parameter.label()}};
    all["value"] = valueOf(parameter);
    all["default"] = defaultOf(parameter);
    if (parameter.kind().isNumber && parameter.options().empty()) {
        all["min"] = propertyOf(parameter, kOfxParamPropMin);
        all["max"] = propertyOf(parameter, kOfxParamPropMax);
    }
    if (const auto options = parameter.options(); !options.empty()) all["options"] = options;
    if (properties.has(kOfxParamPropHint)) all["hint"] = properties.textAt(kOfxParamPropHint);
    return all;
}

Json valuesOf(const ParameterSet& parameters) {
    Json values = Json::object();
    for (const auto& parameter : parameters.all())
        if (holdsValue(*parameter)) values[parameter->key()] = valueOf(*parameter);
    return values;
}

} // namespace tarnwell
