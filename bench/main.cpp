// tarnwell_bench: how fast the plug-in's stages and frames are beside the literal forms of the tests and beside the
// peers, on this machine, in this run.
//
//   tarnwell_bench --list
//   tarnwell_bench --only 'T1\.|T13' --rounds 3
//   tarnwell_bench --markdown table.md --json table.json
#include "bench/cases.h"
#include "bench/peers.h"

#include <CLI/CLI.hpp>
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwell::bench {

namespace {

using velloid::RowLevel;

struct Settings {
    std::string only;
    std::string level;
    std::string markdown;
    std::string json;
    std::string commit = "unknown";
    std::string command; // as it was called, without its folder
    int rounds = 11;
    bool processorTime = false;
    bool list = false;
};

RowLevel levelOf(const std::string& name) {
    if (name.empty()) return velloid::activeRowLevel();
    const RowLevel level = name == "avx512" ? RowLevel::Avx512 : name == "avx2" ? RowLevel::Avx2 : RowLevel::Baseline;
    if (!velloid::rowLevelSupported(level)) {
        throw std::runtime_error("this processor does not run " + std::string(velloid::rowLevelName(level)));
    }
    return level;
}

std::vector<Case> casesOf(const std::string& only) {
    std::vector<Case> cases = stageCases();
    for (Case& made : frameCases())
        cases.push_back(std::move(made));
    if (only.empty()) return cases;
    const std::regex wanted(only);
    std::erase_if(cases, [&](const Case& c) { return !std::regex_search(c.heading.id, wanted); });
    return cases;
}

// T1 ... T17, then the rows without a number.
int groupOf(const Row& row) {
    return row.id[0] == 'T' ? std::atoi(row.id.c_str() + 1) : 1000;
}

Facts factsOf(const Settings& settings, RowLevel level) {
    Facts facts = machineFacts();
    const Facts own = {{"command", settings.command},
                       {"date", fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(std::time(nullptr)))},
                       {"row kernels", velloid::rowLevelName(level)},
                       {"compiler", BENCH_COMPILER},
                       {"flags", BENCH_FLAGS},
                       {"flags of the literal forms", BENCH_REFERENCE_FLAGS},
                       {"commit", settings.commit},
                       {"rounds", std::to_string(settings.rounds)},
                       {"clock", settings.processorTime ? "processor time for one thread, else wall" : "wall"}};
    const Facts peers = peerFacts();
    facts.insert(facts.end(), own.begin(), own.end());
    facts.insert(facts.end(), peers.begin(), peers.end());
    if (peers.empty()) facts.emplace_back("peers", "not built");
    return facts;
}

// How the table is to be read.
std::vector<std::string> notes() {
    // clang-format off
    return {
        "ours, other: medians of the rounds.",
        "min, median: of other / ours, round by round; above 1 ours is faster. Only ratios compare between runs.",
        "met: \"yes\" when the median reaches the goal, \"floor only\" when it reaches the floor alone.",
        "floats apart: share that differs from the literal result of this run; largest distance in last places.",
        "*: ours and literal include a copy of the three planes, the peer's figure does not.",
        "T13: two threads (ours) against one, in rounds in which a loop without memory scaled to 1.9 or more.",
        "T14: every block that operator new hands out during a render, working planes included, in planes.",
        "T16, T17: the other size's time per pixel over that of 1080p; smaller is better.",
    };
    // clang-format on
}

void writeFile(const std::string& path, const std::string& text) {
    if (path.empty()) return;
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string commandOf(int argc, char** argv) {
    std::string command = "tarnwell_bench";
    for (int i = 1; i < argc; ++i)
        command += std::string(" ") + argv[i];
    return command;
}

void printFacts(const Facts& facts) {
    for (const auto& [name, value] : facts)
        fmt::print("{:<26} {}\n", name, value);
}

void runAll(const Settings& settings) {
    const RunOptions options{levelOf(settings.level), settings.rounds, settings.processorTime};
    const std::vector<Case> cases = casesOf(settings.only);
    if (settings.list) {
        for (const Case& c : cases)
            fmt::print("{:<34} {}, against {}\n", c.heading.id, c.heading.what,
                       c.heading.against.empty() ? "nobody" : c.heading.against);
        return;
    }
    Report report{factsOf(settings, options.level), {}, notes()};
    printFacts(report.facts);
    fmt::print("\n{}\n", textHeading());
    for (const Case& c : cases) {
        report.rows.push_back(runCase(c, options));
        fmt::print("{}\n", textLine(report.rows.back()));
        std::fflush(stdout);
    }
    std::stable_sort(report.rows.begin(), report.rows.end(),
                     [](const Row& a, const Row& b) { return groupOf(a) < groupOf(b); });
    writeFile(settings.markdown, markdownOf(report));
    writeFile(settings.json, jsonOf(report));
}

} // namespace

} // namespace tarnwell::bench

int main(int argc, char** argv) {
    using namespace tarnwell::bench;
    Settings settings;
    CLI::App app("Measures the plug-in against its literal form and against peers.", "tarnwell_bench");
    app.add_flag("--list", settings.list, "name the measurements and stop");
    app.add_option("--only", settings.only, "measure what this regular expression finds in the id");
    app.add_option("--rounds", settings.rounds, "paired rounds per measurement; below 11 the figures are a glance")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("--cpu-time", settings.processorTime,
                 "rows of one thread by the processor time of this process, for a machine that others use");
    app.add_option("--level", settings.level, "instruction set of the row kernels; the best one if not given")
        ->check(CLI::IsMember({"baseline", "avx2", "avx512"}));
    app.add_option("--markdown", settings.markdown, "write the table here");
    app.add_option("--json", settings.json, "write the table here");
    app.add_option("--commit", settings.commit, "what the table names as the version measured");
    CLI11_PARSE(app, argc, argv);
    settings.command = commandOf(argc, argv);
    try {
        runAll(settings);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarnwell_bench: {}\n", error.what());
        return 1;
    }
    return 0;
}
