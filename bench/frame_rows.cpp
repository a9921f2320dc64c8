// Whole frames through the OpenFX boundary: against the literal chain, against themselves with more threads and at
// other sizes, their memory and their accuracy.
#include "bench/allocations.h"
#include "bench/cases.h"
#include "bench/cube_file.h"
#include "bench/plugin_frame.h"
#include "bench/stages.h"
#include "process/parallel_pool.h"
#include "process/scratch.h"
#include "tests/reference/chain_reference.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace tarnwell::bench {

namespace {

using reference::ChainSettings;

constexpr int SLOG3 = 8; // in the menu of encodings

// The user's parameters on a chain.
struct Chain {
    const char* name;
    const char* what;
    ChainSettings (*settings)();
    std::string (*lutPath)();
};

ChainSettings defaults() {
    ChainSettings s;
    s.ioSpace = SLOG3;
    return s;
}

ChainSettings everythingOn() {
    ChainSettings s = defaults();
    s.detail = 0.7;
    s.weave = 0.6;
    s.flicker = 0.5;
    s.bloom = 0.4;
    s.blackWhite = 0.3;
    s.time = 17.0;
    s.outputLut = &cubeFile().lut();
    return s;
}

const Chain DEFAULT{"default", "default chain", defaults, [] { return std::string(); }};
const Chain ALL_ON{"all", "everything on", everythingOn, [] { return cubeFile().path(); }};

// A frame of the street, its pixels kept for as long as it is rendered.
struct StreetFrame {
    StreetFrame(const Chain& chain, const Size& frameSize)
        : size(frameSize), pixels(streetPixels(size)), frame(chain.settings(), size, pixels, chain.lutPath()) {}

    Side side(int repeats = 1) {
        return {[this, repeats] {
                    for (int i = 0; i < repeats; ++i)
                        frame.render();
                },
                {}};
    }
    double pixelCount() const { return static_cast<double>(size.pixels()); }

    Size size;
    std::vector<float> pixels;
    PluginFrame frame;
};

// What a row says before anything is measured.
struct FrameHeading {
    std::string id, what, against;
    Size size;
    std::string unit, target;
    int threads;
};

Case frameCase(const FrameHeading& heading) {
    Case made;
    made.heading.id = heading.id;
    made.heading.what = heading.what;
    made.heading.against = heading.against;
    made.heading.size = heading.size.name;
    made.heading.unit = heading.unit;
    made.heading.threads = heading.threads;
    made.target = heading.target;
    return made;
}

// ---- T1, T2: against the literal chain ----------------------------------------------------------------------------

Contest againstLiteral(StreetFrame& street, const Chain& chain) {
    const auto literal = std::make_shared<std::vector<float>>();
    const ChainSettings settings = chain.settings();
    return {street.side(),
            {[=, &street] { reference::renderChain(*literal, street.size.width, street.size.height, settings); },
             [=, &street] { *literal = street.pixels; }},
            [=, &street] {
                Differences found;
                addDifferences(found, street.frame.result().data(), literal->data(), literal->size());
                return found;
            },
            {}};
}

Case speedCase(const std::string& target, const Chain& chain, const Size& size) {
    Case made = frameCase({.id = target + "." + chain.name + "." + size.name,
                           .what = chain.what,
                           .against = LITERAL,
                           .size = size,
                           .unit = "ns/pixel",
                           .target = target,
                           .threads = 1});
    made.measure = [&chain, size](Row& row, const Effort& effort) {
        StreetFrame street(chain, size);
        const Contest contest = againstLiteral(street, chain);
        const double n = street.pixelCount();
        fillIn(row, summarise(timeRounds(contest.ours, contest.other, effort), n, n));
        row.differences = contest.differences();
    };
    return made;
}

// ---- T13: two threads against one -----------------------------------------------------------------------------------

constexpr int TRIES_PER_ROUND = 4; // rounds tried for one that is kept, at most
constexpr int FEWEST_KEPT = 3;
constexpr int SPINS = 8'000'000; // some 20 ms

// Arithmetic that needs nothing but its own processor. The volatile ends keep the compiler from knowing the outcome.
void spin() {
    volatile double end = 0.5;
    double v = end;
    for (int i = 0; i < SPINS; ++i)
        v = v * 0.999 + 1e-6;
    end = v;
}

double secondsOf(const std::function<void()>& work) {
    const double start = steadySeconds();
    work();
    return steadySeconds() - start;
}

// How many times the work of one thread two threads do in the same time.
double spinScaling() {
    const double one = secondsOf(spin);
    const double two = secondsOf([] {
        std::thread other(spin);
        spin();
        other.join();
    });
    return 2.0 * one / two;
}

ScalingRound scalingRound(StreetFrame& street, velloid::ParallelPool& one, velloid::ParallelPool& two) {
    const double before = spinScaling();
    velloid::useParallelPool(&one);
    const double single = secondsOf([&] { street.frame.render(); });
    velloid::useParallelPool(&two);
    const double both = secondsOf([&] { street.frame.render(); });
    return {single, both, std::min(before, spinScaling())};
}

// Tries rounds until `wanted` of them are calibrated, within reason.
std::vector<ScalingRound> scalingRounds(StreetFrame& street, int wanted) {
    velloid::ParallelPool one(1);
    velloid::ParallelPool two(2);
    scalingRound(street, one, two);
    std::vector<ScalingRound> rounds;
    while (static_cast<int>(calibratedRounds(rounds).size()) < wanted &&
           static_cast<int>(rounds.size()) < TRIES_PER_ROUND * wanted) {
        rounds.push_back(scalingRound(street, one, two));
    }
    velloid::useParallelPool(nullptr);
    return rounds;
}

double bestCalibrator(const std::vector<ScalingRound>& rounds) {
    const auto less = [](const ScalingRound& a, const ScalingRound& b) { return a.calibrator < b.calibrator; };
    return std::max_element(rounds.begin(), rounds.end(), less)->calibrator;
}

void measureScaling(const Size& size, Row& row, int wanted) {
    StreetFrame street(DEFAULT, size);
    const std::vector<ScalingRound> tried = scalingRounds(street, wanted);
    const std::vector<ScalingRound> kept = calibratedRounds(tried);
    row.note = fmt::format("{} of {} rounds calibrated (loops scaled to {:.2f} at best)", kept.size(), tried.size(),
                           bestCalibrator(tried));
    if (kept.empty()) return;
    Rounds times;
    for (const ScalingRound& round : kept) {
        times.ours.push_back(round.twoThreads);
        times.other.push_back(round.oneThread);
    }
    fillIn(row, summarise(times, street.pixelCount(), street.pixelCount()));
    if (row.rounds >= FEWEST_KEPT) return;
    row.judged.reset();
    row.note += ", too few";
}

Case scalingCase(const Size& size) {
    Case made = frameCase({.id = fmt::format("T13.scaling.{}", size.name),
                           .what = "default chain, two threads",
                           .against = "1 thread",
                           .size = size,
                           .unit = "ns/pixel",
                           .target = "T13",
                           .threads = 2});
    made.measure = [size](Row& row, const Effort& effort) { measureScaling(size, row, effort.rounds); };
    return made;
}

// ---- T14: memory ---

// Memory of one render, in bytes at most, after the plug-in handed everything back.
struct RenderMemory {
    std::size_t all;     // whatever operator new gave out
    std::size_t scratch; // by the plug-in's own count
};

RenderMemory memoryOf(StreetFrame& street) {
    street.frame.render(); // tables and pools that stay
    street.frame.purge();
    velloid::resetScratchPeak();
    const PeakMemory memory;
    street.frame.render();
    return {memory.bytes(), velloid::scratchUse().peak};
}

Case memoryCase(const Chain& chain, const std::string& target) {
    const std::string group = target.empty() ? "S" : target;
    Case made = frameCase({.id = fmt::format("{}.memory-{}.{}", group, chain.name, UHD.name),
                           .what = fmt::format("peak memory of a frame, {}", chain.what),
                           .against = "",
                           .size = UHD,
                           .unit = "planes",
                           .target = target,
                           .threads = 2});
    made.measure = [&chain](Row& row, const Effort&) {
        StreetFrame street(chain, UHD);
        const RenderMemory memory = memoryOf(street);
        row.ours = row.judged = static_cast<double>(memory.all) / (street.pixelCount() * sizeof(float));
        row.note = fmt::format("{:.1f} MB, scratch {:.1f} MB of it", static_cast<double>(memory.all) / 1e6,
                               static_cast<double>(memory.scratch) / 1e6);
    };
    return made;
}

// ---- T15: accuracy ---

// One frame of each side at 1080p; the two rows of a chain share them.
Differences accuracyOf(const Chain& chain) {
    static std::map<std::pair<std::string, velloid::RowLevel>, Differences> known;
    const auto key = std::make_pair(std::string(chain.name), velloid::activeRowLevel());
    if (const auto found = known.find(key); found != known.end()) return found->second;
    StreetFrame street(chain, HD);
    const Contest contest = againstLiteral(street, chain);
    contest.other.prepare();
    contest.other.run();
    contest.ours.run();
    return known[key] = contest.differences();
}

Case accuracyCase(const Chain& chain, bool share) {
    const std::string what = share ? "share of floats that differ" : "largest difference";
    const std::string target = fmt::format("T15.{}.{}", chain.name, share ? "share" : "ulps");
    Case made = frameCase({.id = target + "." + HD.name,
                           .what = fmt::format("{}, {}", what, chain.what),
                           .against = LITERAL,
                           .size = HD,
                           .unit = share ? "share" : "ulp",
                           .target = target,
                           .threads = 1});
    made.measure = [&chain, share](Row& row, const Effort&) {
        const Differences found = accuracyOf(chain);
        row.differences = found;
        row.ours = row.judged = share ? found.share() : static_cast<double>(found.worstUlps);
        row.note = fmt::format("{} of {} floats", found.differing, found.samples);
    };
    return made;
}

// ---- T16, T17: other sizes ------------------------------------------------------------------------------------------

// Time per pixel at `other` against time per pixel at 1080p.
Case sizeCase(const std::string& target, const Size& other, int repeats, int threads) {
    Case made = frameCase({.id = fmt::format("{}.size.{}", target, other.name),
                           .what = fmt::format("default chain, time per pixel at {} against {}", other.name, HD.name),
                           .against = other.name,
                           .size = HD,
                           .unit = "ns/pixel",
                           .target = target,
                           .threads = threads});
    made.measure = [other, repeats](Row& row, const Effort& effort) {
        StreetFrame hd(DEFAULT, HD);
        StreetFrame second(DEFAULT, other);
        fillIn(row, summarise(timeRounds(hd.side(), second.side(repeats), effort), hd.pixelCount(),
                              second.pixelCount() * repeats));
    };
    return made;
}

} // namespace

std::vector<Case> frameCases() {
    std::vector<Case> cases;
    for (const Size& size : {HD, UHD}) {
        cases.push_back(speedCase("T1", DEFAULT, size));
        cases.push_back(speedCase("T2", ALL_ON, size));
        cases.push_back(scalingCase(size));
    }
    cases.push_back(memoryCase(DEFAULT, "T14"));
    cases.push_back(memoryCase(ALL_ON, ""));
    for (const Chain* chain : {&DEFAULT, &ALL_ON}) {
        cases.push_back(accuracyCase(*chain, true));
        cases.push_back(accuracyCase(*chain, false));
    }
    cases.push_back(sizeCase("T16", EIGHT_K, 1, 1));
    cases.push_back(sizeCase("T17", SMALL, 16, 2));
    return cases;
}

} // namespace tarnwell::bench
