// The handles that are alive. A plug-in hands back whatever pointer it likes: null, released, of another kind, from
// another host. Every suite function looks its handle up here before it touches the object, and answers
// kOfxStatErrBadHandle to a stranger.
#pragma once

namespace tarnwell {

enum class HandleKind { PropertySet, Image, Effect, Clip, Parameter, ParameterSet, Memory, ImageMemory, Mutex };

void enterHandle(HandleKind kind, const void* object);
// False if it was not there.
bool leaveHandle(HandleKind kind, const void* object);
bool isLiveHandle(HandleKind kind, const void* object);

// Keeps an object entered for as long as the member lives. Not copied with the object it belongs to.
class LiveHandle {
public:
    LiveHandle(HandleKind kind, const void* object) : kind_(kind), object_(object) { enterHandle(kind, object); }
    ~LiveHandle() { leaveHandle(kind_, object_); }
    LiveHandle(const LiveHandle&) = delete;
    LiveHandle& operator=(const LiveHandle&) = delete;

private:
    HandleKind kind_;
    const void* object_;
};

// The object behind a handle, or null.
template <class Object, class Handle>
Object* fromHandle(HandleKind kind, Handle handle) {
    return isLiveHandle(kind, handle) ? reinterpret_cast<Object*>(handle) : nullptr;
}

} // namespace tarnwell
