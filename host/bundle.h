// Where plug-ins lie: NAME.ofx.bundle/Contents/ARCH/NAME.ofx, in the folders of OFX_PLUGIN_PATH, beside the program,
// and in the system's folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwell {

// The architecture folders that this machine takes, best first.
const std::vector<std::string>& architectureFolders();

// All folders to search, in order: OFX_PLUGIN_PATH (`:` or `;` between folders; `;` only on Windows), the program's own
// folder and the `plugins` and `lib/OFX/Plugins` folders next to and above it, the system's folder. Some may not exist.
std::vector<std::filesystem::path> searchFolders();

// Every *.ofx.bundle folder below, sorted by name; entries beginning with @ are skipped, bundles are not entered. None
// below a folder that does not exist or cannot be read.
std::vector<std::filesystem::path> findBundles(const std::filesystem::path& folder);

// The library inside a bundle for this machine; empty if there is none. A path to an .ofx file is its own library.
std::filesystem::path libraryOfBundle(const std::filesystem::path& bundle);

// The bundle folder that a library lies in, or the library's own folder.
std::filesystem::path bundleOfLibrary(const std::filesystem::path& library);

} // namespace tarnwell
