// Looks at folders and names only; nothing is loaded. A folder that cannot be read holds nothing: a search goes on past
// it. The catalogue, the inspection and the program's messages about folders searched are the callers.
#include "host/bundle.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

const std::string BUNDLE_SUFFIX = ".ofx.bundle";

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void appendPathList(std::vector<fs::path>& folders, const char* list) {
    std::string folder;
    for (const char* c = list; *c != '\0'; ++c) {
        if (*c != ':' && *c != ';') {
            folder += *c;
            continue;
        }
        if (!folder.empty()) folders.emplace_back(folder);
        folder.clear();
    }
    if (!folder.empty()) folders.emplace_back(folder);
}

// Folder of the running program, empty where the system does not tell.
fs::path programFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path() : program.parent_path();
}

void collectBundles(const fs::path& folder, std::vector<fs::path>& bundles) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code ignored;
        if (name.empty() || name[0] == '@' || !entry->is_directory(ignored)) continue;
        if (endsWith(name, BUNDLE_SUFFIX))
            bundles.push_back(entry->path());
        else if (!entry->is_symlink(ignored))
            collectBundles(entry->path(), bundles);
    }
}

} // namespace

const std::vector<std::string>& architectureFolders() {
#if defined(__APPLE__)
    static const std::vector<std::string> FOLDERS = {"MacOS", "MacOS-x86-64"};
#elif defined(__x86_64__)
    static const std::vector<std::string> FOLDERS = {"Linux-x86-64"};
#elif defined(__aarch64__)
    // By pointer size alone other hosts look in the second; a library for another processor fails to load there.
    static const std::vector<std::string> FOLDERS = {"Linux-aarch64", "Linux-x86-64"};
#elif defined(__i386__)
    static const std::vector<std::string> FOLDERS = {"Linux-x86"};
#else
#error "name this machine's architecture folder"
#endif
    return FOLDERS;
}

std::vector<fs::path> searchFolders() {
    std::vector<fs::path> folders;
    if (const char* list = std::getenv("OFX_PLUGIN_PATH")) appendPathList(folders, list);
    const fs::path program = programFolder();
    if (!program.empty())
        for (const char* beside : {"", "plugins", "../plugins", "../lib/OFX/Plugins"})
            folders.push_back((program / beside).lexically_normal());
#if defined(__APPLE__)
    folders.emplace_back("/Library/OFX/Plugins");
#else
    folders.emplace_back("/usr/OFX/Plugins");
#endif
    return folders;
}

std::vector<fs::path> findBundles(const fs::path& folder) {
    std::vector<fs::path> bundles;
    collectBundles(folder, bundles);
    std::sort(bundles.begin(), bundles.end());
    return bundles;
}

fs::path libraryOfBundle(const fs::path& given) {
    std::error_code error;
    // "X.ofx.bundle/" has an empty last part.
    const fs::path bundle = given.filename().empty() ? given.parent_path() : given;
    if (fs::is_regular_file(bundle, error)) return bundle;
    const std::string name = bundle.filename().string();
    const std::string stem = endsWith(name, BUNDLE_SUFFIX) ? name.substr(0, name.size() - BUNDLE_SUFFIX.size()) : name;
    for (const std::string& architecture : architectureFolders()) {
        const fs::path library = bundle / "Contents" / architecture / (stem + ".ofx");
        if (fs::is_regular_file(library, error)) return library;
    }
    return {};
}

fs::path bundleOfLibrary(const fs::path& library) {
    const fs::path bundle = library.parent_path().parent_path().parent_path();
    return endsWith(bundle.filename().string(), BUNDLE_SUFFIX) ? bundle : library.parent_path();
}

} // namespace tarnwell
