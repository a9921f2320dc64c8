// The sixteen parameters as a constant table, and the readers through which the other handlers fetch a value at a
// frame's time.
#pragma once

#include "ofx/ofx.h"

#include <array>
#include <span>
#include <string>

namespace velloid {

struct FrameRequest;
struct MetalFrameParams;

enum class ParameterType { Choice, Double, String, Group, PushButton };

// What an effect needs besides an amount above 0.
enum class Needs { Nothing, Stock, Look, Table };

// One parameter: what the host shows, and what it is of a frame. Doubles range from 0 to 1; a choice's default is an
// option index. Everything else that goes over the parameters (describe, the frame's request, what makes a frame no
// identity, the GPU's record) goes over this table.
struct ParameterRow {
    const char* key;
    ParameterType type;
    const char* label;
    const char* hint = nullptr;                // null: none
    double defaultValue = 0.0;                 // of doubles and choices
    std::span<const char* const> options = {}; // of choices
    const char* parent = nullptr;              // group that holds it; null: top level

    // Where a frame's request keeps it: the amount that a double is, within [0, 1] ...
    double FrameRequest::*amount = nullptr;
    Needs needs = Needs::Nothing;            // what that amount needs to count
    double MetalFrameParams::*gpu = nullptr; // where the GPU's record has it; null: it has it in another form
    // ... or what becomes of a choice's option, which may be any int, or of a text. `provides` is what it is then there
    // for.
    void (*choose)(FrameRequest&, int option) = nullptr;
    std::string FrameRequest::*text = nullptr;
    Needs provides = Needs::Nothing;

    bool changesWithFrame = false; // with it the result may differ from frame to frame, which hosts are told
};

// In the order in which the host shows them.
extern const std::array<ParameterRow, 16> PARAMETERS;

// The push button that opens the donation page.
constexpr const char* SUPPORT_BUTTON = "support_paypal";

// Reads a row's value at a frame's time into the request: amounts clamped to [0, 1], options as `choose` takes them.
void readInto(FrameRequest& request, const ParameterRow& row, OfxImageEffectHandle effect, double time);

// Values at a frame's time. A parameter that the host can't answer reads as 0, 0.0 or "", whatever its default.
int getChoice(OfxImageEffectHandle effect, const char* key, double time);
double getDouble(OfxImageEffectHandle effect, const char* key, double time);
std::string getString(OfxImageEffectHandle effect, const char* key, double time);

} // namespace velloid
