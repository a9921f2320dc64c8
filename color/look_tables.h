// The eight look tables that are carried as data. Input: LogC4 codes 0 ... 1 over AWG4 on every axis; output: LogC4
// codes. Packed R, G, B per lattice point, red index fastest, then green, then blue: the layout of LUT3D::data.
// tools/lookgen computes them from its recipes while the project is built; the tests pin the values.
#pragma once

namespace velloid {

// C names, because on most systems the arrays are defined by the assembler (look_tables_data.cpp).
extern "C" {
extern const float LOOK_KODAK2383_33[33 * 33 * 33 * 3];
extern const float LOOK_FUJI3513_33[33 * 33 * 33 * 3];
extern const float LOOK_FUJI3510_33[33 * 33 * 33 * 3];
extern const float LOOK_TEALORANGE_33[33 * 33 * 33 * 3];
extern const float LOOK_CROSSPROC_33[33 * 33 * 33 * 3];
extern const float LOOK_PUSH1_33[33 * 33 * 33 * 3];
extern const float LOOK_PULL1_33[33 * 33 * 33 * 3];
extern const float LOOK_KESTRA_P0_65[65 * 65 * 65 * 3];
}

// The 33-point table of index i: 0 Kodak 2383, 1 Fuji 3513, 2 Fuji 3510, 3 Teal & Orange, 4 Cross Processing,
// 5 Push (+1), 6 Pull (-1). Any other index gives the Kodak 2383.
const float* embeddedLookDataByIndex(int i);

} // namespace velloid
