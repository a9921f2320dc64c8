// OpenColorIO does the arithmetic, without its shortcuts (fast logarithms, merged tables): a round trip through an
// encoding must cost no more than float rounding.
#include "pictures/color_management.h"

#include "pictures/color_config.h"
#include "pictures/picture_error.h"
#include "text/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <set>

namespace tarnwell {

namespace {

namespace ocio = OCIO_NAMESPACE;

struct Primaries {
    const char* space;
    const char* label;
    std::array<float, 8> xy; // red, green, blue, white
};

// ITU-R BT.709; Academy S-2014-004 (AP1); SMPTE ST 2065-1 (AP0).
// clang-format off
constexpr std::array<Primaries, 3> KNOWN_PRIMARIES{{
    {SPACE_LINEAR_REC709, "Rec.709", {0.64f,   0.33f,   0.30f, 0.60f, 0.15f,   0.06f,    0.3127f,  0.3290f}},
    {SPACE_ACESCG,        "AP1",     {0.713f,  0.293f,  0.165f, 0.83f, 0.128f, 0.044f,   0.32168f, 0.33767f}},
    {SPACE_ACES,          "AP0",     {0.7347f, 0.2653f, 0.0f,  1.0f,  0.0001f, -0.077f,  0.32168f, 0.33767f}},
}};
// clang-format on

const Primaries* primariesLike(const float* xy) {
    constexpr float TOLERANCE = 2e-3f; // files round to three or four places
    for (const Primaries& known : KNOWN_PRIMARIES) {
        bool equal = true;
        for (std::size_t i = 0; i < known.xy.size(); ++i)
            equal = equal && std::abs(known.xy[i] - xy[i]) <= TOLERANCE;
        if (equal) return &known;
    }
    return nullptr;
}

// Names that OpenImageIO and other programs write for what this program calls otherwise; "" when none.
std::string spaceNamedInFile(const std::string& named) {
    const std::string name = lowered(named);
    if (name == "linear" || name == "scene_linear" || name == "lin_rec709" || name == "lin_srgb")
        return SPACE_LINEAR_REC709;
    if (name == "kodaklog" || name == "cineon") return SPACE_CINEON;
    if (name == "rec709" || name == "gamma2.4") return SPACE_REC709_G24;
    return {};
}

enum class Kind { Scene, Film, Display };

bool isDisplaySpace(const std::string& space) {
    return space == SPACE_SRGB || space == SPACE_GENTLE || space == SPACE_REC709_G24;
}

bool isLinearSpace(const std::string& space) {
    return space == SPACE_LINEAR_REC709 || space == SPACE_ACESCG || space == SPACE_ACES ||
           space.compare(0, 7, "Linear/") == 0;
}

Kind kindOf(const std::string& ending, Depth depth) {
    if (ending == "dpx" || ending == "cin") return Kind::Film;
    return isFloatDepth(depth) ? Kind::Scene : Kind::Display;
}

SpaceChoice fallbackSpace(const Picture& picture, const std::string& ending) {
    if (ending == "dpx" || ending == "cin") return {SPACE_CINEON, "DPX without a named transfer"};
    const bool whole = picture.header.format.basetype == OIIO::TypeDesc::UINT8 ||
                       picture.header.format.basetype == OIIO::TypeDesc::UINT16;
    if (whole) return {SPACE_GENTLE, fmt::format("a display picture, {} bit", picture.header.format.size() * 8)};
    return {SPACE_LINEAR_REC709, "floating point without chromaticities"};
}

void divideByAlpha(std::vector<float>& rgba, std::vector<float>& alphas) {
    for (std::size_t p = 0; p < alphas.size(); ++p) {
        const float alpha = rgba[p * 4 + 3];
        alphas[p] = alpha > 0.0f && std::isfinite(alpha) ? alpha : 1.0f;
        for (std::size_t c = 0; c < 3; ++c)
            rgba[p * 4 + c] /= alphas[p];
    }
}

void multiplyByAlpha(std::vector<float>& rgba, const std::vector<float>& alphas) {
    for (std::size_t p = 0; p < alphas.size(); ++p)
        for (std::size_t c = 0; c < 3; ++c)
            rgba[p * 4 + c] *= alphas[p];
}

// The name under which `config` itself knows what was asked; "" when it does not.
std::string nameIn(const ocio::ConstConfigRcPtr& config, const std::string& name) {
    if (!config) return {};
    const auto space = config->getColorSpace(name.c_str()); // names, aliases and roles, any case
    return space ? space->getName() : "";
}

} // namespace

void ColorConversion::apply(std::vector<float>& rgba, bool premultiplied) const {
    if (isNothing() || rgba.empty()) return;
    const std::size_t pixels = rgba.size() / 4;
    std::vector<float> alphas(premultiplied ? pixels : 0);
    if (premultiplied) divideByAlpha(rgba, alphas);
    ocio::PackedImageDesc image(rgba.data(), static_cast<long>(pixels), 1, 4);
    processor_->apply(image);
    if (premultiplied) multiplyByAlpha(rgba, alphas);
}

ColorManager ColorManager::fromEnvironment() {
    const char* path = std::getenv("OCIO");
    return withConfig(path ? path : "");
}

ColorManager ColorManager::withConfig(const std::string& path) {
    ColorManager manager;
    if (path.empty()) return manager;
    try {
        manager.user_ = ocio::Config::CreateFromFile(path.c_str());
    } catch (const ocio::Exception& error) {
        throw PictureError(PictureFault::Failure, fmt::format("colour configuration {}: {}", path, error.what()));
    }
    return manager;
}

bool ColorManager::knows(const std::string& name) const {
    return !name.empty() && (!nameIn(user_, name).empty() || !nameIn(builtInConfig(), name).empty());
}

std::string ColorManager::resolve(const std::string& name) const {
    if (const std::string own = nameIn(user_, name); !own.empty()) return own;
    if (const std::string builtIn = nameIn(builtInConfig(), name); !builtIn.empty()) return builtIn;
    throw requestError(fmt::format("unknown colour space \"{}\"{}", name, didYouMean(name, names())));
}

std::vector<std::string> ColorManager::names() const {
    std::vector<std::string> all;
    std::set<std::string> seen;
    for (const auto& config : {user_, builtInConfig()}) {
        for (int i = 0; config && i < config->getNumColorSpaces(); ++i) {
            const std::string name = config->getColorSpaceNameByIndex(i);
            if (seen.insert(lowered(name)).second) all.push_back(name);
        }
    }
    return all;
}

ocio::ConstConfigRcPtr ColorManager::configOf(const std::string& name) const {
    return nameIn(user_, name).empty() ? builtInConfig() : user_;
}

ColorConversion ColorManager::conversion(const std::string& from, const std::string& to) const {
    const std::string source = resolve(from), target = resolve(to);
    const auto sourceConfig = configOf(source), targetConfig = configOf(target);
    try {
        const auto processor =
            sourceConfig == targetConfig
                ? sourceConfig->getProcessor(source.c_str(), target.c_str())
                : ocio::Config::GetProcessorFromConfigs(sourceConfig, source.c_str(), targetConfig, target.c_str());
        return ColorConversion(processor->getOptimizedCPUProcessor(ocio::OPTIMIZATION_LOSSLESS));
    } catch (const ocio::Exception& error) {
        throw PictureError(PictureFault::Failure,
                           fmt::format("no way from colour space \"{}\" to \"{}\": {}", source, target, error.what()));
    }
}

SpaceChoice inputSpace(const Picture& picture, const std::string& ending, const ColorManager& colors) {
    const OIIO::ImageSpec& header = picture.header;
    if (const auto* found = header.find_attribute("chromaticities");
        found && found->type().basetype == OIIO::TypeDesc::FLOAT && found->type().basevalues() == 8) {
        if (const Primaries* known = primariesLike(static_cast<const float*>(found->data())))
            return {known->space, fmt::format("the file names {} chromaticities", known->label)};
        return {SPACE_LINEAR_REC709, "the file's chromaticities are unknown here; name them with --from"};
    }
    const std::string named = header.get_string_attribute("oiio:ColorSpace");
    const bool display =
        kindOf(ending, header.format.is_floating_point() ? Depth::Float : Depth::Uint8) == Kind::Display;
    if (display && (named.empty() || lowered(named) == "srgb")) return fallbackSpace(picture, ending);
    if (const std::string space = spaceNamedInFile(named); !space.empty())
        return {space, fmt::format("the file says \"{}\"", named)};
    if (colors.knows(named)) return {colors.resolve(named), fmt::format("the file says \"{}\"", named)};
    return fallbackSpace(picture, ending);
}

SpaceChoice outputSpace(const std::string& ending, Depth depth, const SpaceChoice& input) {
    const bool same = [&] {
        switch (kindOf(ending, depth)) {
        case Kind::Scene:
            return isLinearSpace(input.space);
        case Kind::Film:
            return !isLinearSpace(input.space) && !isDisplaySpace(input.space);
        default:
            return isDisplaySpace(input.space);
        }
    }();
    if (same) return {input.space, "as the input"};
    switch (kindOf(ending, depth)) {
    case Kind::Scene:
        return {SPACE_LINEAR_REC709, "a floating-point file"};
    case Kind::Film:
        return {SPACE_CINEON, "a DPX file"};
    default:
        return {SPACE_GENTLE, "a display file"};
    }
}

void noteSpace(OIIO::ImageSpec& header, const std::string& space, const std::string& ending) {
    for (const char* name : {"chromaticities", "oiio:ColorSpace", "oiio:Gamma", "dpx:Transfer"})
        header.erase_attribute(name);
    for (const Primaries& known : KNOWN_PRIMARIES)
        if (space == known.space && ending == "exr")
            header.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), known.xy.data());
    if (isLinearSpace(space))
        header.attribute("oiio:ColorSpace", space == SPACE_LINEAR_REC709 ? "Linear" : space);
    else if (space == SPACE_GENTLE || space == SPACE_SRGB)
        header.attribute("oiio:ColorSpace", "sRGB");
    else if (space == SPACE_CINEON && ending == "dpx")
        header.attribute("oiio:ColorSpace", "KodakLog");
    else
        header.attribute("oiio:ColorSpace", space);
    if (!isDisplaySpace(space)) header.erase_attribute("ICCProfile");
}

} // namespace tarnwell
