// `tarnwell parity`: how far our plug-in's GPU is from its CPU, effect by effect and the whole chain on every stock, on
// a picture made for it: grey wedges, saturated bars, neon and lamps far above diffuse white. Differences in code
// values of LogC4, in which the frames travel.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include <fmt/format.h>

#include "host/commands/plugin_session.h"
#include "host/commands/program.h"
#include "host/opencl_frames.h"
#include "host/presets.h"

namespace tarnwell {

namespace {

struct ParityOptions {
    std::string plugin = OWN_PLUGIN, format = "text";
    int width = 320, height = 180;
    double fail = 0.0;
    bool hasFail = false;
};

struct ParityRow {
    std::string what;
    double largest = 0.0, mean = 0.0, percentile = 0.0; // 99.9 %
};

constexpr const char* AMOUNTS[] = {"flicker",        "detail",    "bloom",      "halationIntensity",
                                   "grainIntensity", "gateWeave", "blackWhite", "colorIntensity"};

std::vector<float> testPicture(int width, int height) {
    std::vector<float> rgba;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const float across = static_cast<float>(x) / static_cast<float>(width);
            const float up = static_cast<float>(y) / static_cast<float>(height);
            const bool lamp = std::hypot(across - 0.3f, up - 0.7f) < 0.02f;
            const bool neon = up > 0.1f && up < 0.15f && across > 0.5f && across < 0.9f;
            const int bar = static_cast<int>(across * 8.0f);
            const float wedge = 0.1f + 0.4f * across + 0.01f * static_cast<float>((x * 7 + y * 5) % 5);
            for (int c = 0; c < 3; ++c) {
                const float bars = (bar >> c & 1) != 0 ? 0.45f : 0.15f;
                rgba.push_back(lamp        ? 0.82f - 0.03f * static_cast<float>(c)
                               : neon      ? (c == 1 ? 0.3f : 0.65f)
                               : up < 0.4f ? bars
                                           : wedge);
            }
            rgba.push_back(1.0f);
        }
    }
    return rgba;
}

class Parity {
public:
    Parity(const ParityOptions& options, PluginSession& session)
        : options_(options), session_(session), source_(testPicture(options.width, options.height)) {}

    std::vector<ParityRow> rows() {
        std::vector<ParityRow> all;
        for (const char* key : AMOUNTS)
            all.push_back(compared(key, {{key, "0.7"}}));
        Settings chain;
        for (const char* key : AMOUNTS)
            if (std::string(key) != "gateWeave") chain.emplace_back(key, "0.5");
        for (const std::string& stock : stocks()) {
            Settings settings = chain;
            settings.emplace_back("negStock", stock);
            all.push_back(compared("chain, " + stock, settings));
        }
        chain.emplace_back("gateWeave", "0.5");
        all.push_back(compared("chain with gate weave", chain));
        return all;
    }

    const std::string& deviceName() const { return device_.deviceName(); }

private:
    std::vector<std::string> stocks() {
        return session_.instanceWith({}, {})->parameters().find("negStock")->options();
    }

    // Every other effect off.
    ParityRow compared(const std::string& what, const Settings& wanted) {
        Settings settings;
        for (const char* key : AMOUNTS)
            settings.emplace_back(key, "0");
        settings.insert(settings.end(), wanted.begin(), wanted.end());
        InstanceOptions instanceOptions;
        instanceOptions.projectSize = {static_cast<double>(options_.width), static_cast<double>(options_.height)};
        const auto instance = session_.instanceWith(instanceOptions, settings);
        instance->create();
        std::vector<float> cpu(source_.size()), gpu(source_.size());
        instance->renderFrame(requestFor(cpu));
        device_.renderFrame(*instance, requestFor(gpu));
        return rowOf(what, cpu, gpu);
    }

    RenderRequest requestFor(std::vector<float>& output) {
        RenderRequest request;
        request.time = 24.0;
        request.window = {0, 0, options_.width, options_.height};
        request.source.data = source_.data();
        request.source.bounds = request.window;
        request.output.data = output.data();
        request.output.bounds = request.window;
        for (ImageDesc* image : {&request.source, &request.output})
            image->preMultiplication = kOfxImageUnPreMultiplied;
        return request;
    }

    static ParityRow rowOf(const std::string& what, const std::vector<float>& cpu, const std::vector<float>& gpu) {
        std::vector<double> apart;
        double sum = 0.0;
        for (std::size_t i = 0; i < cpu.size(); ++i) {
            if (i % 4 == 3) continue; // alpha
            apart.push_back(std::abs(static_cast<double>(cpu[i]) - static_cast<double>(gpu[i])));
            sum += apart.back();
        }
        std::sort(apart.begin(), apart.end());
        const auto at = static_cast<std::size_t>(0.999 * static_cast<double>(apart.size() - 1));
        return {what, apart.back(), sum / static_cast<double>(apart.size()), apart[at]};
    }

    const ParityOptions& options_;
    PluginSession& session_;
    OpenClFrames device_;
    std::vector<float> source_;
};

std::string asText(const std::vector<ParityRow>& rows, const std::string& device) {
    std::string text =
        fmt::format("CPU against {}\n{:<36} {:>10} {:>10} {:>10}\n", device, "", "max", "99.9 %", "mean");
    for (const ParityRow& row : rows)
        text += fmt::format("{:<36} {:>10.2e} {:>10.2e} {:>10.2e}\n", row.what, row.largest, row.percentile, row.mean);
    return text;
}

std::string asMarkdown(const std::vector<ParityRow>& rows, const std::string& device) {
    std::string text = fmt::format("| CPU against {} | max | 99.9 % | mean |\n|---|---|---|---|\n", device);
    for (const ParityRow& row : rows)
        text += fmt::format("| {} | {:.2e} | {:.2e} | {:.2e} |\n", row.what, row.largest, row.percentile, row.mean);
    return text;
}

std::string asJson(const std::vector<ParityRow>& rows, const std::string& device) {
    Json list = Json::array();
    for (const ParityRow& row : rows)
        list.push_back(Json{{"what", row.what}, {"max", row.largest}, {"p99.9", row.percentile}, {"mean", row.mean}});
    return Json{{"device", device}, {"rows", list}}.dump(2) + "\n";
}

void runParity(const ParityOptions& options, Program& program) {
    HostOptions host;
    host.openCl = true;
    PluginSession session(options.plugin, host);
    if (!session.isOurs()) throw usageError("parity knows the parameters of " + std::string(OWN_PLUGIN) + " only");
    if (!OpenClFrames::isSupportedBy(session.effect()))
        throw CommandError(ExitCode::Failure, "no OpenCL runtime on this machine to compare with");
    Parity parity(options, session);
    const std::vector<ParityRow> rows = parity.rows();
    const auto format = options.format == "json" ? asJson : options.format == "markdown" ? asMarkdown : asText;
    program.print(format(rows, parity.deviceName()));
    const auto tooFar = [&](const ParityRow& row) { return !(row.largest <= options.fail); };
    if (options.hasFail && std::any_of(rows.begin(), rows.end(), tooFar)) program.exitCode = ExitCode::Failure;
}

} // namespace

void addParityCommand(CLI::App& app, Program& program) {
    auto options = std::make_shared<ParityOptions>();
    CLI::App* command = app.add_subcommand("parity", "tell how far the plug-in's GPU is from its CPU, per effect");
    command->add_option("--plugin", options->plugin, "identifier, or path of the bundle")->capture_default_str();
    command->add_option("--format", options->format, "text, json or markdown")
        ->check(CLI::IsMember({"text", "json", "markdown"}))
        ->capture_default_str();
    command->add_option("--width", options->width, "pixels")->check(CLI::Range(16, 8192))->capture_default_str();
    command->add_option("--height", options->height, "pixels")->check(CLI::Range(16, 8192))->capture_default_str();
    command->add_option("--fail", options->fail, "largest difference that passes; status 1 above it")
        ->check(CLI::NonNegativeNumber)
        ->each([options](const std::string&) { options->hasFail = true; });
    command->callback([options, &program] { runParity(*options, program); });
}

} // namespace tarnwell
