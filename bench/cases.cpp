#include "bench/cases.h"

#include "process/parallel_pool.h"

#include <exception>

namespace tarnwell::bench {

namespace {

// Level and threads for as long as a case runs.
class Conditions {
public:
    Conditions(velloid::RowLevel level, int threads)
        : former(velloid::activeRowLevel()), pool(static_cast<unsigned>(threads)) {
        velloid::setRowLevel(level);
        velloid::useParallelPool(&pool);
    }
    ~Conditions() {
        velloid::useParallelPool(nullptr);
        velloid::setRowLevel(former);
    }
    Conditions(const Conditions&) = delete;
    Conditions& operator=(const Conditions&) = delete;

private:
    velloid::RowLevel former;
    velloid::ParallelPool pool;
};

} // namespace

Row runCase(const Case& which, const RunOptions& options) {
    const velloid::RowLevel level = which.level.value_or(options.level);
    const bool processorTime = options.processorTime && which.heading.threads == 1;
    const Conditions conditions(level, which.heading.threads);
    Row row = which.heading;
    row.level = velloid::rowLevelName(level);
    row.target = targetOf(which.target, level);
    try {
        which.measure(row, {options.rounds, processorTime ? processorSeconds : steadySeconds});
    } catch (const std::exception& error) {
        row.judged.reset();
        row.note = error.what();
    }
    return row;
}

void fillIn(Row& row, const Summary& summary) {
    row.ours = summary.ours * 1e9;
    row.other = summary.other * 1e9;
    row.ratioMin = summary.ratioMin;
    row.ratioMedian = summary.ratioMedian;
    row.rounds = summary.rounds;
    row.judged = summary.ratioMedian;
}

} // namespace tarnwell::bench
