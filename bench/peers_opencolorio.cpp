#include "bench/peers.h"

#include <OpenColorIO/OpenColorIO.h>

#include <memory>
#include <vector>

namespace tarnwell::bench {

namespace {

namespace OCIO = OCIO_NAMESPACE;

std::vector<float> packed(const Planes& planes) {
    std::vector<float> pixels(4 * planes[0].size(), 1.0f);
    for (std::size_t i = 0; i < planes[0].size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            pixels[4 * i + c] = planes[c][i];
    }
    return pixels;
}

Planes unpacked(const std::vector<float>& pixels) {
    Planes planes(3, Plane(pixels.size() / 4));
    for (std::size_t i = 0; i < planes[0].size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            planes[c][i] = pixels[4 * i + c];
    }
    return planes;
}

// `transform` over packed pixels of the planes, which are put back before each run.
Peer processed(const Planes& planes, const Size& size, const OCIO::ConstTransformRcPtr& transform,
               OCIO::TransformDirection direction) {
    const auto cpu = OCIO::Config::CreateRaw()->getProcessor(transform, direction)->getDefaultCPUProcessor();
    const auto input = std::make_shared<const std::vector<float>>(packed(planes));
    const auto pixels = std::make_shared<std::vector<float>>(*input);
    const Size s = size;
    return {{[=] {
                 OCIO::PackedImageDesc image(pixels->data(), s.width, s.height, 4);
                 cpu->apply(image);
             },
             [=] { *pixels = *input; }},
            [=] { return unpacked(*pixels); }};
}

// S-Log3 in S-Gamut3.Cine to linear ACES2065-1: a camera logarithm and a matrix, as ours, though not the same matrix;
// so the results are not compared.
OCIO::ConstTransformRcPtr sLog3() {
    const OCIO::BuiltinTransformRcPtr transform = OCIO::BuiltinTransform::Create();
    transform->setStyle("SONY_SLOG3-SGAMUT3.CINE_to_ACES2065-1");
    return transform;
}

} // namespace

Facts openColorIoFacts() {
    return {{"OpenColorIO", OCIO::GetVersion()}};
}

Peer ocioDecodeSLog3(const Picture& picture) {
    return {processed(picture.codes, picture.size, sLog3(), OCIO::TRANSFORM_DIR_FORWARD).side, {}};
}

Peer ocioEncodeSLog3(const Picture& picture) {
    return {processed(picture.linear, picture.size, sLog3(), OCIO::TRANSFORM_DIR_INVERSE).side, {}};
}

Peer ocioCube(const Picture& picture, const std::string& path) {
    const OCIO::FileTransformRcPtr transform = OCIO::FileTransform::Create();
    transform->setSrc(path.c_str());
    transform->setInterpolation(OCIO::INTERP_TETRAHEDRAL);
    return processed(picture.codes, picture.size, transform, OCIO::TRANSFORM_DIR_FORWARD);
}

} // namespace tarnwell::bench
