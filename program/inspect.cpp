// `tarnwell inspect`: why a bundle does or does not load.
#include "host/inspect.h"

#include "program/presets.h"
#include "program/program.h"

#include <fmt/format.h>

#include <memory>

namespace tarnwell {

namespace {

Json jsonOf(const InspectedPlugin& plugin) {
    Json clips = Json::array(), parameters = Json::array();
    for (const InspectedClip& clip : plugin.clips)
        clips.push_back({{"name", clip.name}, {"optional", clip.isOptional}, {"components", clip.components}});
    for (const InspectedParameter& parameter : plugin.parameters)
        parameters.push_back({{"key", parameter.key},
                              {"label", parameter.label},
                              {"type", parameter.type},
                              {"parent", parameter.parent},
                              {"default", parameter.standard},
                              {"options", parameter.options}});
    return {{"identifier", plugin.identifier},
            {"version", fmt::format("{}.{}", plugin.versionMajor, plugin.versionMinor)},
            {"label", plugin.label},
            {"grouping", plugin.grouping},
            {"thread_safety", plugin.threadSafety},
            {"load", plugin.loadStatus},
            {"describe", plugin.describeStatus},
            {"describe_in_context", plugin.contextStatus},
            {"contexts", plugin.contexts},
            {"depths", plugin.depths},
            {"context", plugin.context},
            {"clips", clips},
            {"parameters", parameters},
            {"suites_missed", plugin.suitesMissed},
            {"problem", plugin.problem}};
}

Json jsonOf(const InspectReport& report) {
    Json plugins = Json::array();
    for (const InspectedPlugin& plugin : report.plugins)
        plugins.push_back(jsonOf(plugin));
    return {{"status", static_cast<int>(report.outcome)},
            {"sentence", report.sentence},
            {"path", report.path.string()},
            {"library", report.library.string()},
            {"architectures_found", report.architecturesFound},
            {"architectures_wanted", report.architecturesWanted},
            {"info_plist", report.hasInfoPlist},
            {"machine", report.machine},
            {"loader_error", report.loaderError},
            {"needed_libraries", report.neededLibraries},
            {"needed_glibc", report.neededGlibc},
            {"needed_glibcxx", report.neededGlibcxx},
            {"entry_points", report.entryPoints},
            {"missing_symbols", report.missingSymbols},
            {"plugins", plugins}};
}

void inspect(const std::string& path, bool json, Program& program) {
    Host host;
    const InspectReport report = inspectBundle(host, path);
    program.print(json ? jsonOf(report).dump(2) + "\n" : reportText(report));
    program.inspectStatus = static_cast<int>(report.outcome);
    if (report.outcome != InspectOutcome::Fine) program.complain(fmt::format("tarnwell: {}", report.sentence));
}

} // namespace

void addInspectCommand(CLI::App& app, Program& program) {
    struct Options {
        std::string path;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("inspect", "tell why a bundle does or does not load");
    command->add_option("BUNDLE", options->path, "bundle folder or .ofx file")->required();
    command->add_flag("--json", options->json, "as JSON");
    command->footer("Exit status: 0 fine, 10 missing, 11 no shared library, 12 wrong architecture, 13 refused by the\n"
                    "loader, 14 no OpenFX entry points, 15 load failed, 16 describe failed, 17 not usable here.");
    command->callback([options, &program] { inspect(options->path, options->json, program); });
}

} // namespace tarnwell
