#include "process/stage_clock.h"

#include <algorithm>

namespace velloid {

void StageClock::add(const char* stage, double seconds) {
    std::lock_guard lock(mu);
    const auto known = std::find_if(list.begin(), list.end(), [&](const Entry& e) { return e.stage == stage; });
    if (known == list.end()) {
        list.push_back({stage, seconds});
    } else {
        known->seconds += seconds;
    }
}

std::vector<StageClock::Entry> StageClock::entries() const {
    std::lock_guard lock(mu);
    return list;
}

std::size_t StageTimer::switchTo(std::size_t stage) {
    const StageClock::Time::time_point now = StageClock::Time::now();
    spent[current] += std::chrono::duration<double>(now - since).count();
    since = now;
    const std::size_t before = current;
    current = stage;
    return before;
}

} // namespace velloid
