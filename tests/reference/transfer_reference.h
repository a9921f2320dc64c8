// The transfer curves as formulas with their numbers written out, one after the other; no tables, no shared constants.
// What color/colorspace.h offers, a second time, by somebody who only had the published formulas.
#pragma once

#include <cstddef>

namespace tarnwell::reference {

// Space is the value of velloid::IOSpace; any other returns the argument.
double transferDecode(double v, int space);
double transferEncode(double x, int space);

// Three planar rows in place, pixel by pixel. The matrix is row-major, null for none.
void decodeRow(float* r, float* g, float* b, std::size_t n, int space, const double* matrix);
void encodeRow(float* r, float* g, float* b, std::size_t n, int space, const double* matrix);

void logc4EncodeRow(const float* in, float* out, std::size_t n);
void logc4DecodeRow(const float* in, float* out, std::size_t n);

// The scene fit of planar rows in place, strength in (0, 1].
void sceneFitRow(float* r, float* g, float* b, std::size_t n, double strength);

} // namespace tarnwell::reference
