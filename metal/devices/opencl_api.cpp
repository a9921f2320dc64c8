// Finds the OpenCL runtime. The same library that a host application uses: the loader hands out one copy per process.
#include "metal/devices/opencl_api.h"

#include "lifetime/process_wide.h"

#include <atomic>
#include <mutex>

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

// Fills the table; false without a runtime, or with one that lacks a function.
bool load(Api& table) {
    void* library = openRuntime();
    if (!library) return false;
    bool complete = true;
#define TARNWELL_CL_FIND(result, name, parameters) complete = find(library, #name, table.name) && complete;
    TARNWELL_CL_FUNCTIONS(TARNWELL_CL_FIND)
#undef TARNWELL_CL_FIND
    return complete;
}

// What was found, for as long as the process lives: plain pointers, which nobody takes back. Objects that outlive
// everything still release their handles through them.
struct Search {
    enum Result { NOT_YET, FOUND, NONE };
    std::mutex mu; // guards the search
    std::atomic<Result> result{NOT_YET};
    Api table{};
};
ProcessWide<Search> gSearch;

} // namespace

const Api* api() {
    Search& search = *gSearch;
    if (search.result == Search::NOT_YET) {
        const std::lock_guard lock(search.mu);
        if (search.result == Search::NOT_YET) search.result = load(search.table) ? Search::FOUND : Search::NONE;
    }
    return search.result == Search::FOUND ? &search.table : nullptr;
}

} // namespace velloid::opencl
