// The effects and the blurs that they are made of.
#include "bench/peers.h"
#include "bench/stages.h"
#include "color/colorspace.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/bloom_profile.h"
#include "process/blur.h"
#include "process/blur_stream.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/frame_planes.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"
#include "process/wide_blur.h"
#include "tests/reference/blur_reference.h"
#include "tests/reference/effect_reference.h"
#include "tests/reference/grain_reference.h"
#include "tests/reference/temporal_reference.h"
#include "tests/reference/transfer_reference.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace tarnwell::bench {

namespace {

using velloid::NegativeStock;

constexpr NegativeStock STOCK = NegativeStock::Vision500T;
constexpr double AMOUNT = 0.6;
constexpr double FRAME = 17.0;

// ---- blurs of one plane -------------------------------------------------------------------------------------------

// From one plane to another, as the chain and the peer blur.
Work blur(const Picture& picture, double sigma) {
    return [&picture, sigma](Planes& p) {
        const Size s = picture.size;
        velloid::blurInto(p[0].data(), velloid::planeRows(picture.linear[1].data(), s.width), s.width, s.height, sigma,
                          sigma);
    };
}

std::function<Contest(const Picture&)> blurAgainstLiteral(double sigma) {
    return [=](const Picture& picture) {
        const Size size = picture.size;
        return onPlanes(copyOf(picture.linear[1]), Refill::Unseen, blur(picture, sigma), [=](Planes& p) {
            reference::blurSeparable(p[0].data(), size.width, size.height, sigma, sigma);
        });
    };
}

std::function<Contest(const Picture&)> blurAgainstOpenCv(double sigma) {
    return [=](const Picture& picture) {
        return againstPeer(copyOf(picture.linear[1]), Refill::Unseen, blur(picture, sigma),
                           opencvBlur(picture.linear[1], picture.size, sigma));
    };
}

Contest wideBlur(const Picture& picture) {
    const Size size = picture.size;
    const double sigma = 25.9;
    return onPlanes(
        copyOf(picture.linear[1]), Refill::Unseen,
        [=, &picture](Planes& p) {
            velloid::blurWideInto(p[0].data(), velloid::planeRows(picture.linear[1].data(), size.width), size.width,
                                  size.height, sigma, sigma);
        },
        [=](Planes& p) { reference::blurPyramid(p[0], size.width, size.height, sigma, sigma); });
}

// ---- stages of a chain ---------------------------------------------------------------------------------------------

// What `add` puts into a chain, from the planes of the picture to others.
Work stage(const Planes& from, const Size& size, std::function<void(velloid::RowChain&)> add) {
    return [&from, size, add = std::move(add)](Planes& p) {
        velloid::RowChain chain = velloid::chainOf(from[0], from[1], from[2], size.width, size.height);
        add(chain);
        chain.run({0, 0, size.width, size.height},
                  velloid::PlanesSink({{p[0].data(), p[1].data(), p[2].data()}, nullptr, size.width}));
    };
}

// ---- grain --------------------------------------------------------------------------------------------------------

Work noiseOf(const Picture& picture) {
    return [&picture](Planes& noise) {
        const Planes& in = picture.logC4;
        const float* const codes[3] = {in[0].data(), in[1].data(), in[2].data()};
        float* const out[3] = {noise[0].data(), noise[1].data(), noise[2].data()};
        velloid::grainNoise(codes, out, picture.size.width, picture.size.height, AMOUNT, STOCK, FRAME, 1.0, 1.0, 0, 0);
    };
}

// Compared as what it is for, added to the codes: where the cosine of a deviate crosses zero, 0 and 1e-19 are many
// floats apart and the same grain.
Differences differencesOnCodes(const Planes& codes, const Planes& a, const Planes& b) {
    Differences found;
    for (std::size_t c = 0; c < codes.size(); ++c) {
        for (std::size_t i = 0; i < codes[c].size(); ++i) {
            const float x = codes[c][i] + a[c][i];
            const float y = codes[c][i] + b[c][i];
            addDifferences(found, &x, &y, 1);
        }
    }
    return found;
}

Contest grainNoise(const Picture& picture) {
    const auto a = std::make_shared<Planes>(picture.logC4);
    const auto b = std::make_shared<Planes>(picture.logC4);
    const Work noise = noiseOf(picture);
    return {{[=] { noise(*a); }, {}},
            {[=, &picture] {
                 const Planes& codes = picture.logC4;
                 Planes& n = *b;
                 reference::grainNoise(codes[0], codes[1], codes[2], picture.size.width, picture.size.height, AMOUNT,
                                       STOCK, FRAME, 1.0, 1.0, 0, 0, n[0], n[1], n[2]);
             },
             {}},
            [=, &picture] { return differencesOnCodes(picture.logC4, *a, *b); },
            {}};
}

Contest grainNoiseAgainstRandn(const Picture& picture) {
    return againstPeer(borrowed(picture.logC4), Refill::Never, noiseOf(picture), opencvRandn(picture.size));
}

// From linear planes to linear planes, as a frame meets it.
Contest grain(const Picture& picture) {
    const Size s = picture.size;
    return onPlanes(
        borrowed(picture.linear), Refill::Unseen,
        stage(picture.linear, s,
              [=](velloid::RowChain& chain) {
                  chain.add("grain", velloid::onEachChannel(velloid::logc4EncodeRow));
                  chain.add("grain",
                            velloid::grainStage(s.width, s.height, AMOUNT, STOCK, FRAME, 1.0, 1.0, 1.0, 1.0, 0, 0));
                  chain.add("grain", velloid::onEachChannel(velloid::logc4DecodeRow));
              }),
        [=](Planes& p) {
            for (Plane& plane : p)
                reference::logc4EncodeRow(plane.data(), plane.data(), plane.size());
            reference::applyGrain(p[0], p[1], p[2], s.width, s.height, AMOUNT, STOCK, FRAME, 1.0, 1.0, 1.0, 1.0, 0, 0);
            for (Plane& plane : p)
                reference::logc4DecodeRow(plane.data(), plane.data(), plane.size());
        });
}

// ---- gate weave ---------------------------------------------------------------------------------------------------

velloid::WeaveMotion motion() {
    return velloid::weaveMotion(static_cast<int>(FRAME), 1.0, 1.0, 1.0);
}

Work weaveOf(const Picture& picture) {
    return [&picture, m = motion()](Planes& p) {
        const Planes& from = picture.linear;
        velloid::warpLanczosRGB(from[0].data(), from[1].data(), from[2].data(), p[0], p[1], p[2], picture.size.width,
                                picture.size.height, m.dx, m.dy, m.angle, 1.0, 1.0, nullptr, nullptr);
    };
}

Contest weave(const Picture& picture) {
    return onPlanes(borrowed(picture.linear), Refill::Never, weaveOf(picture), [&picture, m = motion()](Planes& p) {
        const Planes& from = picture.linear;
        reference::warpLanczosRGB(from[0].data(), from[1].data(), from[2].data(), p[0], p[1], p[2], picture.size.width,
                                  picture.size.height, m.dx, m.dy, m.angle, 1.0, 1.0, nullptr, nullptr);
    });
}

Contest weaveAgainstOpenCv(const Picture& picture) {
    return againstPeer(borrowed(picture.linear), Refill::Never, weaveOf(picture),
                       opencvWarp(picture.linear, picture.size, motion()));
}

// ---- the other effects --------------------------------------------------------------------------------------------

Contest flicker(const Picture& picture) {
    const Size s = picture.size;
    return onPlanes(borrowed(picture.linear), Refill::Unseen,
                    stage(picture.linear, s,
                          [](velloid::RowChain& chain) { chain.add("flicker", velloid::flickerRows(AMOUNT, FRAME)); }),
                    [=](Planes& p) { reference::applyFlicker(p[0], p[1], p[2], s.width, s.height, AMOUNT, FRAME); });
}

Contest detail(const Picture& picture) {
    const Size s = picture.size;
    return onPlanes(
        borrowed(picture.linear), Refill::Unseen,
        stage(picture.linear, s,
              [=](velloid::RowChain& chain) { velloid::addDetail(chain, s.width, s.height, AMOUNT, STOCK, 1.0, 1.0); }),
        [=](Planes& p) {
            reference::applyDetail(p[0], p[1], p[2], s.width, s.height, AMOUNT, velloid::detailProfile(STOCK), 1.0,
                                   1.0);
        });
}

// Sigmas of bloom and halation grow with the frame, as in a render at full scale.
Contest bloom(const Picture& picture) {
    const Size s = picture.size;
    const double sigma = velloid::bloomSize(1.0, 1.0, s.height).y;
    return onPlanes(
        borrowed(picture.linear), Refill::Unseen,
        [=, &picture](Planes& p) {
            const float* const from[3] = {picture.linear[0].data(), picture.linear[1].data(), picture.linear[2].data()};
            const velloid::RowChain chain(s.width, s.height, "bloom",
                                          velloid::bloomOrigin(from, s.width, s.height, AMOUNT, sigma, sigma));
            chain.run({0, 0, s.width, s.height},
                      velloid::PlanesSink({{p[0].data(), p[1].data(), p[2].data()}, nullptr, s.width}));
        },
        [=](Planes& p) { reference::applyBloom(p[0], p[1], p[2], s.width, s.height, AMOUNT, sigma, sigma); });
}

Contest halation(const Picture& picture) {
    const Size s = picture.size;
    const double scale = velloid::halationSize(1.0, 1.0, s.height).y;
    return onPlanes(borrowed(picture.linear), Refill::Unseen,
                    stage(picture.linear, s,
                          [=](velloid::RowChain& chain) {
                              chain.add("halation", velloid::halationStage(s.width, s.height, AMOUNT, scale, scale,
                                                                           velloid::halationProfile(STOCK)));
                          }),
                    [=](Planes& p) {
                        reference::applyHalation(p[0], p[1], p[2], s.width, s.height, AMOUNT, scale, scale,
                                                 velloid::halationProfile(STOCK));
                    });
}

Contest blackAndWhite(const Picture& picture) {
    const Size s = picture.size;
    return onPlanes(
        borrowed(picture.linear), Refill::Unseen,
        stage(picture.linear, s,
              [](velloid::RowChain& chain) { chain.add("black and white", velloid::blackAndWhiteRows(AMOUNT)); }),
        [=](Planes& p) { reference::applyBlackAndWhite(p[0], p[1], p[2], AMOUNT); });
}

} // namespace

std::vector<Stage> effectStages() {
    // clang-format off
    return {
        {"flicker",         "flicker",                        LITERAL,  "ns/pixel",  "", flicker},
        {"detail",          "detail",                         LITERAL,  "ns/pixel",  "", detail},
        {"blur-0.6",        "blur, sigma 0.6",                LITERAL,  "ns/sample", "", blurAgainstLiteral(0.6)},
        {"blur-2",          "blur, sigma 2",                  LITERAL,  "ns/sample", "", blurAgainstLiteral(2.0)},
        {"blur-7.3",        "blur, sigma 7.3",                LITERAL,  "ns/sample", "", blurAgainstLiteral(7.3)},
        {"blur-12",         "blur, sigma 12",                 LITERAL,  "ns/sample", "", blurAgainstLiteral(12.0)},
        {"blur-50",         "blur, sigma 50",                 LITERAL,  "ns/sample", "", blurAgainstLiteral(50.0)},
        {"blur-0.6-opencv", "blur, sigma 0.6",                "OpenCV", "ns/sample", "T5", blurAgainstOpenCv(0.6)},
        {"blur-2-opencv",   "blur, sigma 2",                  "OpenCV", "ns/sample", "", blurAgainstOpenCv(2.0)},
        {"blur-7.3-opencv", "blur, sigma 7.3",                "OpenCV", "ns/sample", "T6", blurAgainstOpenCv(7.3)},
        {"blur-12-opencv",  "blur, sigma 12",                 "OpenCV", "ns/sample", "", blurAgainstOpenCv(12.0)},
        {"blur-50-opencv",  "blur, sigma 50",                 "OpenCV", "ns/sample", "", blurAgainstOpenCv(50.0)},
        {"wide-blur",       "blur on half resolutions, 25.9", LITERAL,  "ns/sample", "T7", wideBlur},
        {"bloom",           "bloom",                          LITERAL,  "ns/pixel",  "", bloom},
        {"halation",        "halation",                       LITERAL,  "ns/pixel",  "", halation},
        {"grain-noise",     "grain noise, 3 channels",        LITERAL,  "ns/pixel",  "T10.literal", grainNoise},
        {"grain-noise-randn", "grain noise, 3 channels (the peer: deviates only)", "OpenCV", "ns/pixel", "T10.randn",
         grainNoiseAgainstRandn},
        {"grain",           "grain with its conversions",     LITERAL,  "ns/pixel",  "", grain},
        {"weave",           "gate weave, 3 planes",           LITERAL,  "ns/pixel",  "T11.literal", weave},
        {"weave-lanczos4",  "gate weave, 3 planes",           "OpenCV", "ns/pixel",  "T11.lanczos4",
         weaveAgainstOpenCv},
        {"black-and-white", "black and white",                LITERAL,  "ns/pixel",  "", blackAndWhite},
    };
    // clang-format on
}

} // namespace tarnwell::bench
