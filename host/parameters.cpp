// Plug-ins reach parameters by parameter_suite.cpp, people by parse and written; this is where both meet.
#include "host/parameters.h"

#include "host/property_tables.h"
#include "host/status.h"
#include "text/words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <locale>
#include <optional>
#include <sstream>

namespace tarnwell {

namespace {

// clang-format off
constexpr ParameterKind PARAMETER_KINDS[] = {
    // type                     values              dim  number animates
    {kOfxParamTypeInteger,      ValueClass::Int,    1,   true,  1},
    {kOfxParamTypeInteger2D,    ValueClass::Int,    2,   true,  1},
    {kOfxParamTypeInteger3D,    ValueClass::Int,    3,   true,  1},
    {kOfxParamTypeDouble,       ValueClass::Double, 1,   true,  1},
    {kOfxParamTypeDouble2D,     ValueClass::Double, 2,   true,  1},
    {kOfxParamTypeDouble3D,     ValueClass::Double, 3,   true,  1},
    {kOfxParamTypeRGB,          ValueClass::Double, 3,   true,  1},
    {kOfxParamTypeRGBA,         ValueClass::Double, 4,   true,  1},
    {kOfxParamTypeBoolean,      ValueClass::Int,    1,   false, 0},
    {kOfxParamTypeChoice,       ValueClass::Int,    1,   false, 0},
    {kOfxParamTypeStrChoice,    ValueClass::Text,   1,   false, 0},
    {kOfxParamTypeString,       ValueClass::Text,   1,   false, 0},
    {kOfxParamTypeCustom,       ValueClass::Text,   1,   false, 0},
    {kOfxParamTypeGroup,        ValueClass::None,   0,   false, 0},
    {kOfxParamTypePage,         ValueClass::None,   0,   false, 0},
    {kOfxParamTypePushButton,   ValueClass::None,   0,   false, 0},
};
// clang-format on

bool isType(const ParameterKind& kind, const char* type) {
    return std::string(kind.type) == type;
}

std::optional<int> wholeNumber(const std::string& text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || text.empty()) return std::nullopt;
    return value;
}

// Always with a decimal point, whatever the locale.
std::optional<double> number(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double value = 0.0;
    if (!(stream >> value) || stream.peek() != std::istringstream::traits_type::eof() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::vector<std::string> words(std::string text) {
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string word; stream >> word;)
        found.push_back(word);
    return found;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all.append(all.empty() ? "\"" : ", \"").append(text).append("\"");
    return all;
}

// The index of the option that a person means: its label, the label but for case, or the only one that begins so.
std::optional<int> optionMeant(const std::string& written, const std::vector<std::string>& options) {
    const auto indexOf = [&](auto fits) -> std::optional<int> {
        const auto first = std::find_if(options.begin(), options.end(), fits);
        if (first == options.end() || std::find_if(first + 1, options.end(), fits) != options.end())
            return std::nullopt;
        return static_cast<int>(first - options.begin());
    };
    const auto exact = std::find(options.begin(), options.end(), written);
    if (exact != options.end()) return static_cast<int>(exact - options.begin());
    if (const auto same = indexOf([&](const std::string& option) { return equalWithoutCase(option, written); }))
        return same;
    if (written.empty()) return std::nullopt;
    if (const auto index = wholeNumber(written))
        if (*index >= 0 && *index < static_cast<int>(options.size())) return index;
    return indexOf([&](const std::string& option) { return startsWithoutCase(option, written); });
}

} // namespace

std::string shortest(double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    for (int digits = 6; digits <= 17; ++digits) {
        stream.str("");
        stream.precision(digits);
        stream << value;
        if (number(stream.str()) == value) break;
    }
    return stream.str();
}

const ParameterKind* parameterKind(const std::string& type) {
    for (const ParameterKind& kind : PARAMETER_KINDS)
        if (type == kind.type) return &kind;
    return nullptr;
}

// ---- one parameter ------------------------------------------------------------------------------------------------

Parameter::Parameter(const ParameterKind& kind, const std::string& key)
    : kind_(&kind), key_(key), properties_(parameterRows(kind)) {
    for (const char* name :
         {kOfxPropName, kOfxPropLabel, kOfxPropShortLabel, kOfxPropLongLabel, kOfxParamPropScriptName})
        properties_.putText(name, key);
    properties_.putText(kOfxParamPropType, kind.type);
    properties_.follow(kOfxPropLabel, kOfxPropShortLabel);
    properties_.follow(kOfxPropLabel, kOfxPropLongLabel);
    properties_.follow(kOfxParamPropMin, kOfxParamPropDisplayMin);
    properties_.follow(kOfxParamPropMax, kOfxParamPropDisplayMax);
    if (kind.isNumber) {
        std::vector<std::string> axes = {"x", "y", "z", "w"};
        axes.resize(static_cast<std::size_t>(kind.dimension));
        properties_.putTexts(kOfxParamPropDimensionLabel, axes);
    }
}

Parameter::Parameter(const Parameter& definition)
    : kind_(definition.kind_), key_(definition.key_), properties_(definition.properties_) {
    properties_.putText(kOfxPropType, kOfxTypeParameterInstance);
    resetToDefault();
}

std::string Parameter::label() const {
    return properties_.textAt(kOfxPropLabel);
}

void Parameter::resetToDefault() {
    const auto count = static_cast<std::size_t>(kind_->dimension);
    std::array<double, 4> numbers{};
    std::array<int, 4> wholes{};
    switch (kind_->values) {
    case ValueClass::None:
        return;
    case ValueClass::Text:
        return setText(properties_.textAt(kOfxParamPropDefault));
    case ValueClass::Double:
        for (std::size_t i = 0; i < count; ++i)
            numbers[i] = properties_.doubleAt(kOfxParamPropDefault, static_cast<int>(i));
        return setDoubles(numbers);
    case ValueClass::Int:
        for (std::size_t i = 0; i < count; ++i)
            wholes[i] = properties_.intAt(kOfxParamPropDefault, static_cast<int>(i));
        return setInts(wholes);
    }
}

std::array<double, 4> Parameter::doubles() const {
    const std::lock_guard lock(mutex_);
    return doubles_;
}

std::array<int, 4> Parameter::ints() const {
    const std::lock_guard lock(mutex_);
    return ints_;
}

const char* Parameter::text() const {
    const std::lock_guard lock(mutex_);
    return text_ != nullptr ? text_->c_str() : "";
}

void Parameter::setDoubles(const std::array<double, 4>& values) {
    const std::lock_guard lock(mutex_);
    doubles_ = values;
}

void Parameter::setInts(const std::array<int, 4>& values) {
    const std::lock_guard lock(mutex_);
    ints_ = values;
}

void Parameter::setText(const std::string& text) {
    const std::lock_guard lock(mutex_);
    text_ = &*texts_.insert(text).first;
}

bool Parameter::copyFrom(const Parameter& other) {
    if (other.kind_->values != kind_->values || other.kind_->dimension != kind_->dimension) return false;
    setDoubles(other.doubles());
    setInts(other.ints());
    if (kind_->values == ValueClass::Text) setText(other.text());
    return true;
}

std::vector<std::string> Parameter::options() const {
    if (isType(*kind_, kOfxParamTypeChoice)) return properties_.texts(kOfxParamPropChoiceOption);
    if (isType(*kind_, kOfxParamTypeStrChoice)) return properties_.texts(kOfxParamPropChoiceEnum);
    return {};
}

void Parameter::parse(const std::string& written) {
    if (kind_->values == ValueClass::None) throw ParameterError(key_ + " holds no value");
    if (isType(*kind_, kOfxParamTypeBoolean)) return parseBoolean(written);
    if (isType(*kind_, kOfxParamTypeChoice)) return parseChoice(written);
    if (isType(*kind_, kOfxParamTypeStrChoice)) return parseTextChoice(written);
    if (kind_->values == ValueClass::Text) return setText(written);
    parseNumbers(written);
}

void Parameter::parseNumbers(const std::string& written) {
    const std::vector<std::string> parts = words(written);
    if (parts.size() != static_cast<std::size_t>(kind_->dimension))
        throw ParameterError(key_ + ": \"" + written + "\" is not " + std::to_string(kind_->dimension) +
                             (kind_->dimension == 1 ? " number" : " numbers separated by commas"));
    std::array<double, 4> numbers{};
    std::array<int, 4> wholes{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const int axis = static_cast<int>(i);
        const bool isWhole = kind_->values == ValueClass::Int;
        const auto whole = isWhole ? wholeNumber(parts[i]) : std::nullopt;
        const auto value = isWhole ? (whole ? std::optional<double>(*whole) : std::nullopt) : number(parts[i]);
        if (!value)
            throw ParameterError(key_ + ": \"" + parts[i] + "\" is not a " + (isWhole ? "whole " : "") + "number");
        const double low =
            isWhole ? properties_.intAt(kOfxParamPropMin, axis) : properties_.doubleAt(kOfxParamPropMin, axis);
        const double high =
            isWhole ? properties_.intAt(kOfxParamPropMax, axis) : properties_.doubleAt(kOfxParamPropMax, axis);
        if (*value < low || *value > high)
            throw ParameterError(key_ + ": " + parts[i] + " lies outside " + shortest(low) + " to " + shortest(high));
        numbers[i] = *value;
        wholes[i] = whole.value_or(0);
    }
    kind_->values == ValueClass::Int ? setInts(wholes) : setDoubles(numbers);
}

void Parameter::parseBoolean(const std::string& written) {
    for (const char* yes : {"true", "on", "yes", "1"})
        if (equalWithoutCase(written, yes)) return setInts({1});
    for (const char* no : {"false", "off", "no", "0"})
        if (equalWithoutCase(written, no)) return setInts({0});
    throw ParameterError(key_ + ": \"" + written + "\" is neither true nor false");
}

void Parameter::parseChoice(const std::string& written) {
    const auto index = optionMeant(written, options());
    if (!index)
        throw ParameterError(key_ + ": no option \"" + written + "\"" + didYouMean(written, options()) +
                             "; options: " + joined(options()));
    setInts({*index});
}

// The stored texts, or the labels that a person sees for them.
void Parameter::parseTextChoice(const std::string& written) {
    const std::vector<std::string> stored = options();
    auto index = optionMeant(written, stored);
    if (!index) index = optionMeant(written, properties_.texts(kOfxParamPropChoiceOption));
    if (!index || *index >= static_cast<int>(stored.size()))
        throw ParameterError(key_ + ": no option \"" + written + "\"" + didYouMean(written, stored) +
                             "; options: " + joined(stored));
    setText(stored[static_cast<std::size_t>(*index)]);
}

std::string Parameter::written() const {
    if (kind_->values == ValueClass::None) return "";
    if (kind_->values == ValueClass::Text) return text();
    const std::array<int, 4> wholes = ints();
    if (isType(*kind_, kOfxParamTypeBoolean)) return wholes[0] != 0 ? "true" : "false";
    if (isType(*kind_, kOfxParamTypeChoice)) {
        const std::vector<std::string> labels = options();
        const auto index = static_cast<std::size_t>(wholes[0]);
        return wholes[0] >= 0 && index < labels.size() ? labels[index] : std::to_string(wholes[0]);
    }
    const std::array<double, 4> numbers = doubles();
    std::string all;
    for (std::size_t i = 0; i < static_cast<std::size_t>(kind_->dimension); ++i) {
        if (i != 0) all += ',';
        all += kind_->values == ValueClass::Int ? std::to_string(wholes[i]) : shortest(numbers[i]);
    }
    return all;
}

// ---- all of them --------------------------------------------------------------------------------------------------

Parameter* ParameterSet::define(const ParameterKind& kind, const std::string& key) {
    if (find(key) != nullptr) return nullptr;
    return parameters_.emplace_back(std::make_unique<Parameter>(kind, key)).get();
}

void ParameterSet::instantiate(const ParameterSet& definitions) {
    for (const auto& definition : definitions.parameters_)
        parameters_.push_back(std::make_unique<Parameter>(*definition));
}

const Parameter* ParameterSet::find(const std::string& key) const {
    for (const auto& parameter : parameters_)
        if (parameter->key() == key) return parameter.get();
    return nullptr;
}

Parameter* ParameterSet::find(const std::string& key) {
    return const_cast<Parameter*>(static_cast<const ParameterSet*>(this)->find(key));
}

Parameter& ParameterSet::at(const std::string& key) {
    if (Parameter* parameter = find(key)) return *parameter;
    std::vector<std::string> keys;
    for (const auto& parameter : parameters_)
        if (parameter->kind().values != ValueClass::None) keys.push_back(parameter->key());
    throw ParameterError("no parameter \"" + key + "\"" + didYouMean(key, keys));
}

} // namespace tarnwell
