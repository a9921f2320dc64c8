// `tarnwell parity`: how far our plug-in's GPU is from its CPU. Two lists: frames that both compute alike, where only
// float against double is left, and frames that each reach one deliberate difference, with the reason. Differences in
// code values of the encoding in which the frames travel; linear light is read as LogC4 code.
#include "color/curves/arri.h"
#include "program/opencl_frames.h"
#include "program/parity_cases.h"
#include "program/parity_timing.h"
#include "program/plugin_session.h"
#include "program/presets.h"
#include "program/program.h"
#include "program/run_stats.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

struct ParityOptions {
    std::string plugin = OWN_PLUGIN, format = "text";
    int width = 320, height = 180;
    double fail = 0.0;
    bool hasFail = false;
    TimingOptions timing;
};

struct ParityRow {
    std::string what, space, reason;
    double largest = 0.0, percentile = 0.0, mean = 0.0; // 99.9 %
};

struct ParityReport {
    std::string device;
    int width, height;
    std::vector<ParityRow> alike, deliberate;
    std::optional<Timing> timing;
};

// ---- measuring -----------------------------------------------------------------------------------------------------

// Equal values differ by 0, also two that are no numbers; a number and none infinitely.
double distanceOf(float a, float b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0.0;
    const double distance = std::abs(static_cast<double>(a) - static_cast<double>(b));
    return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

double codeDistanceOf(float a, float b, bool linear) {
    if (!linear || a == b) return distanceOf(a, b);
    return distanceOf(static_cast<float>(velloid::logc4::encode(a)), static_cast<float>(velloid::logc4::encode(b)));
}

ParityRow rowOf(const ParityCase& parityCase, std::vector<double>& apart) {
    std::sort(apart.begin(), apart.end());
    double sum = 0.0;
    for (const double distance : apart)
        sum += distance;
    const auto at = static_cast<std::size_t>(0.999 * static_cast<double>(apart.size() - 1));
    return {parityCase.what, parityCase.space(), parityCase.reason,
            apart.back(),    apart[at],          sum / static_cast<double>(apart.size())};
}

class Parity {
public:
    Parity(const ParityOptions& options, PluginSession& session, OpenClFrames& device)
        : options_(options), session_(session), device_(device) {}

    std::vector<ParityRow> rowsOf(const std::vector<ParityCase>& cases) {
        std::vector<ParityRow> rows;
        for (const ParityCase& parityCase : cases) {
            std::vector<double> apart;
            for (const ParityFrame& frame : parityCase.frames)
                compare(frame, apart);
            rows.push_back(rowOf(parityCase, apart));
        }
        return rows;
    }

private:
    // Adds how far each sample is off.
    void compare(const ParityFrame& frame, std::vector<double>& apart) {
        Settings settings = allOff();
        settings.insert(settings.end(), frame.settings.begin(), frame.settings.end());
        InstanceOptions instanceOptions;
        instanceOptions.preMultiplication = alphaOf(frame);
        instanceOptions.projectSize = {static_cast<double>(options_.width), static_cast<double>(options_.height)};
        const auto instance = session_.instanceWith(instanceOptions, settings);
        instance->create();
        std::vector<float> source = pixelsOf(frame, options_.width, options_.height);
        std::vector<float> cpu(source.size()), gpu(source.size());
        instance->renderFrame(requestFor(frame, source, cpu));
        RunStats stats;
        RenderRequest onDevice = requestFor(frame, source, gpu);
        onDevice.adjustInArgs = [&](PropertySet& args) { stats.ask(args); };
        device_.renderFrame(*instance, onDevice);
        if (stats.heardOfEffects())
            throw CommandError(ExitCode::Failure, "the plug-in rendered on the CPU what it was asked to render on the "
                                                  "device: there is nothing to compare");
        for (std::size_t i = 0; i < cpu.size(); ++i) {
            const bool isAlpha = i % 4 == 3;
            if (isAlpha && cpu[i] == source[i] && gpu[i] == source[i]) continue; // nobody touched it
            apart.push_back(codeDistanceOf(cpu[i], gpu[i], frame.isLinear() && !isAlpha));
        }
    }

    static const char* alphaOf(const ParityFrame& frame) {
        return frame.premultiplied ? kOfxImagePreMultiplied : kOfxImageUnPreMultiplied;
    }

    RenderRequest requestFor(const ParityFrame& frame, std::vector<float>& source, std::vector<float>& output) const {
        RenderRequest request;
        request.time = frame.time;
        request.renderScale = frame.renderScale;
        request.window = {frame.left, 0, frame.left + options_.width, options_.height};
        request.source.data = source.data();
        request.output.data = output.data();
        for (ImageDesc* image : {&request.source, &request.output}) {
            image->bounds = request.window;
            image->preMultiplication = alphaOf(frame);
        }
        return request;
    }

    const ParityOptions& options_;
    PluginSession& session_;
    OpenClFrames& device_;
};

// A .cube file for the plug-in to read, as long as this lives.
class CubeFile {
public:
    CubeFile() : path_(fs::temp_directory_path() / fmt::format("tarnwell-parity-{:08x}.cube", std::random_device()())) {
        std::ofstream file(path_);
        file << parityCube();
        file.close();
        if (!file) throw CommandError(ExitCode::Failure, path_.string() + ": cannot be written");
    }
    ~CubeFile() {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    CubeFile(const CubeFile&) = delete;
    CubeFile& operator=(const CubeFile&) = delete;

    std::string path() const { return path_.string(); }

private:
    fs::path path_;
};

ParityReport reportOf(const ParityOptions& options, PluginSession& session) {
    OpenClFrames device;
    const auto instance = session.instanceWith({}, {});
    const auto menu = [&](const char* key) { return instance->parameters().find(key)->options(); };
    const CubeFile cube;
    const ParityCases cases = parityCases({menu("negStock"), menu("colorProcess"), menu("ioSpace")}, cube.path());
    Parity parity(options, session, device);
    ParityReport report{
        device.deviceName(), options.width, options.height, parity.rowsOf(cases.alike), parity.rowsOf(cases.deliberate),
        std::nullopt};
    if (options.timing.frames > 0) report.timing = timeFrames(session, device, options.timing);
    return report;
}

// ---- telling -------------------------------------------------------------------------------------------------------

constexpr char ALIKE[] = "The same arithmetic, in float and in double";
constexpr char DELIBERATE[] = "Different on purpose";
constexpr char UNIT[] = "code values of the frame's encoding; linear light as LogC4 code";

std::string timingText(const Timing& t) {
    return fmt::format("{} x {}, whole chain, median of {} after one to warm up\n"
                       "  GPU {}\n    frame {:.1f} ms, upload {:.1f} ms, download {:.1f} ms\n"
                       "  CPU {}\n    frame {:.1f} ms\n",
                       t.width, t.height, t.frames, t.device, t.gpuFrame, t.upload, t.download, t.processor,
                       t.cpuFrame);
}

// A reason stands once below the rows that share it.
std::string textTable(const char* title, const std::vector<ParityRow>& rows) {
    std::string text = fmt::format("\n{:<48} {:<26} {:>9} {:>9} {:>9}\n", title, "encoding", "max", "99.9 %", "mean");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const ParityRow& row = rows[i];
        text += fmt::format("  {:<46} {:<26} {:>9.2e} {:>9.2e} {:>9.2e}\n", row.what, row.space, row.largest,
                            row.percentile, row.mean);
        const bool last = i + 1 == rows.size() || rows[i + 1].reason != row.reason;
        if (last && !row.reason.empty()) text += fmt::format("      {}\n", row.reason);
    }
    return text;
}

std::string asText(const ParityReport& report) {
    std::string text = fmt::format("CPU against {}, {} x {}, {}\n", report.device, report.width, report.height, UNIT);
    text += textTable(ALIKE, report.alike) + textTable(DELIBERATE, report.deliberate);
    if (report.timing) text += "\n" + timingText(*report.timing);
    return text;
}

std::string markdownTable(const char* title, const std::vector<ParityRow>& rows) {
    std::string text =
        fmt::format("| {} | encoding | max | 99.9 % | mean | reason |\n|---|---|---|---|---|---|\n", title);
    for (const ParityRow& row : rows)
        text += fmt::format("| {} | {} | {:.2e} | {:.2e} | {:.2e} | {} |\n", row.what, row.space, row.largest,
                            row.percentile, row.mean, row.reason);
    return text;
}

std::string asMarkdown(const ParityReport& report) {
    std::string text =
        fmt::format("CPU against {}, {} x {}, {}.\n\n", report.device, report.width, report.height, UNIT);
    text += markdownTable(ALIKE, report.alike) + "\n" + markdownTable(DELIBERATE, report.deliberate);
    if (report.timing) text += "\n```\n" + timingText(*report.timing) + "```\n";
    return text;
}

Json rowsAsJson(const std::vector<ParityRow>& rows) {
    Json list = Json::array();
    for (const ParityRow& row : rows)
        list.push_back(Json{{"what", row.what},
                            {"encoding", row.space},
                            {"max", row.largest},
                            {"p99.9", row.percentile},
                            {"mean", row.mean},
                            {"reason", row.reason}});
    return list;
}

std::string asJson(const ParityReport& report) {
    Json json{{"device", report.device},           {"width", report.width},
              {"height", report.height},           {"unit", UNIT},
              {"alike", rowsAsJson(report.alike)}, {"deliberate", rowsAsJson(report.deliberate)}};
    if (const auto& t = report.timing)
        json["timing"] = Json{{"device", t->device},   {"processor", t->processor}, {"width", t->width},
                              {"height", t->height},   {"frames", t->frames},       {"gpuFrameMs", t->gpuFrame},
                              {"uploadMs", t->upload}, {"downloadMs", t->download}, {"cpuFrameMs", t->cpuFrame}};
    return json.dump(2) + "\n";
}

void runParity(const ParityOptions& options, Program& program) {
    HostOptions host;
    host.openCl = true;
    PluginSession session(options.plugin, host);
    if (!session.isOurs()) throw usageError("parity knows the parameters of " + std::string(OWN_PLUGIN) + " only");
    if (!OpenClFrames::isSupportedBy(session.effect()))
        throw CommandError(ExitCode::Failure, "no OpenCL runtime on this machine to compare with");
    const ParityReport report = reportOf(options, session);
    const auto format = options.format == "json" ? asJson : options.format == "markdown" ? asMarkdown : asText;
    program.print(format(report));
    const auto tooFar = [&](const ParityRow& row) { return !(row.largest <= options.fail); };
    if (options.hasFail && std::any_of(report.alike.begin(), report.alike.end(), tooFar))
        program.exitCode = ExitCode::Failure;
}

} // namespace

void addParityCommand(CLI::App& app, Program& program) {
    auto options = std::make_shared<ParityOptions>();
    CLI::App* command = app.add_subcommand("parity", "tell how far the plug-in's GPU is from its CPU");
    command->add_option("--plugin", options->plugin, "identifier, or path of the bundle")->capture_default_str();
    command->add_option("--format", options->format, "text, json or markdown")
        ->check(CLI::IsMember({"text", "json", "markdown"}))
        ->capture_default_str();
    command->add_option("--width", options->width, "pixels")->check(CLI::Range(16, 8192))->capture_default_str();
    command->add_option("--height", options->height, "pixels; above 640 bloom would differ on purpose")
        ->check(CLI::Range(16, PARITY_LINES))
        ->capture_default_str();
    command
        ->add_option("--fail", options->fail,
                     "largest difference that passes where both compute alike; status 1 above it. Deliberate "
                     "differences never fail")
        ->check(CLI::NonNegativeNumber)
        ->each([options](const std::string&) { options->hasFail = true; });
    command->add_option("--time", options->timing.frames, "also time this many frames of the whole chain on both")
        ->check(CLI::Range(1, 1000));
    command->add_option("--time-width", options->timing.width, "pixels of a timed frame")
        ->check(CLI::Range(16, 8192))
        ->capture_default_str();
    command->add_option("--time-height", options->timing.height, "pixels of a timed frame")
        ->check(CLI::Range(16, 8192))
        ->capture_default_str();
    command->callback([options, &program] { runParity(*options, program); });
}

} // namespace tarnwell
