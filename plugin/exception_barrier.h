// Where an exception of the host's ends.
#pragma once

namespace velloid {

// The first thing that a `catch` does which may end an exception thrown by a host function. Such an exception comes
// from the host's C++ runtime, while ours, which the plug-in carries with it, catches it: the host's would go on
// counting it as uncaught, and ours would count one fewer than none. Sets both counts right. Does nothing for our own
// exceptions.
//
// A host whose runtime shows no `__cxa_get_globals` to the loader keeps its wrong count, and so does ours then, which
// nobody reads.
void settleCaughtException() noexcept;

} // namespace velloid
