// The named frames of the golden test. Every effect is off unless a case sets it; all else is the user's default.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace velloid::test {

struct GoldenCase {
    std::string name;
    std::vector<std::pair<std::string, std::string>> settings; // parameter, value as a user writes it
    double time;
    double scale;
    std::uint64_t hash;
};

inline std::ostream& operator<<(std::ostream& out, const GoldenCase& golden) { return out << golden.name; }

// clang-format off
inline const std::vector<GoldenCase> GOLDEN_CASES = {
    {"Defaults", {{"grainIntensity", "0.803"}, {"halationIntensity", "0.655"}, {"colorIntensity", "0.777"}}, 0, 1, 0x0},
    {"Grain500T", {{"grainIntensity", "1"}}, 12, 1, 0x0},
    {"GrainTriX", {{"grainIntensity", "1"}, {"negStock", "Tri-X 400 (B&W)"}}, -3, 1, 0x0},
    {"GrainHalfScale", {{"grainIntensity", "1"}, {"negStock", "Gold 200"}}, 5, 0.5, 0x0},
    {"Halation500T", {{"halationIntensity", "1"}}, 0, 1, 0x0},
    {"Halation800T", {{"halationIntensity", "1"}, {"negStock", "800T (Tungsten, no rem-jet)"}}, 0, 1, 0x0},
    {"Bloom", {{"bloom", "1"}}, 0, 1, 0x0},
    {"BloomDoubleScale", {{"bloom", "1"}}, 0, 2, 0x0},
    {"DetailPortra400", {{"detail", "1"}, {"negStock", "Portra 400"}}, 0, 1, 0x0},
    {"Flicker", {{"flicker", "1"}}, 31, 1, 0x0},
    {"Weave", {{"gateWeave", "1"}}, 31, 1, 0x0},
    {"BlackAndWhite", {{"blackWhite", "1"}}, 0, 1, 0x0},
    {"LookPremiere", {{"colorIntensity", "1"}, {"colorProcess", "Premiere"}}, 0, 1, 0x0},
    {"LookSceneFit", {{"colorIntensity", "0.8"}, {"colorProcess", "Corvex Look Standard"}}, 0, 1, 0x0},
    {"LookBleachBypass", {{"colorIntensity", "1"}, {"colorProcess", "Bleach Bypass"}}, 0, 1, 0x0},
    {"EverythingSLog3", {{"ioSpace", "S-Log3/S-Gamut3.Cine"}, {"detail", "0.6"}, {"grainIntensity", "0.8"}, {"halationIntensity", "0.7"}, {"colorIntensity", "0.8"}, {"colorProcess", "Premiere"}, {"gateWeave", "0.5"}, {"flicker", "0.5"}, {"bloom", "0.4"}, {"blackWhite", "0.2"}}, 100, 1, 0x0},
    {"EverythingAcesCct", {{"ioSpace", "ACEScct/AP1"}, {"negStock", "Eterna Vivid"}, {"detail", "0.6"}, {"grainIntensity", "0.8"}, {"halationIntensity", "0.7"}, {"colorIntensity", "0.8"}, {"colorProcess", "Live"}, {"gateWeave", "0.5"}, {"flicker", "0.5"}, {"bloom", "0.4"}, {"blackWhite", "0.2"}}, -7, 1, 0x0},
};
// clang-format on

} // namespace velloid::test
