// The names stand as the standard writes them: people search for them.
#include "host/status.h"

namespace tarnwell {

namespace {

struct StatusRow {
    OfxStatus status;
    const char* name;
};

// clang-format off
constexpr StatusRow STATUS_ROWS[] = {
    {kOfxStatOK,                    "kOfxStatOK"},
    {kOfxStatFailed,                "kOfxStatFailed"},
    {kOfxStatErrFatal,              "kOfxStatErrFatal"},
    {kOfxStatErrUnknown,            "kOfxStatErrUnknown"},
    {kOfxStatErrMissingHostFeature, "kOfxStatErrMissingHostFeature"},
    {kOfxStatErrUnsupported,        "kOfxStatErrUnsupported"},
    {kOfxStatErrExists,             "kOfxStatErrExists"},
    {kOfxStatErrFormat,             "kOfxStatErrFormat"},
    {kOfxStatErrMemory,             "kOfxStatErrMemory"},
    {kOfxStatErrBadHandle,          "kOfxStatErrBadHandle"},
    {kOfxStatErrBadIndex,           "kOfxStatErrBadIndex"},
    {kOfxStatErrValue,              "kOfxStatErrValue"},
    {kOfxStatReplyYes,              "kOfxStatReplyYes"},
    {kOfxStatReplyNo,               "kOfxStatReplyNo"},
    {kOfxStatReplyDefault,          "kOfxStatReplyDefault"},
    {kOfxStatUnlicensed,            "kOfxStatUnlicensed"},
    {kOfxStatErrImageFormat,        "kOfxStatErrImageFormat"},
    {kOfxStatGPUOutOfMemory,        "kOfxStatGPUOutOfMemory"},
    {kOfxStatGPURenderFailed,       "kOfxStatGPURenderFailed"},
};
// clang-format on

} // namespace

std::string statusName(OfxStatus status) {
    for (const StatusRow& row : STATUS_ROWS)
        if (row.status == status) return row.name;
    return "status " + std::to_string(status);
}

ActionError::ActionError(const std::string& plugin, const std::string& actionName, OfxStatus answered)
    : HostError(plugin + ": " + actionName + " answered " + statusName(answered) + " (" + std::to_string(answered) +
                ")"),
      action_(actionName), status_(answered) {}

ActionError::ActionError(const std::string& plugin, const std::string& actionName, const std::string& breach)
    : HostError(plugin + ": " + actionName + ": " + breach), action_(actionName), status_(kOfxStatFailed) {}

} // namespace tarnwell
