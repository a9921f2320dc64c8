// From the outside in: path, layout, file format, loader, entry points, load, describe, describe-in-context. The first
// thing that is wrong is the sentence; what was learned before it stays in the report.
#include "host/inspect.h"

#include "host/bundle.h"
#include "host/effect.h"
#include "host/elf_file.h"
#include "host/plugin_binary.h"

#include <algorithm>
#include <dlfcn.h>
#include <sstream>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

std::string joined(const std::vector<std::string>& texts, const std::string& none = "none") {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all.empty() ? none : all;
}

// Ends the walk: what() is the report's sentence.
struct Stop : HostError {
    Stop(InspectOutcome stopOutcome, const std::string& sentence) : HostError(sentence), outcome(stopOutcome) {}
    InspectOutcome outcome;
};

// ---- the files ----------------------------------------------------------------------------------------------------

void readLayout(InspectReport& report) {
    std::error_code error;
    const fs::path contents = report.path / "Contents";
    report.hasInfoPlist = fs::exists(contents / "Info.plist", error);
    report.architecturesWanted = architectureFolders();
    for (fs::directory_iterator entry(contents, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (entry->is_directory(error) && name != "Resources") report.architecturesFound.push_back(name);
    }
    std::sort(report.architecturesFound.begin(), report.architecturesFound.end());
}

void findLibrary(InspectReport& report) {
    std::error_code error;
    if (!fs::exists(report.path, error))
        throw Stop(InspectOutcome::Missing, report.path.string() + ": there is no such file or folder");
    if (fs::is_directory(report.path, error)) readLayout(report);
    report.library = libraryOfBundle(report.path);
    if (!report.library.empty()) return;
    const bool hasFolder =
        std::any_of(report.architecturesFound.begin(), report.architecturesFound.end(), [&](const std::string& found) {
            return std::find(report.architecturesWanted.begin(), report.architecturesWanted.end(), found) !=
                   report.architecturesWanted.end();
        });
    throw Stop(InspectOutcome::WrongArchitecture,
               report.path.string() + ": the bundle has " +
                   (hasFolder ? "no .ofx file named like itself in " : "nothing for this machine in Contents/") +
                   joined(report.architecturesWanted) +
                   " (architecture folders found: " + joined(report.architecturesFound) + ")");
}

void readLibraryFile(InspectReport& report) {
#if defined(__linux__)
    const auto file = readElf(report.library);
    if (!file || !file->isShared)
        throw Stop(InspectOutcome::NotALibrary, report.library.string() + ": the file is not a shared library");
    report.machine = file->machine;
    report.neededLibraries = file->neededLibraries;
    report.neededGlibc = file->neededGlibc;
    report.neededGlibcxx = file->neededGlibcxx;
    for (const std::string& symbol : file->definedSymbols)
        if (symbol.rfind("Ofx", 0) == 0) report.entryPoints.push_back(symbol);
    std::sort(report.entryPoints.begin(), report.entryPoints.end());
    if (!file->isForThisMachine)
        throw Stop(InspectOutcome::WrongArchitecture,
                   report.library.string() + ": the library is for another machine (" + file->machine + ")");
#else
    (void)report;
#endif
}

// Loaded lazily, so that a missing function shows here by name and not as a crash in the middle of a frame.
void findMissingSymbols(InspectReport& report, void* library) {
    const auto file = readElf(report.library);
    if (!file) return;
    for (const std::string& symbol : file->undefinedSymbols)
        if (dlsym(library, symbol.c_str()) == nullptr && dlsym(RTLD_DEFAULT, symbol.c_str()) == nullptr)
            report.missingSymbols.push_back(symbol);
}

std::shared_ptr<PluginBinary> openLibrary(InspectReport& report) {
    void* library = dlopen(report.library.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        report.loaderError = reason != nullptr ? reason : "no reason given";
        throw Stop(InspectOutcome::LoaderRefused, "the loader refuses the library: " + report.loaderError);
    }
    findMissingSymbols(report, library);
    const bool complete =
        dlsym(library, "OfxGetNumberOfPlugins") != nullptr && dlsym(library, "OfxGetPlugin") != nullptr;
    const auto binary = complete ? PluginBinary::open(report.library) : nullptr;
    dlclose(library);
    if (!complete)
        throw Stop(InspectOutcome::NoEntryPoints,
                   report.library.string() + ": the library exports no OfxGetNumberOfPlugins and OfxGetPlugin" +
                       (report.entryPoints.empty() ? "" : " (only " + joined(report.entryPoints) + ")"));
    return binary;
}

// ---- one plug-in --------------------------------------------------------------------------------------------------

void noteContext(InspectedPlugin& report, EffectObject& context) {
    for (const auto& clip : context.clips)
        report.clips.push_back({clip->name, clip->isOptional(), clip->components()});
    for (const auto& definition : context.parameters.all()) {
        const Parameter parameter(*definition);
        const PropertySet& set = parameter.properties();
        report.parameters.push_back({parameter.key(), parameter.label(), parameter.kind().type,
                                     set.textAt(kOfxParamPropParent), parameter.written(), parameter.options()});
    }
}

void noteDescriptor(InspectedPlugin& report, const Effect& effect) {
    report.label = effect.label();
    report.grouping = effect.grouping();
    report.threadSafety = effect.threadSafety();
    report.contexts = effect.contexts();
    report.depths = effect.depths();
    for (const char* context : {kOfxImageEffectContextFilter, kOfxImageEffectContextGeneral})
        if (report.context.empty() &&
            std::find(report.contexts.begin(), report.contexts.end(), context) != report.contexts.end())
            report.context = context;
}

// Turns an error of the walk through one plug-in into its status line and outcome.
InspectOutcome failed(InspectedPlugin& report, const HostError& error) {
    report.problem = error.what();
    const auto* action = dynamic_cast<const ActionError*>(&error);
    if (action == nullptr) {
        report.loadStatus = report.describeStatus = statusName(kOfxStatOK);
        return InspectOutcome::Unusable;
    }
    if (action->action() == kOfxActionLoad) {
        report.loadStatus = statusName(action->status());
        return InspectOutcome::LoadFailed;
    }
    report.loadStatus = statusName(kOfxStatOK);
    const bool inContext = action->action() == kOfxImageEffectActionDescribeInContext;
    report.describeStatus = statusName(inContext ? kOfxStatOK : action->status());
    if (inContext) report.contextStatus = statusName(action->status());
    return InspectOutcome::DescribeFailed;
}

InspectOutcome describeAll(Effect& effect, InspectedPlugin& report) {
    try {
        effect.load();
        report.loadStatus = report.describeStatus = statusName(kOfxStatOK);
        noteDescriptor(report, effect);
        if (report.context.empty())
            throw HostError(effect.identifier() + " lists no context that this host has (" + joined(report.contexts) +
                            ")");
        noteContext(report, effect.context(report.context));
        report.contextStatus = statusName(kOfxStatOK);
        effect.unload();
        return InspectOutcome::Fine;
    } catch (const HostError& error) {
        return failed(report, error);
    }
}

void inspectPlugin(Host& host, InspectReport& report, const std::shared_ptr<PluginBinary>& binary, OfxPlugin* plugin) {
    InspectedPlugin& inspected = report.plugins.emplace_back();
    inspected.identifier = plugin->pluginIdentifier;
    inspected.versionMajor = plugin->pluginVersionMajor;
    inspected.versionMinor = plugin->pluginVersionMinor;
    host.takeMissedSuites();
    Effect effect(host, binary, plugin);
    const InspectOutcome outcome = describeAll(effect, inspected);
    inspected.suitesMissed = host.takeMissedSuites();
    if (outcome == InspectOutcome::Fine || report.outcome != InspectOutcome::Fine) return;
    report.outcome = outcome;
    report.sentence = inspected.problem;
    if (!inspected.suitesMissed.empty())
        report.sentence += "; it asked for suites that this host lacks: " + joined(inspected.suitesMissed);
}

void inspectPlugins(Host& host, InspectReport& report) {
    const auto binary = openLibrary(report);
    std::vector<OfxPlugin*> plugins;
    try {
        plugins = binary->plugins(host.record());
    } catch (const HostError& error) {
        throw Stop(InspectOutcome::LoadFailed, report.library.string() + ": " + error.what());
    }
    if (plugins.empty())
        throw Stop(InspectOutcome::LoadFailed, report.library.string() + ": there is no image effect in the library");
    for (OfxPlugin* plugin : plugins)
        inspectPlugin(host, report, binary, plugin);
    if (report.outcome == InspectOutcome::Fine)
        report.sentence = report.path.string() + ": loads and describes itself (" + std::to_string(plugins.size()) +
                          (plugins.size() == 1 ? " plug-in)" : " plug-ins)");
}

} // namespace

InspectReport inspectBundle(Host& host, const fs::path& path) {
    InspectReport report;
    // "X.ofx.bundle/" has an empty last part.
    report.path = path.filename().empty() ? path.parent_path() : path;
    try {
        findLibrary(report);
        readLibraryFile(report);
        inspectPlugins(host, report);
    } catch (const Stop& stop) {
        report.outcome = stop.outcome;
        report.sentence = stop.what();
    } catch (const std::exception& error) {
        report.outcome = InspectOutcome::LoadFailed;
        report.sentence = path.string() + ": " + error.what();
    }
    return report;
}

// ---- text ---------------------------------------------------------------------------------------------------------

namespace {

void writePlugin(std::ostream& out, const InspectedPlugin& plugin) {
    out << "plug-in " << plugin.identifier << " " << plugin.versionMajor << "." << plugin.versionMinor << "\n"
        << "  label             " << plugin.label << "\n"
        << "  grouping          " << plugin.grouping << "\n"
        << "  load              " << plugin.loadStatus << "\n"
        << "  describe          " << plugin.describeStatus << "\n"
        << "  in context        " << plugin.contextStatus << (plugin.context.empty() ? "" : " (" + plugin.context + ")")
        << "\n"
        << "  contexts          " << joined(plugin.contexts) << "\n"
        << "  pixel depths      " << joined(plugin.depths) << "\n"
        << "  thread safety     " << plugin.threadSafety << "\n"
        << "  suites not here   " << joined(plugin.suitesMissed) << "\n";
    for (const InspectedClip& clip : plugin.clips)
        out << "  clip " << clip.name << (clip.isOptional ? " (optional): " : ": ") << joined(clip.components) << "\n";
    for (const InspectedParameter& parameter : plugin.parameters)
        out << "  parameter " << parameter.key << " (" << parameter.type << "): " << parameter.label
            << (parameter.standard.empty() ? "" : " = " + parameter.standard) << "\n";
    if (!plugin.problem.empty()) out << "  problem           " << plugin.problem << "\n";
}

void writeLibrary(std::ostream& out, const InspectReport& report) {
    if (!report.architecturesFound.empty())
        out << "architectures       " << joined(report.architecturesFound)
            << " (this machine: " << joined(report.architecturesWanted) << ")\n";
    if (report.library.empty()) return;
    out << "library             " << report.library.string() << "\n"
        << "machine             " << report.machine << "\n"
        << "entry points        " << joined(report.entryPoints) << "\n"
        << "needs libraries     " << joined(report.neededLibraries) << "\n"
        << "needs glibc         " << (report.neededGlibc.empty() ? "any" : report.neededGlibc) << "\n"
        << "needs libstdc++     " << (report.neededGlibcxx.empty() ? "none" : "GLIBCXX_" + report.neededGlibcxx) << "\n"
        << "missing symbols     " << joined(report.missingSymbols) << "\n";
}

} // namespace

std::string reportText(const InspectReport& report) {
    std::ostringstream out;
    out << report.sentence << "\n";
    writeLibrary(out, report);
    for (const InspectedPlugin& plugin : report.plugins)
        writePlugin(out, plugin);
    return out.str();
}

} // namespace tarnwell
