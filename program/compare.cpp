// `tarnwell compare`: how far two pictures are apart, channel values as stored (8-bit white is 1).
#include "pictures/image_file.h"
#include "program/presets.h"
#include "program/program.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <memory>

namespace tarnwell {

namespace {

struct CompareOptions {
    std::string first, second;
    double fail = 0.0;
    bool json = false;
};

struct Difference {
    double largest = 0.0, mean = 0.0;
    int x = 0, y = 0, channel = 0; // of the largest, in file coordinates
};

// Equal values differ by 0, also two infinities of a sign or two that are no numbers; otherwise those differ
// infinitely.
double distanceOf(float a, float b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0.0;
    const double distance = std::abs(static_cast<double>(a) - static_cast<double>(b));
    return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

void checkComparable(const Picture& a, const Picture& b) {
    const OIIO::ImageSpec &left = a.header, &right = b.header;
    if (left.width == right.width && left.height == right.height && left.nchannels == right.nchannels) return;
    throw CommandError(ExitCode::Failure,
                       fmt::format("{}x{} with {} channels against {}x{} with {}", left.width, left.height,
                                   left.nchannels, right.width, right.height, right.nchannels));
}

Difference differenceOf(const Picture& a, const Picture& b) {
    Difference difference;
    double sum = 0.0;
    const std::size_t channels = static_cast<std::size_t>(a.header.nchannels),
                      width = static_cast<std::size_t>(a.header.width);
    for (std::size_t i = 0; i < a.samples.size(); ++i) {
        const double distance = distanceOf(a.samples[i], b.samples[i]);
        sum += distance;
        if (distance <= difference.largest) continue;
        difference = {distance, 0.0, a.header.x + static_cast<int>(i / channels % width),
                      a.header.y + static_cast<int>(i / channels / width), static_cast<int>(i % channels)};
    }
    difference.mean = a.samples.empty() ? 0.0 : sum / static_cast<double>(a.samples.size());
    return difference;
}

void compare(const CompareOptions& options, Program& program) {
    const Picture a = readPicture(options.first), b = readPicture(options.second);
    checkComparable(a, b);
    const Difference difference = differenceOf(a, b);
    const std::string channel = a.header.channel_name(difference.channel);
    if (options.json)
        program.print(Json{{"max", difference.largest},
                           {"mean", difference.mean},
                           {"x", difference.x},
                           {"y", difference.y},
                           {"channel", channel}}
                          .dump() +
                      "\n");
    else
        program.print(fmt::format("max {:.9g} at {},{} {}\nmean {:.9g}\n", difference.largest, difference.x,
                                  difference.y, channel, difference.mean));
    if (difference.largest > options.fail) program.exitCode = ExitCode::Failure;
}

} // namespace

void addCompareCommand(CLI::App& app, Program& program) {
    auto options = std::make_shared<CompareOptions>();
    CLI::App* command = app.add_subcommand("compare", "tell how far two pictures are apart; status 1 when too far");
    command->add_option("A", options->first, "picture")->required();
    command->add_option("B", options->second, "picture")->required();
    command->add_option("--fail", options->fail, "largest difference that passes")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_flag("--json", options->json, "as JSON");
    command->callback([options, &program] { compare(*options, program); });
}

} // namespace tarnwell
