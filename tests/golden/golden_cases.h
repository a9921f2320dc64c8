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

inline std::ostream& operator<<(std::ostream& out, const GoldenCase& golden) {
    return out << golden.name;
}

// clang-format off
inline const std::vector<GoldenCase> GOLDEN_CASES = {
    {"Defaults", {{"grainIntensity", "0.803"}, {"halationIntensity", "0.655"}, {"colorIntensity", "0.777"}}, 0, 1, 0x4781287b5f4e7ac9},
    {"Grain500T", {{"grainIntensity", "1"}}, 12, 1, 0x5d95e6e23d3cb050},
    {"GrainTriX", {{"grainIntensity", "1"}, {"negStock", "Tri-X 400 (B&W)"}}, -3, 1, 0xd485cb505c78d519},
    {"GrainHalfScale", {{"grainIntensity", "1"}, {"negStock", "Gold 200"}}, 5, 0.5, 0xac4e72dd350255f4},
    {"Halation500T", {{"halationIntensity", "1"}}, 0, 1, 0xa9d0a8ac86788b10},
    {"Halation800T", {{"halationIntensity", "1"}, {"negStock", "800T (Tungsten, no rem-jet)"}}, 0, 1, 0xc6a51379c801337a},
    {"Bloom", {{"bloom", "1"}}, 0, 1, 0x3ab022a4ddd5868f},
    {"BloomDoubleScale", {{"bloom", "1"}}, 0, 2, 0x96cc08f6a191084a},
    {"DetailPortra400", {{"detail", "1"}, {"negStock", "Portra 400"}}, 0, 1, 0xaa78f5c4f6480155},
    {"Flicker", {{"flicker", "1"}}, 31, 1, 0x8822edfe9f2cf842},
    {"Weave", {{"gateWeave", "1"}}, 31, 1, 0xd607e418e780bb9d},
    {"BlackAndWhite", {{"blackWhite", "1"}}, 0, 1, 0x3b2bbd76eb0feed1},
    {"LookPremiere", {{"colorIntensity", "1"}, {"colorProcess", "Premiere"}}, 0, 1, 0x73a0b9c832b1c2ef},
    {"LookSceneFit", {{"colorIntensity", "0.8"}, {"colorProcess", "Corvex Look Standard"}}, 0, 1, 0x4ba3a8e0feca2309},
    {"LookBleachBypass", {{"colorIntensity", "1"}, {"colorProcess", "Bleach Bypass"}}, 0, 1, 0x68b09f6aede02a1e},
    {"EverythingSLog3", {{"ioSpace", "S-Log3/S-Gamut3.Cine"}, {"detail", "0.6"}, {"grainIntensity", "0.8"}, {"halationIntensity", "0.7"}, {"colorIntensity", "0.8"}, {"colorProcess", "Premiere"}, {"gateWeave", "0.5"}, {"flicker", "0.5"}, {"bloom", "0.4"}, {"blackWhite", "0.2"}}, 100, 1, 0xf70847dd1f31dcd5},
    {"EverythingAcesCct", {{"ioSpace", "ACEScct/AP1"}, {"negStock", "Eterna Vivid"}, {"detail", "0.6"}, {"grainIntensity", "0.8"}, {"halationIntensity", "0.7"}, {"colorIntensity", "0.8"}, {"colorProcess", "Live"}, {"gateWeave", "0.5"}, {"flicker", "0.5"}, {"bloom", "0.4"}, {"blackWhite", "0.2"}}, -7, 1, 0x43d4f660660b2999},
};
// clang-format on

} // namespace velloid::test
