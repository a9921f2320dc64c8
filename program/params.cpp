// `tarnwell params`: what can be set, for people, or as JSON that is a preset.
#include "program/plugin_session.h"
#include "program/program.h"

#include <fmt/format.h>

#include <memory>

namespace tarnwell {

namespace {

struct ParamsOptions {
    std::string plugin = OWN_PLUGIN, preset;
    std::vector<std::string> assignments;
    bool json = false;
};

std::string rangeOf(const Json& described) {
    if (!described.contains("min") || !described["min"].is_number()) return {};
    const double low = described["min"].get<double>(), high = described["max"].get<double>();
    const bool bounded = low > -1e9 && high < 1e9; // the interface's way to say "no limit" is a huge number
    return bounded ? fmt::format(", {} to {}", described["min"].dump(), described["max"].dump()) : std::string();
}

std::string paragraphOf(const Parameter& parameter) {
    const Json all = describeParameter(parameter);
    std::string text = fmt::format("{} ({}{}) = {}\n    {}\n", parameter.key(), all["type"].get<std::string>(),
                                   rangeOf(all), all["value"].dump(), parameter.label());
    if (all.contains("hint") && !all["hint"].get<std::string>().empty())
        text += fmt::format("    {}\n", all["hint"].get<std::string>());
    const auto options = parameter.options();
    for (std::size_t i = 0; i < options.size(); ++i)
        text += fmt::format("      {:>2} {}\n", i, options[i]);
    return text;
}

void showParameters(const ParamsOptions& options, const Program& program) {
    PluginSession session(options.plugin);
    const Settings settings = mergedSettings(options.preset, options.assignments, session.effect().identifier());
    const auto instance = session.instanceWith({}, settings);
    Json document = {
        {"plugin", session.effect().identifier()},
        {"version", fmt::format("{}.{}", session.effect().versionMajor(), session.effect().versionMinor())},
        {"parameters", Json::object()}};
    std::string text = session.name() + "\n";
    for (const auto& parameter : instance->parameters().all()) {
        if (!holdsValue(*parameter)) continue;
        document["parameters"][parameter->key()] = describeParameter(*parameter);
        text += "\n" + paragraphOf(*parameter);
    }
    program.print(options.json ? document.dump(2) + "\n" : text);
}

} // namespace

void addParamsCommand(CLI::App& app, Program& program) {
    auto options = std::make_shared<ParamsOptions>();
    CLI::App* command = app.add_subcommand("params", "list a plug-in's parameters");
    command->add_option("--plugin", options->plugin, "identifier, or path of a bundle")->capture_default_str();
    command->add_option("--preset", options->preset, "JSON file with parameters, shown merged with the defaults");
    command->add_option("--set", options->assignments, "parameter: key=value; wins over the preset")
        ->expected(1)
        ->take_all();
    command->add_flag("--json", options->json, "as JSON; usable as a preset");
    command->callback([options, &program] { showParameters(*options, program); });
}

} // namespace tarnwell
