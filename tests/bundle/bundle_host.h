// A host of plain C records that loads the built library as any host does. It links nothing of ours: all that it knows
// of the plug-in is what it is told through the suites. Every function of a suite first tells `onCall`, which may
// throw; a string that was handed out is overwritten at the thread's next call into the host.
#pragma once

#include "ofx/ofx.h"

#include <atomic>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

namespace velloid::test {

// Lives while a thread is inside the host: what it allocates there is not the plug-in's.
class InsideHost {
public:
    InsideHost() { ++depth; }
    ~InsideHost() { --depth; }
    InsideHost(const InsideHost&) = delete;
    InsideHost& operator=(const InsideHost&) = delete;

    static thread_local int depth;
};

using Value = std::variant<int, double, std::string, void*>;

struct PropertySet {
    explicit PropertySet(std::string setName) : name(std::move(setName)) {}

    PropertySet& set(const char* property, std::vector<Value> list) {
        values.insert_or_assign(property, std::move(list));
        return *this;
    }
    // Empty when there is none of this name.
    std::string text(const char* property) const;
    OfxPropertySetHandle handle() { return reinterpret_cast<OfxPropertySetHandle>(this); }

    std::string name; // in the log
    std::map<std::string, std::vector<Value>, std::less<>> values;
};

// One call of the plug-in into the host.
struct Call {
    const char* function;     // as its suite names it
    const char* subject = ""; // the property, parameter, clip or suite that it is about
    double time = 0.0;        // of those that have one
};

struct Parameter {
    std::string key;
    std::string type;
    PropertySet properties;
    std::function<Value(double)> at; // the value at a time
};

struct Clip {
    explicit Clip(const char* clipName)
        : name(clipName), properties(clipName), image(std::string(clipName) + " image") {}

    std::string name;
    PropertySet properties;
    PropertySet image;
};

// A descriptor or an instance.
struct Effect {
    Effect() : properties("effect") {}

    OfxImageEffectHandle handle() { return reinterpret_cast<OfxImageEffectHandle>(this); }
    Parameter* find(std::string_view key);
    Clip* clip(std::string_view name);

    PropertySet properties;
    std::vector<Parameter> parameters;
    std::vector<Clip> clips; // as they were defined
};

// One host per process at a time. A step that must not fail ends the process with a line on standard error when it
// does.
class Host {
public:
    Host();
    ~Host(); // closes the library; the unload action is the test's
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void open(); // loads the library and hands it this host; nothing has been thrown or allocated on its behalf before
    void close();
    bool isOpen() const { return library_ != nullptr; }

    OfxStatus act(const char* action, const void* handle = nullptr, PropertySet* in = nullptr,
                  PropertySet* out = nullptr);
    OfxStatus load() { return act(kOfxActionLoad); }
    OfxStatus describe() { return act(kOfxActionDescribe, &descriptor); }
    OfxStatus describeInContext();
    OfxStatus unload() { return act(kOfxActionUnload); }
    OfxStatus purge() { return act(kOfxActionPurgeCaches); }
    void start(); // open, load, describe, describe in context, all of which must succeed

    std::function<void(const Call&)> onCall;  // set and reset between actions, as the next one
    std::function<bool(const Call&)> refuses; // true: the function does nothing and answers kOfxStatFailed
    void record();                            // begins a new log
    std::vector<std::string> log() const;     // one line per call since then

    Effect descriptor;
    PropertySet hostProperties{"host"};
    std::atomic<int> lentImages{0}; // fetched and not yet released

    // What every function of a suite does first; false when it is to do no more.
    bool tell(const Call& call, const std::string& rest = "");

private:
    OfxHost record_{};
    void* library_ = nullptr;
    OfxPlugin* plugin_ = nullptr;
    mutable std::mutex logMu_;
    bool recording_ = false;
    std::vector<std::string> log_;
};

[[noreturn]] void giveUp(const std::string& why);

} // namespace velloid::test
