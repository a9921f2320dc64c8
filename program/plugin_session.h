// The plug-in that a command works with: found by identifier or by the path of its bundle, loaded, described.
#pragma once

#include "host/catalog.h"
#include "host/effect.h"
#include "host/host.h"
#include "program/presets.h"

#include <memory>
#include <string>
#include <vector>

namespace tarnwell {

class PluginSession {
public:
    // `plugin`: an identifier, "IDENTIFIER:MAJOR[.MINOR]", or the path of a bundle or .ofx file. Throws CommandError
    // (PluginNotLoadable) with the reason, also those of bundles that did not load.
    explicit PluginSession(const std::string& plugin, const HostOptions& hostOptions = {});

    Effect& effect() { return *effect_; } // loaded and described
    bool isOurs() const;                  // OWN_PLUGIN by its identifier
    // "Tarnwell 7.1 (com.ostrel.tarnwell)"
    std::string name() const;

    // An instance that is not created yet, with `settings` in its parameters. Throws ParameterError for an unknown key
    // or value, naming the nearest.
    std::unique_ptr<Instance> instanceWith(const InstanceOptions& options, const Settings& settings);

private:
    Host host_;
    Catalog catalog_;
    std::unique_ptr<Effect> effect_;
};

// Adds the bundles of every folder of searchFolders() that exists.
void addSearchedFolders(Catalog& catalog, Host& host);

// The preset's settings, then those of the command line, which win. Throws CommandError; also when the preset is
// another plug-in's.
Settings mergedSettings(const std::string& presetPath, const std::vector<std::string>& assignments,
                        const std::string& pluginIdentifier);

} // namespace tarnwell
