#include "bench/stages.h"

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
    return {sideOn(a, input, refill, ours), sideOn(b, input, refill, literal), [=] { return differencesOf(*a, *b); }};
}

Contest againstPeer(const Input& input, Refill refill, const Work& ours, const Side& peer) {
    if (!peer.run) return {};
    return {sideOn(std::make_shared<Planes>(*input), input, refill, ours), peer, {}};
}

} // namespace tarnwell::bench
