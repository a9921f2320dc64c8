// The stages as rows: each at both frame sizes, those with a literal form also on the baseline kernels (T12).
#include "bench/cases.h"
#include "bench/stages.h"

#include <stdexcept>
#include <string>

namespace tarnwell::bench {

namespace {

// A peer computes in float: its result may be off by rounding, not by more.
constexpr double SAME_WORK = 1e-3;

void checkDistance(double distance, Row& row) {
    if (!(distance <= SAME_WORK)) {
        throw std::runtime_error("the peer's result is off by " + number(distance) + ": not the same work");
    }
    row.note = "within " + number(distance) + " of the peer";
}

void measureStage(const Stage& stage, const Size& size, Row& row, const Effort& effort) {
    const auto picture = pictureOf(size);
    const Contest contest = stage.contest(*picture);
    if (!contest.ours.run) {
        row.note = "peer not built";
        return;
    }
    const double pixels = static_cast<double>(size.pixels());
    fillIn(row, summarise(timeRounds(contest.ours, contest.other, effort), pixels, pixels));
    if (contest.differences) row.differences = contest.differences();
    if (contest.distance) checkDistance(contest.distance(), row);
}

// "T8.ocio" belongs to T8; a stage without a target has an S.
std::string groupOf(const std::string& target) {
    return target.empty() ? "S" : target.substr(0, target.find('.'));
}

Case stageCase(const Stage& stage, const Size& size, const std::string& group) {
    Case made;
    made.heading.id = group + "." + stage.name + "." + size.name;
    made.heading.what = stage.what;
    made.heading.against = stage.against;
    made.heading.size = size.name;
    made.heading.unit = stage.unit;
    made.target = stage.target;
    made.measure = [stage, size](Row& row, const Effort& effort) { measureStage(stage, size, row, effort); };
    return made;
}

Case onBaseline(const Stage& stage) {
    Case made = stageCase(stage, HD, "T12");
    made.target = "T12";
    made.level = velloid::RowLevel::Baseline;
    return made;
}

} // namespace

std::vector<Case> stageCases() {
    std::vector<Stage> stages = colorStages();
    for (Stage& stage : effectStages())
        stages.push_back(std::move(stage));
    std::vector<Case> cases;
    cases.reserve(3 * stages.size());
    for (const Stage& stage : stages)
        cases.push_back(stageCase(stage, HD, groupOf(stage.target)));
    for (const Stage& stage : stages) {
        if (stage.against == std::string(LITERAL)) cases.push_back(onBaseline(stage));
    }
    for (const Stage& stage : stages)
        cases.push_back(stageCase(stage, UHD, groupOf(stage.target)));
    return cases;
}

} // namespace tarnwell::bench
