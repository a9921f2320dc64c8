// The value functions are variadic: they collect the arguments that the parameter's type calls for, one per dimension.
#include "host/parameters.h"
#include "host/suite_call.h"
#include "host/suites.h"

#include <cstdarg>

namespace tarnwell {

namespace {

OfxStatus define(OfxParamSetHandle handle, const char* type, const char* name, OfxPropertySetHandle* properties) {
    return suiteCall("paramDefine", name, properties, [&]() -> OfxStatus {
        ParameterSet* set = ParameterSet::of(handle);
        if (set == nullptr || !set->accepting) return kOfxStatErrBadHandle;
        if (type == nullptr || name == nullptr) return kOfxStatErrValue;
        const ParameterKind* kind = parameterKind(type);
        if (kind == nullptr) return kOfxStatErrUnsupported;
        Parameter* parameter = set->define(*kind, name);
        if (parameter == nullptr) return kOfxStatErrExists;
        if (properties != nullptr) *properties = parameter->properties().handle();
        return kOfxStatOK;
    });
}

OfxStatus getHandle(OfxParamSetHandle handle, const char* name, OfxParamHandle* result,
                    OfxPropertySetHandle* properties) {
    return suiteCall("paramGetHandle", name, result, [&]() -> OfxStatus {
        ParameterSet* set = ParameterSet::of(handle);
        if (set == nullptr) return kOfxStatErrBadHandle;
        Parameter* parameter = name != nullptr ? set->find(name) : nullptr;
        if (parameter == nullptr) return kOfxStatErrUnknown;
        if (result != nullptr) *result = parameter->handle();
        if (properties != nullptr) *properties = parameter->properties().handle();
        return kOfxStatOK;
    });
}

OfxStatus setGetPropertySet(OfxParamSetHandle handle, OfxPropertySetHandle* properties) {
    return suiteCall("paramSetGetPropertySet", "", properties, [&]() -> OfxStatus {
        ParameterSet* set = ParameterSet::of(handle);
        if (set == nullptr) return kOfxStatErrBadHandle;
        if (properties == nullptr) return kOfxStatErrValue;
        *properties = set->properties().handle();
        return kOfxStatOK;
    });
}

OfxStatus getPropertySet(OfxParamHandle handle, OfxPropertySetHandle* properties) {
    return suiteCall("paramGetPropertySet", "", properties, [&]() -> OfxStatus {
        Parameter* parameter = Parameter::of(handle);
        if (parameter == nullptr) return kOfxStatErrBadHandle;
        if (properties == nullptr) return kOfxStatErrValue;
        *properties = parameter->properties().handle();
        return kOfxStatOK;
    });
}

// ---- values -------------------------------------------------------------------------------------------------------

// What the variadic arguments of a call are: pointers to write to, or the values themselves.
struct Arguments {
    double* doubles[4] = {};
    int* ints[4] = {};
    char** text = nullptr;
    std::array<double, 4> doubleValues{};
    std::array<int, 4> intValues{};
    const char* textValue = nullptr;
};

void collectPointers(const ParameterKind& kind, va_list list, Arguments& arguments) {
    if (kind.values == ValueClass::Text) arguments.text = va_arg(list, char**);
    for (int i = 0; i < kind.dimension && kind.values == ValueClass::Double; ++i)
        arguments.doubles[i] = va_arg(list, double*);
    for (int i = 0; i < kind.dimension && kind.values == ValueClass::Int; ++i)
        arguments.ints[i] = va_arg(list, int*);
}

void collectValues(const ParameterKind& kind, va_list list, Arguments& arguments) {
    const auto count = static_cast<std::size_t>(kind.dimension);
    if (kind.values == ValueClass::Text) arguments.textValue = va_arg(list, const char*);
    for (std::size_t i = 0; i < count && kind.values == ValueClass::Double; ++i)
        arguments.doubleValues[i] = va_arg(list, double);
    for (std::size_t i = 0; i < count && kind.values == ValueClass::Int; ++i)
        arguments.intValues[i] = va_arg(list, int);
}

const char* keyOf(OfxParamHandle handle) {
    const Parameter* parameter = Parameter::of(handle);
    return parameter != nullptr ? parameter->key().c_str() : "";
}

OfxStatus readInto(const Parameter& parameter, const Arguments& arguments) {
    if (arguments.text != nullptr) *arguments.text = const_cast<char*>(parameter.text());
    const std::array<double, 4> doubles = parameter.doubles();
    const std::array<int, 4> ints = parameter.ints();
    for (std::size_t i = 0; i < 4; ++i) {
        if (arguments.doubles[i] != nullptr) *arguments.doubles[i] = doubles[i];
        if (arguments.ints[i] != nullptr) *arguments.ints[i] = ints[i];
    }
    return kOfxStatOK;
}

// Reads a value; an injected null result reaches the text types only.
OfxStatus readValue(const char* function, OfxParamHandle handle, va_list list) {
    const Fault fault = faultAt(function, keyOf(handle));
    if (fault.kind == Fault::Kind::Status) return fault.answer;
    return withoutThrowing([&]() -> OfxStatus {
        const Parameter* parameter = Parameter::of(handle);
        if (parameter == nullptr) return kOfxStatErrBadHandle;
        if (parameter->kind().values == ValueClass::None) return kOfxStatErrUnsupported;
        Arguments arguments;
        collectPointers(parameter->kind(), list, arguments);
        if (fault.kind == Fault::Kind::Nothing) {
            if (arguments.text != nullptr) *arguments.text = nullptr;
            return kOfxStatOK;
        }
        return readInto(*parameter, arguments);
    });
}

OfxStatus writeValue(const char* function, OfxParamHandle handle, va_list list) {
    return suiteCall(function, keyOf(handle), [&]() -> OfxStatus {
        Parameter* parameter = Parameter::of(handle);
        if (parameter == nullptr) return kOfxStatErrBadHandle;
        Arguments arguments;
        collectValues(parameter->kind(), list, arguments);
        switch (parameter->kind().values) {
        case ValueClass::None:
            return kOfxStatErrUnsupported;
        case ValueClass::Int:
            parameter->setInts(arguments.intValues);
            return kOfxStatOK;
        case ValueClass::Double:
            parameter->setDoubles(arguments.doubleValues);
            return kOfxStatOK;
        case ValueClass::Text:
            if (arguments.textValue == nullptr) return kOfxStatErrValue;
            parameter->setText(arguments.textValue);
            return kOfxStatOK;
        }
        return kOfxStatFailed;
    });
}

// Runs a body on the arguments after `last`, and puts the list away before an exception goes on.
#define WITH_ARGUMENTS(last, status, call)                                                                             \
    va_list list;                                                                                                      \
    va_start(list, last);                                                                                              \
    OfxStatus status;                                                                                                  \
    try {                                                                                                              \
        status = call;                                                                                                 \
    } catch (...) {                                                                                                    \
        va_end(list);                                                                                                  \
        throw;                                                                                                         \
    }                                                                                                                  \
    va_end(list);                                                                                                      \
    return status

OfxStatus getValue(OfxParamHandle handle, ...) {
    WITH_ARGUMENTS(handle, status, readValue("paramGetValue", handle, list));
}

OfxStatus getValueAtTime(OfxParamHandle handle, OfxTime time, ...) {
    WITH_ARGUMENTS(time, status, readValue("paramGetValueAtTime", handle, list));
}

OfxStatus setValue(OfxParamHandle handle, ...) {
    WITH_ARGUMENTS(handle, status, writeValue("paramSetValue", handle, list));
}

OfxStatus setValueAtTime(OfxParamHandle handle, OfxTime time, ...) {
    WITH_ARGUMENTS(time, status, writeValue("paramSetValueAtTime", handle, list));
}

// Of a value that holds at every time the integral is value times duration, and the derivative its integral over no
// time: zero.
OfxStatus integrate(const char* function, OfxParamHandle handle, double duration, va_list list) {
    return suiteCall(function, keyOf(handle), [&]() -> OfxStatus {
        const Parameter* parameter = Parameter::of(handle);
        if (parameter == nullptr) return kOfxStatErrBadHandle;
        if (parameter->kind().values != ValueClass::Double) return kOfxStatErrUnsupported;
        Arguments arguments;
        collectPointers(parameter->kind(), list, arguments);
        const std::array<double, 4> values = parameter->doubles();
        for (std::size_t i = 0; i < 4; ++i)
            if (arguments.doubles[i] != nullptr) *arguments.doubles[i] = duration == 0.0 ? 0.0 : values[i] * duration;
        return kOfxStatOK;
    });
}

OfxStatus getDerivative(OfxParamHandle handle, OfxTime time, ...) {
    WITH_ARGUMENTS(time, status, integrate("paramGetDerivative", handle, 0.0, list));
}

OfxStatus getIntegral(OfxParamHandle handle, OfxTime time1, OfxTime time2, ...) {
    WITH_ARGUMENTS(time2, status, integrate("paramGetIntegral", handle, time2 - time1, list));
}

#undef WITH_ARGUMENTS

// ---- keys: there are none -----------------------------------------------------------------------------------------

template <class Body>
OfxStatus onParameter(const char* function, OfxParamHandle handle, const Body& body) {
    return suiteCall(function, keyOf(handle), [&]() -> OfxStatus {
        Parameter* parameter = Parameter::of(handle);
        return parameter != nullptr ? body(*parameter) : kOfxStatErrBadHandle;
    });
}

OfxStatus getNumKeys(OfxParamHandle handle, unsigned int* count) {
    return onParameter("paramGetNumKeys", handle, [&](Parameter&) -> OfxStatus {
        if (count == nullptr) return kOfxStatErrValue;
        *count = 0;
        return kOfxStatOK;
    });
}

OfxStatus getKeyTime(OfxParamHandle handle, unsigned int, OfxTime*) {
    return onParameter("paramGetKeyTime", handle, [](Parameter&) -> OfxStatus { return kOfxStatErrBadIndex; });
}

OfxStatus getKeyIndex(OfxParamHandle handle, OfxTime, int, int* index) {
    return onParameter("paramGetKeyIndex", handle, [&](Parameter&) -> OfxStatus {
        if (index != nullptr) *index = -1;
        return kOfxStatFailed;
    });
}

OfxStatus deleteKey(OfxParamHandle handle, OfxTime) {
    return onParameter("paramDeleteKey", handle, [](Parameter&) -> OfxStatus { return kOfxStatErrBadIndex; });
}

OfxStatus deleteAllKeys(OfxParamHandle handle) {
    return onParameter("paramDeleteAllKeys", handle, [](Parameter&) -> OfxStatus { return kOfxStatOK; });
}

OfxStatus copy(OfxParamHandle to, OfxParamHandle from, OfxTime, const OfxRangeD*) {
    return onParameter("paramCopy", to, [&](Parameter& target) -> OfxStatus {
        const Parameter* source = Parameter::of(from);
        return source != nullptr && target.copyFrom(*source) ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}

OfxStatus editBegin(OfxParamSetHandle handle, const char* name) {
    return suiteCall("paramEditBegin", name, [&]() -> OfxStatus {
        return ParameterSet::of(handle) != nullptr ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}

OfxStatus editEnd(OfxParamSetHandle handle) {
    return suiteCall("paramEditEnd", "", [&]() -> OfxStatus {
        return ParameterSet::of(handle) != nullptr ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}

constexpr OfxParameterSuiteV1 PARAMETER_SUITE = {
    define,        getHandle,   setGetPropertySet, getPropertySet, getValue,   getValueAtTime,
    getDerivative, getIntegral, setValue,          setValueAtTime, getNumKeys, getKeyTime,
    getKeyIndex,   deleteKey,   deleteAllKeys,     copy,           editBegin,  editEnd};

} // namespace

const OfxParameterSuiteV1& parameterSuite() {
    return PARAMETER_SUITE;
}

} // namespace tarnwell
