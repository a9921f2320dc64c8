// `tarnwell render`: stills and sequences through one plug-in.
// The walk: plan the files, load the plug-in, read the settings and try them once, decide the colour on the first file
// and say so in a line, then several frames in flight, each: read, to working light, scale, plug-in, to the file's
// colour, write whole or not at all.
#include "host/status.h"
#include "pictures/color_config.h"
#include "pictures/color_management.h"
#include "program/frame_renderer.h"
#include "program/lut_check.h"
#include "program/plugin_session.h"
#include "program/program.h"
#include "program/render_plan.h"
#include "program/run_stats.h"
#include "program/version.h"

#include <OpenImageIO/hash.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

struct RenderOptions {
    PlanRequest plan;
    std::string plugin = OWN_PLUGIN, preset;
    std::vector<std::string> assignments;
    double scale = 1.0;
    std::string from, to;
    bool raw = false;
    int jobs = 2;
    bool skipExisting = false, skipBadFrames = false, dryRun = false, noClobber = false;
    bool allowMissingLut = false, withoutAttributes = false;
    std::string depth, compression, progress = "text";
    std::string device = "cpu";
    bool runStats = false;
};

// How colours go into the plug-in and out of it again.
struct ColorPlan {
    ColorConversion in, out;
    std::string outputSpace; // "": untouched
    std::string sentence;
};

// Set by the first interrupt: frames in work are finished, none is begun. A second one ends the program at once.
std::atomic<bool> gInterrupted{false};

void onInterrupt(int signal) {
    gInterrupted = true;
    std::signal(signal, SIG_DFL);
}

bool hasIoSpace(const ParameterSet& parameters) {
    const Parameter* space = parameters.find("ioSpace");
    if (!space) return false;
    const auto options = space->options();
    return std::find(options.begin(), options.end(), SPACE_WORKING) != options.end();
}

bool isSet(const Settings& settings, const std::string& key) {
    return std::any_of(settings.begin(), settings.end(), [&](const auto& setting) { return setting.first == key; });
}

class RenderJobs {
public:
    RenderJobs(const RenderOptions& options, Program& program) : options_(options), program_(program) {}

    void run() {
        plan_ = planFrames(options_.plan);
        depth_ = options_.depth.empty() ? Depth::AsInput : parseDepth(options_.depth);
        openSession();
        settings_ = mergedSettings(options_.preset, options_.assignments, session_->effect().identifier());
        tryOut();
        if (options_.dryRun) return printPlan();
        if (options_.runStats) stats_.emplace();
        renderAll();
        if (stats_) program_.print(stats_->asText(inFlight_));
        finish();
    }

private:
    void openSession() {
        HostOptions host;
        host.openCl = options_.device == "opencl";
        session_.emplace(options_.plugin, host);
        if (!host.openCl) return;
        device_.emplace();
        if (!OpenClFrames::isSupportedBy(session_->effect()))
            throw usageError(fmt::format("{} does not render with OpenCL; leave out --device", session_->name()));
        program_.note(fmt::format("device: {} (OpenCL)", device_->deviceName()));
    }

    // Everything that can be wrong with the command line, before the first frame.
    void tryOut() {
        const auto first =
            std::find_if(plan_.begin(), plan_.end(), [](const auto& one) { return fs::exists(one.input); });
        const Picture header = readHeader(first->input);
        const auto instance = session_->instanceWith({}, settings_);
        planColor(header, *first, instance->parameters());
        if (plansOwnSpace_)
            settings_.emplace_back("ioSpace", SPACE_WORKING), instance->setParameter("ioSpace", SPACE_WORKING);
        if (!options_.allowMissingLut) checkLutFiles(instance->parameters());
        values_ = valuesOf(instance->parameters());
        instance->create(); // a plug-in that refuses to be created fails before any file is written
        if (options_.jobs != 1 && session_->effect().threadSafety() == kOfxImageEffectRenderUnsafe) oneAtATime_ = true;
    }

    void planColor(const Picture& header, const PlannedFrame& first, const ParameterSet& parameters) {
        const Depth depth = outputDepth(first.output, header, depth_);
        const bool ownSpace = hasIoSpace(parameters);
        if (options_.raw || (ownSpace && isSet(settings_, "ioSpace"))) {
            if (!options_.from.empty() || !options_.to.empty())
                throw usageError(
                    "--from and --to have no effect on untouched pixel values; leave out --raw or ioSpace");
            color_.sentence =
                fmt::format("colour: pixel values untouched ({})", options_.raw ? "--raw" : "ioSpace is set");
            return;
        }
        const ColorManager colors = ColorManager::fromEnvironment();
        SpaceChoice input = options_.from.empty() ? inputSpace(header, endingOf(first.input), colors)
                                                  : SpaceChoice{colors.resolve(options_.from), "--from"};
        SpaceChoice output = options_.to.empty() ? outputSpace(endingOf(first.output), depth, input)
                                                 : SpaceChoice{colors.resolve(options_.to), "--to"};
        plansOwnSpace_ = ownSpace;
        const std::string working = ownSpace ? SPACE_WORKING : SPACE_LINEAR_REC709;
        color_.in = colors.conversion(input.space, working);
        color_.out = colors.conversion(working, output.space);
        color_.outputSpace = output.space;
        color_.sentence = fmt::format("colour: {} ({}) -> {} -> {} ({})", input.space, input.reason, working,
                                      output.space, output.reason);
        if (!ownSpace) color_.sentence += "; the plug-in names no colour space, it gets linear light";
        if (header.header.find_attribute("ICCProfile")) color_.sentence += "; the file's ICC profile is not applied";
    }

    void printPlan() {
        std::string text =
            fmt::format("plug-in: {}\n{}\nsettings: {}\n", session_->name(), color_.sentence, values_.dump());
        for (const PlannedFrame& planned : plan_)
            text +=
                fmt::format("frame {}: {} -> {}{}\n", planned.frame, planned.input, planned.output, fateOf(planned));
        program_.print(text);
    }

    std::string fateOf(const PlannedFrame& planned) const {
        if (!fs::exists(planned.input)) return " (no such file)";
        if (!fs::exists(planned.output)) return "";
        if (options_.skipExisting) return " (exists, skipped)";
        return options_.noClobber ? " (exists, fails)" : " (exists, replaced)";
    }

    void renderAll() {
        program_.note(color_.sentence);
        std::signal(SIGINT, onInterrupt);
        std::signal(SIGTERM, onInterrupt);
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        const unsigned wanted = options_.jobs == 0 ? cores : static_cast<unsigned>(options_.jobs);
        inFlight_ = oneAtATime_ ? 1 : std::min<std::size_t>(wanted, plan_.size());
        // Frames in flight overlap their file work already: threads of the file libraries would only be in the way.
        if (inFlight_ > 1) OIIO::attribute("threads", 1), OIIO::attribute("exr_threads", -1);
        std::vector<std::thread> others;
        for (std::size_t i = 1; i < inFlight_; ++i)
            others.emplace_back([this] { work(); });
        work();
        for (std::thread& other : others)
            other.join();
    }

    // One worker: takes the next frame until none is left or one failed.
    void work() {
        FrameRenderer renderer(*session_, settings_, options_.scale, device_ ? &*device_ : nullptr,
                               stats_ ? &*stats_ : nullptr);
        while (!stop_ && !gInterrupted) {
            const std::size_t index = next_++;
            if (index >= plan_.size()) return;
            const PlannedFrame& planned = plan_[index];
            try {
                workOn(planned, renderer);
            } catch (const std::exception& error) {
                report(planned, fmt::format("failed: {}", error.what()), true);
            }
        }
    }

    void workOn(const PlannedFrame& planned, FrameRenderer& renderer) {
        if (options_.skipExisting && fs::exists(planned.output)) return report(planned, "exists, skipped", false);
        if (options_.noClobber && fs::exists(planned.output))
            throw CommandError(ExitCode::Failure, fmt::format("{}: exists already", planned.output));
        const auto begin = std::chrono::steady_clock::now();
        renderFrame(planned, renderer);
        if (stats_) stats_->frameDone();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        report(planned, fmt::format("{:.2f} s", took.count()), false);
    }

    template <class Work>
    auto timed(const char* phase, Work work) {
        return stats_ ? stats_->timed(phase, work) : work();
    }

    void renderFrame(const PlannedFrame& planned, FrameRenderer& renderer) {
        Picture picture = timed("read", [&] { return readPicture(planned.input); });
        if (picture.parts > 1)
            noteOnce(fmt::format("{}: the first of {} pictures in the file is rendered and written", planned.input,
                                 picture.parts));
        const Depth depth = outputDepth(planned.output, picture, depth_);
        timed("to the working space", [&] { convert(picture, color_.in); });
        timed("scale", [&] { picture = scaledPicture(picture, options_.scale); });
        const int extra = picture.extraChannels();
        renderer.render(picture, planned.frame,
                        OfxRangeD{static_cast<double>(plan_.front().frame), static_cast<double>(plan_.back().frame)});
        if (picture.extraChannels() < extra)
            noteOnce(fmt::format("{}: the plug-in changes the frame's size, extra channels left out", planned.output));
        timed("to the output space", [&] { convert(picture, color_.out); });
        if (!color_.outputSpace.empty()) noteSpace(picture.header, color_.outputSpace, endingOf(planned.output));
        const auto losses = timed("write", [&] { return writePicture(planned.output, picture, writeOptions(depth)); });
        for (const std::string& loss : losses)
            noteOnce(loss);
    }

    static void convert(Picture& picture, const ColorConversion& conversion) {
        if (conversion.isNothing()) return;
        std::vector<float> rgba = colorsOf(picture);
        conversion.apply(rgba, picture.isCutOut());
        putColors(picture, rgba);
    }

    WriteOptions writeOptions(Depth depth) const {
        WriteOptions write{depth, options_.compression, {}, !options_.noClobber};
        if (options_.withoutAttributes) return write;
        const std::string settings = values_.dump();
        write.attributes = {{"Software", PROGRAM_VERSION_LINE},
                            {"tarnwell:plugin", session_->name()},
                            {"tarnwell:settings", settings},
                            {"tarnwell:settings_sha1", OIIO::SHA1(settings.data(), settings.size()).digest()}};
        return write;
    }

    // A sentence that would be the same for every frame is said for the first one.
    void noteOnce(const std::string& sentence) {
        const std::string kind = sentence.substr(sentence.find(": ") + 1);
        const std::lock_guard lock(reportMutex_);
        if (std::find(noted_.begin(), noted_.end(), kind) != noted_.end()) return;
        noted_.push_back(kind);
        program_.note(sentence);
    }

    void report(const PlannedFrame& planned, const std::string& what, bool failed) {
        const std::lock_guard lock(reportMutex_);
        ++done_;
        if (failed) {
            ++failed_;
            if (!options_.skipBadFrames) stop_ = true;
        }
        const std::string line =
            fmt::format("frame {} ({}/{}): {}: {}", planned.frame, done_, plan_.size(), planned.output, what);
        if (options_.progress == "openjd") {
            program_.print(fmt::format("openjd_progress: {:.1f}\n",
                                       100.0 * static_cast<double>(done_) / static_cast<double>(plan_.size())));
            program_.print(fmt::format("{}: {}\n", failed ? "openjd_fail" : "openjd_status", line));
        }
        if (failed)
            program_.complain(line);
        else if (options_.progress == "text")
            program_.note(line);
    }

    void finish() const {
        if (gInterrupted)
            throw CommandError(ExitCode::Failure,
                               fmt::format("interrupted after {} of {} frames", done_, plan_.size()));
        if (failed_ == 0) return;
        const bool wentOn = options_.skipBadFrames && plan_.size() > 1;
        throw CommandError(wentOn ? ExitCode::SomeFramesFailed : ExitCode::Failure,
                           fmt::format("{} of {} frames failed{}", failed_, plan_.size(),
                                       wentOn || plan_.size() == 1 ? "" : ", stopped (--skip-bad-frames goes on)"));
    }

    const RenderOptions& options_;
    Program& program_;
    std::vector<PlannedFrame> plan_;
    Depth depth_ = Depth::AsInput;
    std::optional<OpenClFrames> device_; // outlives the plug-in that works on its queue
    std::optional<PluginSession> session_;
    Settings settings_;
    Json values_;
    ColorPlan color_;
    bool plansOwnSpace_ = false; // ioSpace is set by us, to the working space
    bool oneAtATime_ = false;
    std::size_t inFlight_ = 1;      // frames
    std::optional<RunStats> stats_; // when wanted
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> stop_{false};
    std::mutex reportMutex_; // guards done_, failed_, noted_ and the order of lines
    std::size_t done_ = 0, failed_ = 0;
    std::vector<std::string> noted_;
};

void addFrameOptions(CLI::App& command, RenderOptions& options) {
    auto* frame = command.add_option("--frame", options.plan.frame,
                                     "frame number of a still (0), or the one frame of a sequence");
    frame->each([&options](const std::string&) { options.plan.hasFrame = true; });
    command.add_option("--frames", options.plan.frames,
                       "frames of a sequence: 7, 1-100, 1-100x2, 1-10,20-30; default: every file");
    command.add_option("--framepadding", options.plan.padding, "digits of frame numbers")->check(CLI::Range(1, 32));
    command
        .add_option("--jobs", options.jobs, "frames in flight; 0: one per core; a plug-in's own threads are its affair")
        ->check(CLI::Range(0, 1024))
        ->capture_default_str();
    command.add_flag("--runstats", options.runStats,
                     "print where the time went, by phase and effect, and how much memory it took");
    command.add_flag("--skip-existing", options.skipExisting, "leave frames alone whose output exists: resume");
    command.add_flag("--skip-bad-frames", options.skipBadFrames,
                     "go on after a bad frame; the exit status still tells");
    command.add_flag("-n,--dry-run", options.dryRun, "print settings and files, render nothing");
    command
        .add_option("--progress", options.progress,
                    "text: a line per frame on stderr; openjd: for render farms, on stdout; none")
        ->check(CLI::IsMember({"text", "openjd", "none"}))
        ->capture_default_str();
}

void addColorOptions(CLI::App& command, RenderOptions& options) {
    command.add_option("--from", options.from, "colour space of the input (see `spaces`); default: by file");
    command.add_option("--to", options.to, "colour space of the output; default: by file");
    command.add_flag("--raw", options.raw, "no colour conversion: pixel values go through as they are");
    command.add_flag("--allow-missing-lut", options.allowMissingLut,
                     "render without an output LUT that cannot be read");
}

void addFileOptions(CLI::App& command, RenderOptions& options) {
    command.add_option("-d,--depth", options.depth,
                       "output depth: " + fmt::format("{}", fmt::join(depthNames(), ", ")) + "; default: the input's");
    command.add_option("--compression", options.compression,
                       "output compression: zip, piz, dwaa:45, jpeg:95, ...; default: the input's");
    command.add_flag("--no-clobber", options.noClobber, "fail for outputs that exist");
    command.add_flag("--sansattrib", options.withoutAttributes, "write no program name and settings into the output");
}

} // namespace

void addRenderCommand(CLI::App& app, Program& program) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = app.add_subcommand("render", "render a still or a sequence");
    command->add_option("IN", options->plan.input, "picture, or numbered pictures: in.####.exr, in.%04d.exr")
        ->required();
    command->add_option("OUT", options->plan.output, "picture, or numbered pictures; its ending names the type")
        ->required();
    command
        ->add_option("--set", options->assignments, "parameter: key=value; choices by label, its beginning, or index")
        ->expected(1)
        ->take_all();
    command->add_option("--preset", options->preset, "JSON file with parameters; --set wins over it");
    command->add_option("--plugin", options->plugin, "identifier, or path of a bundle")->capture_default_str();
    command->add_option("--scale", options->scale, "proxy: render at this share of the size")
        ->check(CLI::Range(0.01, 8.0))
        ->capture_default_str();
    command->add_option("--device", options->device, "where the plug-in renders: cpu or opencl")
        ->check(CLI::IsMember({"cpu", "opencl"}))
        ->capture_default_str();
    addColorOptions(*command, *options);
    addFrameOptions(*command, *options);
    addFileOptions(*command, *options);
    command->callback([options, &program] { RenderJobs(*options, program).run(); });
}

} // namespace tarnwell
