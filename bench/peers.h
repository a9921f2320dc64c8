// The peers: general-purpose libraries that do the same work on the same planes, one thread each. A Peer without `run`
// means that the program was built without them.
#pragma once

#include "bench/content.h"
#include "bench/machine.h"
#include "bench/stages.h"
#include "process/gate_weave.h"

#include <string>

namespace tarnwell::bench {

// The peers' versions; empty without them.
Facts peerFacts();

// OpenColorIO, default optimisation, packed RGBA floats in place.
Facts openColorIoFacts();
Peer ocioDecodeSLog3(const Picture& picture);
Peer ocioEncodeSLog3(const Picture& picture);
Peer ocioCube(const Picture& picture, const std::string& path);

// OpenCV on CV_32F planes; GaussianBlur with our radius and a repeated border.
Facts openCvFacts();
Peer opencvBlur(const Plane& plane, const Size& size, double sigma);
Peer opencvRandn(const Size& size);
Peer opencvWarp(const Planes& planes, const Size& size, const velloid::WeaveMotion& motion);

// ffmpeg's lut3d filter on planar floats, tetrahedral.
Facts ffmpegFacts();
Peer ffmpegCube(const Picture& picture, const std::string& path);

} // namespace tarnwell::bench
