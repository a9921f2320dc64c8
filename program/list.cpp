// `tarnwell list`: every plug-in that is found, and every bundle that did not load.
#include "host/bundle.h"
#include "host/status.h"
#include "program/plugin_session.h"
#include "program/program.h"

#include <fmt/format.h>

#include <memory>

namespace tarnwell {

namespace {

// The plug-in's own name; needs it loaded and described, which may fail: then the reason.
Json describePlugin(Host& host, const FoundPlugin& found) {
    Json entry = {{"identifier", found.identifier()},
                  {"version", fmt::format("{}.{}", found.plugin->pluginVersionMajor, found.plugin->pluginVersionMinor)},
                  {"bundle", found.bundle.string()}};
    try {
        Effect effect(host, found);
        effect.load();
        entry["label"] = effect.label();
        entry["grouping"] = effect.grouping();
    } catch (const HostError& error) {
        entry["problem"] = error.what();
    }
    return entry;
}

std::string lineOf(const Json& entry) {
    const std::string what = entry.contains("problem") ? "does not load: " + entry["problem"].get<std::string>()
                                                       : entry["label"].get<std::string>();
    return fmt::format("{} {}  {}\n    {}\n", entry["identifier"].get<std::string>(),
                       entry["version"].get<std::string>(), what, entry["bundle"].get<std::string>());
}

void listPlugins(bool json, const Program& program) {
    Host host;
    Catalog catalog;
    addSearchedFolders(catalog, host);
    Json all = Json::array();
    std::string text;
    for (const FoundPlugin& found : catalog.plugins()) {
        all.push_back(describePlugin(host, found));
        text += lineOf(all.back());
    }
    for (const BadBundle& bad : catalog.badBundles())
        program.complain(fmt::format("{}: {}", bad.bundle.string(), bad.reason));
    if (all.empty()) {
        for (const auto& folder : searchFolders())
            program.note(fmt::format("searched {}", folder.string()));
        throw CommandError(ExitCode::PluginNotLoadable, "no plug-in found; OFX_PLUGIN_PATH names folders to search");
    }
    program.print(json ? all.dump(2) + "\n" : text);
}

} // namespace

void addListCommand(CLI::App& app, Program& program) {
    auto json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("list", "list the plug-ins that are found");
    command->add_flag("--json", *json, "as JSON");
    command->callback([json, &program] { listPlugins(*json, program); });
}

} // namespace tarnwell
