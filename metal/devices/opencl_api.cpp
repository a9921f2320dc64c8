// Finds the OpenCL runtime. The same library that a host application uses: the loader hands out one copy per process.
#include "metal/devices/opencl_api.h"

#include <memory>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace velloid::opencl {

namespace {

#if defined(_WIN32)
void* openRuntime() {
    return reinterpret_cast<void*>(LoadLibraryA("OpenCL.dll"));
}
void* findFunction(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
#else
void* openRuntime() {
#if defined(__APPLE__)
    constexpr const char* NAMES[] = {"/System/Library/Frameworks/OpenCL.framework/OpenCL"};
#else
    constexpr const char* NAMES[] = {"libOpenCL.so.1", "libOpenCL.so"};
#endif
    for (const char* name : NAMES) {
        if (void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL)) return library;
    }
    return nullptr;
}
void* findFunction(void* library, const char* name) {
    return dlsym(library, name);
}
#endif

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(findFunction(library, name));
    return function != nullptr;
}

std::unique_ptr<const Api> load() {
    void* library = openRuntime();
    if (!library) return nullptr;
    auto found = std::make_unique<Api>();
    bool complete = true;
#define TARNWELL_CL_FIND(result, name, parameters) complete = find(library, #name, found->name) && complete;
    TARNWELL_CL_FUNCTIONS(TARNWELL_CL_FIND)
#undef TARNWELL_CL_FIND
    if (!complete) return nullptr;
    return found;
}

} // namespace

const Api* api() {
    // Kept to the very end: objects that outlive this file's statics still release their handles through it.
    static const Api* const LOADED = load().release();
    return LOADED;
}

} // namespace velloid::opencl
