// A seam for tests: the host as plug-ins fear it. A hook sees every call of every suite function before it is carried
// out, and may make it fail, throw, or answer fine and hand out nothing.
//
//   FaultScope hostile([](std::string_view function, std::string_view name) {
//       return function == "propGetString" && name == "OfxImageEffectPropComponents" ? Fault::nothing() : Fault{};
//   });
//
// `function` is the suite member's own name ("fetchSuite" for the host record's, with the suite's name); `name` is the
// property, parameter or clip asked for, or empty. Fault::nothing() nulls the result of functions that hand one out:
// a handle, a pointer, a string, a suite; of others it is without effect. The hook is called from any thread, several
// at once. Suites with null members: HostOptions::suites.
#pragma once

#include "ofx/ofx_core.h"

#include <functional>
#include <memory>
#include <string_view>

namespace tarnwell {

struct Fault {
    enum class Kind { None, Status, Nothing, Throw };

    Kind kind = Kind::None;
    OfxStatus answer = kOfxStatFailed;

    static Fault status(OfxStatus answer) { return {Kind::Status, answer}; }
    static Fault nothing() { return {Kind::Nothing, kOfxStatOK}; }
    static Fault thrown() { return {Kind::Throw, kOfxStatFailed}; }
};

using FaultHook = std::function<Fault(std::string_view function, std::string_view name)>;

// Sets the hook for the whole process while it lives. One at a time.
class FaultScope {
public:
    explicit FaultScope(FaultHook hook);
    ~FaultScope();
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};

// What the hook says about this call; None without a hook. Throws for Kind::Throw.
Fault faultAt(const char* function, const char* name);

} // namespace tarnwell
