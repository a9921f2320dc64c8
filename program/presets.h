// Settings of a plug-in as text: key and value as a person writes them, choices by label, so that a menu that grows
// does not change an old preset.
//   {"plugin": "com.ostrel.tarnwell", "parameters": {"negStock": "Portra 400", "bloom": 0.25}}
// A value may also be an object that holds it as "value": the output of `tarnwell params --json` is a preset.
#pragma once

#include "host/parameters.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace tarnwell {

using Json = nlohmann::ordered_json;
using Settings = std::vector<std::pair<std::string, std::string>>; // key, value; a later one wins

struct Preset {
    std::string plugin; // identifier; "": any
    Settings settings;
};

// Throws CommandError: (NoInput) no such file, (Usage) naming the file and what is wrong in it.
Preset readPreset(const std::string& path);

// "key=value". Throws CommandError (Usage) without an "=" or a key.
std::pair<std::string, std::string> parseSetting(const std::string& text);

// A parameter's value (it must hold one) as JSON: number, list of numbers, true or false, or text (choices by label).
Json valueOf(const Parameter& parameter);

// Everything about a parameter: type, label, value, default, options, range, hint.
Json describeParameter(const Parameter& parameter);

// Whether the parameter holds a value at all (groups, pages and buttons do not).
bool holdsValue(const Parameter& parameter);

// All values of a set that holds one, in order: what a frame was rendered with.
Json valuesOf(const ParameterSet& parameters);

} // namespace tarnwell
