// All plug-ins of a list of folders. A bundle that does not load is noted with its reason and stops nobody else.
#pragma once

#include "host/host.h"
#include "host/plugin_binary.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tarnwell {

struct FoundPlugin {
    std::shared_ptr<PluginBinary> binary; // keeps the library loaded
    OfxPlugin* plugin = nullptr;          // the library's own record, never null
    std::filesystem::path bundle;         // empty for linked entry points

    std::string identifier() const { return plugin->pluginIdentifier; }
};

struct BadBundle {
    std::filesystem::path bundle;
    std::string reason; // one sentence, with the loader's own text
};

class Catalog {
public:
    // Adds every plug-in of a bundle or .ofx file; what does not load goes to badBundles().
    void addBundle(Host& host, const std::filesystem::path& bundle);
    // Adds every bundle below the folder, likewise.
    void addFolder(Host& host, const std::filesystem::path& folder);
    // Adds every plug-in of a library that is open. Throws HostError when it breaks the rules.
    void addBinary(Host& host, const std::shared_ptr<PluginBinary>& binary);

    const std::vector<FoundPlugin>& plugins() const { return plugins_; }
    const std::vector<BadBundle>& badBundles() const { return badBundles_; }

    // The highest version of an identifier, or "IDENTIFIER:MAJOR" or "IDENTIFIER:MAJOR.MINOR" for one of them (the
    // identifier itself may hold colons). Throws HostError naming the nearest identifier.
    const FoundPlugin& find(const std::string& identifier) const;

private:
    std::vector<FoundPlugin> plugins_;
    std::vector<BadBundle> badBundles_;
};

} // namespace tarnwell
