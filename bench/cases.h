// Everything that one run can measure, as a list: a case knows its row's heading and how to fill in the figures.
#pragma once

#include "bench/content.h"
#include "bench/measure.h"
#include "bench/report.h"
#include "rows/level.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarnwell::bench {

struct Case {
    Row heading;                            // id, what, against, size, threads and unit
    std::string target;                     // of targets.h, "" for none
    std::optional<velloid::RowLevel> level; // measured at this level whatever the run's
    std::function<void(Row&, const Effort&)> measure;
};

std::vector<Case> stageCases();
std::vector<Case> frameCases();

struct RunOptions {
    velloid::RowLevel level = velloid::RowLevel::Baseline;
    int rounds = 11;
    bool processorTime = false; // rows of one thread by processorSeconds
};

// Measures one case with a pool of the heading's threads. A row that could not be measured says why in its
// note; nothing is thrown.
Row runCase(const Case& which, const RunOptions& options);

// Times and ratios of a comparison, in nanoseconds; the median ratio is what is judged.
void fillIn(Row& row, const Summary& summary);

} // namespace tarnwell::bench
