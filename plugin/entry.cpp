// The whole surface that the host sees: two exported functions, one plug-in record, one dispatcher.
//   host -> OfxGetPlugin -> setHostFunc -> mainEntry(action, ...) -> a handler of the table below
// Exceptions end here: running out of memory becomes kOfxStatErrMemory, anything else kOfxStatFailed.
#include "color/looks.h"
#include "metal/renderer.h"
#include "plugin/actions.h"
#include "plugin/exception_barrier.h"
#include "plugin/host.h"
#include "plugin/output_lut_cache.h"
#include "process/parallel_pool.h"
#include "process/scratch.h"

#include <cfenv>
#include <cstring>
#include <new>

namespace velloid {

namespace {

struct ActionArgs {
    OfxImageEffectHandle effect;
    OfxPropertySetHandle in;
    OfxPropertySetHandle out;
};

struct ActionRow {
    const char* action;
    OfxStatus (*handle)(const ActionArgs&);
};

OfxStatus accept(const ActionArgs&) {
    return kOfxStatOK;
}

OfxStatus load(const ActionArgs&) {
    return fetchSuites();
}

// The GPU first, because its frames may still use tables; then the workers, then the tables.
OfxStatus unload(const ActionArgs&) {
    metalShutdown();
    if (ParallelPool* pool = ParallelPool::live_.load(std::memory_order_acquire)) pool->shutdown();
    clearOutputLutCache();
    releasePrintLuts();
    purgeScratch();
    return kOfxStatOK;
}

// The workers stay: the host wants memory back, not the threads.
OfxStatus purge(const ActionArgs&) {
    clearOutputLutCache();
    metalPurgeCaches();
    purgeScratch();
    return kOfxStatOK;
}

OfxStatus describe(const ActionArgs& args) {
    onDescribe(args.effect);
    return kOfxStatOK;
}

OfxStatus describeInContext(const ActionArgs& args) {
    onDescribeInContext(args.effect);
    return kOfxStatOK;
}

OfxStatus instanceChanged(const ActionArgs& args) {
    onInstanceChanged(args.in);
    return kOfxStatOK;
}

OfxStatus clipPreferences(const ActionArgs& args) {
    return onGetClipPreferences(args.effect, args.out);
}

OfxStatus isIdentity(const ActionArgs& args) {
    return onIsIdentity(args.effect, args.in, args.out);
}

OfxStatus render(const ActionArgs& args) {
    return onRender(args.effect, args.in);
}

// There is no per-instance state, so creating and destroying an instance needs no work.
constexpr ActionRow ACTIONS[] = {
    {kOfxActionLoad, load},
    {kOfxActionUnload, unload},
    {kOfxActionPurgeCaches, purge},
    {kOfxActionBeginInstanceChanged, accept},
    {kOfxActionInstanceChanged, instanceChanged},
    {kOfxActionEndInstanceChanged, accept},
    {kOfxActionBeginInstanceEdit, accept},
    {kOfxActionEndInstanceEdit, accept},
    {kOfxActionDescribe, describe},
    {kOfxImageEffectActionDescribeInContext, describeInContext},
    {kOfxImageEffectActionGetClipPreferences, clipPreferences},
    {kOfxActionCreateInstance, accept},
    {kOfxActionDestroyInstance, accept},
    {kOfxImageEffectActionIsIdentity, isIdentity},
    {kOfxImageEffectActionRender, render},
};

// The default floating-point environment while an action runs, and the host's own afterwards: its rounding mode,
// flush-to-zero and traps must change no bit of a frame.
class DefaultFloatingPoint {
public:
    DefaultFloatingPoint() {
        std::fegetenv(&hosts_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~DefaultFloatingPoint() { std::fesetenv(&hosts_); }
    DefaultFloatingPoint(const DefaultFloatingPoint&) = delete;
    DefaultFloatingPoint& operator=(const DefaultFloatingPoint&) = delete;

private:
    std::fenv_t hosts_;
};

OfxImageEffectHandle effectOf(const void* handle) {
    return static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
}

} // namespace

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs) {
    if (!action) return kOfxStatErrBadHandle;
    const DefaultFloatingPoint floatingPoint;
    try {
        for (const ActionRow& row : ACTIONS) {
            if (std::strcmp(action, row.action) == 0) return row.handle({effectOf(handle), inArgs, outArgs});
        }
    } catch (const std::bad_alloc&) {
        settleCaughtException();
        return kOfxStatErrMemory;
    } catch (...) {
        settleCaughtException();
        return kOfxStatFailed;
    }
    return kOfxStatReplyDefault;
}

namespace {

OfxPlugin gPlugin = {
    kOfxImageEffectPluginApi, 1, "com.ostrel.tarnwell", 7, 1, setHostFunc, mainEntry,
};

} // namespace

} // namespace velloid

OfxExport int OfxGetNumberOfPlugins(void) {
    return 1;
}

OfxExport OfxPlugin* OfxGetPlugin(int index) {
    return index == 0 ? &velloid::gPlugin : nullptr;
}
