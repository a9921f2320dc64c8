#include "color/looks.h"

#include "color/density_look.h"
#include "color/look_tables.h"
#include "color/luminance_look.h"
#include "color/strength.h"
#include "lifetime/process_wide.h"
#include "process/parallel_pool.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

namespace velloid {

namespace {

constexpr int MODEL_SIZE = 33;
constexpr int KESTRA_SIZE = 65;
constexpr int NONE = -1;

// All that tells one look from another, in the order of the menu. Labels are the user's: projects store them or their
// index, so rows are only ever appended, behind "Off" too.
struct Look {
    const char* label;
    PrintProcess process;
    // What its table is made from: a film model, an index of embeddedLookDataByIndex, the large table, or a curve on
    // luminance.
    const FilmLookParams* film = nullptr;
    int table33 = NONE;
    const float* table65 = nullptr;
    const PrintProfile* print = &FALLBACK_PRINT;
    double grain = 0.0; // added to the grain's amount at full strength; house values
    bool sceneFit = false;
};

// clang-format off
constexpr Look LOOKS[] = {
    {.label = "A Corvex Classic P0",  .process = PrintProcess::CorvexClassicP0, .table65 = LOOK_KESTRA_P0_65},
    {.label = "Corvex A35 Modern",    .process = PrintProcess::CorvexA35,       .film = &CORVEX_A35_FILM},
    {.label = "Corvex Look Standard", .process = PrintProcess::CorvexStandard,  .film = &CORVEX_STANDARD_FILM, .sceneFit = true},
    {.label = "Bleach Bypass",        .process = PrintProcess::BleachBypass,    .print = &BLEACH_BYPASS_PRINT},
    {.label = "Classic",              .process = PrintProcess::Classic,         .print = &CLASSIC_PRINT},
    {.label = "Cross Processing",     .process = PrintProcess::CrossProcessing, .table33 = 4},
    {.label = "Fuji 3510",            .process = PrintProcess::Fuji3510,        .table33 = 2},
    {.label = "Fuji 3513",            .process = PrintProcess::Fuji3513,        .table33 = 1},
    {.label = "Kodak 2383",           .process = PrintProcess::Kodak2383,       .table33 = 0},
    {.label = "Live",                 .process = PrintProcess::Live,            .print = &LIVE_PRINT},
    {.label = "Premiere",             .process = PrintProcess::Premiere,        .film = &PREMIERE_FILM},
    {.label = "Pull (-1)",            .process = PrintProcess::Pull,            .table33 = 6, .grain = -0.15},
    {.label = "Push (+1)",            .process = PrintProcess::Push,            .table33 = 5, .grain = 0.2},
    {.label = "Reversal",             .process = PrintProcess::Reversal,        .print = &REVERSAL_PRINT},
    {.label = "Teal & Orange",        .process = PrintProcess::TealOrange,      .table33 = 3},
    {.label = "Off",                  .process = PrintProcess::Off,             .print = &IDENTITY_PRINT},
};
// clang-format on
static_assert(std::size(LOOKS) == PRINT_PROCESS_COUNT, "one row per process");

// The row of a process; for a value outside the enumeration one that has nothing of its own.
const Look& lookOf(PrintProcess p) {
    static constexpr Look NO_LOOK = {.label = "", .process = PrintProcess::Off};
    const Look* const found =
        std::find_if(std::begin(LOOKS), std::end(LOOKS), [p](const Look& look) { return look.process == p; });
    return found == std::end(LOOKS) ? NO_LOOK : *found;
}

LUT3D makeTable(PrintProcess p) {
    LUT3D table;
    const Look& look = lookOf(p);
    if (look.table65) {
        lutFromEmbedded(table, look.table65, KESTRA_SIZE);
    } else if (look.table33 != NONE) {
        lutFromEmbedded(table, embeddedLookDataByIndex(look.table33), MODEL_SIZE);
    } else {
        buildPrintLut(table, p, MODEL_SIZE);
    }
    return table;
}

struct LookTables {
    std::atomic<const LUT3D*> made[PRINT_PROCESS_COUNT] = {};
};
ProcessWide<LookTables> gLookTables;

} // namespace

constinit const std::array<ProcessMenuRow, PRINT_PROCESS_COUNT> kProcessMenu = [] {
    std::array<ProcessMenuRow, PRINT_PROCESS_COUNT> menu{};
    std::transform(std::begin(LOOKS), std::end(LOOKS), menu.begin(), [](const Look& look) {
        return ProcessMenuRow{look.label, look.process};
    });
    return menu;
}();

PrintProcess processOfMenu(int menuIndex) {
    const auto row = static_cast<unsigned>(menuIndex);
    return row < kProcessMenu.size() ? kProcessMenu[row].process : PrintProcess::Off;
}

bool hasSceneFit(PrintProcess p) {
    return lookOf(p).sceneFit;
}

// Built without a lock: of several callers that start together each builds the table, and the first to finish gives it
// to all.
const LUT3D& printLut(PrintProcess p) {
    const int value = static_cast<int>(p);
    const int index = value > 0 && value < PRINT_PROCESS_COUNT ? value : 0;
    std::atomic<const LUT3D*>& made = gLookTables->made[index];
    if (const LUT3D* table = made.load(std::memory_order_acquire)) return *table;
    std::unique_ptr<const LUT3D> mine(new LUT3D(makeTable(static_cast<PrintProcess>(index))));
    const LUT3D* first = nullptr;
    if (!made.compare_exchange_strong(first, mine.get(), std::memory_order_acq_rel)) return *first;
    return *mine.release();
}

void releasePrintLuts() {
    for (std::atomic<const LUT3D*>& made : gLookTables->made)
        delete made.exchange(nullptr);
}

void buildPrintLut(LUT3D& out, PrintProcess p, int size) {
    const Look& look = lookOf(p);
    if (look.film) {
        buildFilmLookLut(out, *look.film, size);
    } else {
        buildLuminanceLookLut(out, *look.print, size);
    }
}

void lutFromEmbedded(LUT3D& out, const float* data, int size) {
    const std::size_t n = static_cast<std::size_t>(size);
    std::vector<RGB> entries(n * n * n);
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i] = {data[3 * i], data[3 * i + 1], data[3 * i + 2]};
    out = LUT3D{};
    out.size = size;
    out.logDomain = true;
    out.id = nextLutCacheId();
    out.data = std::move(entries);
}

namespace {

RowFunction printLutRows(const LUT3D& lut, double strength) {
    const std::shared_ptr<const LutRowTable> table = lutRowTable(lut);
    const double s = clampStrength(strength);
    if (lut.logDomain) return [=](float* r, float* g, float* b, std::size_t n) { table->blendLogC4(r, g, b, n, s); };
    return [=](float* r, float* g, float* b, std::size_t n) { table->blend(r, g, b, n, s); };
}

} // namespace

void applyPrintLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength, const LUT3D& lut) {
    if (width <= 0 || height <= 0) return;
    if (std::min({R.size(), G.size(), B.size()}) < static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
        throw std::invalid_argument("applyPrintLut: a plane holds fewer than width*height samples");
    }
    const RowFunction blend = printLutRows(lut, strength);
    parallelFor(0, width * height, [&](int begin, int end) {
        blend(&R[begin], &G[begin], &B[begin], static_cast<std::size_t>(end - begin));
    });
}

void applyPrintProcess(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                       PrintProcess p, double colorIntensity) {
    if (!(colorIntensity > 0.0) || p == PrintProcess::Off) return;
    applyPrintLut(R, G, B, width, height, colorIntensity, printLut(p));
}

RowFunction printProcessRows(PrintProcess p, double colorIntensity) {
    return printLutRows(printLut(p), colorIntensity);
}

double processGrainScale(PrintProcess p, double colorIntensity) {
    return 1.0 + lookOf(p).grain * clampStrength(colorIntensity);
}

} // namespace velloid
