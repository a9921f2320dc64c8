// Where the time of a frame goes, stage by stage.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace velloid {

// Seconds of the frame per stage, in the order in which stages were first named. Callable from any thread.
class StageClock {
public:
    using Time = std::chrono::steady_clock;

    static double secondsSince(Time::time_point begin) {
        return std::chrono::duration<double>(Time::now() - begin).count();
    }

    struct Entry {
        std::string stage;
        double seconds;
    };

    void add(const char* stage, double seconds);
    std::vector<Entry> entries() const;

private:
    mutable std::mutex mu; // guards list
    std::vector<Entry> list;
};

// Stages that take turns on one thread: each has the time from when it is switched to until the next switch.
class StageTimer {
public:
    explicit StageTimer(std::size_t stages) : spent(stages, 0.0), since(StageClock::Time::now()) {}

    // Returns the stage that had the turn.
    std::size_t switchTo(std::size_t stage);
    const std::vector<double>& seconds() const { return spent; }

private:
    std::vector<double> spent;
    std::size_t current = 0;
    StageClock::Time::time_point since;
};

} // namespace velloid
