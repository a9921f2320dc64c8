// What the looks have to be: a lower and an upper bound per look and measure.
#pragma once

#include "tools/lookmeter/measures.h"

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace lookmeter {

enum LookIndex { KODAK_2383, FUJI_3513, FUJI_3510, TEAL_ORANGE, CROSS, PUSH, PULL, CLASSIC_P0, LOOK_COUNT };

struct EmbeddedLook {
    const char* label;  // in the plug-in's menu
    const char* symbol; // of the table
    Look look;
};

// The tables as the plug-in holds them, by LookIndex.
const std::array<EmbeddedLook, LOOK_COUNT>& embeddedLooks();

constexpr double ANY = std::numeric_limits<double>::infinity();

struct Interval {
    double low = -ANY, high = ANY;
};
constexpr Interval most(double high) {
    return {-ANY, high};
}
constexpr Interval least(double low) {
    return {low, ANY};
}
constexpr Interval NONE = {};

struct Bound {
    std::string measure;
    double low, high;
};

// The tables (bound_tables.cpp). "skin_h" and "skin_line" hold for both skin patches.
struct PerLookBound {
    std::string measure;
    std::array<Interval, LOOK_COUNT> of;
};
struct OwnBound {
    LookIndex look;
    Bound bound;
};
extern const std::vector<PerLookBound> PER_LOOK_BOUNDS;
extern const std::vector<Bound> COMMON_BOUNDS;
extern const std::vector<OwnBound> OWN_BOUNDS;

// Every bound that holds for a look, each measure once: its own in place of the table's, that in place of the common.
std::vector<Bound> boundsOf(LookIndex look);

// A bound between looks, evaluated.
struct Relation {
    std::string name;
    double value, low, high;
};
std::vector<Relation> relationsBetween(const std::array<Look, LOOK_COUNT>& looks,
                                       const std::array<Measures, LOOK_COUNT>& measures);

} // namespace lookmeter
