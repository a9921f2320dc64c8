// The seventeen encodings in which a frame may arrive and leave, and the road between each of them and the working
// space, scene-linear ARRI Wide Gamut 4:
//   code --curve--> linear in the encoding's own gamut --matrix--> linear AWG4      (and back)
// Arithmetic in double, planes in float. Curves: color/curves/, a maker a file. Matrices: color/matrix_tables.cpp.
// Rec709 G2.4 is display-referred; it gets a plain 2.4 power and its matrix, no tone mapping.
#pragma once

#include "color/curves/arri.h" // namespace logc4: s, t, encode, decode; the logarithmic domain of the effects

#include <array>
#include <cstddef>

namespace velloid {

// The value is the option's index in the "ioSpace" menu.
enum class IOSpace : int {
    LogC4 = 0, // ARRI LogC4, AWG4
    LinearAwg4,
    LogC3, // ARRI LogC3 at EI 800, AWG3
    LinearAwg3,
    DaVinciIntermediate,
    LinearDwg,
    AcesCct, // AP1
    Rec709,  // display-referred, gamma 2.4
    SLog3,   // S-Gamut3.Cine
    VLog,
    CLog2,
    CLog3,
    FLog,
    Log3G10,
    BmdFilmGen5,
    Cineon, // Rec709 primaries
    AppleLog,
};

constexpr int IO_SPACE_COUNT = static_cast<int>(IOSpace::AppleLog) + 1; // the last one

// Options of the "ioSpace" menu. Labels are the user's: projects store them or their index, so rows are only ever
// appended.
extern const std::array<const char*, IO_SPACE_COUNT> kIONames;

// The menu label, for example "S-Log3/S-Gamut3.Cine". Throws std::out_of_range for a value outside the enumeration.
const char* ioSpaceLabel(IOSpace space);

// One code value to scene-linear in the encoding's own gamut. Any double is taken; non-finite values are not removed.
// A space outside the enumeration returns v.
double transferDecode(double v, IOSpace space);

// Scene-linear in the encoding's own gamut to one code value; the inverse of transferDecode where that is one to one.
double transferEncode(double x, IOSpace space);

// One pixel from the encoding to linear AWG4. A non-finite channel counts as code 0; a non-finite result becomes 0.
// Throws std::out_of_range for a space outside the enumeration (so do all pixel and row functions below).
void decodeToLinearAWG4(double r, double g, double b, IOSpace space, double& R, double& G, double& B);

// One pixel from linear AWG4 to code values. A non-finite channel counts as linear 0; a non-finite result becomes 0.
void encodeFromLinearAWG4(double R, double G, double B, IOSpace space, double& r, double& g, double& b);

// The same for n pixels of three planar rows, in place. The rows must not overlap. As the pixel functions to within the
// rounding of the last float bit; independent of where in a row a pixel stands.
void decodeRowToLinearAWG4(float* r, float* g, float* b, std::size_t n, IOSpace space);
void encodeRowFromLinearAWG4(float* r, float* g, float* b, std::size_t n, IOSpace space);

// The same between code values in double (r, g, b) and planes (R, G, B), which must not overlap.
void decodeRowToLinearAWG4(const double* r, const double* g, const double* b, float* R, float* G, float* B,
                           std::size_t n, IOSpace space);
void encodeRowFromLinearAWG4(const float* R, const float* G, const float* B, double* r, double* g, double* b,
                             std::size_t n, IOSpace space);

// logc4::encode and logc4::decode of n samples. `out` is `in` or does not overlap it.
void logc4EncodeRow(const float* in, float* out, std::size_t n);
void logc4DecodeRow(const float* in, float* out, std::size_t n);

} // namespace velloid
