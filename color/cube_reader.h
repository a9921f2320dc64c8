// Reads 3D tables from .cube files, strictly: a file is taken whole and without a doubt, or not at all.
//
//   # comment                      also after a data row; blank lines are ignored
//   TITLE "anything"               before the data
//   LUT_3D_SIZE n                  2 ... 129, once
//   DOMAIN_MIN r g b               before the data, each once; default 0 0 0
//   DOMAIN_MAX r g b               default 1 1 1
//   LUT_3D_INPUT_RANGE lo hi       instead of the two lines above
//   r g b                          n^3 rows, red fastest
//
// Every other line, a one-dimensional table, a value that is not a finite float, too few or too many rows and a line of
// more than 511 bytes, its line feed counted, are refused. Numbers are read as in the C locale, whatever the host set.
#pragma once

#include "color/lut3d.h"

#include <string>

namespace velloid {

// Why a file was refused.
struct CubeError {
    bool unread = false; // the file could not be opened or read, so nothing is known of what it holds
    int line = 0;        // counted from 1; 0 when no single line is at fault
    std::string reason;  // English, without the path, for example "a data row needs three numbers"
};

// Fills `out` (domain, a new id, the data; not log-domain) and returns true, or returns false and leaves it untouched.
// Throws std::bad_alloc only.
bool loadCubeLut(const char* path, LUT3D& out);

// The same; says in `error`, unless null, why the file was refused.
bool loadCubeLut(const char* path, LUT3D& out, CubeError* error);

// True when the line begins with the keyword and the keyword ends there: at a blank, a tab, a line end or the end of
// the text. Sets `rest` to the character after the keyword then, and leaves it alone otherwise.
bool cubeKeyword(const char* line, const char* keyword, const char*& rest);

// Parses exactly `count` finite numbers, separated by blanks, tabs and line ends; only a "#" comment may follow them.
// On failure `out` may be partly written.
bool parseCubeDoubles(const char* text, double* out, int count);

} // namespace velloid
