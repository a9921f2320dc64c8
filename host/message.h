// What plug-ins say, and where it goes. Text for people belongs on stderr: stdout carries data only.
#pragma once

#include "ofx/ofx.h"

#include <cstdio>
#include <functional>
#include <string>

namespace tarnwell {

struct Message {
    std::string type;   // kOfxMessageError and so on
    std::string id;     // the plug-in's own, may be empty
    std::string text;   // formatted
    std::string effect; // the plug-in's identifier, empty if it sent the message without a handle
};

using MessageSink = std::function<void(const Message&)>;

// Where messages go from now on; an empty sink restores the default, a line on stderr. Called from any thread, one
// message at a time. Returns the sink that was set before.
MessageSink setMessageSink(MessageSink sink);

// Hands the message to the sink.
void deliverMessage(const Message& message);

// Keeps stdout clean: from construction on, whatever the process or a plug-in writes to descriptor 1 goes to stderr,
// and only `out()` reaches the real stdout. Make one at the start of main, before any plug-in is loaded. The
// constructor throws std::runtime_error when stdout cannot be diverted.
class StdoutGuard {
public:
    StdoutGuard();
    ~StdoutGuard();
    StdoutGuard(const StdoutGuard&) = delete;
    StdoutGuard& operator=(const StdoutGuard&) = delete;

    std::FILE* out() const { return out_; }

private:
    std::FILE* out_ = nullptr;
};

} // namespace tarnwell
