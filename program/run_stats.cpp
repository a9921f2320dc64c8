// Workers add times under one lock, a few times a frame; `tarnwell render --runstats` prints the table at the end.
#include "program/run_stats.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/resource.h>
#endif

namespace tarnwell {

namespace {

struct ProcessUse {
    double cpuSeconds = 0.0;
    double residentPeak = 0.0; // bytes
};

ProcessUse processUse() {
    ProcessUse use;
#if defined(__unix__) || defined(__APPLE__)
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + 1e-6 * t.tv_usec; };
    use.cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
#if defined(__APPLE__)
    use.residentPeak = static_cast<double>(usage.ru_maxrss);
#else
    use.residentPeak = 1024.0 * static_cast<double>(usage.ru_maxrss);
#endif
#endif
    return use;
}

std::string megabytes(double bytes) {
    return fmt::format("{:.1f} MB", bytes / 1e6);
}

} // namespace

void RunStats::add(Entries& entries, const char* name, double seconds) {
    const std::lock_guard lock(mutex_);
    const auto known = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.name == name; });
    if (known == entries.end()) {
        entries.push_back({name, seconds});
    } else {
        known->seconds += seconds;
    }
}

RunStats::RunStats()
    : cpuBefore_(processUse().cpuSeconds), request_{static_cast<int>(sizeof request_), this,
                                                    [](void* receiver, const char* name, double seconds) {
                                                        auto& stats = *static_cast<RunStats*>(receiver);
                                                        stats.add(stats.effects_, name, seconds);
                                                    },
                                                    [](void* receiver, double peakBytes, double keptBytes) {
                                                        auto& stats = *static_cast<RunStats*>(receiver);
                                                        const std::lock_guard lock(stats.mutex_);
                                                        stats.scratchPeak_ = std::max(stats.scratchPeak_, peakBytes);
                                                        stats.scratchKept_ = std::max(stats.scratchKept_, keptBytes);
                                                        stats.scratchKnown_ = true;
                                                    }} {}

void RunStats::ask(PropertySet& renderArgs) {
    renderArgs.define(PropertyRow{kTarnwellPropRenderStatistics, PropertyType::Pointer, 1});
    renderArgs.putPointer(kTarnwellPropRenderStatistics, &request_);
}

bool RunStats::heardOfEffects() const {
    const std::lock_guard lock(mutex_);
    return !effects_.empty();
}

void RunStats::frameDone() {
    const std::lock_guard lock(mutex_);
    ++frames_;
}

std::string RunStats::asText(std::size_t framesInFlight) const {
    const std::lock_guard lock(mutex_);
    const double wall = std::chrono::duration<double>(Clock::now() - begin_).count();
    const double frames = static_cast<double>(std::max<std::size_t>(frames_, 1));
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    double all = 0.0;
    for (const Entry& phase : phases_)
        all += phase.seconds;
    std::string text = fmt::format("{:<26} {:>9} {:>7} {:>10}\n", "time", "s", "share", "ms/frame");
    const auto line = [&](const std::string& name, double seconds) {
        text += fmt::format("{:<26} {:>9.3f} {:>5.1f} % {:>10.2f}\n", name, seconds,
                            all > 0.0 ? 100.0 * seconds / all : 0.0, 1e3 * seconds / frames);
    };
    for (const Entry& phase : phases_) {
        line(phase.name, phase.seconds);
        if (phase.name != PLUGIN_PHASE) continue;
        for (const Entry& effect : effects_)
            line("  " + effect.name, effect.seconds);
    }
    const ProcessUse use = processUse();
    text += fmt::format("{} frame{} in {:.3f} s, {:.2f} frames/s, {} in flight\n", frames_, frames_ == 1 ? "" : "s",
                        wall, static_cast<double>(frames_) / wall, framesInFlight);
    text +=
        fmt::format("processors: {:.0f} % of {} busy\n", 100.0 * (use.cpuSeconds - cpuBefore_) / (wall * cores), cores);
    text += fmt::format("memory: {} resident at most", megabytes(use.residentPeak));
    if (scratchKnown_)
        text += fmt::format("; scratch of the effects {} at most, {} kept between frames", megabytes(scratchPeak_),
                            megabytes(scratchKept_));
    return text + "\n";
}

} // namespace tarnwell
