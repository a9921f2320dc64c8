// Called where a word of the user is looked up, and where the error for an unknown one is written.
#include "text/words.h"

#include <algorithm>
#include <numeric>

namespace tarnwell {

namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Edits (insert, delete, replace) that turn one word into the other: one row of the usual table at a time.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

bool startsWithoutCase(const std::string& text, const std::string& start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(), [](char a, char b) { return lower(a) == lower(b); });
}

bool equalWithoutCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && startsWithoutCase(a, b);
}

std::string nearestMatch(const std::string& word, const std::vector<std::string>& candidates) {
    std::string nearest;
    std::size_t fewest = std::max<std::size_t>(3, word.size() / 2) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t edits = editDistance(word, candidate);
        if (edits < fewest && edits < candidate.size()) {
            fewest = edits;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string nearest = nearestMatch(word, candidates);
    return nearest.empty() ? "" : " (did you mean \"" + nearest + "\"?)";
}

} // namespace tarnwell
