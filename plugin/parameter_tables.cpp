// What the host shows. Labels, hints and options are the user's: projects store them or their index, so they are only
// ever appended to. The German texts go without umlauts on purpose.
#include "plugin/parameters.h"

namespace velloid {

const std::array<const char*, 17> kStockNames = {
    "500T (Vision3 5219)",
    "250D (Vision3 5207)",
    "200T (Vision3 5213)",
    "50D (Vision3 5203)",
    "800T (Tungsten, no rem-jet)",
    "Eastman 5254 (ECN-1)",
    "Eterna 500T",
    "Eterna 250D",
    "Eterna Vivid",
    "Portra 160",
    "Portra 400",
    "Portra 800",
    "Gold 200",
    "UltraMax 400",
    "Tri-X 400 (B&W)",
    "T-Max 100 (B&W)",
    "Off",
};

// clang-format off
const std::array<ProcessMenuRow, 16> kProcessMenu = {{
    {"A Corvex Classic P0",  PrintProcess{14}},
    {"Corvex A35 Modern",    PrintProcess{13}},
    {"Corvex Look Standard", PrintProcess{5}},
    {"Bleach Bypass",        PrintProcess{4}},
    {"Classic",              PrintProcess{1}},
    {"Cross Processing",     PrintProcess{10}},
    {"Fuji 3510",            PrintProcess{8}},
    {"Fuji 3513",            PrintProcess{7}},
    {"Kodak 2383",           PrintProcess{6}},
    {"Live",                 PrintProcess{2}},
    {"Premiere",             PrintProcess{0}},
    {"Pull (-1)",            PrintProcess{12}},
    {"Push (+1)",            PrintProcess{11}},
    {"Reversal",             PrintProcess{3}},
    {"Teal & Orange",        PrintProcess{9}},
    {"Off",                  PrintProcess{15}},
}};
// clang-format on

// clang-format off
const std::array<const char*, 17> kIONames = {
    "LogC4/AWG4",
    "Linear/AWG4",
    "LogC3/AWG3",
    "Linear/AWG3",
    "DaVinci Intermediate/DWG",
    "Linear/DWG",
    "ACEScct/AP1",
    "Rec709 G2.4",
    "S-Log3/S-Gamut3.Cine",
    "V-Log/V-Gamut",
    "C-Log2/Cinema Gamut",
    "C-Log3/Cinema Gamut",
    "F-Log/F-Gamut",
    "Log3G10/RWG",
    "BMD Film Gen5",
    "Cineon (Rec709)",
    "Apple Log",
};
// clang-format on

namespace {

// The labels of kProcessMenu alone, as a list of options.
const std::array<const char*, 16> PROCESS_OPTIONS = [] {
    std::array<const char*, 16> labels{};
    for (size_t i = 0; i < labels.size(); ++i)
        labels[i] = kProcessMenu[i].label;
    return labels;
}();

constexpr std::array<const char*, 2> LUT_DOMAIN_OPTIONS = {"Encoded I/O", "LogC4"};

constexpr auto Choice = ParameterType::Choice;
constexpr auto Double = ParameterType::Double;

} // namespace

// clang-format off
const std::array<ParameterRow, PARAMETER_COUNT> PARAMETERS = {{
    {"negStock", Choice, "Grain (Negative Stock)",
     "Negativ-Stock fuer Korn/Detail/Halation. B&W-Stocks nutzen Mono-Silberkorn (fuer echtes S/W zusaetzlich Black & White auf 1.0).",
     0, kStockNames, nullptr},
    {"detail", Double, "Detail",
     "Scales velloid blur and chemical adjacency detail.",
     0.0, {}, nullptr},
    {"grainIntensity", Double, "Grain Intensity",
     "Scales the grain intensity.",
     0.803, {}, nullptr},
    {"halationIntensity", Double, "Halation Intensity",
     "Scales the red/orange film halation intensity.",
     0.655, {}, nullptr},
    {"colorProcess", Choice, "Color (Print+Process)",
     "Print/Process-Look (eigene Modelle, clean-room). Push/Pull koppeln leicht ans Korn (x1.20 / x0.85).",
     0, PROCESS_OPTIONS, nullptr},
    {"colorIntensity", Double, "Color Intensity",
     "Blends the print/process color strength.",
     0.777, {}, nullptr},
    {"gateWeave", Double, "Gate Weave",
     "Scales the film weave intensity.",
     0.0, {}, nullptr},
    {"flicker", Double, "Flicker",
     "Deterministische Belichtungs-Schwankung (Print-/Projektor-Charakter).",
     0.0, {}, nullptr},
    {"bloom", Double, "Bloom / Diffusion",
     "Neutraler Highlight-Glow + sanfte Diffusion (Pro-Mist-Charakter), vor Halation.",
     0.0, {}, nullptr},
    {"ioSpace", Choice, "I/O Space",
     "Eingangs-/Ausgangs-Farbraum. Intern arbeitet Velloid immer in LogC4/AWG4 (Textur-Kalibrierung). Rec709 G2.4 ist display-referred.",
     0, kIONames, nullptr},
    {"outputLutPath", ParameterType::String, "Output LUT (.cube)",
     "Pfad zu einer 3D-.cube-LUT, angewendet auf den encodierten Output (z.B. ARRI LogC4->Rec709). Leer = aus.",
     0, {}, nullptr},
    {"outputLutStrength", Double, "Output LUT Strength",
     "Blend der Output-LUT (1.0 = voll).",
     1.0, {}, nullptr},
    {"outputLutDomain", Choice, "Output LUT Input",
     "Encoded I/O: LUT sieht den I/O-Space-Output (wie bisher). LogC4: LUT sieht LogC4 unabhaengig vom I/O Space (fuer ARRI-/Velloid-Look-LUTs).",
     0, LUT_DOMAIN_OPTIONS, nullptr},
    {"blackWhite", Double, "Black & White",
     "Blends toward luminance-preserving black and white.",
     0.0, {}, nullptr},
    {"grpAbout", ParameterType::Group, "About",
     nullptr,
     0, {}, nullptr},
    {"support_paypal", ParameterType::PushButton, "\u2615 Support this tool (PayPal)",
     "Free tool \u2014 if it earns its keep, you can support it: " TARNWELL_SUPPORT_URL,
     0, {}, "grpAbout"},
}};
// clang-format on

} // namespace velloid
