#include "bench/report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace tarnwell::bench {

namespace {

constexpr const char* NOTHING = "-";

std::string numberOr(const std::optional<double>& value) {
    return value ? number(*value) : NOTHING;
}

std::string limitText(const Row& row, double Limits::*limit) {
    if (!row.target) return NOTHING;
    return (row.target->sense == Sense::AtMost ? "<= " : "") + number(row.target->limits.*limit);
}

std::string differencesText(const Row& row) {
    if (!row.differences) return NOTHING;
    if (row.differences->differing == 0) return "none";
    return fmt::format("{}, {} ulp", number(row.differences->share()), row.differences->worstUlps);
}

// The cells of a row, in the order of COLUMNS.
std::vector<std::string> cellsOf(const Row& row) {
    return {row.id,
            row.what,
            row.against.empty() ? NOTHING : row.against,
            row.size,
            row.level,
            std::to_string(row.threads),
            row.unit,
            numberOr(row.ours),
            numberOr(row.other),
            numberOr(row.ratioMin),
            numberOr(row.ratioMedian),
            limitText(row, &Limits::floor),
            limitText(row, &Limits::goal),
            metText(row),
            differencesText(row),
            row.note};
}

constexpr const char* COLUMNS[] = {"id",    "what", "against", "size",  "level", "threads", "unit",         "ours",
                                   "other", "min",  "median",  "floor", "goal",  "met",     "floats apart", "note"};

std::string markdownLine(const std::vector<std::string>& cells) {
    std::string line = "|";
    for (std::string cell : cells) {
        for (std::size_t at = 0; (at = cell.find('|', at)) != std::string::npos; at += 2)
            cell.insert(at, "\\");
        line += " " + cell + " |";
    }
    return line + "\n";
}

nlohmann::json valueOrNull(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json jsonOf(const Row& row) {
    nlohmann::json j = {{"id", row.id},
                        {"what", row.what},
                        {"against", row.against},
                        {"size", row.size},
                        {"level", row.level},
                        {"threads", row.threads},
                        {"unit", row.unit},
                        {"ours", valueOrNull(row.ours)},
                        {"other", valueOrNull(row.other)},
                        {"ratioMin", valueOrNull(row.ratioMin)},
                        {"ratioMedian", valueOrNull(row.ratioMedian)},
                        {"rounds", row.rounds},
                        {"judged", valueOrNull(row.judged)},
                        {"met", metText(row)},
                        {"note", row.note}};
    if (row.target) {
        j["floor"] = row.target->limits.floor;
        j["goal"] = row.target->limits.goal;
        j["sense"] = row.target->sense == Sense::AtLeast ? "at least" : "at most";
    }
    if (row.differences) {
        j["samples"] = row.differences->samples;
        j["differing"] = row.differences->differing;
        j["worstUlps"] = row.differences->worstUlps;
    }
    return j;
}

} // namespace

std::string metText(const Row& row) {
    if (!row.judged) return "not measured";
    if (!row.target) return NOTHING;
    switch (judge(*row.target, *row.judged)) {
    case Verdict::Goal:
        return "yes";
    case Verdict::FloorOnly:
        return "floor only";
    case Verdict::Missed:
        break;
    }
    return "no";
}

std::string number(double value) {
    const double magnitude = std::fabs(value);
    if (value == 0.0) return "0";
    if (!std::isfinite(value)) return fmt::format("{}", value);
    if (magnitude < 1e-3) return fmt::format("{:.1e}", value);
    const int decimals = 2 - static_cast<int>(std::floor(std::log10(magnitude)));
    std::string text = fmt::format("{:.{}f}", value, std::clamp(decimals, 0, 5));
    if (text.find('.') == std::string::npos) return text;
    const std::size_t last = text.find_last_not_of('0');
    return text.substr(0, text[last] == '.' ? last : last + 1);
}

std::string textHeading() {
    return fmt::format("{:<28} {:<10} {:<8} {:>2} {:>9} {:>9} {:<9} {:>7} {:>7} {:>7} {:>7}  {:<12} {:<18} {}", "id",
                       "against", "level", "th", "ours", "other", "unit", "min", "median", "floor", "goal", "met",
                       "floats apart", "note");
}

std::string textLine(const Row& row) {
    return fmt::format("{:<28} {:<10} {:<8} {:>2} {:>9} {:>9} {:<9} {:>7} {:>7} {:>7} {:>7}  {:<12} {:<18} {}", row.id,
                       row.against.empty() ? NOTHING : row.against, row.level, row.threads, numberOr(row.ours),
                       numberOr(row.other), row.unit, numberOr(row.ratioMin), numberOr(row.ratioMedian),
                       limitText(row, &Limits::floor), limitText(row, &Limits::goal), metText(row),
                       differencesText(row), row.note);
}

std::string markdownOf(const Report& report) {
    std::string text = "# Measurements of one run\n\n";
    for (const auto& [name, value] : report.facts)
        text += fmt::format("- {}: {}\n", name, value);
    text += "\n" + markdownLine({std::begin(COLUMNS), std::end(COLUMNS)});
    text += markdownLine(std::vector<std::string>(std::size(COLUMNS), "---"));
    for (const Row& row : report.rows)
        text += markdownLine(cellsOf(row));
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes)
        text += "- " + note + "\n";
    return text;
}

std::string jsonOf(const Report& report) {
    nlohmann::json rows = nlohmann::json::array();
    for (const Row& row : report.rows)
        rows.push_back(jsonOf(row));
    nlohmann::json facts = nlohmann::json::object();
    for (const auto& [name, value] : report.facts)
        facts[name] = value;
    return nlohmann::json{{"facts", facts}, {"rows", rows}, {"notes", report.notes}}.dump(2) + "\n";
}

} // namespace tarnwell::bench
