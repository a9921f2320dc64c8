// What a host may throw, and the status that the plug-in must make of it.
#pragma once

#include "ofx/ofx.h"

#include <array>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>

namespace velloid::test {

struct HostsOwnTrouble { // nothing that a plug-in has heard of
    std::string text = "the project is gone";
};

struct Thrown {
    const char* name;
    OfxStatus status;
    void (*raise)();
};

inline std::ostream& operator<<(std::ostream& out, const Thrown& thrown) {
    return out << thrown.name;
}

inline constexpr std::array<Thrown, 5> THROWN = {{
    {"BadAlloc", kOfxStatErrMemory, [] { throw std::bad_alloc(); }},
    {"BadArrayLength", kOfxStatErrMemory, [] { throw std::bad_array_new_length(); }},
    {"RuntimeError", kOfxStatFailed, [] { throw std::runtime_error("no such clip any more"); }},
    {"Int", kOfxStatFailed, [] { throw 42; }},
    {"HostsOwn", kOfxStatFailed, [] { throw HostsOwnTrouble(); }},
}};

} // namespace velloid::test
