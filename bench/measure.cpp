#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <iterator>
#include <stdexcept>

namespace tarnwell::bench {

namespace {

double timed(const Side& side, const Clock& clock) {
    if (side.prepare) side.prepare();
    const double start = clock();
    side.run();
    return clock() - start;
}

} // namespace

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

Rounds timeRounds(const Side& ours, const Side& other, const Effort& effort) {
    timed(ours, effort.clock);
    timed(other, effort.clock);
    Rounds times;
    for (int i = 0; i < effort.rounds; ++i) {
        times.ours.push_back(timed(ours, effort.clock));
        times.other.push_back(timed(other, effort.clock));
    }
    return times;
}

double median(std::vector<double> values) {
    if (values.empty()) throw std::invalid_argument("the median of nothing");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Summary summarise(const Rounds& rounds, double unitsOfOurs, double unitsOfOther) {
    if (rounds.ours.empty() || rounds.ours.size() != rounds.other.size()) {
        throw std::invalid_argument("rounds without a pair of times");
    }
    std::vector<double> ratios;
    for (std::size_t i = 0; i < rounds.ours.size(); ++i) {
        ratios.push_back((rounds.other[i] / unitsOfOther) / (rounds.ours[i] / unitsOfOurs));
    }
    Summary s;
    s.ours = median(rounds.ours) / unitsOfOurs;
    s.other = median(rounds.other) / unitsOfOther;
    s.ratioMin = *std::min_element(ratios.begin(), ratios.end());
    s.ratioMedian = median(ratios);
    s.rounds = static_cast<int>(ratios.size());
    return s;
}

std::vector<ScalingRound> calibratedRounds(const std::vector<ScalingRound>& rounds) {
    std::vector<ScalingRound> kept;
    std::copy_if(rounds.begin(), rounds.end(), std::back_inserter(kept),
                 [](const ScalingRound& r) { return r.calibrator >= CALIBRATED; });
    return kept;
}

} // namespace tarnwell::bench
