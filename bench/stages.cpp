#include "bench/stages.h"

#include <algorithm>
#include <cmath>

namespace tarnwell::bench {

namespace {

Side sideOn(const std::shared_ptr<Planes>& planes, const Input& input, Refill refill, const Work& work) {
    switch (refill) {
    case Refill::Timed:
        return {[=] {
                    *planes = *input;
                    work(*planes);
                },
                {}};
    case Refill::Unseen:
        return {[=] { work(*planes); }, [=] { *planes = *input; }};
    case Refill::Never:
        break;
    }
    return {[=] { work(*planes); }, {}};
}

Differences differencesOf(const Planes& a, const Planes& b) {
    Differences found;
    for (std::size_t c = 0; c < a.size(); ++c)
        addDifferences(found, a[c].data(), b[c].data(), a[c].size());
    return found;
}

double largestDistance(const Planes& a, const Planes& b) {
    double largest = 0.0;
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = 0; i < a[c].size(); ++i)
            largest = std::max(largest, std::fabs(static_cast<double>(a[c][i]) - b[c][i]));
    }
    return largest;
}

} // namespace

Input borrowed(const Planes& planes) {
    return Input(Input{}, &planes);
}

Input copyOf(const Plane& plane) {
    return std::make_shared<const Planes>(1, plane);
}

Contest onPlanes(const Input& input, Refill refill, const Work& ours, const Work& literal) {
    const auto a = std::make_shared<Planes>(*input);
    const auto b = std::make_shared<Planes>(*input);
    return {
        sideOn(a, input, refill, ours), sideOn(b, input, refill, literal), [=] { return differencesOf(*a, *b); }, {}};
}

Contest againstPeer(const Input& input, Refill refill, const Work& ours, const Peer& peer) {
    if (!peer.side.run) return {};
    const auto planes = std::make_shared<Planes>(*input);
    Contest contest{sideOn(planes, input, refill, ours), peer.side, {}, {}};
    if (peer.result) contest.distance = [=, result = peer.result] { return largestDistance(*planes, result()); };
    return contest;
}

} // namespace tarnwell::bench
