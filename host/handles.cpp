// One table for the process: every suite call reads it, making and ending an object writes it.
#include "host/handles.h"

#include <mutex>
#include <set>
#include <shared_mutex>
#include <utility>

namespace tarnwell {

namespace {

struct HandleTable {
    std::shared_mutex mutex; // guards live
    std::set<std::pair<HandleKind, const void*>> live;
};

// Never destroyed: objects of static storage may leave after everything else.
HandleTable& table() {
    static HandleTable* const gTable = new HandleTable;
    return *gTable;
}

} // namespace

void enterHandle(HandleKind kind, const void* object) {
    HandleTable& handles = table();
    const std::unique_lock lock(handles.mutex);
    handles.live.emplace(kind, object);
}

bool leaveHandle(HandleKind kind, const void* object) {
    HandleTable& handles = table();
    const std::unique_lock lock(handles.mutex);
    return handles.live.erase({kind, object}) != 0;
}

bool isLiveHandle(HandleKind kind, const void* object) {
    HandleTable& handles = table();
    const std::shared_lock lock(handles.mutex);
    return object != nullptr && handles.live.count({kind, object}) != 0;
}

} // namespace tarnwell
