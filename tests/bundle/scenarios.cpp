// What can only be seen in a process of its own: how it ends, what happens in a child after fork, what hangs. Run by
// the tests through child.h; says nothing and ends with 0 (or what its name promises) when all is well.
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/sanitizers.h"
#include "tests/bundle/thrown.h"
#include "tests/golden/golden_frame.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <latch>
#include <memory>
#include <mutex>
#include <thread>

using namespace velloid::test;

namespace {

using Arguments = std::vector<std::string>;

void expect(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "not so: %s\n", what.c_str());
    std::fflush(stderr);
    std::_Exit(1);
}

constexpr Size SMALL{48, 32};

std::uint64_t everythingHash(Instance& instance) {
    return instance.everything().frame(streetOf(SMALL)).hash();
}

// ---- the first exception that the process ever sees -----------------------------------------------------------------

int firstThrow(const Arguments& arguments) {
    const std::string& action = arguments.at(0);
    const std::string& function = arguments.at(1);
    const Thrown* thrown = nullptr;
    for (const Thrown& one : THROWN)
        thrown = arguments.at(2) == one.name ? &one : thrown;
    Host host;
    host.open();
    bool done = false;
    const auto step = [&](const char* name, const std::function<OfxStatus()>& act) {
        if (done || action != name) return expect(act() == kOfxStatOK, std::string(name) + " works");
        bool raised = false;
        host.onCall = [&](const Call& call) {
            if (raised || function != call.function) return;
            raised = true;
            thrown->raise();
        };
        const OfxStatus status = act();
        host.onCall = nullptr;
        expect(raised, "it throws");
        const OfxStatus expected = function == "clipReleaseImage" ? kOfxStatOK : thrown->status;
        expect(status == expected, std::string(name) + " answers " + std::to_string(status));
#if !defined(TARNWELL_HOST_HIDES_RUNTIME) // nobody can set right what nobody can find
        expect(std::uncaught_exceptions() == 0, "the host has no exception left in flight");
#endif
        expect(host.lentImages == 0, "the images came back");
        done = true;
        expect(act() == kOfxStatOK, std::string(name) + " works the next time");
    };
    step("load", [&] { return host.load(); });
    step("describe", [&] { return host.describe(); });
    step("describeInContext", [&] { return host.describeInContext(); });
    auto instance = std::make_unique<Instance>(host);
    instance->allOff();
    step("clipPreferences", [&] { return instance->clipPreferences(); });
    step("identity", [&] { return instance->isIdentity(0.0); });
    Picture source = streetOf(SMALL);
    Picture output(SMALL);
    instance->everything();
    step("render", [&] {
        instance->prepare(source, output, {});
        return instance->render();
    });
    expect(output.hash() == everythingHash(*instance), "the frame after the exception has the bits of the next one");
    instance.reset();
    expect(host.unload() == kOfxStatOK, "unload works");
    host.close();
    return done ? 0 : 2;
}

// ---- exit -----------------------------------------------------------------------------------------------------------

// Host, instances and threads stay for ever, as they do in a program that just exits: in the middle of its first frames
// (and what these build), or of later ones.
int exitDuringRenders(const Arguments& arguments) {
    constexpr int RENDERERS = 3;
    const bool early = arguments.at(0) == "early";
    Host& host = *new Host;
    host.start();
    auto& rendering = *new std::latch(RENDERERS);
    for (int i = 0; i < RENDERERS; ++i) {
        auto* instance = new Instance(host);
        instance->everything().set("outputLutPath", arguments.at(1));
        std::thread([instance, early, &rendering] {
            if (early) rendering.count_down();
            for (bool first = !early;; first = false) {
                instance->frame(streetOf(SMALL));
                if (first) rendering.count_down();
            }
        }).detach();
    }
    rendering.wait();
    std::exit(7);
}

// ---- fork -----------------------------------------------------------------------------------------------------------

bool gForked = false;

// What the child does comes back as its end.
void inChild(const std::function<void()>& act) {
    const pid_t child = fork();
    if (child == 0) {
        gForked = true;
        act();
        std::exit(0);
    }
    int status = 0;
    expect(waitpid(child, &status, 0) == child, "the child ends");
    expect(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ends well, not with " + std::to_string(status));
}

int forkAfterARender(const Arguments&) {
    Host host;
    host.start();
    Instance instance(host);
    const std::uint64_t expected = everythingHash(instance);
    const auto render = [&] {
        expect(everythingHash(instance) == expected, "the frame has the bits of the first one");
    };
    inChild([] {});
    inChild(render);
    inChild([&] {
        render();
        expect(host.unload() == kOfxStatOK, "the child unloads");
        render();
    });
    inChild([&] { expect(host.unload() == kOfxStatOK, "the child unloads at once"); });
    inChild([&] {
        inChild(render);
        render();
    });
    render();
    expect(host.unload() == kOfxStatOK, "the parent unloads");
    inChild(render);
    return 0;
}

int forkDuringRenders(const Arguments&) {
    Host& host = *new Host;
    host.start();
    Instance& mine = *new Instance(host);
    const std::uint64_t expected = everythingHash(mine);
    auto& rendering = *new std::latch(2);
    for (int i = 0; i < 2; ++i) {
        auto* instance = new Instance(host);
        instance->everything();
        std::thread([&, instance] {
            for (bool first = true;; first = false) {
                expect(instance->frame(streetOf(SMALL)).hash() == expected, "forking disturbs no frame");
                if (first) rendering.count_down();
            }
        }).detach();
    }
    rendering.wait();
    for (int i = 0; i < 20; ++i)
        inChild([&] { expect(everythingHash(mine) == expected, "the child's frame has the right bits"); });
    return 0;
}

} // namespace

// What the parent's threads owned is lost in the child, as it must be: asked by the leak sanitizer.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() {
    return gForked ? 1 : 0;
}

namespace {

// ---- closing the library
// ---------------------------------------------------------------------------------------------

// A host that forgets the unload action.
int closeWithoutUnload(const Arguments&) {
    Host host;
    std::uint64_t expected = 0;
    for (int i = 0; i < 3; ++i) {
        host.start();
        {
            Instance instance(host);
            const std::uint64_t hash = everythingHash(instance);
            if (i == 0) expected = hash;
            expect(hash == expected, "each time the same frame");
        }
        host.close();
        if (!THREAD_SANITIZER) inChild([] {}); // nothing of the library is called any more
    }
    return 0;
}

// ---- strings and locks of the host
// -----------------------------------------------------------------------------------

// One instance's string is not known before another's has been read.
int linkedStrings(const Arguments&) {
    Host host;
    host.start();
    Instance waiting(host);
    Instance other(host);
    std::latch inside(1);
    std::latch otherIsRead(1);
    waiting.allOff().animate("outputLutPath", [&](double) {
        inside.count_down();
        otherIsRead.wait();
        return Value(std::string("/no/such/table.cube"));
    });
    other.allOff();
    std::thread first([&] { expect(waiting.isIdentity(0.0) == kOfxStatReplyDefault, "a path is no identity"); });
    inside.wait();
    expect(other.isIdentity(0.0) == kOfxStatOK, "all off is an identity");
    expect(other.frame(streetOf(SMALL)).hash() == streetOf(SMALL).hash(), "all off is a copy");
    otherIsRead.count_down();
    first.join();
    return 0;
}

// An expression: reading one instance's string asks the plug-in about another one, on the same thread.
int nestedStrings(const Arguments&) {
    Host host;
    host.start();
    Instance outer(host);
    Instance inner(host);
    inner.allOff();
    outer.allOff().animate("outputLutPath", [&](double time) {
        const bool off = inner.isIdentity(time) == kOfxStatOK;
        return Value(std::string(off ? "" : "/no/such/table.cube"));
    });
    expect(outer.isIdentity(0.0) == kOfxStatOK, "linked to an instance that is off");
    inner.set("detail", 1.0);
    expect(outer.isIdentity(0.0) == kOfxStatReplyDefault, "linked to an instance that is not");
    return 0;
}

// A host with one lock for its whole project. Its user interface asks the plug-in while it holds the lock and a render
// thread is on its way in to read a string.
int oneBigLock(const Arguments&) {
    Host host;
    host.start();
    Instance rendering(host);
    Instance shown(host);
    rendering.allOff();
    shown.allOff();
    std::mutex project;
    static thread_local bool mine = false;
    std::latch reading(1);
    std::latch taken(1);
    host.onCall = [&](const Call& call) {
        if (mine) return;
        if (std::strcmp(call.subject, "outputLutPath") == 0 && std::strcmp(call.function, "paramGetValueAtTime") == 0) {
            reading.count_down();
            taken.wait();
        }
        const std::lock_guard lock(project);
    };
    std::thread renderThread([&] { rendering.frame(streetOf(SMALL)); });
    reading.wait();
    {
        const std::lock_guard lock(project);
        mine = true;
        taken.count_down();
        expect(shown.isIdentity(0.0) == kOfxStatOK, "all off is an identity");
        mine = false;
    }
    renderThread.join();
    return 0;
}

struct Scenario {
    const char* name;
    int (*run)(const Arguments&);
};

constexpr Scenario SCENARIOS[] = {
    {"first-throw", firstThrow},
    {"exit-during-renders", exitDuringRenders},
    {"fork-after-a-render", forkAfterARender},
    {"fork-during-renders", forkDuringRenders},
    {"close-without-unload", closeWithoutUnload},
    {"linked-strings", linkedStrings},
    {"nested-strings", nestedStrings},
    {"one-big-lock", oneBigLock},
};

} // namespace

int main(int argc, char** argv) {
    for (const Scenario& scenario : SCENARIOS) {
        if (argc > 1 && std::strcmp(scenario.name, argv[1]) == 0) return scenario.run(Arguments(argv + 2, argv + argc));
    }
    giveUp("no such scenario");
}
