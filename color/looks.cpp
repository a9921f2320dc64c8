#include "color/looks.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <utility>

#include "color/density_look.h"
#include "color/look_tables.h"
#include "color/luminance_look.h"
#include "color/strength.h"
#include "lifetime/process_wide.h"
#include "process/parallel_pool.h"

namespace velloid {

namespace {

constexpr int MODEL_SIZE = 33;
constexpr int KESTRA_SIZE = 65;
constexpr double PUSH_GRAIN = 0.2;  // more grain at full push
constexpr double PULL_GRAIN = 0.15; // less at full pull

const FilmLookParams* filmOf(PrintProcess p) {
    switch (p) {
    case PrintProcess::Premiere:
        return &PREMIERE_FILM;
    case PrintProcess::CorvexStandard:
        return &CORVEX_STANDARD_FILM;
    case PrintProcess::CorvexA35:
        return &CORVEX_A35_FILM;
    default:
        return nullptr;
    }
}

const PrintProfile& profileOf(PrintProcess p) {
    switch (p) {
    case PrintProcess::Classic:
        return CLASSIC_PRINT;
    case PrintProcess::Live:
        return LIVE_PRINT;
    case PrintProcess::Reversal:
        return REVERSAL_PRINT;
    case PrintProcess::BleachBypass:
        return BLEACH_BYPASS_PRINT;
    case PrintProcess::Off:
        return IDENTITY_PRINT;
    default:
        return FALLBACK_PRINT;
    }
}

LUT3D makeTable(PrintProcess p) {
    LUT3D table;
    if (p == PrintProcess::CorvexClassicP0) {
        lutFromEmbedded(table, LOOK_KESTRA_P0_65, KESTRA_SIZE);
    } else if (p >= PrintProcess::Kodak2383 && p <= PrintProcess::Pull) {
        const int index = static_cast<int>(p) - static_cast<int>(PrintProcess::Kodak2383);
        lutFromEmbedded(table, embeddedLookDataByIndex(index), MODEL_SIZE);
    } else {
        buildPrintLut(table, p, MODEL_SIZE);
    }
    return table;
}

// One lazily built table per look: the language's own guard makes the first caller build and the others wait.
struct LookTables {
    std::atomic<const LUT3D*> made[PRINT_PROCESS_COUNT] = {};
};
ProcessWide<LookTables> gLookTables;

} // namespace

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
    if (const FilmLookParams* film = filmOf(p)) {
        buildFilmLookLut(out, *film, size);
    } else {
        buildLuminanceLookLut(out, profileOf(p), size);
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
    if (p == PrintProcess::Push) return 1.0 + PUSH_GRAIN * clampStrength(colorIntensity);
    if (p == PrintProcess::Pull) return 1.0 - PULL_GRAIN * clampStrength(colorIntensity);
    return 1.0;
}

} // namespace velloid
