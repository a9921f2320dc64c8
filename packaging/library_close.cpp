// What the library does when a host closes it: what unload does, for the hosts that forget to. Workers would go on in
// code that is no longer there.
//
// Nothing happens when the process ends, because other threads may still render. The two are told apart by their order:
// a closing library runs its destructor functions before the destructors of its objects, and a process that ends runs
// the destructors of all objects first. A host that closes the library while its process already ends, from a
// destructor of its own, is not told apart; it has to unload the plug-in itself.
#include "plugin/actions.h"

#if defined(TARNWELL_STATIC_CXX_RUNTIME)
// The C++ runtime's own: gives back the memory that it set aside for exceptions in hard times.
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace {

constinit bool gProcessEnds = false;

struct EndMark {
    ~EndMark() { gProcessEnds = true; }
} gEndMark;

[[gnu::destructor]] void closeLibrary() {
    if (gProcessEnds) return;
    velloid::mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr);
#if defined(TARNWELL_STATIC_CXX_RUNTIME)
    __gnu_cxx::__freeres();
#endif
}

} // namespace
