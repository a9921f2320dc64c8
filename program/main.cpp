// `tarnwell`: pictures through OpenFX plug-ins, from a shell.
// The walk: keep stdout clean, read the command line, let the command work, turn whatever went wrong into one sentence
// and an exit status.
#include "host/message.h"
#include "host/status.h"
#include "pictures/picture_error.h"
#include "program/program.h"
#include "program/version.h"
#include "text/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <new>
#include <sstream>
#include <vector>

namespace tarnwell {

void Program::note(const std::string& sentence) const {
    if (!quiet) complain(sentence);
}

void Program::complain(const std::string& sentence) const {
    const std::string line = sentence + "\n"; // one write, so that lines of several threads do not mix
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void Program::print(const std::string& text) const {
    std::fwrite(text.data(), 1, text.size(), out);
    if (std::fflush(out) != 0) throw CommandError(ExitCode::Failure, "stdout cannot be written");
}

namespace {

std::string exitCodeTable() {
    std::string table = "Exit status:\n";
    for (const ExitCodeRow& row : EXIT_CODES)
        table += fmt::format("  {:>5}  {}\n", static_cast<int>(row.code), row.meaning);
    table += "  10-17  `inspect` only: how far the plug-in came (see inspect --help)\n";
    return table;
}

void describe(CLI::App& app, Program& program) {
    app.description("Renders stills and frame sequences through OpenFX filter plug-ins.");
    app.set_version_flag("--version", PROGRAM_VERSION_LINE);
    app.add_flag("-q,--quiet", program.quiet, "say nothing but what went wrong");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(exitCodeTable());
    addRenderCommand(app, program);
    addParamsCommand(app, program);
    addListCommand(app, program);
    addInspectCommand(app, program);
    addSpacesCommand(app, program);
    addCompareCommand(app, program);
    addLutCommand(app, program);
    addParityCommand(app, program);
}

// CLI11 prints help and version to its stream with status 0, everything else is a wrong command line.
int answerParse(const CLI::App& app, const CLI::ParseError& error, const Program& program) {
    if (error.get_exit_code() == 0) {
        std::ostringstream text, unused;
        app.exit(error, text, unused);
        program.print(text.str());
        return static_cast<int>(ExitCode::Ok);
    }
    program.complain(fmt::format("tarnwell: {} (see tarnwell --help)", error.what()));
    return static_cast<int>(ExitCode::Usage);
}

ExitCode exitCodeOf(PictureFault fault) {
    switch (fault) {
    case PictureFault::Request:
        return ExitCode::Usage;
    case PictureFault::Missing:
        return ExitCode::NoInput;
    default:
        return ExitCode::Failure;
    }
}

// CLI11 says only that a command is required; the word that was no command is known here.
void checkCommand(const CLI::App& app, const char* word) {
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        commands.push_back(command->get_name());
    if (word[0] == '-' || std::find(commands.begin(), commands.end(), word) != commands.end()) return;
    throw usageError(fmt::format("no command \"{}\"{}", word, didYouMean(word, commands)));
}

int run(int argc, char** argv) {
    StdoutGuard guard;
    Program program;
    program.out = guard.out();
    CLI::App app;
    const auto fail = [&](ExitCode code, const char* sentence) {
        program.complain(fmt::format("tarnwell: {}", sentence));
        return static_cast<int>(code);
    };
    try {
        describe(app, program);
        if (argc > 1) checkCommand(app, argv[1]);
        app.parse(argc, argv);
        return program.inspectStatus != 0 ? program.inspectStatus : static_cast<int>(program.exitCode);
    } catch (const CLI::ParseError& error) {
        return answerParse(app, error, program);
    } catch (const CommandError& error) {
        return fail(error.code, error.what());
    } catch (const PictureError& error) {
        return fail(exitCodeOf(error.fault), error.what());
    } catch (const ParameterError& error) {
        return fail(ExitCode::Usage, error.what());
    } catch (const std::bad_alloc&) {
        return fail(ExitCode::Failure, "not enough memory");
    } catch (const std::exception& error) {
        return fail(ExitCode::Failure, error.what());
    }
}

} // namespace
} // namespace tarnwell

int main(int argc, char** argv) {
    // the locale stays "C": numbers are written with a point whatever the user's language is
    return tarnwell::run(argc, argv);
}
