// The sixteen parameters and their menus as constant tables, in the order in which the host shows them, and the readers
// through which the other handlers fetch a value at a frame's time.
#pragma once

#include "color/looks.h"
#include "ofx/ofx.h"

#include <array>
#include <span>
#include <string>

namespace velloid {

enum class ParameterType { Choice, Double, String, Group, PushButton };

// One parameter as the host shows it. Doubles range from 0 to 1; a choice's default is an option index.
struct ParameterRow {
    const char* key;
    ParameterType type;
    const char* label;
    const char* hint;                     // null: none
    double defaultValue;                  // of doubles and choices
    std::span<const char* const> options; // of choices
    const char* parent;                   // group that holds it; null: top level
};

struct ProcessMenuRow {
    const char* label;
    PrintProcess process;
};

constexpr int PARAMETER_COUNT = 16;
extern const std::array<ParameterRow, PARAMETER_COUNT> PARAMETERS;

// Options of "negStock": the index is the NegativeStock.
extern const std::array<const char*, 17> kStockNames;
// Options of "colorProcess": alphabetical, so each row names the PrintProcess that it selects.
extern const std::array<ProcessMenuRow, 16> kProcessMenu;
// Options of "ioSpace": the index is the IOSpace.
extern const std::array<const char*, 17> kIONames;

// The process that option `menuIndex` of "colorProcess" selects; Off for an index outside the menu.
PrintProcess processOfMenu(int menuIndex);

// Values at a frame's time. A parameter that the host can't answer reads as 0, 0.0 or "", whatever its default.
int getChoice(OfxImageEffectHandle effect, const char* key, double time);
double getDouble(OfxImageEffectHandle effect, const char* key, double time);
std::string getString(OfxImageEffectHandle effect, const char* key, double time);

} // namespace velloid
