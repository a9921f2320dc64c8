// The host as a plug-in sees it: the record with the descriptor and fetchSuite.
#pragma once

#include "host/property_set.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarnwell {

struct HostOptions {
    std::string name = "tarnwell.host";
    std::string label = "Tarnwell";
    // Declare OpenCL rendering (buffers) or Metal on the host descriptor.
    bool openCl = false;
    bool metal = false;
    // Suites to hand out instead of our own, by name and version; a null pointer leaves the suite out.
    std::map<std::pair<std::string, int>, const void*> suites;
    // Last word on the host descriptor: add, change or erase.
    std::function<void(PropertySet&)> adjust;
};

class Host {
public:
    explicit Host(const HostOptions& options = {});
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    OfxHost* record() { return &record_; }
    PropertySet& descriptor() { return *descriptor_; }
    const HostOptions& options() const { return options_; }
    // What fetchSuite answers; remembers what was asked in vain.
    const void* suite(const char* name, int version);
    // "OfxDrawSuite 1" and so on: suites asked for but not to be had, since the last call.
    std::vector<std::string> takeMissedSuites();

private:
    HostOptions options_;
    std::unique_ptr<PropertySet> descriptor_;
    OfxHost record_;
    std::mutex missedMutex_; // guards missedSuites_
    std::vector<std::string> missedSuites_;
};

} // namespace tarnwell
