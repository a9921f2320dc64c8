// What every command gets from main: where data goes, how much to say, and the place of its own options.
#pragma once

#include "program/exit_codes.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>

namespace tarnwell {

constexpr const char* OWN_PLUGIN = "com.ostrel.tarnwell";

struct Program {
    std::FILE* out = stdout; // data: the real stdout, which plug-ins cannot reach
    bool quiet = false;
    ExitCode exitCode = ExitCode::Ok;
    int inspectStatus = 0; // `inspect` ends with a status of its own table; 0: exitCode counts

    // A sentence for the user, on stderr, in one piece; silent with --quiet.
    void note(const std::string& sentence) const;
    // The same for what went wrong: never silent.
    void complain(const std::string& sentence) const;
    // Data on stdout.
    void print(const std::string& text) const;
};

// Each adds its command to the program.
void addRenderCommand(CLI::App& app, Program& program);
void addParamsCommand(CLI::App& app, Program& program);
void addListCommand(CLI::App& app, Program& program);
void addInspectCommand(CLI::App& app, Program& program);
void addSpacesCommand(CLI::App& app, Program& program);
void addCompareCommand(CLI::App& app, Program& program);
void addLutCommand(CLI::App& app, Program& program);
void addParityCommand(CLI::App& app, Program& program);

} // namespace tarnwell
