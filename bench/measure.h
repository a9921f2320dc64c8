// Measuring by paired rounds: A, B, A, B, ... in one process.
//
// Other programs share the machine, and its clock wanders: a time by itself says little. Within a round both sides meet
// nearly the same machine, so each round gives one ratio, and the median of the ratios is what counts. Both sides run
// once beforehand, untimed, so that no round pays for first touches and tables that are built once.
#pragma once

#include <functional>
#include <vector>

namespace tarnwell::bench {

// One side of a comparison.
struct Side {
    std::function<void()> run;     // what the clock sees; empty: this side cannot run here
    std::function<void()> prepare; // before every run, unseen by the clock; may be empty
};

// Seconds from some fixed moment.
using Clock = std::function<double()>;
double steadySeconds();
// Seconds that this process has computed: those in which others had the processor do not count. For one thread only.
double processorSeconds();

// How a row is measured.
struct Effort {
    int rounds = 11;
    Clock clock = steadySeconds;
};

// Seconds per run of each side, by round.
struct Rounds {
    std::vector<double> ours;
    std::vector<double> other;
};

// Runs both sides once, then in turn, ours first.
Rounds timeRounds(const Side& ours, const Side& other, const Effort& effort);

// The middle value, or the mean of the two middle ones. Throws std::invalid_argument when there are none.
double median(std::vector<double> values);

struct Summary {
    double ours = 0.0;        // median seconds per unit
    double other = 0.0;       // likewise
    double ratioMin = 0.0;    // of other / ours, by round
    double ratioMedian = 0.0; // likewise
    int rounds = 0;
};

// Medians and ratios per unit of work. Throws std::invalid_argument when there are no rounds.
Summary summarise(const Rounds& rounds, double unitsOfOurs, double unitsOfOther);

// One round of a scaling measurement: the seconds that one and two threads took for a frame, and how far two threads
// brought a loop that shares nothing in the same round.
struct ScalingRound {
    double oneThread;
    double twoThreads;
    double calibrator;
};

// Below this the machine did not give two whole processors.
constexpr double CALIBRATED = 1.9;

// The rounds in which it did.
std::vector<ScalingRound> calibratedRounds(const std::vector<ScalingRound>& rounds);

} // namespace tarnwell::bench
