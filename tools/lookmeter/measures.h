// What can be said about a look in numbers: tone, casts, colours, and how well a lattice carries it.
#pragma once

#include "tools/lookmeter/colour.h"

#include <map>
#include <string>
#include <vector>

namespace lookmeter {

// Name of the measure -> value. The names and what they mean:
//
//   Y-4 ... Y+8      luminance of a grey n stops from 0.18; black: of linear 0; white: of code 1
//   slope0           log2 luminance per stop over grey +-0.5; slope_max, at slope_max_at stops; slope_min_mid: smallest
//                    within +-3.5 stops; slope_step: largest change between quarter stops
//   grey_drop        how far a channel falls along the grey axis, codes; black_step: code 0 against linear 0, codes
//   code_min, _max   range of the stored values; crossings: how often two channels cross along the grey axis
//   a_sh, b_sh, C_sh mean CIELAB cast and largest chroma of greys at -4 ... -2 stops; mid: -1 ... +1; hi: +2 ... +5;
//                    C_0, C_black, C_white: chroma of grey itself, of linear 0, of code 1
//   skin_h_lo, _hi   CIELAB hue of the skin patches; skin_lo, skin_hi: the same over -3 ... +2.5 stops
//   skin_line_lo,_hi vectorscope angle of the skin patches
//   cr_mean, _max, _min  OKLab chroma against the input over 18 patches; "chroma NAME": of one patch
//   hue NAME         OKLab hue shift of a patch, degrees; hue_swaps: pairs of patches that changed their order by > 6
//   ring_min, _max   smallest and largest output hue step of 5 degree steps on five hue rings
//   sat_drop         how far luminance falls while a saturated light grows, stops; sat_jump: its largest hue change per
//                    half stop, degrees; white_path: chroma over lightness at +10 stops against its peak
//   d1, d2, d2_p99, d2_mid   lattice differences per 1/32 of the domain, codes; own_rev: how far a channel falls with
//   its
//                    own input; flat_cells: lattice cells within codes .11 ... .56 that do not move
//   ierr_max, _mid, _mean    error of interpolation, a quarter of that of every second node, codes
//   neg_step         change as one channel goes from linear 0 to code 0, codes; sextant: saturated colours that changed
//                    their largest (primaries) or smallest (secondaries) channel
//   from_identity    mean CIEDE2000 against the input; cross_talk: effect of another channel one stop off grey, codes
using Measures = std::map<std::string, double>;

Measures measure(const Look& look);

// Mean CIEDE2000 between two looks over the 24 patches at 0, -2, -1, +1 stops and 17 greys.
double meanDifference(const Look& a, const Look& b);

// Linear AWG4 grey, stops about 0.18.
Vec3 greyAt(double stops);

// Scaled to luminance 1 where brighter: what CIELAB is asked about.
Vec3 belowWhite(Vec3 awg4);

} // namespace lookmeter
