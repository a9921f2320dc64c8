// Where the time and the memory of a render went: the program's own phases, and the effects inside the plug-in where it
// tells (ofx/tarnwell_statistics.h). Counted over all frames and threads.
#pragma once

#include "host/property_set.h"
#include "ofx/tarnwell_statistics.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarnwell {

class RunStats {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr const char* PLUGIN_PHASE = "plug-in"; // the phase that the effects are part of

    RunStats();
    RunStats(const RunStats&) = delete;
    RunStats& operator=(const RunStats&) = delete;

    // Runs `work` and counts its time for `phase`.
    template <class Work>
    auto timed(const char* phase, Work work) {
        const Stopwatch watch(*this, phase);
        return work();
    }

    // Asks the plug-in for its part: adds the property to the arguments of a render action. What it says arrives here.
    void ask(PropertySet& renderArgs);

    // Whether the plug-in has told of an effect: it does for frames that it renders on the CPU.
    bool heardOfEffects() const;

    void frameDone(); // counts one frame

    // A table: seconds, share and milliseconds per frame of each phase; then memory, and how busy the machine was.
    std::string asText(std::size_t framesInFlight) const;

private:
    struct Entry {
        std::string name;
        double seconds;
    };
    using Entries = std::vector<Entry>;

    class Stopwatch {
    public:
        Stopwatch(RunStats& stats, const char* phase) : stats_(stats), phase_(phase), begin_(Clock::now()) {}
        ~Stopwatch() {
            stats_.add(stats_.phases_, phase_, std::chrono::duration<double>(Clock::now() - begin_).count());
        }
        Stopwatch(const Stopwatch&) = delete;
        Stopwatch& operator=(const Stopwatch&) = delete;

    private:
        RunStats& stats_;
        const char* phase_;
        Clock::time_point begin_;
    };

    void add(Entries& entries, const char* name, double seconds);

    const Clock::time_point begin_ = Clock::now();
    const double cpuBefore_;           // seconds of processor time until then
    TarnwellRenderStatistics request_; // one for all frames and threads
    mutable std::mutex mutex_;         // guards all below
    Entries phases_, effects_;         // in the order in which they first came
    std::size_t frames_ = 0;
    double scratchPeak_ = 0.0, scratchKept_ = 0.0; // bytes
    bool scratchKnown_ = false;
};

} // namespace tarnwell
