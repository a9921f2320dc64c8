// Whatever a library hands out is checked here, so that nobody after it calls through a null pointer.
#include "host/plugin_binary.h"

#include "host/bundle.h"
#include "host/status.h"

#include <dlfcn.h>
#include <string_view>

namespace tarnwell {

namespace {

template <class Function>
Function* entry(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

void insistOnRecord(const OfxPlugin* plugin, int nth) {
    const std::string which = "OfxGetPlugin(" + std::to_string(nth) + ")";
    if (plugin == nullptr) throw HostError(which + " answered null");
    if (plugin->pluginApi == nullptr || plugin->pluginIdentifier == nullptr)
        throw HostError(which + " gave a record without interface or identifier");
    if (plugin->setHost == nullptr || plugin->mainEntry == nullptr)
        throw HostError(which + " gave a record without functions");
}

bool isImageEffect(const OfxPlugin& plugin) {
    return std::string_view(plugin.pluginApi) == kOfxImageEffectPluginApi &&
           plugin.apiVersion == kOfxImageEffectPluginApiVersion;
}

} // namespace

std::shared_ptr<PluginBinary> PluginBinary::open(const std::filesystem::path& library) {
    std::shared_ptr<PluginBinary> binary(new PluginBinary);
    binary->library_ = dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (binary->library_ == nullptr) {
        const char* reason = dlerror();
        throw HostError(reason != nullptr ? reason : "the loader gave no reason");
    }
    binary->bundle_ = bundleOfLibrary(library);
    EntryPoints& points = binary->entryPoints_;
    points.getNumberOfPlugins = entry<OfxGetNumberOfPluginsFunction>(binary->library_, "OfxGetNumberOfPlugins");
    points.getPlugin = entry<OfxGetPluginFunction>(binary->library_, "OfxGetPlugin");
    points.setHost = entry<OfxSetHostFunction>(binary->library_, "OfxSetHost");
    if (points.getNumberOfPlugins == nullptr || points.getPlugin == nullptr)
        throw HostError(library.string() + " exports no " +
                        (points.getPlugin == nullptr ? "OfxGetPlugin" : "OfxGetNumberOfPlugins"));
    return binary;
}

std::shared_ptr<PluginBinary> PluginBinary::linked(const EntryPoints& entryPoints) {
    std::shared_ptr<PluginBinary> binary(new PluginBinary);
    binary->entryPoints_ = entryPoints;
    return binary;
}

PluginBinary::~PluginBinary() {
    if (library_ != nullptr) dlclose(library_);
}

void* PluginBinary::symbol(const char* name) const {
    return library_ != nullptr ? dlsym(library_, name) : nullptr;
}

std::vector<OfxPlugin*> PluginBinary::plugins(const OfxHost* host) const {
    try {
        std::vector<OfxPlugin*> found;
        // A binary may ask to be skipped silently.
        if (entryPoints_.setHost != nullptr && entryPoints_.setHost(host) == kOfxStatFailed) return found;
        for (int nth = 0, count = entryPoints_.getNumberOfPlugins(); nth < count; ++nth) {
            OfxPlugin* plugin = entryPoints_.getPlugin(nth);
            insistOnRecord(plugin, nth);
            if (isImageEffect(*plugin)) found.push_back(plugin);
        }
        return found;
    } catch (const HostError&) {
        throw;
    } catch (...) {
        throw HostError("an exported function threw an exception");
    }
}

} // namespace tarnwell
