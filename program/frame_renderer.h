// One picture through a plug-in: colours out of the picture, into the pixel format that the plug-in takes, rendered,
// back into the picture.
#pragma once

#include "pictures/picture.h"
#include "program/opencl_frames.h"
#include "program/plugin_session.h"
#include "program/run_stats.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarnwell {

// RGBA floats (1 is the full code of whole numbers) to the rows of an OpenFX image and back. `depth` and `components`
// are OpenFX names; colours of 8 and 16 bit are clamped to [0, 1]. Unpacking leaves alone what the format has no room
// for. Throws HostError for unknown names.
std::vector<unsigned char> packPixels(const std::vector<float>& rgba, const std::string& depth,
                                      const std::string& components);
void unpackPixels(const std::vector<unsigned char>& pixels, const std::string& depth, const std::string& components,
                  std::vector<float>& rgba);

// Where a picture's data window lies for a plug-in, in pixels: origin at the display window's lower left corner, y up.
OfxRectI boundsOf(const OIIO::ImageSpec& header);

// Renders pictures one after the other, with an instance of its own; a new one when size or kind changes. One per
// thread.
class FrameRenderer {
public:
    // On the CPU when `device` is null; `scale` (above 0) is that of the pictures to come; `stats` (null: none) hears
    // of the plug-in's time.
    FrameRenderer(PluginSession& session, const Settings& settings, double scale, OpenClFrames* device = nullptr,
                  RunStats* stats = nullptr)
        : session_(session), settings_(settings), scale_(scale), device_(device), stats_(stats) {}

    // Replaces the picture's colours by the rendered ones; `picture` is scaled already. A plug-in that makes the frame
    // larger or smaller changes the data window, and channels that are no colour go. Throws HostError.
    // `range`: first and last frame of the sequence.
    void render(Picture& picture, int frame, const OfxRangeD& range);

private:
    struct Key {
        double width, height, aspect;
        std::string preMultiplication;
        bool operator==(const Key&) const = default;
    };

    Instance& instanceFor(const Key& key, const OfxRangeD& range);

    PluginSession& session_;
    const Settings& settings_;
    double scale_;
    OpenClFrames* device_;
    RunStats* stats_;
    std::unique_ptr<Instance> instance_;
    Key key_{};
};

} // namespace tarnwell
