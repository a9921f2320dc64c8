#include "color/colorspace.h"
#include "plugin/parameters.h"
#include "plugin_under_test.h"

#include <gtest/gtest.h>

using namespace velloid;
using namespace velloid::test;
using Texts = std::vector<std::string>;

TEST(Describe, TellsLabelGroupingContextsAndDepths) {
    PluginUnderTest plugin;
    auto& d = plugin.effect.descriptor().properties;
    EXPECT_EQ(d.textAt(kOfxPropLabel), "Tarnwell");
    EXPECT_EQ(d.textAt(kOfxPropShortLabel), "Tarnwell");
    EXPECT_EQ(d.textAt(kOfxPropLongLabel), "Tarnwell");
    EXPECT_EQ(d.textAt(kOfxImageEffectPluginPropGrouping), "Film");
    EXPECT_EQ(d.texts(kOfxImageEffectPropSupportedContexts),
              (Texts{"OfxImageEffectContextFilter", "OfxImageEffectContextGeneral"}));
    EXPECT_EQ(d.texts(kOfxImageEffectPropSupportedPixelDepths), (Texts{"OfxBitDepthFloat"}));
}

TEST(Describe, TellsHowItRenders) {
    PluginUnderTest plugin;
    auto& d = plugin.effect.descriptor().properties;
    EXPECT_EQ(d.intAt("OfxImageEffectPropSupportsTiles"), 0);
    EXPECT_EQ(d.intAt("OfxImageEffectPropSupportsMultiResolution"), 0);
    EXPECT_EQ(d.intAt("OfxImageEffectPropMultipleClipDepths"), 0);
    EXPECT_EQ(d.intAt("OfxImageEffectPluginPropHostFrameThreading"), 0);
    EXPECT_EQ(d.textAt("OfxImageEffectPluginRenderThreadSafety"), "OfxImageEffectRenderFullySafe");
    EXPECT_EQ(d.textAt("OfxImageEffectPropMetalRenderSupported"), "true");
    EXPECT_EQ(d.texts("OfxImageEffectPropClipPreferencesSlaveParam"),
              (Texts{"negStock", "grainIntensity", "gateWeave", "flicker"}));
}

TEST(Describe, DefinesSourceAndOutputInBothContexts) {
    PluginUnderTest plugin;
    for (const char* context : {kOfxImageEffectContextFilter, kOfxImageEffectContextGeneral}) {
        auto& described = plugin.effect.context(context);
        ASSERT_EQ(described.clips.size(), 2u) << context;
        EXPECT_EQ(described.clips[0]->name, "Source");
        EXPECT_EQ(described.clips[1]->name, "Output");
        for (const auto& clip : described.clips) {
            EXPECT_EQ(clip->components(), (Texts{"OfxImageComponentRGBA", "OfxImageComponentRGB"})) << clip->name;
        }
    }
}

namespace {

struct ExpectedParameter {
    const char* key;
    const char* type;
    const char* label;
    double fallback; // default of doubles and choices
};

// As the user sees them, in order.
const ExpectedParameter EXPECTED[] = {
    {"negStock", kOfxParamTypeChoice, "Grain (Negative Stock)", 0},
    {"detail", kOfxParamTypeDouble, "Detail", 0.0},
    {"grainIntensity", kOfxParamTypeDouble, "Grain Intensity", 0.803},
    {"halationIntensity", kOfxParamTypeDouble, "Halation Intensity", 0.655},
    {"colorProcess", kOfxParamTypeChoice, "Color (Print+Process)", 0},
    {"colorIntensity", kOfxParamTypeDouble, "Color Intensity", 0.777},
    {"gateWeave", kOfxParamTypeDouble, "Gate Weave", 0.0},
    {"flicker", kOfxParamTypeDouble, "Flicker", 0.0},
    {"bloom", kOfxParamTypeDouble, "Bloom / Diffusion", 0.0},
    {"ioSpace", kOfxParamTypeChoice, "I/O Space", 0},
    {"outputLutPath", kOfxParamTypeString, "Output LUT (.cube)", 0},
    {"outputLutStrength", kOfxParamTypeDouble, "Output LUT Strength", 1.0},
    {"outputLutDomain", kOfxParamTypeChoice, "Output LUT Input", 0},
    {"blackWhite", kOfxParamTypeDouble, "Black & White", 0.0},
    {"grpAbout", kOfxParamTypeGroup, "About", 0},
    {"support_paypal", kOfxParamTypePushButton, "\xE2\x98\x95 Support this tool (PayPal)", 0},
};

} // namespace

TEST(Parameters, AreSixteenInTheUsersOrder) {
    PluginUnderTest plugin;
    const auto& all = plugin.instance->parameters().all();
    ASSERT_EQ(all.size(), std::size(EXPECTED));
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i]->key(), EXPECTED[i].key) << i;
        EXPECT_STREQ(all[i]->kind().type, EXPECTED[i].type) << EXPECTED[i].key;
        EXPECT_EQ(all[i]->label(), EXPECTED[i].label) << EXPECTED[i].key;
    }
}

TEST(Parameters, DoublesRunFromZeroToOneWithTheirDefaults) {
    PluginUnderTest plugin;
    for (const ExpectedParameter& expected : EXPECTED) {
        if (std::string(expected.type) != kOfxParamTypeDouble) continue;
        const auto& p = plugin.instance->parameters().at(expected.key).properties();
        EXPECT_EQ(p.doubleAt(kOfxParamPropDefault), expected.fallback) << expected.key;
        EXPECT_EQ(p.textAt(kOfxParamPropDoubleType), "OfxParamDoubleTypePlain") << expected.key;
        EXPECT_EQ(p.doubleAt(kOfxParamPropMin), 0.0) << expected.key;
        EXPECT_EQ(p.doubleAt(kOfxParamPropMax), 1.0) << expected.key;
        EXPECT_EQ(p.doubleAt(kOfxParamPropDisplayMin), 0.0) << expected.key;
        EXPECT_EQ(p.doubleAt(kOfxParamPropDisplayMax), 1.0) << expected.key;
    }
}

TEST(Parameters, OnlyTheButtonLivesInTheAboutGroup) {
    PluginUnderTest plugin;
    for (const auto& p : plugin.instance->parameters().all()) {
        EXPECT_EQ(p->properties().textAt(kOfxParamPropParent), p->key() == "support_paypal" ? "grpAbout" : "")
            << p->key();
    }
    EXPECT_EQ(plugin.instance->parameters().at("grpAbout").properties().intAt(kOfxParamPropGroupOpen), 1);
}

TEST(Parameters, TheLutPathIsAFilePathAndEmpty) {
    PluginUnderTest plugin;
    const auto& p = plugin.instance->parameters().at("outputLutPath").properties();
    EXPECT_EQ(p.textAt(kOfxParamPropStringMode), "OfxParamStringIsFilePath");
    EXPECT_EQ(p.textAt(kOfxParamPropDefault), "");
}

TEST(Parameters, HintsAreTheUsersText) {
    const std::map<std::string, std::string> hints = {
        {"negStock", "Negativ-Stock fuer Korn/Detail/Halation. B&W-Stocks nutzen Mono-Silberkorn (fuer echtes S/W "
                     "zusaetzlich Black & White auf 1.0)."},
        {"detail", "Scales velloid blur and chemical adjacency detail."},
        {"grainIntensity", "Scales the grain intensity."},
        {"halationIntensity", "Scales the red/orange film halation intensity."},
        {"colorProcess", "Print/Process-Look (eigene Modelle, clean-room). Push/Pull koppeln leicht ans Korn (x1.20 / "
                         "x0.85)."},
        {"colorIntensity", "Blends the print/process color strength."},
        {"gateWeave", "Scales the film weave intensity."},
        {"flicker", "Deterministische Belichtungs-Schwankung (Print-/Projektor-Charakter)."},
        {"bloom", "Neutraler Highlight-Glow + sanfte Diffusion (Pro-Mist-Charakter), vor Halation."},
        {"ioSpace", "Eingangs-/Ausgangs-Farbraum. Intern arbeitet Velloid immer in LogC4/AWG4 (Textur-Kalibrierung). "
                    "Rec709 G2.4 ist display-referred."},
        {"outputLutPath",
         "Pfad zu einer 3D-.cube-LUT, angewendet auf den encodierten Output (z.B. ARRI LogC4->Rec709). "
         "Leer = aus."},
        {"outputLutStrength", "Blend der Output-LUT (1.0 = voll)."},
        {"outputLutDomain", "Encoded I/O: LUT sieht den I/O-Space-Output (wie bisher). LogC4: LUT sieht LogC4 "
                            "unabhaengig vom I/O Space (fuer ARRI-/Velloid-Look-LUTs)."},
        {"blackWhite", "Blends toward luminance-preserving black and white."},
        {"support_paypal", "Free tool \xE2\x80\x94 if it earns its keep, you can support it: "
                           "https://tarnwell.example/support"},
    };
    PluginUnderTest plugin;
    for (const auto& [key, hint] : hints) {
        EXPECT_EQ(plugin.instance->parameters().at(key).properties().textAt(kOfxParamPropHint), hint) << key;
    }
}

TEST(Menus, ListTheirOptionsInTheTablesOrder) {
    PluginUnderTest plugin;
    EXPECT_EQ(plugin.instance->parameters().at("negStock").options(),
              (Texts{"500T (Vision3 5219)", "250D (Vision3 5207)", "200T (Vision3 5213)", "50D (Vision3 5203)",
                     "800T (Tungsten, no rem-jet)", "Eastman 5254 (ECN-1)", "Eterna 500T", "Eterna 250D",
                     "Eterna Vivid", "Portra 160", "Portra 400", "Portra 800", "Gold 200", "UltraMax 400",
                     "Tri-X 400 (B&W)", "T-Max 100 (B&W)", "Off"}));
    EXPECT_EQ(plugin.instance->parameters().at("colorProcess").options(),
              (Texts{"A Corvex Classic P0", "Corvex A35 Modern", "Corvex Look Standard", "Bleach Bypass", "Classic",
                     "Cross Processing", "Fuji 3510", "Fuji 3513", "Kodak 2383", "Live", "Premiere", "Pull (-1)",
                     "Push (+1)", "Reversal", "Teal & Orange", "Off"}));
    EXPECT_EQ(plugin.instance->parameters().at("ioSpace").options(),
              (Texts{"LogC4/AWG4", "Linear/AWG4", "LogC3/AWG3", "Linear/AWG3", "DaVinci Intermediate/DWG", "Linear/DWG",
                     "ACEScct/AP1", "Rec709 G2.4", "S-Log3/S-Gamut3.Cine", "V-Log/V-Gamut", "C-Log2/Cinema Gamut",
                     "C-Log3/Cinema Gamut", "F-Log/F-Gamut", "Log3G10/RWG", "BMD Film Gen5", "Cineon (Rec709)",
                     "Apple Log"}));
    EXPECT_EQ(plugin.instance->parameters().at("outputLutDomain").options(), (Texts{"Encoded I/O", "LogC4"}));
}

TEST(Menus, MapProcessOptionsToTheirProcess) {
    const int expected[] = {14, 13, 5, 4, 1, 10, 8, 7, 6, 2, 0, 12, 11, 3, 9, 15};
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(static_cast<int>(processOfMenu(i)), expected[i]) << kProcessMenu[i].label;
    EXPECT_EQ(static_cast<int>(processOfMenu(16)), 15);
    EXPECT_EQ(static_cast<int>(processOfMenu(-1)), 15);
}

TEST(Menus, NameTheEncodingsAsTheColourCodeDoes) {
    for (int i = 0; i < IO_SPACE_COUNT; ++i)
        EXPECT_STREQ(kIONames[i], ioSpaceLabel(static_cast<IOSpace>(i)));
}

// ---- readers -------------------------------------------------------------------------------------------------------

TEST(Readers, GiveTheValueAtATime) {
    PluginUnderTest plugin;
    plugin.set("negStock", "Portra 400").set("detail", 0.25).set("outputLutPath", "a b.cube");
    const OfxImageEffectHandle effect = plugin.instance->object().handle();
    EXPECT_EQ(getChoice(effect, "negStock", 3.0), 10);
    EXPECT_EQ(getDouble(effect, "detail", 3.0), 0.25);
    EXPECT_EQ(getString(effect, "outputLutPath", 3.0), "a b.cube");
}

TEST(Readers, FallBackToZeroForAnUnknownKey) {
    PluginUnderTest plugin;
    const OfxImageEffectHandle effect = plugin.instance->object().handle();
    EXPECT_EQ(getChoice(effect, "noSuch", 0.0), 0);
    EXPECT_EQ(getDouble(effect, "noSuch", 0.0), 0.0);
    EXPECT_EQ(getString(effect, "noSuch", 0.0), "");
}

TEST(Readers, FallBackToZeroNotToTheDefaultWhenAnyStepFails) {
    using tarnwell::Fault;
    PluginUnderTest plugin;
    plugin.set("ioSpace", "Apple Log").set("outputLutPath", "x.cube");
    const OfxImageEffectHandle effect = plugin.instance->object().handle();
    for (const char* step : {"getParamSet", "paramGetHandle", "paramGetValueAtTime"}) {
        for (const Fault fault : {Fault::status(kOfxStatFailed), Fault::nothing()}) {
            if (step == std::string("paramGetValueAtTime") && fault.kind == Fault::Kind::Nothing) continue;
            tarnwell::FaultScope hostile(
                [&](std::string_view function, std::string_view) { return function == step ? fault : Fault{}; });
            EXPECT_EQ(getChoice(effect, "ioSpace", 0.0), 0) << step;
            EXPECT_EQ(getDouble(effect, "grainIntensity", 0.0), 0.0) << step;
            EXPECT_EQ(getString(effect, "outputLutPath", 0.0), "") << step;
        }
    }
}

TEST(Readers, TakeANullStringForAnEmptyOne) {
    using tarnwell::Fault;
    PluginUnderTest plugin;
    plugin.set("outputLutPath", "x.cube");
    tarnwell::FaultScope hostile([](std::string_view function, std::string_view) {
        return function == "paramGetValueAtTime" ? Fault::nothing() : Fault{};
    });
    EXPECT_EQ(getString(plugin.instance->object().handle(), "outputLutPath", 0.0), "");
}
