// A recipe evaluated on its lattice.
#pragma once

#include "tools/lookgen/film_model.h"

#include <cstdint>
#include <vector>

namespace lookgen {

// LogC4 (ARRI's paper on the LogC4 logarithmic colour space, 2022), linear light to code and back; straight below 0.
double logC4Encode(double linear);
double logC4Decode(double code);

// points^3 triples of LogC4 codes, red index fastest, for LogC4 codes 0 ... 1 in. The values do not depend on threads.
std::vector<float> computeTable(const Recipe& recipe, int threads);

// FNV-1a over the values rounded to 1e-5: one number that names a table and survives another machine's last bits,
// unless a value lies on the edge of rounding.
std::uint64_t checksum(const std::vector<float>& table);

} // namespace lookgen
