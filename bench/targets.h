// What the plug-in is held to: per measurement a floor, which must not be undercut, and a goal. Speeds are ratios to
// another program on the same machine, because times are worth nothing on the next machine.
#pragma once

#include "rows/level.h"

#include <optional>
#include <string>

namespace tarnwell::bench {

enum class Sense { AtLeast, AtMost };

struct Limits {
    double floor;
    double goal;
};

struct Target {
    Sense sense;
    Limits limits;
};

enum class Verdict { Goal, FloorOnly, Missed };

// The target of an id ("T1", "T8.ocio") at a level; none for an unknown id or a level that the id has no target at.
std::optional<Target> targetOf(const std::string& id, velloid::RowLevel level);

// Goal at or beyond the goal, FloorOnly at or beyond the floor. NaN misses.
Verdict judge(const Target& target, double value);

} // namespace tarnwell::bench
