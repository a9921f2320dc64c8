// What all suite functions have in common: the fault seam in front, and no exception of ours across the boundary.
#pragma once

#include "host/faults.h"

#include <exception>
#include <new>
#include <type_traits>

namespace tarnwell {

// The body's own status, or the one that fits what it threw.
template <class Body>
OfxStatus withoutThrowing(const Body& body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return kOfxStatErrMemory;
    } catch (const std::exception&) {
        return kOfxStatFailed;
    }
}

// A suite function that hands nothing out. Only an injected exception leaves it.
template <class Body>
OfxStatus suiteCall(const char* function, const char* name, const Body& body) {
    const Fault fault = faultAt(function, name);
    if (fault.kind == Fault::Kind::Status) return fault.answer;
    return withoutThrowing(body);
}

// A suite function that hands something out through `result`; null when the caller does not want it.
template <class Result, class Body>
OfxStatus suiteCall(const char* function, const char* name, Result* result, const Body& body) {
    const Fault fault = faultAt(function, name);
    if (fault.kind == Fault::Kind::Status) return fault.answer;
    if constexpr (std::is_pointer_v<Result>) {
        if (fault.kind == Fault::Kind::Nothing) {
            if (result != nullptr) *result = nullptr;
            return kOfxStatOK;
        }
    }
    return withoutThrowing(body);
}

} // namespace tarnwell
