// The stages of the plug-in, each beside another program's form of the same work on the same planes.
#pragma once

#include "bench/accuracy.h"
#include "bench/content.h"
#include "bench/measure.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarnwell::bench {

// Two sides, ready for the clock.
struct Contest {
    Side ours;
    Side other;
    std::function<Differences()> differences; // of what both wrote last; empty where equality is not expected
    std::function<double()> distance;         // largest, of what both wrote last; empty where it says nothing
};

// Another program's side, and what it wrote last; no result where its work is not the very same.
struct Peer {
    Side side;
    std::function<Planes()> result;
};

struct Stage {
    const char* name;    // "logc4-decode", part of the row's id
    const char* what;    // in words
    const char* against; // "literal" or the peer's name
    const char* unit;    // "ns/sample" where the work is one plane, "ns/pixel" where it is three
    const char* target;  // of targets.h, "" for none
    std::function<Contest(const Picture&)> contest;
};

constexpr const char* LITERAL = "literal";

std::vector<Stage> colorStages();
std::vector<Stage> effectStages();

// ---- ways to put two functions side by side -------------------------------------------------------------------------

// Planes to start from.
using Input = std::shared_ptr<const Planes>;
Input borrowed(const Planes& planes); // must outlive the contest, as those of a Picture do
Input copyOf(const Plane& plane);     // one plane

// What is done to a set of planes.
using Work = std::function<void(Planes&)>;

// How the planes that a function works on come to hold the input before each run.
enum class Refill {
    Never,  // the function only writes them
    Unseen, // copied before the clock starts
    Timed,  // copied while the clock runs: the copy of the planes belongs to the work
};

// Planes of its own for either side; both are compared.
Contest onPlanes(const Input& input, Refill refill, const Work& ours, const Work& literal);

// Ours as above against a peer, which looks after its own memory.
Contest againstPeer(const Input& input, Refill refill, const Work& ours, const Peer& peer);

} // namespace tarnwell::bench
