// How `tarnwell` ends. One table: the numbers, the sentences that --help prints, and the exception that carries a
// number from where a fault is known to main.
#pragma once

#include <array>
#include <stdexcept>
#include <string>

namespace tarnwell {

enum class ExitCode : int {
    Ok = 0,
    Failure = 1,
    Usage = 2,
    PluginNotLoadable = 3,
    NoInput = 4,
    SomeFramesFailed = 5,
};

struct ExitCodeRow {
    ExitCode code;
    const char* meaning;
};

// clang-format off
constexpr std::array<ExitCodeRow, 6> EXIT_CODES{{
    {ExitCode::Ok,                "everything that was asked for was done"},
    {ExitCode::Failure,           "a file could not be read or written, a frame failed, or pictures differ"},
    {ExitCode::Usage,             "the command line is wrong: unknown option, parameter, value or colour space"},
    {ExitCode::PluginNotLoadable, "the plug-in was not found, or did not load or describe itself"},
    {ExitCode::NoInput,           "no input file exists for what was asked"},
    {ExitCode::SomeFramesFailed,  "a sequence went on to its end, but some of its frames failed"},
}};
// clang-format on

// A fault that ends the program: `what()` is the sentence for the user, `code` the exit status.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitCode exitCode, const std::string& sentence) : std::runtime_error(sentence), code(exitCode) {}
    ExitCode code;
};

// The command line is wrong.
inline CommandError usageError(const std::string& sentence) {
    return {ExitCode::Usage, sentence};
}

} // namespace tarnwell
