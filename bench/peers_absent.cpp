// The peers of a build without them.
#include "bench/peers.h"

namespace tarnwell::bench {

Facts peerFacts() {
    return {};
}

Peer ocioDecodeSLog3(const Picture&) {
    return {};
}

Peer ocioEncodeSLog3(const Picture&) {
    return {};
}

Peer ocioCube(const Picture&, const std::string&) {
    return {};
}

Peer opencvBlur(const Plane&, const Size&, double) {
    return {};
}

Peer opencvRandn(const Size&) {
    return {};
}

Peer opencvWarp(const Planes&, const Size&, const velloid::WeaveMotion&) {
    return {};
}

Peer ffmpegCube(const Picture&, const std::string&) {
    return {};
}

} // namespace tarnwell::bench
