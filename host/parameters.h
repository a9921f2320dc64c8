// Parameters: descriptors as a plug-in defines them, and the instances that hold values.
//
// A value is up to four doubles, up to four ints or a text, by the parameter's type. Nothing animates: the value holds
// at every time. Reading and writing is safe from any thread; a text that was handed out stays alive as long as the
// parameter, since a reader on another thread may still hold it.
#pragma once

#include "host/property_set.h"

#include <array>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tarnwell {

enum class ValueClass { None, Int, Double, Text };

struct ParameterKind {
    const char* type; // kOfxParamType...
    ValueClass values;
    int dimension;
    bool isNumber;         // has min, max and display bounds
    int animatesByDefault; // kOfxParamPropAnimates before the plug-in writes it
};

// Null for a type that this host does not have.
const ParameterKind* parameterKind(const std::string& type);

// The shortest text that reads back as the same number, in no language's manner.
std::string shortest(double value);

class Parameter {
public:
    // A fresh definition with every standard default.
    Parameter(const ParameterKind& kind, const std::string& key);
    // An instance of a definition: a copy of its properties, the value at its default.
    explicit Parameter(const Parameter& definition);
    Parameter& operator=(const Parameter&) = delete;

    const ParameterKind& kind() const { return *kind_; }
    const std::string& key() const { return key_; }
    std::string label() const;
    PropertySet& properties() { return properties_; }
    const PropertySet& properties() const { return properties_; }
    OfxParamHandle handle() { return reinterpret_cast<OfxParamHandle>(this); }
    static Parameter* of(OfxParamHandle handle) { return fromHandle<Parameter>(HandleKind::Parameter, handle); }

    // Values as they are held, in the parameter's own unit: of its class, and as many as its dimension, the rest 0. Not
    // held to min and max: that a plug-in keeps to its range is not ours to mend.
    std::array<double, 4> doubles() const;
    std::array<int, 4> ints() const;
    const char* text() const; // never null
    void setDoubles(const std::array<double, 4>& values);
    void setInts(const std::array<int, 4>& values);
    void setText(const std::string& text);
    // Takes over the value of another parameter of the same class and dimension; false if it is not one.
    bool copyFrom(const Parameter& other);
    void resetToDefault();

    // Reads a value as a person writes it. Numbers: as many as the parameter has dimensions, separated by commas or
    // blanks, within min and max. Booleans: true/false, on/off, yes/no, 1/0. Choices: an option's label, a unique
    // beginning of one (case does not matter), or its index. Throws ParameterError naming what would have been right.
    void parse(const std::string& written);
    // The value in the form that parse reads; of a choice the option's label.
    std::string written() const;
    // Labels of a choice or the texts of a string choice, in index order; empty otherwise.
    std::vector<std::string> options() const;

private:
    void parseNumbers(const std::string& written);
    void parseBoolean(const std::string& written);
    void parseChoice(const std::string& written);
    void parseTextChoice(const std::string& written);

    const ParameterKind* kind_;
    std::string key_;
    PropertySet properties_;
    mutable std::mutex mutex_; // guards the values and texts_
    std::array<double, 4> doubles_{};
    std::array<int, 4> ints_{};
    std::set<std::string> texts_; // every text that this parameter ever held
    const std::string* text_ = nullptr;
    LiveHandle live_{HandleKind::Parameter, this};
};

// The parameters of an effect, in the order of their definition.
class ParameterSet {
public:
    explicit ParameterSet(PropertySet& effectProperties) : properties_(effectProperties) {}
    ParameterSet(const ParameterSet&) = delete;
    ParameterSet& operator=(const ParameterSet&) = delete;

    OfxParamSetHandle handle() { return reinterpret_cast<OfxParamSetHandle>(this); }
    static ParameterSet* of(OfxParamSetHandle handle) {
        return fromHandle<ParameterSet>(HandleKind::ParameterSet, handle);
    }

    PropertySet& properties() { return properties_; }
    // Null if the key is taken.
    Parameter* define(const ParameterKind& kind, const std::string& key);
    // Adds an instance of every definition, each at its default.
    void instantiate(const ParameterSet& definitions);
    // Null for a key that is not there.
    Parameter* find(const std::string& key);
    const Parameter* find(const std::string& key) const;
    // Throws ParameterError naming the nearest key.
    Parameter& at(const std::string& key);
    const std::vector<std::unique_ptr<Parameter>>& all() const { return parameters_; }

    bool accepting = false; // definitions are taken in the describe actions only

private:
    PropertySet& properties_;
    std::vector<std::unique_ptr<Parameter>> parameters_;
    LiveHandle live_{HandleKind::ParameterSet, this};
};

} // namespace tarnwell
