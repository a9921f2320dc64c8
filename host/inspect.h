// What is in a bundle, what the loader says, and what load and describe answered: the first thing to look at when a
// plug-in does not appear.
#pragma once

#include "host/host.h"
#include "ofx/ofx.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwell {

// How far it came. The values stay as they are: `inspect` ends with them.
enum class InspectOutcome {
    Fine = 0,
    Missing = 10,           // no such file or folder
    NotALibrary = 11,       // a file, but not a shared library of this system
    WrongArchitecture = 12, // a bundle without a folder for this machine, or a library for another one
    LoaderRefused = 13,     // the system's loader said no
    NoEntryPoints = 14,     // loaded, but not an OpenFX binary
    LoadFailed = 15,        // the load action was refused, or no plug-in of ours is in it
    DescribeFailed = 16,    // describe or describe-in-context was refused
    Unusable = 17           // described, but without a context or pixel depth that this host has
};

struct InspectedParameter {
    std::string key, label, type, parent;
    std::string standard; // the default as text
    std::vector<std::string> options;
};

struct InspectedClip {
    std::string name;
    bool isOptional = false;
    std::vector<std::string> components;
};

struct InspectedPlugin {
    std::string identifier;
    unsigned int versionMajor = 0, versionMinor = 0;
    std::string label, grouping, threadSafety;
    // Answers by name, "not sent" where it did not come to that.
    std::string loadStatus = "not sent", describeStatus = "not sent", contextStatus = "not sent";
    std::vector<std::string> contexts, depths;
    std::string context; // the one that clips and parameters are of
    std::vector<InspectedClip> clips;
    std::vector<InspectedParameter> parameters;
    std::vector<std::string> suitesMissed; // asked for, but not to be had here
    std::string problem;                   // empty if fine
};

struct InspectReport {
    InspectOutcome outcome = InspectOutcome::Fine;
    std::string sentence; // one sentence for the user
    std::filesystem::path path, library;
    std::vector<std::string> architecturesFound, architecturesWanted;
    bool hasInfoPlist = false;
    std::string machine; // of the library: "x86-64"
    std::string loaderError;
    std::vector<std::string> neededLibraries;
    std::string neededGlibc; // "2.34"; empty if none is named
    std::string neededGlibcxx;
    std::vector<std::string> entryPoints;    // of the three, those exported
    std::vector<std::string> missingSymbols; // undefined and nowhere to be found
    std::vector<InspectedPlugin> plugins;
};

// Looks at a bundle folder or an .ofx file. Never throws for what it finds there.
InspectReport inspectBundle(Host& host, const std::filesystem::path& path);

// The report as text for people, several lines.
std::string reportText(const InspectReport& report);

} // namespace tarnwell
