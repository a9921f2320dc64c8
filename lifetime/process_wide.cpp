#include "lifetime/process_wide.h"

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace velloid {

namespace {

constinit ProcessWideBase* gFirst = nullptr; // written while the library is loaded

#if !defined(_WIN32)
[[maybe_unused]] const int WATCHING_FORKS = pthread_atfork(nullptr, nullptr, ProcessWideBase::renewAll);
#endif

} // namespace

ProcessWideBase::ProcessWideBase(void (*renew)(ProcessWideBase&)) : renew_(renew), next_(gFirst) {
    gFirst = this;
}

void ProcessWideBase::renewAll() {
    for (ProcessWideBase* object = gFirst; object; object = object->next_)
        object->renew_(*object);
}

} // namespace velloid
