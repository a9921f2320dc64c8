// Status codes in words, and the errors that the host library throws. Every failure of a plug-in carries the action and
// the name of its answer.
#pragma once

#include "ofx/ofx.h"

#include <stdexcept>
#include <string>

namespace tarnwell {

// "kOfxStatErrUnknown" for 3 and so on; "status 4711" for a number that has no name.
std::string statusName(OfxStatus status);

// Anything that went wrong; what() is one sentence for the user.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A plug-in answered an action with a status that stops the work.
class ActionError : public HostError {
public:
    ActionError(const std::string& plugin, const std::string& actionName, OfxStatus answered);
    ActionError(const std::string& plugin, const std::string& actionName, const std::string& breach);

    const std::string& action() const { return action_; }
    OfxStatus status() const { return status_; }

private:
    std::string action_;
    OfxStatus status_;
};

// An unknown parameter or a value that it does not take; the text names the nearest match.
class ParameterError : public HostError {
public:
    using HostError::HostError;
};

} // namespace tarnwell
