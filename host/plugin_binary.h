// One plug-in binary: a shared library of a bundle, or entry points that are linked into the process (which is how the
// tests drive a plug-in without a file). The library stays loaded as long as anyone holds the binary.
#pragma once

#include "ofx/ofx.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tarnwell {

// What a binary exports; setHost is optional.
struct EntryPoints {
    OfxGetNumberOfPluginsFunction* getNumberOfPlugins = nullptr;
    OfxGetPluginFunction* getPlugin = nullptr;
    OfxSetHostFunction* setHost = nullptr;
};

class PluginBinary {
public:
    // Opens a shared library, lazily and with its symbols kept local. Throws HostError with the loader's own text, or
    // saying which entry point is missing.
    static std::shared_ptr<PluginBinary> open(const std::filesystem::path& library);
    // Entry points that are already in the process.
    static std::shared_ptr<PluginBinary> linked(const EntryPoints& entryPoints);
    ~PluginBinary();
    PluginBinary(const PluginBinary&) = delete;
    PluginBinary& operator=(const PluginBinary&) = delete;

    const EntryPoints& entryPoints() const { return entryPoints_; }
    // Folder of the bundle, or of the library if it stands alone; empty for linked entry points.
    const std::filesystem::path& bundle() const { return bundle_; }
    // A further symbol of the library; null when it has none of that name, or no library is behind it.
    void* symbol(const char* name) const;

    // Calls OfxSetHost where there is one, then asks for every record. Image effects of interface version 1 only;
    // others are left out. Throws HostError if the binary breaks the rules (null record, missing identifier, throws).
    std::vector<OfxPlugin*> plugins(const OfxHost* host) const;

private:
    PluginBinary() = default;

    EntryPoints entryPoints_;
    std::filesystem::path bundle_;
    void* library_ = nullptr;
};

} // namespace tarnwell
