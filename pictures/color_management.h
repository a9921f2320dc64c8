// Which colour space a file holds, and the way from one to another.
// The names of the program's own configuration (color_config.h) are always known. When $OCIO names a configuration, its
// spaces, aliases and roles are known too and come first; the two meet in ACES2065-1 by that configuration's role
// aces_interchange.
#pragma once

#include "pictures/image_file.h"

#include <OpenColorIO/OpenColorIO.h>

#include <string>
#include <vector>

namespace tarnwell {

// One way between two spaces. Safe to use from several threads at once.
class ColorConversion {
public:
    ColorConversion() = default; // changes nothing
    explicit ColorConversion(OCIO_NAMESPACE::ConstCPUProcessorRcPtr processor) : processor_(std::move(processor)) {}

    bool isNothing() const { return !processor_ || processor_->isNoOp(); }

    // RGBA pixels, four floats each, in place; alpha stays. With `premultiplied` the colours are divided by alpha first
    // and multiplied again after, except where alpha is 0: light without cover is converted as it stands.
    void apply(std::vector<float>& rgba, bool premultiplied) const;

private:
    OCIO_NAMESPACE::ConstCPUProcessorRcPtr processor_;
};

class ColorManager {
public:
    // With the configuration that $OCIO names, or without one. Throws PictureError (Failure) when $OCIO cannot be read.
    static ColorManager fromEnvironment();
    // With the file at `path` as the user's configuration; "": none.
    static ColorManager withConfig(const std::string& path);

    // The space that `name` (a name, alias or role, upper and lower case equal) means. Throws PictureError (Request)
    // naming the nearest.
    std::string resolve(const std::string& name) const;
    bool knows(const std::string& name) const;
    std::vector<std::string> names() const; // the user's spaces, then those of the program that they do not hide

    // Throws PictureError: (Request) unknown name, (Failure) when no way leads from one to the other.
    ColorConversion conversion(const std::string& from, const std::string& to) const;

private:
    OCIO_NAMESPACE::ConstConfigRcPtr user_; // may be null
    OCIO_NAMESPACE::ConstConfigRcPtr configOf(const std::string& name) const;
};

// A colour space and why it was assumed, for the one line that the user sees: "Linear Rec.709 (OpenEXR without
// chromaticities)".
struct SpaceChoice {
    std::string space;
    std::string reason;
};

// From the header: chromaticities, the space it names, the transfer that DPX names, the depth. `ending`: "exr".
// A display picture (8 or 16 bit whole numbers) is taken as seen through the gentle view, so that its white stands for
// light above the scene's white and an unchanged picture comes back unchanged.
SpaceChoice inputSpace(const Picture& picture, const std::string& ending, const ColorManager& colors);

// What a file with this ending and depth should hold when `input` went in: the input's own space where it is of the
// same kind (scene light, film code, display), else Linear Rec.709, Cineon, or the gentle view.
SpaceChoice outputSpace(const std::string& ending, Depth depth, const SpaceChoice& input);

// Notes the space in a header, so that the next program needs no guess: chromaticities, oiio:ColorSpace, DPX transfer.
void noteSpace(OIIO::ImageSpec& header, const std::string& space, const std::string& ending);

} // namespace tarnwell
