// Samples stay interleaved as the file gave them; OpenImageIO turns and scales.
#include "pictures/picture.h"

#include "pictures/picture_error.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tarnwell {

namespace {

// The picture with only the given channels, in that order.
Picture withChannels(const Picture& picture, const std::vector<int>& kept, const ColorChannels& channels) {
    Picture out = picture;
    out.channels = channels;
    out.header.nchannels = static_cast<int>(kept.size());
    out.header.channelnames.clear();
    out.header.channelformats.clear();
    const bool mixed = !picture.header.channelformats.empty();
    for (const int i : kept) {
        out.header.channelnames.push_back(picture.header.channel_name(i));
        if (mixed) out.header.channelformats.push_back(picture.header.channelformat(i));
    }
    out.header.alpha_channel = channels.alpha;
    out.samples.resize(picture.pixelCount() * kept.size());
    for (std::size_t p = 0; p < picture.pixelCount(); ++p)
        for (std::size_t c = 0; c < kept.size(); ++c)
            out.samples[p * kept.size() + c] = picture.samples[p * static_cast<std::size_t>(picture.header.nchannels) +
                                                               static_cast<std::size_t>(kept[c])];
    return out;
}

int scaledLength(int length, double scale) {
    return std::max(1, static_cast<int>(std::lround(static_cast<double>(length) * scale)));
}

} // namespace

int Picture::extraChannels() const {
    return header.nchannels - (channels.grey() ? 1 : 3) - (hasAlpha() ? 1 : 0);
}

std::vector<float> colorsOf(const Picture& picture) {
    std::vector<float> rgba(picture.pixelCount() * 4);
    const ColorChannels& at = picture.channels;
    const float* pixel = picture.samples.data();
    for (std::size_t p = 0; p < picture.pixelCount(); ++p, pixel += picture.header.nchannels) {
        rgba[p * 4] = pixel[at.red];
        rgba[p * 4 + 1] = pixel[at.green];
        rgba[p * 4 + 2] = pixel[at.blue];
        rgba[p * 4 + 3] = at.alpha >= 0 ? pixel[at.alpha] : 1.0f;
    }
    return rgba;
}

void putColors(Picture& picture, const std::vector<float>& rgba) {
    if (rgba.size() != picture.pixelCount() * 4) throw std::invalid_argument("putColors: wrong number of samples");
    if (picture.channels.grey()) {
        const int alpha = picture.channels.alpha;
        picture = withChannels(
            picture,
            alpha >= 0 ? std::vector<int>{picture.channels.red, picture.channels.red, picture.channels.red, alpha}
                       : std::vector<int>(3, picture.channels.red),
            {0, 1, 2, alpha >= 0 ? 3 : -1});
        picture.header.default_channel_names();
    }
    const ColorChannels& at = picture.channels;
    float* pixel = picture.samples.data();
    for (std::size_t p = 0; p < picture.pixelCount(); ++p, pixel += picture.header.nchannels) {
        pixel[at.red] = rgba[p * 4];
        pixel[at.green] = rgba[p * 4 + 1];
        pixel[at.blue] = rgba[p * 4 + 2];
        if (at.alpha >= 0) pixel[at.alpha] = rgba[p * 4 + 3];
    }
}

Picture cutToDisplay(const Picture& picture) {
    Picture cut = picture;
    OIIO::ImageSpec& to = cut.header;
    to.x = to.full_x, to.y = to.full_y, to.width = to.full_width, to.height = to.full_height;
    cut.samples.assign(cut.pixelCount() * to.nchannels, 0.0f);
    const OIIO::ImageSpec& from = picture.header;
    const int left = std::max(from.x, to.x), right = std::min(from.x + from.width, to.x + to.width);
    for (int y = std::max(from.y, to.y); left < right && y < std::min(from.y + from.height, to.y + to.height); ++y) {
        const std::size_t source =
            (static_cast<std::size_t>(y - from.y) * from.width + (left - from.x)) * from.nchannels;
        const std::size_t target = (static_cast<std::size_t>(y - to.y) * to.width + (left - to.x)) * to.nchannels;
        std::copy_n(picture.samples.begin() + static_cast<std::ptrdiff_t>(source),
                    static_cast<std::size_t>(right - left) * from.nchannels,
                    cut.samples.begin() + static_cast<std::ptrdiff_t>(target));
    }
    return cut;
}

Picture onlyColors(const Picture& picture, bool keepAlpha) {
    const ColorChannels& at = picture.channels;
    std::vector<int> kept = at.grey() ? std::vector<int>{at.red} : std::vector<int>{at.red, at.green, at.blue};
    const int last = static_cast<int>(kept.size());
    if (keepAlpha && picture.hasAlpha()) kept.push_back(at.alpha);
    const ColorChannels channels = {0, at.grey() ? 0 : 1, at.grey() ? 0 : 2,
                                    keepAlpha && picture.hasAlpha() ? last : -1};
    Picture out = withChannels(picture, kept, channels);
    out.header.default_channel_names();
    return out;
}

bool shinesWithoutAlpha(const Picture& picture) {
    if (!picture.premultiplied) return false;
    const std::size_t step = static_cast<std::size_t>(picture.header.nchannels);
    for (std::size_t p = 0; p < picture.pixelCount(); ++p) {
        const float* pixel = picture.samples.data() + p * step;
        if (pixel[picture.channels.alpha] > 0.0f) continue;
        for (const int colour : {picture.channels.red, picture.channels.green, picture.channels.blue})
            if (pixel[colour] > 0.0f) return true;
    }
    return false;
}

void unassociate(Picture& picture) {
    const std::size_t step = static_cast<std::size_t>(picture.header.nchannels);
    for (std::size_t p = 0; p < picture.pixelCount(); ++p) {
        float* pixel = picture.samples.data() + p * step;
        const float alpha = pixel[picture.channels.alpha];
        if (!(alpha > 0.0f) || !std::isfinite(alpha)) continue;
        pixel[picture.channels.red] /= alpha;
        if (picture.channels.grey()) continue;
        pixel[picture.channels.green] /= alpha;
        pixel[picture.channels.blue] /= alpha;
    }
    picture.premultiplied = false;
}

void turnUpright(Picture& picture) {
    if (picture.header.get_int_attribute("Orientation", 1) == 1) return;
    OIIO::ImageSpec spec = picture.header;
    spec.set_format(OIIO::TypeDesc::FLOAT);
    spec.channelformats.clear();
    const OIIO::ImageBuf stored(spec, picture.samples.data());
    const OIIO::ImageBuf upright = OIIO::ImageBufAlgo::reorient(stored);
    upright.get_pixels(upright.roi(), OIIO::TypeDesc::FLOAT, picture.samples.data());
    picture.header.width = upright.spec().width;
    picture.header.height = upright.spec().height;
    picture.header.x = upright.spec().x;
    picture.header.y = upright.spec().y;
    picture.header.full_x = upright.spec().full_x;
    picture.header.full_y = upright.spec().full_y;
    picture.header.full_width = upright.spec().full_width;
    picture.header.full_height = upright.spec().full_height;
    picture.header.attribute("Orientation", 1);
}

Picture scaledPicture(const Picture& picture, double scale) {
    if (scale == 1.0) return picture;
    Picture out = picture;
    OIIO::ImageSpec& to = out.header;
    to.x = static_cast<int>(std::lround(to.x * scale)), to.y = static_cast<int>(std::lround(to.y * scale));
    to.full_x = static_cast<int>(std::lround(to.full_x * scale)),
    to.full_y = static_cast<int>(std::lround(to.full_y * scale));
    to.width = scaledLength(to.width, scale), to.height = scaledLength(to.height, scale);
    to.full_width = scaledLength(to.full_width, scale), to.full_height = scaledLength(to.full_height, scale);
    out.samples.resize(out.pixelCount() * static_cast<std::size_t>(to.nchannels));
    // plain windows for the filter: only the samples matter
    const OIIO::ImageSpec from(picture.header.width, picture.header.height, picture.header.nchannels,
                               OIIO::TypeDesc::FLOAT);
    const OIIO::ImageBuf source(from, const_cast<float*>(picture.samples.data()));
    OIIO::ImageBuf target(OIIO::ImageSpec(to.width, to.height, to.nchannels, OIIO::TypeDesc::FLOAT),
                          out.samples.data());
    if (!OIIO::ImageBufAlgo::resize(target, source, "triangle", 0.0f, target.roi()))
        throw PictureError(PictureFault::Failure, fmt::format("scaling failed: {}", target.geterror()));
    return out;
}

} // namespace tarnwell
