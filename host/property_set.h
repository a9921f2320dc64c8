// Named, typed, indexed values: what every OpenFX object shows of itself.
//
// Strict, as real hosts are: a name that the set does not define, or defines with another type, is
// kOfxStatErrUnknown; an index outside a fixed dimension is kOfxStatErrBadIndex. A property of dimension 0 is variable:
// it starts empty, grows when a higher index is set, and takes the length of a set-N. A get-N past the end fills what
// there is and answers kOfxStatOK. Reads fall through to a parent set, writes never do.
// Safe to read and write from several threads; a text that was handed out lives until that property is written.
#pragma once

#include "host/handles.h"
#include "ofx/ofx.h"

#include <map>
#include <shared_mutex>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace tarnwell {

enum class PropertyType { Pointer, String, Double, Int }; // in the order of Property::Values

// One line of a property table: every element starts as `number` or `text`, whichever fits the type.
struct PropertyRow {
    const char* name;
    PropertyType type;
    int dimension; // 0: variable, empty at first
    double number = 0.0;
    const char* text = "";
};

class PropertySet {
public:
    PropertySet() = default;
    explicit PropertySet(std::span<const PropertyRow> rows);
    // A copy holds the same properties, values and parent, under a handle of its own.
    PropertySet(const PropertySet& other);
    PropertySet& operator=(const PropertySet&) = delete;
    virtual ~PropertySet() = default;

    OfxPropertySetHandle handle() { return reinterpret_cast<OfxPropertySetHandle>(this); }
    static PropertySet* of(OfxPropertySetHandle handle) {
        return fromHandle<PropertySet>(HandleKind::PropertySet, handle);
    }

    // Adds a property at its start value; one of that name is replaced.
    void define(const PropertyRow& row);
    void define(std::span<const PropertyRow> rows);
    // Takes a property out, so that asking for it answers kOfxStatErrUnknown.
    void erase(const std::string& name);
    // `parent` (null: none) must live as long.
    void setParent(const PropertySet* parent) { parent_ = parent; }
    // Whenever `leader` is written, `follower` takes over its values.
    void follow(const std::string& leader, const std::string& follower);

    // ---- as the property suite sees it. Value is void*, const char*, double or int. -----------------------------
    template <class Value>
    OfxStatus set(const char* name, int index, Value value);
    template <class Value>
    OfxStatus setN(const char* name, int count, const Value* values);
    template <class Value>
    OfxStatus get(const char* name, int index, Value* value) const;
    template <class Value>
    OfxStatus getN(const char* name, int count, Value* values) const;
    OfxStatus reset(const char* name);
    OfxStatus dimension(const char* name, int* count) const;

    // ---- as the host uses it: throws HostError for what the suite answers with an error. -------------------------
    bool has(const std::string& name) const;
    int dimensionOf(const std::string& name) const;
    int intAt(const std::string& name, int index = 0) const;
    double doubleAt(const std::string& name, int index = 0) const;
    std::string textAt(const std::string& name, int index = 0) const;
    void* pointerAt(const std::string& name, int index = 0) const;
    std::vector<std::string> texts(const std::string& name) const;
    std::vector<double> doubles(const std::string& name) const;

    // Defines the property if need be (with the dimension of the values), then sets all of it.
    void putInts(const std::string& name, const std::vector<int>& values);
    void putDoubles(const std::string& name, const std::vector<double>& values);
    void putTexts(const std::string& name, const std::vector<std::string>& values);
    void putInt(const std::string& name, int value) { putInts(name, {value}); }
    void putDouble(const std::string& name, double value) { putDoubles(name, {value}); }
    void putText(const std::string& name, const std::string& value) { putTexts(name, {value}); }
    void putPointer(const std::string& name, void* value);
    std::vector<std::string> names() const;

private:
    using Values = std::variant<std::vector<void*>, std::vector<std::string>, std::vector<double>, std::vector<int>>;
    struct Property {
        int dimension;
        Values values;
        Values defaults;
    };

    template <class Value>
    OfxStatus read(const char* name, int index, Value* value) const;
    template <class Stored>
    void put(const std::string& name, const std::vector<Stored>& values);
    template <class Stored>
    std::vector<Stored> all(const std::string& name) const;
    template <class Value>
    Value at(const std::string& name, int index) const;
    void lead(const std::string& leader);
    const Property* find(const char* name) const;

    mutable std::shared_mutex mutex_; // guards properties_ and followers_
    std::map<std::string, Property, std::less<>> properties_;
    std::multimap<std::string, std::string, std::less<>> followers_;
    const PropertySet* parent_ = nullptr;
    LiveHandle live_{HandleKind::PropertySet, this};
};

} // namespace tarnwell
