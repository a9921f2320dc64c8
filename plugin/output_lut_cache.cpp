#include "plugin/output_lut_cache.h"

#include "lifetime/process_wide.h"

#include <algorithm>
#include <optional>
#include <sys/stat.h>
#include <sys/types.h>
#include <tuple>

namespace velloid {

namespace {

struct LutCache {
    std::mutex mu;
    std::map<std::string, LutCacheEntry> entries;
    std::uint64_t generation = 0;
};
ProcessWide<LutCache> gCache;

} // namespace

std::mutex& gLutCacheMu = gCache->mu;
std::map<std::string, LutCacheEntry>& gLutCache = gCache->entries;
std::uint64_t& gLutCacheGeneration = gCache->generation;

namespace {

constexpr int ATTEMPTS = 2;
constexpr unsigned FILE_TYPE_BITS = 0xF000;
constexpr unsigned REGULAR_FILE = 0x8000;

std::int64_t modifiedNanoseconds([[maybe_unused]] const struct stat& info) {
#if defined(__APPLE__)
    return info.st_mtimespec.tv_nsec;
#elif defined(_WIN32)
    return 0;
#else
    return info.st_mtim.tv_nsec;
#endif
}

// The file's identity as an entry without a table; nothing when the path names no regular file.
std::optional<LutCacheEntry> fingerprintOf(const std::string& path) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) return std::nullopt;
    if ((static_cast<unsigned>(info.st_mode) & FILE_TYPE_BITS) != REGULAR_FILE) return std::nullopt;
    LutCacheEntry entry;
    entry.device = static_cast<std::int32_t>(info.st_dev);
    entry.inode = info.st_ino;
    entry.size = info.st_size;
    entry.modifiedSeconds = info.st_mtime;
    entry.modifiedNanoseconds = modifiedNanoseconds(info);
    return entry;
}

bool sameFile(const LutCacheEntry& a, const LutCacheEntry& b) {
    const auto fields = [](const LutCacheEntry& e) {
        return std::tie(e.device, e.inode, e.size, e.modifiedSeconds, e.modifiedNanoseconds);
    };
    return fields(a) == fields(b);
}

void forget(const std::string& path) {
    std::lock_guard lock(gLutCacheMu);
    gLutCache.erase(path);
}

// The table of a valid entry (null for a file that is no table), stamped; nothing when there is none. Under the lock.
std::optional<std::shared_ptr<const LUT3D>> hit(const std::string& path, const LutCacheEntry& fingerprint) {
    const auto found = gLutCache.find(path);
    if (found == gLutCache.end() || !sameFile(found->second, fingerprint)) return std::nullopt;
    found->second.lastUse = ++gLutCacheGeneration;
    return found->second.lut;
}

std::optional<std::shared_ptr<const LUT3D>> lookUp(const std::string& path, const LutCacheEntry& fingerprint) {
    std::lock_guard lock(gLutCacheMu);
    return hit(path, fingerprint);
}

std::shared_ptr<const LUT3D> store(const std::string& path, LutCacheEntry entry) {
    std::lock_guard lock(gLutCacheMu);
    if (auto other = hit(path, entry)) return *other;
    entry.lastUse = ++gLutCacheGeneration;
    gLutCache.insert_or_assign(path, entry);
    if (gLutCache.size() > LUT_CACHE_CAPACITY) {
        gLutCache.erase(std::min_element(gLutCache.begin(), gLutCache.end(), [](const auto& a, const auto& b) {
            return a.second.lastUse < b.second.lastUse;
        }));
    }
    return entry.lut;
}

} // namespace

std::shared_ptr<const LUT3D> loadCachedOutputLut(const std::string& path, const LutReader& read) {
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        std::optional<LutCacheEntry> entry = fingerprintOf(path);
        if (!entry) {
            forget(path);
            return nullptr;
        }
        if (const auto known = lookUp(path, *entry)) return *known;
        const auto lut = std::make_shared<LUT3D>();
        CubeError error;
        if (read(path.c_str(), *lut, error)) {
            entry->lut = lut;
        } else if (error.unread) {
            return nullptr; // for a reason that may pass
        }
        const std::optional<LutCacheEntry> after = fingerprintOf(path);
        if (after && sameFile(*entry, *after)) return store(path, *std::move(entry));
    }
    return nullptr;
}

std::shared_ptr<const LUT3D> loadCachedOutputLut(const std::string& path) {
    return loadCachedOutputLut(
        path, [](const char* file, LUT3D& out, CubeError& error) { return loadCubeLut(file, out, &error); });
}

void clearOutputLutCache() {
    std::lock_guard lock(gLutCacheMu);
    gLutCache.clear();
    gLutCacheGeneration = 0;
}

} // namespace velloid
