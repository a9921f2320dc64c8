// Every library is loaded to ask what it holds. The program fills a catalogue once, before it picks its plug-in.
#include "host/catalog.h"

#include "host/bundle.h"
#include "host/status.h"
#include "text/words.h"

#include <tuple>

namespace tarnwell {

namespace {

// Whether `asked` names the plug-in: its identifier, with ":MAJOR" or ":MAJOR.MINOR" behind it if one is wanted.
bool isNamed(const OfxPlugin& plugin, const std::string& asked) {
    const std::string identifier = plugin.pluginIdentifier;
    const std::string major = identifier + ":" + std::to_string(plugin.pluginVersionMajor);
    return asked == identifier || asked == major || asked == major + "." + std::to_string(plugin.pluginVersionMinor);
}

bool isNewer(const OfxPlugin& a, const OfxPlugin& b) {
    return std::tie(a.pluginVersionMajor, a.pluginVersionMinor) > std::tie(b.pluginVersionMajor, b.pluginVersionMinor);
}

} // namespace

void Catalog::addBinary(Host& host, const std::shared_ptr<PluginBinary>& binary) {
    for (OfxPlugin* plugin : binary->plugins(host.record()))
        plugins_.push_back({binary, plugin, binary->bundle()});
}

void Catalog::addBundle(Host& host, const std::filesystem::path& bundle) {
    try {
        const std::filesystem::path library = libraryOfBundle(bundle);
        if (library.empty()) throw HostError("no library for " + architectureFolders().front() + " in it");
        addBinary(host, PluginBinary::open(library));
    } catch (const HostError& error) {
        badBundles_.push_back({bundle, error.what()});
    }
}

void Catalog::addFolder(Host& host, const std::filesystem::path& folder) {
    for (const std::filesystem::path& bundle : findBundles(folder))
        addBundle(host, bundle);
}

const FoundPlugin& Catalog::find(const std::string& identifier) const {
    const FoundPlugin* best = nullptr;
    std::vector<std::string> identifiers;
    for (const FoundPlugin& found : plugins_) {
        identifiers.push_back(found.identifier());
        if (isNamed(*found.plugin, identifier) && (best == nullptr || isNewer(*found.plugin, *best->plugin)))
            best = &found;
    }
    if (best == nullptr) throw HostError("no plug-in \"" + identifier + "\"" + didYouMean(identifier, identifiers));
    return *best;
}

} // namespace tarnwell
