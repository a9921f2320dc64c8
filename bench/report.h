// The table of one run: as text for the terminal, as Markdown for the documentation, as JSON for programs.
#pragma once

#include "bench/accuracy.h"
#include "bench/machine.h"
#include "bench/targets.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwell::bench {

struct Row {
    std::string id;      // "T9.print-look.1080p"
    std::string what;    // the work, in words
    std::string against; // whom it is compared with, "" for nobody
    std::string size;    // "1080p"
    std::string level;   // of the row kernels
    int threads = 1;

    std::string unit;            // of ours and other: "ns/sample", "planes"
    std::optional<double> ours;  // median
    std::optional<double> other; // median
    std::optional<double> ratioMin;
    std::optional<double> ratioMedian;
    int rounds = 0;
    std::optional<Differences> differences; // of the two results
    std::string note;                       // what else must be known; why nothing was measured

    std::optional<double> judged; // the value that the target is for; none: not measured
    std::optional<Target> target;
};

// "yes", "floor only", "no", "-" without a target, "not measured".
std::string metText(const Row& row);

// Three significant digits: 0.0123, 1.23, 12.3, 1230; small shares as 1.2e-07.
std::string number(double value);

struct Report {
    Facts facts;
    std::vector<Row> rows;
    std::vector<std::string> notes; // how the figures are to be read
};

std::string textLine(const Row& row);
std::string textHeading();
std::string markdownOf(const Report& report);
std::string jsonOf(const Report& report);

} // namespace tarnwell::bench
