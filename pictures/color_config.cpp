// The configuration is put together from OpenColorIO's own transforms: matrices from the plug-in's table, logarithmic
// curves with a straight toe as LogCameraTransform, and four curves for which OpenColorIO has no form of its own
// (C-Log2 and C-Log3 are mirrored about black, Apple Log has a parabola, F-Log's published line does not meet its
// logarithm) as tables over every half-float value, sampled from the plug-in's curves.
#include "pictures/color_config.h"

#include "color/curves/aces.h"
#include "color/curves/apple.h"
#include "color/curves/arri.h"
#include "color/curves/blackmagic.h"
#include "color/curves/canon.h"
#include "color/curves/cineon.h"
#include "color/curves/fujifilm.h"
#include "color/curves/panasonic.h"
#include "color/curves/rec709.h"
#include "color/curves/red.h"
#include "color/curves/sony.h"
#include "color/matrix_tables.h"
#include "pictures/gentle_view.h"

#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwell {

namespace {

namespace ocio = OCIO_NAMESPACE;
using namespace velloid;
using Matrix3 = std::array<double, 9>;

// log curve with a straight line below `breakAt`:
//   code = logSlope * log_base(linSlope * x + linOffset) + logOffset,   below: a line of slope `linearSlope` that joins
struct CameraCurve {
    const char* space;
    double base, logSlope, logOffset, linSlope, linOffset, breakAt, linearSlope;
};

// The constants are those of color/curves/, where their sources are named.
// clang-format off
constexpr std::array<CameraCurve, 8> CAMERA_CURVES{{
    // base, logSlope, logOffset, linSlope, linOffset, breakAt, linearSlope
    {"LogC4/AWG4", 2.0, logc4_constants::B / 14.0, logc4_constants::C - 6.0 * logc4_constants::B / 14.0,
     logc4_constants::A, 64.0, logc4_constants::T, 1.0 / logc4_constants::S},
    {"LogC3/AWG3", 10.0, logc3::C, logc3::D, logc3::A, logc3::B, logc3::CUT, logc3::E},
    {"DaVinci Intermediate/DWG", 2.0, davinci_intermediate::C, davinci_intermediate::C * davinci_intermediate::B,
     1.0, davinci_intermediate::A, davinci_intermediate::LIN_CUT, davinci_intermediate::M},
    {"ACEScct/AP1", 2.0, 1.0 / acescct::STOPS, acescct::BLACK / acescct::STOPS, 1.0, 0.0, acescct::X_BRK, acescct::A},
    {"S-Log3/S-Gamut3.Cine", 10.0, slog3::CODES_PER_DECADE / slog3::CODE_MAX, slog3::CODE_GREY / slog3::CODE_MAX,
     1.0 / slog3::LOG_UNIT, slog3::FLARE / slog3::LOG_UNIT, slog3::LIN_CUT,
     (slog3::CODE_CUT - slog3::CODE_BLACK) / slog3::LIN_CUT / slog3::CODE_MAX},
    {"V-Log/V-Gamut", 10.0, vlog::C, vlog::D, 1.0, vlog::B, vlog::CUT1, vlog::SLOPE},
    {"Log3G10/RWG", 10.0, log3g10::A, 0.0, log3g10::B, 1.0 + log3g10::B * log3g10::C, -log3g10::C, log3g10::G},
    {"BMD Film Gen5", std::numbers::e, bmd_film_gen5::A, bmd_film_gen5::C, 1.0, bmd_film_gen5::B, bmd_film_gen5::LIN_CUT,
     bmd_film_gen5::D},
}};

// Linear light of the encoding's own gamut to Linear/AWG4, by row of CS_MAT_TO_AWG4.
struct GamutRow {
    const char* space;
    int row;
};
constexpr std::array<GamutRow, 15> GAMUTS{{
    {"DaVinci Intermediate/DWG", 0}, {"Linear/DWG", 1}, {"ACEScct/AP1", 2}, {"Rec709 G2.4", 3}, {"S-Log3/S-Gamut3.Cine", 4},
    {"V-Log/V-Gamut", 5}, {"C-Log2/Cinema Gamut", 6}, {"C-Log3/Cinema Gamut", 7}, {"F-Log/F-Gamut", 8}, {"Log3G10/RWG", 9},
    {"BMD Film Gen5", 10}, {"Cineon (Rec709)", 11}, {"Apple Log", 12}, {SPACE_LINEAR_REC709, 3}, {SPACE_ACESCG, 2},
}};

// ACEScg to ACES2065-1: Academy S-2014-004, "ACEScg - A Working Space for CGI Render and Compositing".
constexpr Matrix3 AP1_TO_AP0 = {0.6954522414, 0.1406786965, 0.1638690622,
                                0.0447945634, 0.8596711185, 0.0955343182,
                                -0.0055258826, 0.0040252103, 1.0015006723};
// Luminance of Rec.709 light: ITU-R BT.709, 3.2.
constexpr std::array<double, 3> REC709_LUMINANCE = {0.2126, 0.7152, 0.0722};
// clang-format on

ocio::TransformRcPtr matrix(const double* m) {
    const double m44[16] = {m[0], m[1], m[2], 0, m[3], m[4], m[5], 0, m[6], m[7], m[8], 0, 0, 0, 0, 1};
    auto transform = ocio::MatrixTransform::Create();
    transform->setMatrix(m44);
    return transform;
}

ocio::TransformRcPtr inverse(const ocio::TransformRcPtr& transform) {
    auto copy = transform->createEditableCopy();
    copy->setDirection(ocio::TRANSFORM_DIR_INVERSE);
    return copy;
}

ocio::TransformRcPtr group(const std::vector<ocio::TransformRcPtr>& steps) {
    auto transform = ocio::GroupTransform::Create();
    for (const auto& step : steps)
        transform->appendTransform(step);
    return transform;
}

// Code to linear light.
ocio::TransformRcPtr cameraDecode(const CameraCurve& curve) {
    auto transform = ocio::LogCameraTransform::Create({curve.breakAt, curve.breakAt, curve.breakAt});
    transform->setBase(curve.base);
    transform->setLogSideSlopeValue({curve.logSlope, curve.logSlope, curve.logSlope});
    transform->setLogSideOffsetValue({curve.logOffset, curve.logOffset, curve.logOffset});
    transform->setLinSideSlopeValue({curve.linSlope, curve.linSlope, curve.linSlope});
    transform->setLinSideOffsetValue({curve.linOffset, curve.linOffset, curve.linOffset});
    transform->setLinearSlopeValue({curve.linearSlope, curve.linearSlope, curve.linearSlope});
    transform->setDirection(ocio::TRANSFORM_DIR_INVERSE);
    return transform;
}

float halfValue(unsigned bits) {
    const int exponent = static_cast<int>((bits >> 10) & 31u), mantissa = static_cast<int>(bits & 1023u);
    const double sign = (bits & 0x8000u) != 0 ? -1.0 : 1.0;
    if (exponent == 31)
        return mantissa == 0 ? static_cast<float>(sign * 65504.0) : 0.0f; // infinity as the largest value
    if (exponent == 0) return static_cast<float>(sign * std::ldexp(mantissa, -24));
    return static_cast<float>(sign * std::ldexp(1024 + mantissa, exponent - 25));
}

// `curve` at every half-float value; between them OpenColorIO interpolates. Values stay within what a float can hold.
ocio::TransformRcPtr halfTable(const std::function<double(double)>& curve) {
    constexpr double LIMIT = 1e30;
    auto table = ocio::Lut1DTransform::Create();
    table->setInputHalfDomain(true); // sets the length to 65536
    table->setLength(65536);
    table->setInterpolation(ocio::INTERP_LINEAR);
    for (unsigned bits = 0; bits < 65536u; ++bits) {
        const double value = curve(static_cast<double>(halfValue(bits)));
        const float v = std::isnan(value) ? 0.0f : static_cast<float>(std::min(std::max(value, -LIMIT), LIMIT));
        table->setValue(bits, v, v, v);
    }
    return table;
}

ocio::TransformRcPtr power24() {
    auto transform = ocio::ExponentTransform::Create();
    transform->setValue({rec709::GAMMA, rec709::GAMMA, rec709::GAMMA, 1.0});
    transform->setNegativeStyle(ocio::NEGATIVE_CLAMP);
    return transform;
}

// sRGB code to linear light: IEC 61966-2-1. Negative values follow the straight line.
ocio::TransformRcPtr srgbDecode() {
    auto transform = ocio::ExponentWithLinearTransform::Create();
    transform->setGamma({2.4, 2.4, 2.4, 1.0});
    transform->setOffset({0.055, 0.055, 0.055, 0.0});
    transform->setNegativeStyle(ocio::NEGATIVE_LINEAR);
    return transform;
}

ocio::TransformRcPtr cineonDecode() {
    auto transform = ocio::LogAffineTransform::Create();
    const double slope = cineon::CODES_PER_DECADE / cineon::CODE_MAX, offset = cineon::CODE_WHITE / cineon::CODE_MAX;
    const double black = cineon::bo(), gain = 1.0 - black;
    transform->setBase(10.0);
    transform->setLogSideSlopeValue({slope, slope, slope});
    transform->setLogSideOffsetValue({offset, offset, offset});
    transform->setLinSideSlopeValue({gain, gain, gain});
    transform->setLinSideOffsetValue({black, black, black});
    transform->setDirection(ocio::TRANSFORM_DIR_INVERSE);
    return transform;
}

ocio::TransformRcPtr clampToDisplay() {
    auto range = ocio::RangeTransform::Create();
    range->setMinInValue(0.0);
    range->setMinOutValue(0.0);
    range->setMaxInValue(1.0);
    range->setMaxOutValue(1.0);
    return range;
}

// Draws every channel toward the luminance.
ocio::TransformRcPtr gentleInset() {
    Matrix3 m{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            m[row * 3 + column] = GENTLE_INSET * REC709_LUMINANCE[column] + (row == column ? 1.0 - GENTLE_INSET : 0.0);
    return matrix(m.data());
}

const double* toWorking(const char* space) {
    for (const GamutRow& gamut : GAMUTS)
        if (std::string(gamut.space) == space) return CS_MAT_TO_AWG4[gamut.row];
    throw std::logic_error("a colour space without a gamut");
}

struct SpaceInfo {
    const char* name;
    const char* family;
    std::vector<const char*> aliases;
};

class ConfigBuilder {
public:
    ConfigBuilder() : config_(ocio::Config::Create()->createEditableCopy()) { config_->setVersion(2, 0); }

    // A space by its way to the reference; the way back is its inverse.
    void add(const SpaceInfo& info, const ocio::TransformRcPtr& toReference) { add(info, toReference, nullptr); }

    void add(const SpaceInfo& info, const ocio::TransformRcPtr& toReference,
             const ocio::TransformRcPtr& fromReference) {
        auto space = ocio::ColorSpace::Create(ocio::REFERENCE_SPACE_SCENE);
        space->setName(info.name);
        space->setFamily(info.family);
        for (const char* alias : info.aliases)
            space->addAlias(alias);
        space->setBitDepth(ocio::BIT_DEPTH_F32);
        if (toReference) space->setTransform(toReference, ocio::COLORSPACE_DIR_TO_REFERENCE);
        if (fromReference) space->setTransform(fromReference, ocio::COLORSPACE_DIR_FROM_REFERENCE);
        config_->addColorSpace(space);
    }

    ocio::ConstConfigRcPtr finish() {
        config_->addDisplayView("sRGB", "Gentle", SPACE_GENTLE, "");
        config_->addDisplayView("sRGB", "Plain", SPACE_SRGB, "");
        config_->setRole(ocio::ROLE_SCENE_LINEAR, SPACE_LINEAR_REC709);
        config_->setRole(ocio::ROLE_DEFAULT, SPACE_LINEAR_REC709);
        config_->setRole("aces_interchange", SPACE_ACES);
        config_->validate();
        return config_;
    }

private:
    ocio::ConfigRcPtr config_;
};

void addLinearSpaces(ConfigBuilder& config) {
    config.add({SPACE_WORKING, "Linear", {"lin_awg4"}}, nullptr);
    config.add({"Linear/AWG3", "Linear", {"lin_awg3"}}, matrix(CS_MAT_AWG3_TO_AWG4));
    config.add({"Linear/DWG", "Linear", {"lin_dwg"}}, matrix(toWorking("Linear/DWG")));
    config.add({SPACE_LINEAR_REC709, "Linear", {"lin_rec709", "lin_srgb"}}, matrix(toWorking(SPACE_LINEAR_REC709)));
    config.add({SPACE_ACESCG, "Linear", {"lin_ap1"}}, matrix(toWorking(SPACE_ACESCG)));
    config.add({SPACE_ACES, "Linear", {"aces", "lin_ap0"}},
               group({inverse(matrix(AP1_TO_AP0.data())), matrix(toWorking(SPACE_ACESCG))}));
}

void addCameraSpaces(ConfigBuilder& config) {
    for (const CameraCurve& curve : CAMERA_CURVES) {
        const std::string name = curve.space;
        if (name == "LogC4/AWG4")
            config.add({curve.space, "Camera", {}}, cameraDecode(curve));
        else if (name == "LogC3/AWG3")
            config.add({curve.space, "Camera", {}}, group({cameraDecode(curve), matrix(CS_MAT_AWG3_TO_AWG4)}));
        else
            config.add({curve.space, "Camera", {}}, group({cameraDecode(curve), matrix(toWorking(curve.space))}));
    }
    config.add({SPACE_CINEON, "Film", {}}, group({cineonDecode(), matrix(toWorking(SPACE_CINEON))}));
}

void addTableSpace(ConfigBuilder& config, const char* name, double (*decode)(double), double (*encode)(double)) {
    const auto gamut = matrix(toWorking(name));
    config.add({name, "Camera", {}}, group({halfTable(decode), gamut}), group({inverse(gamut), halfTable(encode)}));
}

void addDisplaySpaces(ConfigBuilder& config) {
    const auto gamut = matrix(toWorking(SPACE_LINEAR_REC709));
    config.add({SPACE_REC709_G24, "Display", {}}, group({power24(), gamut}));
    config.add({SPACE_SRGB, "Display", {"srgb_tx"}}, group({srgbDecode(), gamut}));
    const auto scene = group(
        {srgbDecode(), clampToDisplay(), gentleInset(), halfTable(gentleCurveInverse), inverse(gentleInset()), gamut});
    const auto view = group({inverse(gamut), gentleInset(), halfTable(gentleCurve), inverse(gentleInset()),
                             clampToDisplay(), inverse(srgbDecode())});
    config.add({SPACE_GENTLE, "Display", {"gentle"}}, scene, view);
}

ocio::ConstConfigRcPtr buildConfig() {
    ConfigBuilder config;
    addLinearSpaces(config);
    addCameraSpaces(config);
    addTableSpace(config, "C-Log2/Cinema Gamut", clog2::decode, clog2::encode);
    addTableSpace(config, "C-Log3/Cinema Gamut", clog3::decode, clog3::encode);
    addTableSpace(config, "F-Log/F-Gamut", flog::decode, flog::encode);
    addTableSpace(config, "Apple Log", apple_log::decode, apple_log::encode);
    addDisplaySpaces(config);
    return config.finish();
}

} // namespace

const ocio::ConstConfigRcPtr& builtInConfig() {
    static const ocio::ConstConfigRcPtr config = buildConfig();
    return config;
}

} // namespace tarnwell
