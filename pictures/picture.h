// A picture in memory: float samples, where its colours stand among them, and everything else that its file said. What
// reading, writing and rendering do with one before and after stands here; files are image_file.h's.
#pragma once

#include <OpenImageIO/imageio.h>

#include <cstddef>
#include <vector>

namespace tarnwell {

// Where the colours stand among a picture's channels; -1: the picture has none. A grey picture names one channel
// thrice.
struct ColorChannels {
    int red = -1, green = -1, blue = -1, alpha = -1;
    bool grey() const { return red == green; }
};

struct Picture {
    OIIO::ImageSpec header; // as the file gave it; x, y, width, height: data window, full_*: display window
    ColorChannels channels;
    std::vector<float> samples; // header.width * header.height * header.nchannels, top row first, channels interleaved
    bool premultiplied = false; // colours are multiplied by alpha (false without alpha)
    bool luminous = false;      // there is light where alpha is 0 (a flame): alpha then is no coverage of the colours
    int parts = 1;              // pictures in the file; the first one is read

    bool hasAlpha() const { return channels.alpha >= 0; }
    // Colours to divide by alpha before they are light.
    bool isCutOut() const { return premultiplied && !luminous; }
    std::size_t pixelCount() const { return static_cast<std::size_t>(header.width) * header.height; }
    int extraChannels() const; // channels beside colours and alpha
};

// The colours of a picture as RGBA (alpha 1 where there is none), top row first; and back. Channels that are no colour
// keep their samples; a grey picture becomes an RGB one when colours are put into it. Throws std::invalid_argument
// unless there are four samples for every pixel.
std::vector<float> colorsOf(const Picture& picture);
void putColors(Picture& picture, const std::vector<float>& rgba);

// The colours alone, with alpha if wanted and there; channels get the names R, G, B, A.
Picture onlyColors(const Picture& picture, bool keepAlpha);

// The picture at `scale` (above 0) of its size, all channels, both windows; 1 changes nothing. For working-space light:
// the filter is a triangle, so that no bright edge rings. Throws PictureError (Failure).
Picture scaledPicture(const Picture& picture, double scale);

// The window that the display window shows, black where there is no data.
Picture cutToDisplay(const Picture& picture);

// Turns a photograph upright, so that film moves and halos lie as the viewer sees them whatever the output can note.
void turnUpright(Picture& picture);

// Divides colours by alpha, where alpha is not zero: what PNG stores. Only for a picture that has alpha.
void unassociate(Picture& picture);

// Whether any pixel shines without covering anything, as flames and glows in renders and photographs do.
bool shinesWithoutAlpha(const Picture& picture);

} // namespace tarnwell
