// The plug-in gets rows from the bottom up or, as here, from the top down with negative row bytes: pictures are stored
// top row first and no row is moved.
#include "program/frame_renderer.h"

#include "host/status.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tarnwell {

namespace {

OIIO::TypeDesc typeOfDepth(const std::string& depth) {
    if (depth == kOfxBitDepthFloat) return OIIO::TypeDesc::FLOAT;
    if (depth == kOfxBitDepthHalf) return OIIO::TypeDesc::HALF;
    if (depth == kOfxBitDepthShort) return OIIO::TypeDesc::UINT16;
    if (depth == kOfxBitDepthByte) return OIIO::TypeDesc::UINT8;
    throw HostError(fmt::format("pixel depth {} is not supported", depth));
}

// Which of R, G, B, A the components are.
std::vector<std::size_t> channelsOf(const std::string& components) {
    if (components == kOfxImageComponentRGBA) return {0, 1, 2, 3};
    if (components == kOfxImageComponentRGB) return {0, 1, 2};
    if (components == kOfxImageComponentAlpha) return {3};
    throw HostError(fmt::format("components {} are not supported", components));
}

std::string preMultiplicationOf(const Picture& picture) {
    if (!picture.hasAlpha()) return kOfxImageOpaque;
    return picture.isCutOut() ? kOfxImagePreMultiplied : kOfxImageUnPreMultiplied;
}

// The image whose top row is the first in memory.
ImageDesc describeImage(std::vector<unsigned char>& pixels, const OfxRectI& bounds, const std::string& depth,
                        const std::string& components, const std::string& preMultiplication) {
    const auto rowBytes = static_cast<std::ptrdiff_t>(bytesPerPixel(depth, components)) * (bounds.x2 - bounds.x1);
    ImageDesc image;
    image.data = pixels.data() + rowBytes * (bounds.y2 - bounds.y1 - 1);
    image.bounds = bounds;
    image.rowBytes = -rowBytes;
    image.depth = depth;
    image.components = components;
    image.preMultiplication = preMultiplication;
    return image;
}

// Whole pixels that hold the region, at the render scale.
OfxRectI pixelsOf(const OfxRectD& region, double scale, double aspect) {
    constexpr double SLACK = 1e-3; // a region computed in floating point must not grow by a pixel
    const auto down = [&](double v) { return static_cast<int>(std::floor(v + SLACK)); };
    const auto up = [&](double v) { return static_cast<int>(std::ceil(v - SLACK)); };
    return {down(region.x1 * scale / aspect), down(region.y1 * scale), up(region.x2 * scale / aspect),
            up(region.y2 * scale)};
}

bool isEmpty(const OfxRectI& rect) {
    return rect.x1 >= rect.x2 || rect.y1 >= rect.y2;
}

bool sameRect(const OfxRectI& a, const OfxRectI& b) {
    return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2;
}

// Gives the picture another data window; only its colours stay.
void replaceWindow(Picture& picture, const OfxRectI& bounds) {
    OIIO::ImageSpec& header = picture.header;
    header.x = header.full_x + bounds.x1;
    header.y = header.full_y + header.full_height - bounds.y2;
    header.width = bounds.x2 - bounds.x1;
    header.height = bounds.y2 - bounds.y1;
    header.nchannels = picture.hasAlpha() ? 4 : 3;
    header.channelformats.clear();
    header.default_channel_names();
    header.alpha_channel = picture.hasAlpha() ? 3 : -1;
    picture.channels = {0, 1, 2, picture.hasAlpha() ? 3 : -1};
    picture.samples.assign(picture.pixelCount() * static_cast<std::size_t>(header.nchannels), 0.0f);
}

} // namespace

std::vector<unsigned char> packPixels(const std::vector<float>& rgba, const std::string& depth,
                                      const std::string& components) {
    const OIIO::TypeDesc type = typeOfDepth(depth);
    const auto channels = channelsOf(components);
    std::vector<float> chosen(rgba.size() / 4 * channels.size());
    for (std::size_t p = 0; p < rgba.size() / 4; ++p)
        for (std::size_t c = 0; c < channels.size(); ++c)
            chosen[p * channels.size() + c] = rgba[p * 4 + channels[c]];
    std::vector<unsigned char> pixels(chosen.size() * type.size());
    OIIO::convert_types(OIIO::TypeDesc::FLOAT, chosen.data(), type, pixels.data(), static_cast<int>(chosen.size()));
    return pixels;
}

void unpackPixels(const std::vector<unsigned char>& pixels, const std::string& depth, const std::string& components,
                  std::vector<float>& rgba) {
    const OIIO::TypeDesc type = typeOfDepth(depth);
    const auto channels = channelsOf(components);
    std::vector<float> chosen(rgba.size() / 4 * channels.size());
    OIIO::convert_types(type, pixels.data(), OIIO::TypeDesc::FLOAT, chosen.data(), static_cast<int>(chosen.size()));
    for (std::size_t p = 0; p < rgba.size() / 4; ++p)
        for (std::size_t c = 0; c < channels.size(); ++c)
            rgba[p * 4 + channels[c]] = chosen[p * channels.size() + c];
}

OfxRectI boundsOf(const OIIO::ImageSpec& header) {
    const int left = header.x - header.full_x;
    const int bottom = header.full_y + header.full_height - (header.y + header.height);
    return {left, bottom, left + header.width, bottom + header.height};
}

Instance& FrameRenderer::instanceFor(const Key& key, const OfxRangeD& range) {
    if (instance_ && key == key_) return *instance_;
    InstanceOptions options;
    options.preMultiplication = key.preMultiplication;
    options.projectSize = {key.width, key.height};
    options.pixelAspect = key.aspect;
    options.frameRange = range;
    const auto contexts = session_.effect().contexts();
    const bool filter = std::find(contexts.begin(), contexts.end(), kOfxImageEffectContextFilter) != contexts.end();
    if (!filter) options.context = kOfxImageEffectContextGeneral;
    instance_.reset(); // before the next is made: a plug-in may allow one only
    instance_ = session_.instanceWith(options, settings_);
    instance_->create();
    key_ = key;
    return *instance_;
}

void FrameRenderer::render(Picture& picture, int frame, const OfxRangeD& range) {
    const double aspect =
        std::max(1e-3, static_cast<double>(picture.header.get_float_attribute("PixelAspectRatio", 1.0f)));
    const Key key{picture.header.full_width / scale_ * aspect, picture.header.full_height / scale_, aspect,
                  preMultiplicationOf(picture)};
    Instance& instance = instanceFor(key, range);
    const std::string depth = instance.depth(), components = instance.components();
    const std::string outDepth = instance.depth(kOfxImageEffectOutputClipName);
    const std::string outComponents = instance.components(kOfxImageEffectOutputClipName);

    RenderRequest request;
    request.time = frame;
    request.renderScale = {scale_, scale_};
    request.pixelAspect = aspect;
    request.frameRange = range;
    const OfxRectI bounds = boundsOf(picture.header);
    const OfxRectD sourceRegion{bounds.x1 / scale_ * aspect, bounds.y1 / scale_, bounds.x2 / scale_ * aspect,
                                bounds.y2 / scale_};
    const OfxRectI wanted =
        pixelsOf(instance.regionOfDefinition(frame, request.renderScale, sourceRegion), scale_, aspect);
    if (isEmpty(wanted)) throw HostError("the plug-in's region of definition is empty");

    std::vector<float> rgba = colorsOf(picture);
    std::vector<unsigned char> source = packPixels(rgba, depth, components);
    request.source = describeImage(source, bounds, depth, components, key.preMultiplication);
    if (!sameRect(wanted, bounds)) {
        replaceWindow(picture, wanted);
        rgba = colorsOf(picture);
    }
    std::vector<unsigned char> output(rgba.size() / 4 * bytesPerPixel(outDepth, outComponents));
    request.output = describeImage(output, wanted, outDepth, outComponents, key.preMultiplication);
    request.window = wanted;
    if (stats_) request.adjustInArgs = [this](PropertySet& args) { stats_->ask(args); };
    const auto renderIt = [&] { device_ ? device_->renderFrame(instance, request) : instance.renderFrame(request); };
    if (stats_)
        stats_->timed(RunStats::PLUGIN_PHASE, renderIt);
    else
        renderIt();
    unpackPixels(output, outDepth, outComponents, rgba);
    putColors(picture, rgba);
}

} // namespace tarnwell
