// The encodings against OpenColorIO, which has its own copies of the makers' curves and primaries.
#include "color/colorspace.h"

#include <OpenColorIO/OpenColorIO.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

namespace {

using namespace velloid;
namespace OCIO = OCIO_NAMESPACE;

using Pixel = std::array<float, 3>;

OCIO::ConstCPUProcessorRcPtr processorOf(const OCIO::ConstTransformRcPtr& transform,
                                         OCIO::TransformDirection direction) {
    const OCIO::ConstConfigRcPtr config = OCIO::Config::CreateRaw();
    // Without optimisation the curves are evaluated, not approximated.
    return config->getProcessor(transform, direction)
        ->getOptimizedCPUProcessor(OCIO::BIT_DEPTH_F32, OCIO::BIT_DEPTH_F32, OCIO::OPTIMIZATION_NONE);
}

OCIO::ConstTransformRcPtr builtin(const char* style) {
    const OCIO::BuiltinTransformRcPtr transform = OCIO::BuiltinTransform::Create();
    transform->setStyle(style);
    return transform;
}

Pixel apply(const OCIO::ConstCPUProcessorRcPtr& processor, Pixel p) {
    processor->applyRGB(p.data());
    return p;
}

struct BuiltinCase {
    IOSpace space;
    const char* style;
};

const BuiltinCase BUILTINS[] = {
    {IOSpace::LogC3, "ARRI_ALEXA-LOGC-EI800-AWG_to_ACES2065-1"}, {IOSpace::AcesCct, "ACEScct_to_ACES2065-1"},
    {IOSpace::SLog3, "SONY_SLOG3-SGAMUT3.CINE_to_ACES2065-1"},   {IOSpace::VLog, "PANASONIC_VLOG-VGAMUT_to_ACES2065-1"},
    {IOSpace::CLog2, "CANON_CLOG2-CGAMUT_to_ACES2065-1"},        {IOSpace::CLog3, "CANON_CLOG3-CGAMUT_to_ACES2065-1"},
    {IOSpace::Log3G10, "RED_LOG3G10-RWG_to_ACES2065-1"},
};

// Neutral codes stay neutral through any adapted matrix, so that they show the curve alone. OpenColorIO works in float,
// and its curves there are good to a few 1e-6 of the value.
TEST(EncodingsAgainstOpenColorIO, NeutralCodesDecodeToTheSameLight) {
    for (const BuiltinCase& c : BUILTINS) {
        const auto processor = processorOf(builtin(c.style), OCIO::TRANSFORM_DIR_FORWARD);
        for (int i = 0; i <= 100; ++i) {
            const float code = 0.01f * static_cast<float>(i);
            const Pixel theirs = apply(processor, {code, code, code});
            const double ours = transferDecode(code, c.space);
            ASSERT_NEAR(ours, theirs[1], 2e-5 * std::fabs(ours) + 2e-6) << c.style << " at code " << code;
        }
    }
}

// From one encoding to another, over our working space and over ACES2065-1. The light of a colour survives whichever
// space lies between, except for what two chromatic adaptations differ by: OpenColorIO adapts every camera to the ACES
// white by the method that its maker chose. Measured over these colours: up to 0.0014 of code (RED to LogC3).
Pixel overOurs(const Pixel& code, IOSpace from, IOSpace to) {
    double R, G, B, r, g, b;
    decodeToLinearAWG4(code[0], code[1], code[2], from, R, G, B);
    encodeFromLinearAWG4(R, G, B, to, r, g, b);
    return {static_cast<float>(r), static_cast<float>(g), static_cast<float>(b)};
}

TEST(EncodingsAgainstOpenColorIO, ColoursTravelBetweenEncodingsAlike) {
    const Pixel colours[] = {{0.45f, 0.40f, 0.38f}, {0.35f, 0.42f, 0.40f}, {0.40f, 0.38f, 0.47f}, {0.5f, 0.48f, 0.4f}};
    for (const BuiltinCase& from : BUILTINS) {
        const auto decode = processorOf(builtin(from.style), OCIO::TRANSFORM_DIR_FORWARD);
        for (const BuiltinCase& to : BUILTINS) {
            const auto encode = processorOf(builtin(to.style), OCIO::TRANSFORM_DIR_INVERSE);
            for (const Pixel& colour : colours) {
                const Pixel theirs = apply(encode, apply(decode, colour));
                const Pixel ours = overOurs(colour, from.space, to.space);
                for (std::size_t c = 0; c < 3; ++c)
                    EXPECT_NEAR(ours[c], theirs[c], 1.5e-3) << from.style << " to " << to.style << ", channel " << c;
            }
        }
    }
}

struct CameraCase {
    IOSpace space;
    double base;
    double logSideSlope, logSideOffset, linSideSlope, linSideOffset, linSideBreak;
    double linearSlope; // of the toe; 0: continues the logarithm's tangent
    double tolerance;
};

// OpenColorIO's camera logarithm: code = logSideSlope*log_base(linSideSlope*x + linSideOffset) + logSideOffset above
// the break, a line below. Constants as the makers print them, passed to code that is not ours. F-Log's published toe
// misses its logarithm by 1.0e-4 of code where they join; OpenColorIO lets the toe start at the logarithm.
const CameraCase CAMERAS[] = {
    {IOSpace::LogC4, 2.0, 0.9071358748778103 / 14.0, 0.09286412512218964 - 6.0 * 0.9071358748778103 / 14.0,
     2231.8263090676883, 64.0, -0.01805699611991131, 0.0, 2e-6},
    {IOSpace::DaVinciIntermediate, 2.0, 0.07329248, 0.07329248 * 7.0, 1.0, 0.0075, 0.00262409, 10.44426855, 2e-6},
    {IOSpace::FLog, 10.0, 0.344676, 0.790453, 0.555556, 0.009468, 0.00089, 8.735631, 1.1e-4},
};

OCIO::LogCameraTransformRcPtr cameraTransform(const CameraCase& c) {
    const double breaks[3] = {c.linSideBreak, c.linSideBreak, c.linSideBreak};
    const double logSideSlope[3] = {c.logSideSlope, c.logSideSlope, c.logSideSlope};
    const double logSideOffset[3] = {c.logSideOffset, c.logSideOffset, c.logSideOffset};
    const double linSideSlope[3] = {c.linSideSlope, c.linSideSlope, c.linSideSlope};
    const double linSideOffset[3] = {c.linSideOffset, c.linSideOffset, c.linSideOffset};
    const double linearSlope[3] = {c.linearSlope, c.linearSlope, c.linearSlope};
    const OCIO::LogCameraTransformRcPtr transform = OCIO::LogCameraTransform::Create(breaks);
    transform->setBase(c.base);
    transform->setLogSideSlopeValue(logSideSlope);
    transform->setLogSideOffsetValue(logSideOffset);
    transform->setLinSideSlopeValue(linSideSlope);
    transform->setLinSideOffsetValue(linSideOffset);
    if (c.linearSlope > 0.0) transform->setLinearSlopeValue(linearSlope);
    return transform;
}

TEST(EncodingsAgainstOpenColorIO, CameraLogarithmsGiveTheSameCodes) {
    for (const CameraCase& c : CAMERAS) {
        const auto transform = cameraTransform(c);
        const auto processor = processorOf(transform, OCIO::TRANSFORM_DIR_FORWARD);
        for (double x : {-0.05, -0.02, -0.01, 0.0, 0.0005, 0.001, 0.003, 0.02, 0.18, 0.9, 4.0, 40.0}) {
            const float linear = static_cast<float>(x);
            const Pixel theirs = apply(processor, {linear, linear, linear});
            EXPECT_NEAR(transferEncode(linear, c.space), theirs[0], c.tolerance)
                << ioSpaceLabel(c.space) << " at " << x;
        }
    }
}

} // namespace
