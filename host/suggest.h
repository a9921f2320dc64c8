// The name that was probably meant: for "unknown parameter `halationIntensty`, did you mean `halationIntensity`?".
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

// Smallest number of single-character insertions, removals, replacements and swaps of neighbours that turn `a` into
// `b`; upper and lower case count as equal.
std::size_t editDistance(std::string_view a, std::string_view b);

// The candidate nearest to `name`. One that begins with `name`, or holds it, comes before a mere likeness. Empty when
// there is no candidate.
std::string nearestMatch(std::string_view name, const std::vector<std::string>& candidates);

// What a user typed for one of `options`: its exact text, an unambiguous beginning of it (upper and lower case count as
// equal), or its index. Returns the index; throws std::invalid_argument with a sentence that names the nearest match,
// or the options between which the beginning is ambiguous.
std::size_t chooseOption(std::string_view text, const std::vector<std::string>& options);

} // namespace tarnwell
