// The user's output tables, kept from frame to frame.
//
// A table is found by its path and trusted only while a fresh stat of the file gives the same fingerprint. Files are
// read outside the lock; a table that was handed out stays alive with its holder, whatever the cache does meanwhile. A
// file that is no table is remembered as such, so that it is not read again before it changes; one that could not be
// opened or read is tried again at the next frame.
#pragma once

#include "color/cube_reader.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace velloid {

struct LutCacheEntry {
    std::int64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0; // bytes
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::shared_ptr<const LUT3D> lut; // null: the file is no table
    std::uint64_t lastUse = 0;        // gLutCacheGeneration at the last insertion or hit
};

constexpr std::size_t LUT_CACHE_CAPACITY = 16;

extern std::mutex& gLutCacheMu; // guards the two below; never held while a file is read
extern std::map<std::string, LutCacheEntry>& gLutCache;
extern std::uint64_t& gLutCacheGeneration;

// The table in the file, or null when the path names no regular file, the file is no table, can't be opened or read, or
// changed twice while it was read. Callable from any thread. Throws std::bad_alloc only.
std::shared_ptr<const LUT3D> loadCachedOutputLut(const std::string& path);

// The same with another reader than loadCubeLut, which returns false for a file that is no table or can't be read and
// says in `error` which.
using LutReader = std::function<bool(const char* path, LUT3D& out, CubeError& error)>;
std::shared_ptr<const LUT3D> loadCachedOutputLut(const std::string& path, const LutReader& read);

// Forgets every table and starts the use counter at 0 again.
void clearOutputLutCache();

} // namespace velloid
