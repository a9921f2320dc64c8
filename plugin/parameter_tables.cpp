// What the host shows. Keys, labels and hints are the user's. The German texts go without umlauts on purpose.
#include "color/colorspace.h"
#include "color/looks.h"
#include "metal/renderer.h"
#include "plugin/frame_request.h"
#include "plugin/parameters.h"
#include "process/stock.h"

#include <algorithm>

namespace velloid {

namespace {

// The labels of kProcessMenu alone, as a list of options.
const std::array<const char*, PRINT_PROCESS_COUNT> PROCESS_OPTIONS = [] {
    std::array<const char*, PRINT_PROCESS_COUNT> labels{};
    for (size_t i = 0; i < labels.size(); ++i)
        labels[i] = kProcessMenu[i].label;
    return labels;
}();

constexpr const char* ABOUT = "grpAbout";

constexpr std::array<const char*, 2> LUT_DOMAIN_OPTIONS = {"Encoded I/O", "LogC4"};

constexpr auto Choice = ParameterType::Choice;
constexpr auto Double = ParameterType::Double;

} // namespace

// clang-format off
const std::array<ParameterRow, 16> PARAMETERS = {{
    {.key = "negStock", .type = Choice, .label = "Grain (Negative Stock)",
     .hint = "Negativ-Stock fuer Korn/Detail/Halation. B&W-Stocks nutzen Mono-Silberkorn (fuer echtes S/W zusaetzlich Black & White auf 1.0).",
     .options = kStockNames,
     .choose = [](FrameRequest& q, int option) { q.stock = static_cast<NegativeStock>(std::clamp(option, 0, NEGATIVE_STOCK_COUNT - 1)); },
     .provides = Needs::Stock, .changesWithFrame = true},
    {.key = "detail", .type = Double, .label = "Detail",
     .hint = "Scales velloid blur and chemical adjacency detail.",
     .defaultValue = 0.0,
     .amount = &FrameRequest::detail, .gpu = &MetalFrameParams::detail},
    {.key = "grainIntensity", .type = Double, .label = "Grain Intensity",
     .hint = "Scales the grain intensity.",
     .defaultValue = 0.803,
     .amount = &FrameRequest::grainIntensity, .needs = Needs::Stock, .gpu = &MetalFrameParams::grain, .changesWithFrame = true},
    {.key = "halationIntensity", .type = Double, .label = "Halation Intensity",
     .hint = "Scales the red/orange film halation intensity.",
     .defaultValue = 0.655,
     .amount = &FrameRequest::halation, .gpu = &MetalFrameParams::halation},
    {.key = "colorProcess", .type = Choice, .label = "Color (Print+Process)",
     .hint = "Print/Process-Look (eigene Modelle, clean-room). Push/Pull koppeln leicht ans Korn (x1.20 / x0.85).",
     .options = PROCESS_OPTIONS,
     .choose = [](FrameRequest& q, int option) { q.process = processOfMenu(option); }, .provides = Needs::Look},
    {.key = "colorIntensity", .type = Double, .label = "Color Intensity",
     .hint = "Blends the print/process color strength.",
     .defaultValue = 0.777,
     .amount = &FrameRequest::colorIntensity, .needs = Needs::Look, .gpu = &MetalFrameParams::color},
    {.key = "gateWeave", .type = Double, .label = "Gate Weave",
     .hint = "Scales the film weave intensity.",
     .defaultValue = 0.0,
     .amount = &FrameRequest::gateWeave, .gpu = &MetalFrameParams::weave, .changesWithFrame = true},
    {.key = "flicker", .type = Double, .label = "Flicker",
     .hint = "Deterministische Belichtungs-Schwankung (Print-/Projektor-Charakter).",
     .defaultValue = 0.0,
     .amount = &FrameRequest::flicker, .gpu = &MetalFrameParams::flicker, .changesWithFrame = true},
    {.key = "bloom", .type = Double, .label = "Bloom / Diffusion",
     .hint = "Neutraler Highlight-Glow + sanfte Diffusion (Pro-Mist-Charakter), vor Halation.",
     .defaultValue = 0.0,
     .amount = &FrameRequest::bloom, .gpu = &MetalFrameParams::bloom},
    {.key = "ioSpace", .type = Choice, .label = "I/O Space",
     .hint = "Eingangs-/Ausgangs-Farbraum. Intern arbeitet Velloid immer in LogC4/AWG4 (Textur-Kalibrierung). Rec709 G2.4 ist display-referred.",
     .options = kIONames,
     .choose = [](FrameRequest& q, int option) { q.ioSpace = static_cast<IOSpace>(std::clamp(option, 0, IO_SPACE_COUNT - 1)); }},
    {.key = "outputLutPath", .type = ParameterType::String, .label = "Output LUT (.cube)",
     .hint = "Pfad zu einer 3D-.cube-LUT, angewendet auf den encodierten Output (z.B. ARRI LogC4->Rec709). Leer = aus.",
     .text = &FrameRequest::outputLutPath, .provides = Needs::Table},
    {.key = "outputLutStrength", .type = Double, .label = "Output LUT Strength",
     .hint = "Blend der Output-LUT (1.0 = voll).",
     .defaultValue = 1.0,
     .amount = &FrameRequest::outputLutStrength, .needs = Needs::Table, .gpu = &MetalFrameParams::outputLutStrength},
    {.key = "outputLutDomain", .type = Choice, .label = "Output LUT Input",
     .hint = "Encoded I/O: LUT sieht den I/O-Space-Output (wie bisher). LogC4: LUT sieht LogC4 unabhaengig vom I/O Space (fuer ARRI-/Velloid-Look-LUTs).",
     .options = LUT_DOMAIN_OPTIONS,
     .choose = [](FrameRequest& q, int option) { q.outputLutInLogC4 = option > 0; }},
    {.key = "blackWhite", .type = Double, .label = "Black & White",
     .hint = "Blends toward luminance-preserving black and white.",
     .defaultValue = 0.0,
     .amount = &FrameRequest::blackWhite, .gpu = &MetalFrameParams::bw},
    {.key = ABOUT, .type = ParameterType::Group, .label = "About"},
    {.key = SUPPORT_BUTTON, .type = ParameterType::PushButton, .label = "\u2615 Support this tool (PayPal)",
     .hint = "Free tool \u2014 if it earns its keep, you can support it: " TARNWELL_SUPPORT_URL,
     .parent = ABOUT},
}};
// clang-format on

} // namespace velloid
