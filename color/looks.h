// The print stocks and laboratory processes: which table each one has, how it is laid over the picture, and how push
// and pull couple to the grain. The tables: constant data (look_tables.h), the two-density film model (density_look.h)
// and the luminance model (luminance_look.h).
#pragma once

#include "color/lut3d.h"
#include "rows/row_function.h"

#include <array>
#include <vector>

namespace velloid {

// The value is the look's table slot, not its place in the menu.
enum class PrintProcess : int {
    Premiere = 0,
    Classic,
    Live,
    Reversal,
    BleachBypass,
    CorvexStandard,
    Kodak2383,
    Fuji3513,
    Fuji3510,
    TealOrange,
    CrossProcessing,
    Push,
    Pull,
    CorvexA35,
    CorvexClassicP0,
    Off,
};

constexpr int PRINT_PROCESS_COUNT = static_cast<int>(PrintProcess::Off) + 1;

// Options of the "colorProcess" menu: alphabetical with "Off" last, so each row names the process that it selects.
struct ProcessMenuRow {
    const char* label;
    PrintProcess process;
};
extern const std::array<ProcessMenuRow, PRINT_PROCESS_COUNT> kProcessMenu;

// The process that option `menuIndex` selects; Off for an index outside the menu.
PrintProcess processOfMenu(int menuIndex);

// Whether the process ends with the scene fit (color/scene_fit.h).
bool hasSceneFit(PrintProcess p);

// The look's table, built at first use, then shared until releasePrintLuts(). A value outside the enumeration gives the
// very table of Premiere. Throws std::bad_alloc; the next call then tries again.
const LUT3D& printLut(PrintProcess p);

// Gives all tables back; for unload, when no frame renders any more. Later calls of printLut build them again.
void releasePrintLuts();

// Fills `out` with the model table of a look, `size` points per axis: the film model for Premiere, CorvexStandard and
// CorvexA35, the luminance model for all others. Throws std::invalid_argument for a size below 2.
void buildPrintLut(LUT3D& out, PrintProcess p, int size);

// Fills `out` with a constant table: size^3 packed triples from LogC4 codes 0 ... 1 to LogC4 codes, red fastest.
void lutFromEmbedded(LUT3D& out, const float* data, int size);

// Blends the table into scene-linear AWG4 planes, strength by the rule of clampStrength: in LogC4 codes for a
// log-domain table, on the linear values otherwise. Throws std::invalid_argument when a plane is smaller than
// width*height or the table has fewer than 2 points.
void applyPrintLut(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength, const LUT3D& lut);

// Lays the look over the planes; does nothing for Off or colorIntensity <= 0 or NaN.
void applyPrintProcess(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                       PrintProcess p, double colorIntensity);

// The same for the rows of a frame, for colorIntensity above 0 and a process other than Off.
RowFunction printProcessRows(PrintProcess p, double colorIntensity);

// The factor on the grain amount: up to 1.2 for Push and down to 0.85 for Pull, by the clamped intensity; 1 otherwise.
double processGrainScale(PrintProcess p, double colorIntensity);

} // namespace velloid
