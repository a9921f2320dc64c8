// Nearest names by edit distance (optimal string alignment), after the stronger hint of a shared beginning.
#include "host/suggest.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include <fmt/format.h>

namespace tarnwell {

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowered(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lower);
    return out;
}

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

// Edit distance, lowered where one name holds the other: people leave the end of long names away.
double unlikeness(const std::string& name, const std::string& candidate) {
    const double edits = static_cast<double>(editDistance(name, candidate));
    if (name.empty()) return edits;
    if (startsWith(candidate, name)) return edits * 0.1;
    return candidate.find(name) != std::string::npos ? edits * 0.2 : edits;
}

std::vector<std::size_t> optionsStartingWith(const std::string& text, const std::vector<std::string>& options) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < options.size(); ++i)
        if (startsWith(lowered(options[i]), text)) found.push_back(i);
    return found;
}

std::string quotedList(const std::vector<std::size_t>& indices, const std::vector<std::string>& options) {
    std::string out;
    for (const std::size_t i : indices)
        out += (out.empty() ? "\"" : ", \"") + options[i] + "\"";
    return out;
}

} // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
    const std::string from = lowered(a), to = lowered(b);
    std::vector<std::size_t> before(to.size() + 1), above(to.size() + 1), row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j)
        above[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (from[i - 1] == to[j - 1] ? 0u : 1u)});
            const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = above;
        above = row;
    }
    return above[to.size()];
}

std::string nearestMatch(std::string_view name, const std::vector<std::string>& candidates) {
    const std::string wanted = lowered(name);
    const auto nearer = [&](const std::string& a, const std::string& b) {
        return unlikeness(wanted, lowered(a)) < unlikeness(wanted, lowered(b));
    };
    const auto best = std::min_element(candidates.begin(), candidates.end(), nearer);
    return best == candidates.end() ? std::string() : *best;
}

std::size_t chooseOption(std::string_view text, const std::vector<std::string>& options) {
    if (const auto exact = std::find(options.begin(), options.end(), text); exact != options.end())
        return static_cast<std::size_t>(exact - options.begin());
    std::size_t index = 0;
    const auto number = std::from_chars(text.data(), text.data() + text.size(), index);
    if (!text.empty() && number.ec == std::errc() && number.ptr == text.data() + text.size()) {
        if (index < options.size()) return index;
        throw std::invalid_argument(fmt::format("index {} is out of range, the last option is {}", index,
                                                options.empty() ? 0 : options.size() - 1));
    }
    const auto found = text.empty() ? std::vector<std::size_t>() : optionsStartingWith(lowered(text), options);
    for (const std::size_t i : found)
        if (lowered(options[i]) == lowered(text)) return i;
    if (found.size() == 1) return found.front();
    if (found.size() > 1)
        throw std::invalid_argument(
            fmt::format("\"{}\" is the beginning of several options: {}", text, quotedList(found, options)));
    throw std::invalid_argument(
        fmt::format("no option is named \"{}\"; did you mean \"{}\"?", text, nearestMatch(text, options)));
}

} // namespace tarnwell
