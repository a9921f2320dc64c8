// The message suite delivers here. One sink and one lock for the process, so that lines of several threads stay whole.
#include "host/message.h"

#include "text/words.h"

#include <mutex>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace tarnwell {

namespace {

std::mutex gSinkMutex; // guards gSink, and keeps lines whole
MessageSink gSink;

void printToStderr(const Message& message) {
    static const std::string PREFIX = "OfxMessage";
    std::string type = message.type;
    if (type.rfind(PREFIX, 0) == 0) type.erase(0, PREFIX.size());
    std::fprintf(stderr, "%s%s%s: %s\n", message.effect.c_str(), message.effect.empty() ? "" : " ",
                 lowered(type).c_str(), message.text.c_str());
}

} // namespace

MessageSink setMessageSink(MessageSink sink) {
    const std::lock_guard lock(gSinkMutex);
    return std::exchange(gSink, std::move(sink));
}

void deliverMessage(const Message& message) {
    const std::lock_guard lock(gSinkMutex);
    gSink ? gSink(message) : printToStderr(message);
}

StdoutGuard::StdoutGuard() {
    std::fflush(stdout);
    const int real = dup(STDOUT_FILENO);
    out_ = real >= 0 ? fdopen(real, "w") : nullptr;
    if (out_ == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) throw std::runtime_error("cannot divert stdout");
}

StdoutGuard::~StdoutGuard() {
    std::fflush(stdout);
    std::fflush(out_);
    dup2(fileno(out_), STDOUT_FILENO);
    std::fclose(out_);
}

} // namespace tarnwell
