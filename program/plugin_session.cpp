// Finding a plug-in is where most first runs go wrong: every failure says what was looked for, where, and what was met
// instead.
#include "program/plugin_session.h"

#include "host/bundle.h"
#include "host/status.h"
#include "program/exit_codes.h"
#include "program/program.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

CommandError notLoadable(const std::string& sentence) {
    return {ExitCode::PluginNotLoadable, sentence};
}

std::string badBundlesOf(const Catalog& catalog) {
    std::string text;
    for (const BadBundle& bad : catalog.badBundles())
        text += fmt::format("\n  {}: {}", bad.bundle.string(), bad.reason);
    return text;
}

const FoundPlugin& soleOf(const Catalog& catalog, const std::string& path) {
    if (catalog.plugins().empty())
        throw notLoadable(fmt::format("{}: no plug-in found{}", path, badBundlesOf(catalog)));
    std::set<std::string> identifiers;
    for (const FoundPlugin& found : catalog.plugins())
        identifiers.insert(found.identifier());
    if (identifiers.size() == 1) return catalog.find(*identifiers.begin());
    std::string list;
    for (const std::string& identifier : identifiers)
        list += fmt::format("{}{}", list.empty() ? "" : ", ", identifier);
    throw usageError(
        fmt::format("{} holds several plug-ins; add its folder to OFX_PLUGIN_PATH and name one of: {}", path, list));
}

const FoundPlugin& findByIdentifier(const Catalog& catalog, const std::string& identifier) {
    try {
        return catalog.find(identifier);
    } catch (const HostError& error) {
        std::string searched;
        for (const fs::path& folder : searchFolders())
            searched +=
                fmt::format("\n  searched {}{}", folder.string(), fs::exists(folder) ? "" : " (does not exist)");
        throw notLoadable(fmt::format("{}{}{}", error.what(), searched, badBundlesOf(catalog)));
    }
}

} // namespace

void addSearchedFolders(Catalog& catalog, Host& host) {
    for (const fs::path& folder : searchFolders())
        if (fs::exists(folder)) catalog.addFolder(host, folder);
}

PluginSession::PluginSession(const std::string& plugin, const HostOptions& hostOptions) : host_(hostOptions) {
    const bool isPath = fs::exists(plugin) || plugin.find('/') != std::string::npos;
    if (isPath && !fs::exists(plugin)) throw notLoadable(fmt::format("{}: no such bundle", plugin));
    try {
        if (isPath)
            catalog_.addBundle(host_, plugin);
        else
            addSearchedFolders(catalog_, host_);
        const FoundPlugin& found = isPath ? soleOf(catalog_, plugin) : findByIdentifier(catalog_, plugin);
        effect_ = std::make_unique<Effect>(host_, found);
        effect_->load();
    } catch (const HostError& error) {
        throw notLoadable(error.what());
    }
}

bool PluginSession::isOurs() const {
    return effect_->identifier() == OWN_PLUGIN;
}

std::string PluginSession::name() const {
    return fmt::format("{} {}.{} ({})", effect_->label(), effect_->versionMajor(), effect_->versionMinor(),
                       effect_->identifier());
}

std::unique_ptr<Instance> PluginSession::instanceWith(const InstanceOptions& options, const Settings& settings) {
    auto instance = std::make_unique<Instance>(*effect_, options);
    for (const auto& [key, value] : settings)
        instance->setParameter(key, value);
    return instance;
}

Settings mergedSettings(const std::string& presetPath, const std::vector<std::string>& assignments,
                        const std::string& pluginIdentifier) {
    Settings settings;
    if (!presetPath.empty()) {
        Preset preset = readPreset(presetPath);
        if (!preset.plugin.empty() && preset.plugin != pluginIdentifier)
            throw usageError(
                fmt::format("preset {} is for {}, not for {}", presetPath, preset.plugin, pluginIdentifier));
        settings = std::move(preset.settings);
    }
    for (const std::string& assignment : assignments)
        settings.push_back(parseSetting(assignment));
    return settings;
}

} // namespace tarnwell
