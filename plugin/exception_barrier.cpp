#include "plugin/exception_barrier.h"

#if defined(__linux__)

#include <cxxabi.h>
#include <dlfcn.h>
#include <unwind.h>

#include <cstring>
#include <exception>

namespace velloid {

namespace {

// What a C++ runtime keeps per thread (Itanium C++ ABI: Exception Handling, 2.2.2).
struct RuntimeGlobals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

RuntimeGlobals* ours() {
    return reinterpret_cast<RuntimeGlobals*>(abi::__cxa_get_globals());
}

// The header of the exception that is being caught, which stands before the thrown object (same ABI, 2.2.1); null when
// it is not a C++ one.
const _Unwind_Exception* caughtHeader() {
    const std::exception_ptr caught = std::current_exception();
    const _Unwind_Exception* object = nullptr;
    static_assert(sizeof caught == sizeof object, "an exception_ptr is a pointer to the thrown object");
    std::memcpy(&object, &caught, sizeof object);
    return object ? object - 1 : nullptr;
}

// The function of this name in the library or program at `base`.
void* symbolIn(const void* base, void* handle, const char* name) {
    void* const symbol = handle ? dlsym(handle, name) : nullptr;
    Dl_info info{};
    return symbol && dladdr(symbol, &info) && info.dli_fbase == base ? symbol : nullptr;
}

// What the runtime that threw the exception keeps for this thread; null when it does not say. An exception carries the
// address of the function with which its own runtime destroys it.
RuntimeGlobals* globalsOfThrower(const _Unwind_Exception& header) {
    Dl_info thrower{};
    if (!header.exception_cleanup || !dladdr(reinterpret_cast<void*>(header.exception_cleanup), &thrower))
        return nullptr;
    void* getGlobals = symbolIn(thrower.dli_fbase, RTLD_DEFAULT, "__cxa_get_globals");
    if (!getGlobals) {
        void* const library = dlopen(thrower.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
        getGlobals = symbolIn(thrower.dli_fbase, library, "__cxa_get_globals");
        if (library) dlclose(library);
    }
    return getGlobals ? reinterpret_cast<RuntimeGlobals* (*)()>(getGlobals)() : nullptr;
}

// Some hosts carry an unwinder of their own. It leads their exceptions through our functions, which ask the system's;
// and that one ends the process unless something was thrown through it before.
[[gnu::constructor]] void wakeUnwinder() {
    try {
        throw 0;
    } catch (int) {
    }
}

} // namespace

void settleCaughtException() noexcept {
    const _Unwind_Exception* const header = caughtHeader();
    RuntimeGlobals* const theirs = header ? globalsOfThrower(*header) : nullptr;
    if (!theirs || theirs == ours()) return;
    if (theirs->uncaughtExceptions > 0) --theirs->uncaughtExceptions;
    ++ours()->uncaughtExceptions;
}

} // namespace velloid

#else // one C++ runtime for all (macOS), or none that a host's exceptions pass (Windows)

namespace velloid {

void settleCaughtException() noexcept {}

} // namespace velloid

#endif
