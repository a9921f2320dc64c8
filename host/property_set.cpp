// One map and one lock per set. Plug-ins come by property_suite.cpp and are answered with a status; the host's own
// calls throw instead.
#include "host/property_set.h"

#include "host/status.h"

#include <algorithm>
#include <mutex>

namespace tarnwell {

namespace {

// The type that a value of the suite is kept as: text is copied, everything else is kept as it is.
template <class Value>
struct Kept {
    using Type = Value;
};
template <>
struct Kept<const char*> {
    using Type = std::string;
};
template <>
struct Kept<char*> {
    using Type = std::string;
};

template <class Stored>
Stored handOut(const Stored& stored) {
    return stored;
}
// The interface has the text writable; nobody may write it.
char* handOut(const std::string& stored) {
    return const_cast<char*>(stored.c_str());
}

template <class Value>
bool isAcceptable(Value) {
    return true;
}
bool isAcceptable(const char* text) {
    return text != nullptr;
}

} // namespace

PropertySet::PropertySet(std::span<const PropertyRow> rows) {
    define(rows);
}

PropertySet::PropertySet(const PropertySet& other) : parent_(other.parent_) {
    const std::shared_lock lock(other.mutex_);
    properties_ = other.properties_;
    followers_ = other.followers_;
}

void PropertySet::define(const PropertyRow& row) {
    const auto count = static_cast<std::size_t>(row.dimension);
    Values values;
    switch (row.type) {
    case PropertyType::Pointer:
        values = std::vector<void*>(count, nullptr);
        break;
    case PropertyType::String:
        values = std::vector<std::string>(count, row.text);
        break;
    case PropertyType::Double:
        values = std::vector<double>(count, row.number);
        break;
    case PropertyType::Int:
        values = std::vector<int>(count, static_cast<int>(row.number));
        break;
    }
    const std::unique_lock lock(mutex_);
    properties_.insert_or_assign(row.name, Property{row.dimension, values, values});
}

void PropertySet::define(std::span<const PropertyRow> rows) {
    for (const PropertyRow& row : rows)
        define(row);
}

void PropertySet::erase(const std::string& name) {
    const std::unique_lock lock(mutex_);
    properties_.erase(name);
}

void PropertySet::follow(const std::string& leader, const std::string& follower) {
    const std::unique_lock lock(mutex_);
    followers_.emplace(leader, follower);
}

// Called with the lock held.
void PropertySet::lead(const std::string& leader) {
    const auto [first, last] = followers_.equal_range(leader);
    for (auto entry = first; entry != last; ++entry) {
        const auto follower = properties_.find(entry->second);
        if (follower != properties_.end()) follower->second.values = properties_.find(leader)->second.values;
    }
}

const PropertySet::Property* PropertySet::find(const char* name) const {
    if (name == nullptr) return nullptr;
    const auto entry = properties_.find(std::string_view(name));
    return entry == properties_.end() ? nullptr : &entry->second;
}

template <class Value>
OfxStatus PropertySet::set(const char* name, int index, Value value) {
    using Stored = typename Kept<Value>::Type;
    const std::unique_lock lock(mutex_);
    auto* property = const_cast<Property*>(find(name));
    auto* values = property != nullptr ? std::get_if<std::vector<Stored>>(&property->values) : nullptr;
    if (values == nullptr) return kOfxStatErrUnknown;
    if (index < 0 || (property->dimension != 0 && index >= property->dimension)) return kOfxStatErrBadIndex;
    if (!isAcceptable(value)) return kOfxStatErrValue;
    const auto slot = static_cast<std::size_t>(index);
    if (slot >= values->size()) values->resize(slot + 1);
    (*values)[slot] = value;
    lead(name);
    return kOfxStatOK;
}

template <class Value>
OfxStatus PropertySet::setN(const char* name, int count, const Value* given) {
    using Stored = typename Kept<Value>::Type;
    const std::unique_lock lock(mutex_);
    auto* property = const_cast<Property*>(find(name));
    auto* values = property != nullptr ? std::get_if<std::vector<Stored>>(&property->values) : nullptr;
    if (values == nullptr) return kOfxStatErrUnknown;
    if (count < 0 || (property->dimension != 0 && count > property->dimension)) return kOfxStatErrBadIndex;
    if (count > 0 && (given == nullptr || !std::all_of(given, given + count, [](Value v) { return isAcceptable(v); })))
        return kOfxStatErrValue;
    if (property->dimension == 0) values->resize(static_cast<std::size_t>(count));
    std::copy_n(given, count, values->begin());
    lead(name);
    return kOfxStatOK;
}

template <class Value>
OfxStatus PropertySet::get(const char* name, int index, Value* value) const {
    using Stored = typename Kept<Value>::Type;
    {
        const std::shared_lock lock(mutex_);
        if (const Property* property = find(name)) {
            const auto* values = std::get_if<std::vector<Stored>>(&property->values);
            if (values == nullptr) return kOfxStatErrUnknown;
            if (index < 0 || static_cast<std::size_t>(index) >= values->size()) return kOfxStatErrBadIndex;
            if (value == nullptr) return kOfxStatErrValue;
            *value = handOut((*values)[static_cast<std::size_t>(index)]);
            return kOfxStatOK;
        }
    }
    return parent_ != nullptr ? parent_->get(name, index, value) : kOfxStatErrUnknown;
}

template <class Value>
OfxStatus PropertySet::getN(const char* name, int count, Value* values) const {
    int available = 0;
    const OfxStatus known = dimension(name, &available);
    if (known != kOfxStatOK) return known;
    if (count < 0) return kOfxStatErrBadIndex;
    // A wrong type shows even where there is nothing to read.
    Value probe{};
    if (available == 0 && get(name, 0, &probe) == kOfxStatErrUnknown) return kOfxStatErrUnknown;
    for (int index = 0; index < std::min(count, available); ++index) {
        const OfxStatus status = get(name, index, values != nullptr ? values + index : nullptr);
        if (status != kOfxStatOK) return status;
    }
    return kOfxStatOK;
}

OfxStatus PropertySet::reset(const char* name) {
    const std::unique_lock lock(mutex_);
    auto* property = const_cast<Property*>(find(name));
    if (property == nullptr) return kOfxStatErrUnknown;
    property->values = property->defaults;
    lead(name);
    return kOfxStatOK;
}

OfxStatus PropertySet::dimension(const char* name, int* count) const {
    {
        const std::shared_lock lock(mutex_);
        if (const Property* property = find(name)) {
            if (count == nullptr) return kOfxStatErrValue;
            *count = std::visit([](const auto& values) { return static_cast<int>(values.size()); }, property->values);
            return kOfxStatOK;
        }
    }
    return parent_ != nullptr ? parent_->dimension(name, count) : kOfxStatErrUnknown;
}

bool PropertySet::has(const std::string& name) const {
    int count = 0;
    return dimension(name.c_str(), &count) == kOfxStatOK;
}

int PropertySet::dimensionOf(const std::string& name) const {
    int count = 0;
    const OfxStatus status = dimension(name.c_str(), &count);
    if (status != kOfxStatOK) throw HostError("property " + name + ": " + statusName(status));
    return count;
}

template <class Value>
Value PropertySet::at(const std::string& name, int index) const {
    Value value{};
    const OfxStatus status = get(name.c_str(), index, &value);
    if (status != kOfxStatOK)
        throw HostError("property " + name + "[" + std::to_string(index) + "]: " + statusName(status));
    return value;
}

int PropertySet::intAt(const std::string& name, int index) const {
    return at<int>(name, index);
}
double PropertySet::doubleAt(const std::string& name, int index) const {
    return at<double>(name, index);
}
std::string PropertySet::textAt(const std::string& name, int index) const {
    return at<char*>(name, index);
}
void* PropertySet::pointerAt(const std::string& name, int index) const {
    return at<void*>(name, index);
}

std::vector<std::string> PropertySet::texts(const std::string& name) const {
    std::vector<std::string> values;
    for (int index = 0, count = dimensionOf(name); index < count; ++index)
        values.push_back(textAt(name, index));
    return values;
}

std::vector<double> PropertySet::doubles(const std::string& name) const {
    std::vector<double> values;
    for (int index = 0, count = dimensionOf(name); index < count; ++index)
        values.push_back(doubleAt(name, index));
    return values;
}

template <class Stored>
void PropertySet::put(const std::string& name, const std::vector<Stored>& values) {
    const std::unique_lock lock(mutex_);
    const auto entry = properties_.find(name);
    if (entry == properties_.end()) {
        properties_.emplace(name, Property{static_cast<int>(values.size()), values, values});
        return;
    }
    if (!std::holds_alternative<std::vector<Stored>>(entry->second.values))
        throw HostError("property " + name + " has another type");
    entry->second.values = values;
    lead(name);
}

void PropertySet::putInts(const std::string& name, const std::vector<int>& values) {
    put(name, values);
}
void PropertySet::putDoubles(const std::string& name, const std::vector<double>& values) {
    put(name, values);
}
void PropertySet::putTexts(const std::string& name, const std::vector<std::string>& values) {
    put(name, values);
}
void PropertySet::putPointer(const std::string& name, void* value) {
    put(name, std::vector<void*>{value});
}

std::vector<std::string> PropertySet::names() const {
    const std::shared_lock lock(mutex_);
    std::vector<std::string> all;
    for (const auto& [name, property] : properties_)
        all.push_back(name);
    return all;
}

template OfxStatus PropertySet::set(const char*, int, void*);
template OfxStatus PropertySet::set(const char*, int, const char*);
template OfxStatus PropertySet::set(const char*, int, double);
template OfxStatus PropertySet::set(const char*, int, int);
template OfxStatus PropertySet::setN(const char*, int, void* const*);
template OfxStatus PropertySet::setN(const char*, int, const char* const*);
template OfxStatus PropertySet::setN(const char*, int, const double*);
template OfxStatus PropertySet::setN(const char*, int, const int*);
template OfxStatus PropertySet::get(const char*, int, void**) const;
template OfxStatus PropertySet::get(const char*, int, char**) const;
template OfxStatus PropertySet::get(const char*, int, double*) const;
template OfxStatus PropertySet::get(const char*, int, int*) const;
template OfxStatus PropertySet::getN(const char*, int, void**) const;
template OfxStatus PropertySet::getN(const char*, int, char**) const;
template OfxStatus PropertySet::getN(const char*, int, double*) const;
template OfxStatus PropertySet::getN(const char*, int, int*) const;

} // namespace tarnwell
