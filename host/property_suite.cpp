// The property suite over PropertySet: one thin function per type and call, for plug-ins, from any thread.
#include "host/property_set.h"
#include "host/suite_call.h"
#include "host/suites.h"

namespace tarnwell {

namespace {

// Value as it is set, Result as it is handed out; they differ for text only.
template <class Value, class Result>
struct Functions {
    static OfxStatus set(const char* function, OfxPropertySetHandle handle, const char* name, int index, Value value) {
        return suiteCall(function, name, [&] {
            PropertySet* properties = PropertySet::of(handle);
            return properties != nullptr ? properties->set<Value>(name, index, value) : kOfxStatErrBadHandle;
        });
    }

    static OfxStatus setN(const char* function, OfxPropertySetHandle handle, const char* name, int count,
                          const Value* values) {
        return suiteCall(function, name, [&] {
            PropertySet* properties = PropertySet::of(handle);
            return properties != nullptr ? properties->setN<Value>(name, count, values) : kOfxStatErrBadHandle;
        });
    }

    static OfxStatus get(const char* function, OfxPropertySetHandle handle, const char* name, int index,
                         Result* value) {
        return suiteCall(function, name, value, [&] {
            const PropertySet* properties = PropertySet::of(handle);
            return properties != nullptr ? properties->get<Result>(name, index, value) : kOfxStatErrBadHandle;
        });
    }

    static OfxStatus getN(const char* function, OfxPropertySetHandle handle, const char* name, int count,
                          Result* values) {
        return suiteCall(function, name, values, [&] {
            const PropertySet* properties = PropertySet::of(handle);
            return properties != nullptr ? properties->getN<Result>(name, count, values) : kOfxStatErrBadHandle;
        });
    }
};

using Pointers = Functions<void*, void*>;
using Strings = Functions<const char*, char*>;
using Doubles = Functions<double, double>;
using Ints = Functions<int, int>;

OfxStatus setPointer(OfxPropertySetHandle set, const char* name, int index, void* value) {
    return Pointers::set("propSetPointer", set, name, index, value);
}
OfxStatus setString(OfxPropertySetHandle set, const char* name, int index, const char* value) {
    return Strings::set("propSetString", set, name, index, value);
}
OfxStatus setDouble(OfxPropertySetHandle set, const char* name, int index, double value) {
    return Doubles::set("propSetDouble", set, name, index, value);
}
OfxStatus setInt(OfxPropertySetHandle set, const char* name, int index, int value) {
    return Ints::set("propSetInt", set, name, index, value);
}
OfxStatus setPointerN(OfxPropertySetHandle set, const char* name, int count, void* const* values) {
    return Pointers::setN("propSetPointerN", set, name, count, values);
}
OfxStatus setStringN(OfxPropertySetHandle set, const char* name, int count, const char* const* values) {
    return Strings::setN("propSetStringN", set, name, count, values);
}
OfxStatus setDoubleN(OfxPropertySetHandle set, const char* name, int count, const double* values) {
    return Doubles::setN("propSetDoubleN", set, name, count, values);
}
OfxStatus setIntN(OfxPropertySetHandle set, const char* name, int count, const int* values) {
    return Ints::setN("propSetIntN", set, name, count, values);
}
OfxStatus getPointer(OfxPropertySetHandle set, const char* name, int index, void** value) {
    return Pointers::get("propGetPointer", set, name, index, value);
}
OfxStatus getString(OfxPropertySetHandle set, const char* name, int index, char** value) {
    return Strings::get("propGetString", set, name, index, value);
}
OfxStatus getDouble(OfxPropertySetHandle set, const char* name, int index, double* value) {
    return Doubles::get("propGetDouble", set, name, index, value);
}
OfxStatus getInt(OfxPropertySetHandle set, const char* name, int index, int* value) {
    return Ints::get("propGetInt", set, name, index, value);
}
OfxStatus getPointerN(OfxPropertySetHandle set, const char* name, int count, void** values) {
    return Pointers::getN("propGetPointerN", set, name, count, values);
}
OfxStatus getStringN(OfxPropertySetHandle set, const char* name, int count, char** values) {
    return Strings::getN("propGetStringN", set, name, count, values);
}
OfxStatus getDoubleN(OfxPropertySetHandle set, const char* name, int count, double* values) {
    return Doubles::getN("propGetDoubleN", set, name, count, values);
}
OfxStatus getIntN(OfxPropertySetHandle set, const char* name, int count, int* values) {
    return Ints::getN("propGetIntN", set, name, count, values);
}

OfxStatus reset(OfxPropertySetHandle set, const char* name) {
    return suiteCall("propReset", name, [&] {
        PropertySet* properties = PropertySet::of(set);
        return properties != nullptr ? properties->reset(name) : kOfxStatErrBadHandle;
    });
}

OfxStatus getDimension(OfxPropertySetHandle set, const char* name, int* count) {
    return suiteCall("propGetDimension", name, [&] {
        const PropertySet* properties = PropertySet::of(set);
        return properties != nullptr ? properties->dimension(name, count) : kOfxStatErrBadHandle;
    });
}

constexpr OfxPropertySuiteV1 PROPERTY_SUITE = {
    setPointer, setString, setDouble, setInt,      setPointerN, setStringN, setDoubleN, setIntN, getPointer,
    getString,  getDouble, getInt,    getPointerN, getStringN,  getDoubleN, getIntN,    reset,   getDimension};

} // namespace

const OfxPropertySuiteV1& propertySuite() {
    return PROPERTY_SUITE;
}

} // namespace tarnwell
