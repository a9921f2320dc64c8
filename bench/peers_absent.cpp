// The peers of a build without them.
#include "bench/peers.h"

namespace tarnwell::bench {

Facts peerFacts() {
    return {};
}

Side ocioDecodeSLog3(const Picture&) {
    return {};
}

Side ocioEncodeSLog3(const Picture&) {
    return {};
}

Side ocioCube(const Picture&, const std::string&) {
    return {};
}

Side opencvBlur(const Plane&, const Size&, double) {
    return {};
}

Side opencvRandn(const Size&) {
    return {};
}

Side opencvWarp(const Planes&, const Size&, const velloid::WeaveMotion&) {
    return {};
}

Side ffmpegCube(const Picture&, const std::string&) {
    return {};
}

} // namespace tarnwell::bench
