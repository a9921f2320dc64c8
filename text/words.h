// Words that people write, whatever their case, and the word that was probably meant. Letters are ASCII's.
#pragma once

#include <string>
#include <vector>

namespace tarnwell {

// The candidate with the fewest edits to `word`, case aside; empty when none comes near (more than half of the word's
// letters, and at least three, would have to change).
std::string nearestMatch(const std::string& word, const std::vector<std::string>& candidates);

// " (did you mean \"x\"?)", or nothing.
std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates);

// Capitals made small; nothing else changes.
std::string lowered(std::string text);

// Whether `a` and `b` are the same letters, case aside.
bool equalWithoutCase(const std::string& a, const std::string& b);
bool startsWithoutCase(const std::string& text, const std::string& start);

} // namespace tarnwell
