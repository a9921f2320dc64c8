// A look as a .cube file. The plug-in is asked, not its tables: a lattice of code values is rendered as if it were a
// picture, with everything but the look switched off. So it works for every look, at every strength, in every I/O
// space, and tells what the plug-in does, not what we think it does.
//
// In LogC4/AWG4 the file belongs into the output LUT with the domain "LogC4", where it does to any picture what the
// live look does; in other spaces into the domain "Encoded I/O" of a plug-in set to that space, or into any program
// that hands it code values of that space.
#pragma once

#include "host/effect.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwell {

struct LookExport {
    std::string look;      // label, unique beginning of one, or index, as Parameter::parse takes it
    double strength = 1.0; // 0 ... 1
    std::string space = "LogC4/AWG4";
    int size = 65; // points per axis, 2 ... 129
};

struct LookTable {
    std::string look, space; // labels in full
    double strength = 1.0;
    int size = 0;
    std::vector<float> samples;   // size^3 triples R, G, B, red index fastest
    std::vector<std::string> off; // parameters that were switched off: "detail = 0"
};

constexpr int SMALLEST_TABLE = 2, LARGEST_TABLE = 129; // what readers of .cube files take

// Renders the lattice. `effect` must be loaded and be a film look: with the parameters "colorProcess",
// "colorIntensity" and "ioSpace". Throws ParameterError, ActionError, HostError.
LookTable sampleLook(Effect& effect, const LookExport& wanted);

// The file's text: title, how to use it and what is off as comments, size, rows that read back as the same floats.
std::string cubeText(const LookTable& table);

// Writes under a temporary name and renames. Throws HostError naming file and reason.
void writeTextFile(const std::filesystem::path& path, const std::string& text);

} // namespace tarnwell
