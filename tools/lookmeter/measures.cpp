#include "tools/lookmeter/measures.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace lookmeter {
namespace {

constexpr double PICTURE_LOW = 0.11, PICTURE_HIGH = 0.56; // codes that pictures are made of
constexpr double INFINITE = std::numeric_limits<double>::infinity();

struct Range {
    double low = INFINITE, high = -INFINITE;
    void take(double value) { low = std::min(low, value), high = std::max(high, value); }
};

Vec3 scaled(Vec3 v, double factor) {
    for (double& c : v)
        c *= factor;
    return v;
}

Vec3 renderedGrey(const Look& look, double stops) {
    return render(look, greyAt(stops));
}
double greyLuminance(const Look& look, double stops) {
    return luminance(renderedGrey(look, stops));
}
Vec3 visibleLab(const Vec3& awg4) {
    return labOf(belowWhite(awg4));
}

// log2 luminance per stop over one stop: two cells of a 33-point lattice, so that it tells the curve, not the cells.
double slopeAt(const Look& look, double stops) {
    return std::log2(greyLuminance(look, stops + 0.5) / greyLuminance(look, stops - 0.5));
}

void measureTone(const Look& look, Measures& m) {
    constexpr const char* NAMES[] = {"Y-4", "Y-3", "Y-2", "Y-1", "Y0",  "Y+1", "Y+2",
                                     "Y+3", "Y+4", "Y+5", "Y+6", "Y+7", "Y+8"};
    for (int i = 0; i < 13; ++i)
        m[NAMES[i]] = greyLuminance(look, i - 4);
    m["black"] = luminance(render(look, {0, 0, 0}));
    Vec3 white = sampleCodes(look, {1, 1, 1});
    for (double& c : white)
        c = decodeLogC4(c);
    m["white"] = luminance(white);
    m["C_white"] = chromaOf(visibleLab(white));
    m["C_black"] = chromaOf(visibleLab(render(look, {0, 0, 0})));
    m["C_0"] = chromaOf(visibleLab(renderedGrey(look, 0)));

    m["slope0"] = slopeAt(look, 0);
    Range step, middle;
    double steepest = 0, before = slopeAt(look, -8.25);
    for (int quarter = -32; quarter <= 32; ++quarter) {
        const double stops = quarter / 4.0, slope = slopeAt(look, stops);
        if (slope > steepest) steepest = slope, m["slope_max_at"] = stops;
        if (std::abs(stops) <= 3.5) middle.take(slope);
        step.take(std::abs(slope - before));
        before = slope;
    }
    m["slope_max"] = steepest;
    m["slope_min_mid"] = middle.low;
    m["slope_step"] = step.high;
}

// The grey axis in codes: falls, crossings of two channels outside a dead band, and the step at black.
void measureGreyAxis(const Look& look, Measures& m) {
    constexpr int STEPS = 2048;
    constexpr double DEAD_BAND = 0.0012;
    double drop = 0;
    Vec3 highest = {-1, -1, -1};
    std::array<int, 3> sign{}, crossings{};
    for (int i = 0; i <= STEPS; ++i) {
        const double code = static_cast<double>(i) / STEPS;
        const Vec3 out = sampleCodes(look, {code, code, code});
        for (int c = 0; c < 3; ++c) {
            drop = std::max(drop, highest[c] - out[c]);
            highest[c] = std::max(highest[c], out[c]);
            const double apart = out[c] - out[(c + 1) % 3];
            if (std::abs(apart) < DEAD_BAND) continue;
            const int now = apart > 0 ? 1 : -1;
            if (sign[c] == -now) ++crossings[c];
            sign[c] = now;
        }
    }
    m["grey_drop"] = drop;
    m["crossings"] = *std::max_element(crossings.begin(), crossings.end());
    const double dark = encodeLogC4(0.0);
    const Vec3 atZero = sampleCodes(look, {0, 0, 0}), atDark = sampleCodes(look, {dark, dark, dark});
    for (int c = 0; c < 3; ++c)
        m["black_step"] = std::max(m["black_step"], std::abs(atZero[c] - atDark[c]));
}

void measureCast(const Look& look, const std::string& name, double from, double to, Measures& m) {
    double a = 0, b = 0, largest = 0;
    int count = 0;
    for (double stops = from; stops <= to + 1e-9; stops += 0.25, ++count) {
        const Vec3 lab = visibleLab(renderedGrey(look, stops));
        a += lab[1];
        b += lab[2];
        largest = std::max(largest, chromaOf(lab));
    }
    m["a_" + name] = a / count;
    m["b_" + name] = b / count;
    m["C_" + name] = largest;
}

void measureSkin(const Look& look, Measures& m) {
    Range hue, overExposure, line;
    for (const int patch : {DARK_SKIN, LIGHT_SKIN}) {
        const Vec3 skin = awg4OfPatch(COLOR_CHECKER[patch]);
        hue.take(hueOf(visibleLab(render(look, skin))));
        line.take(vectorscopeAngle(render(look, skin)));
        for (double stops = -3; stops <= 2.5; stops += 0.25) {
            const Vec3 lab = visibleLab(render(look, scaled(skin, std::exp2(stops))));
            if (lab[0] < 8 || lab[0] > 90 || chromaOf(lab) <= 6) continue;
            overExposure.take(hueDifference(0.0, hueOf(lab)));
        }
    }
    m["skin_h_lo"] = hue.low;
    m["skin_h_hi"] = hue.high;
    m["skin_lo"] = overExposure.low;
    m["skin_hi"] = overExposure.high;
    m["skin_line_lo"] = line.low;
    m["skin_line_hi"] = line.high;
}

// Pairs of patches whose hues changed places by more than the slack.
int hueSwaps(const std::vector<double>& before, const std::vector<double>& after) {
    constexpr double SLACK = 6.0;
    int swaps = 0;
    for (std::size_t i = 0; i < before.size(); ++i)
        for (std::size_t j = i + 1; j < before.size(); ++j) {
            const double was = hueDifference(before[i], before[j]), is = hueDifference(after[i], after[j]);
            if (std::abs(was) > 150) continue; // opposite hues have no order
            if ((was > 0) != (is > 0) && std::abs(is) > SLACK && std::abs(is - was) < 180) ++swaps;
        }
    return swaps;
}

void measurePatches(const Look& look, Measures& m) {
    std::vector<double> before, after;
    Range ratios;
    double sum = 0;
    for (int i = 0; i < COLOUR_PATCHES; ++i) {
        const std::string name = COLOR_CHECKER[i].name;
        const Vec3 light = awg4OfPatch(COLOR_CHECKER[i]);
        const Vec3 in = okLabOf(belowWhite(light)), out = okLabOf(belowWhite(render(look, light)));
        const double ratio = chromaOf(out) / chromaOf(in);
        before.push_back(hueOf(in));
        after.push_back(hueOf(out));
        m["hue " + name] = hueDifference(before.back(), after.back());
        m["chroma " + name] = ratio;
        ratios.take(ratio);
        sum += ratio;
    }
    m["cr_mean"] = sum / COLOUR_PATCHES;
    m["cr_min"] = ratios.low;
    m["cr_max"] = ratios.high;
    m["hue_swaps"] = hueSwaps(before, after);
}

void measureHueRings(const Look& look, Measures& m) {
    constexpr double RINGS[][2] = {{0.40, 0.06}, {0.55, 0.06}, {0.55, 0.12}, {0.70, 0.06}, {0.70, 0.12}};
    constexpr double STEP = 5.0;
    Range step;
    for (const auto& ring : RINGS) {
        const double lightness = ring[0], chroma = ring[1];
        const auto hueAt = [&](double degrees) {
            const double angle = degrees * std::acos(-1.0) / 180.0;
            const Vec3 in = awg4OfOkLab({lightness, chroma * std::cos(angle), chroma * std::sin(angle)});
            return hueOf(okLabOf(render(look, in)));
        };
        for (double degrees = 0; degrees < 360; degrees += STEP)
            step.take(hueDifference(hueAt(degrees), hueAt(degrees + STEP)));
    }
    m["ring_min"] = step.low;
    m["ring_max"] = step.high;
}

// Primaries and secondaries of Rec.709 and of AWG4, brightest channel 1.
std::vector<Vec3> saturatedLights() {
    std::vector<Vec3> lights;
    for (int mask = 1; mask <= 6; ++mask) {
        const Vec3 light = {mask & 1 ? 1.0 : 0.0, mask & 2 ? 1.0 : 0.0, mask & 4 ? 1.0 : 0.0};
        lights.push_back(light);
        lights.push_back(rec709ToAwg4(light));
    }
    return lights;
}

void measureSaturatedLights(const Look& look, Measures& m) {
    constexpr double VISIBLE_CHROMA = 0.02; // OKLab; below it a hue is only noise
    for (const Vec3& light : saturatedLights()) {
        double brightest = 0, peak = 0, last = 0, hueBefore = 0;
        bool hasHue = false;
        for (int half = -8; half <= 20; ++half) {
            const Vec3 out = render(look, scaled(light, 0.18 * std::exp2(half / 2.0)));
            brightest = std::max(brightest, luminance(out));
            m["sat_drop"] = std::max(m["sat_drop"], std::log2(brightest / luminance(out)));
            const Vec3 lab = okLabOf(belowWhite(out));
            peak = std::max(peak, last = chromaOf(lab) / lab[0]);
            const bool visible = chromaOf(lab) > VISIBLE_CHROMA;
            if (visible && hasHue)
                m["sat_jump"] = std::max(m["sat_jump"], std::abs(hueDifference(hueBefore, hueOf(lab))));
            hueBefore = hueOf(lab);
            hasHue = visible;
        }
        m["white_path"] = std::max(m["white_path"], last / peak);
    }
}

// Calls visit(values of one lattice line, axis, channel, whether the line and a node lie in the picture range).
template <class Visit>
void forEachLine(const Look& look, Visit&& visit) {
    const int n = look.points;
    const auto inPicture = [n](int i) {
        const double code = static_cast<double>(i) / (n - 1);
        return code >= PICTURE_LOW && code <= PICTURE_HIGH;
    };
    std::vector<double> line(n);
    for (int axis = 0; axis < 3; ++axis)
        for (int u = 0; u < n; ++u)
            for (int v = 0; v < n; ++v)
                for (int c = 0; c < 3; ++c) {
                    for (int i = 0; i < n; ++i)
                        line[i] = axis == 0   ? look.at(i, u, v, c)
                                  : axis == 1 ? look.at(u, i, v, c)
                                              : look.at(u, v, i, c);
                    visit(line, axis, c, inPicture(u) && inPicture(v), inPicture);
                }
}

void measureLattice(const Look& look, Measures& m) {
    const double perStep = (look.points - 1) / 32.0; // differences are told per 1/32 of the domain
    double d1 = 0, d2Mid = 0, fall = 0;
    Range codes;
    std::vector<double> bends;
    forEachLine(look, [&](const std::vector<double>& line, int axis, int channel, bool mid, auto inPicture) {
        double bend = 0;
        for (std::size_t i = 0; i < line.size(); ++i) {
            codes.take(line[i]);
            if (i > 0) d1 = std::max(d1, std::abs(line[i] - line[i - 1]) * perStep);
            if (axis == channel && i > 0) fall = std::max(fall, (line[i - 1] - line[i]) * perStep);
            if (i == 0 || i + 1 == line.size()) continue;
            const double here = std::abs(line[i - 1] - 2 * line[i] + line[i + 1]) * perStep * perStep;
            bend = std::max(bend, here);
            if (mid && inPicture(static_cast<int>(i))) d2Mid = std::max(d2Mid, here);
        }
        bends.push_back(bend);
    });
    std::sort(bends.begin(), bends.end());
    m["d1"] = d1;
    m["d2"] = bends.back();
    m["d2_p99"] = bends[bends.size() * 99 / 100];
    m["d2_mid"] = d2Mid;
    m["own_rev"] = fall;
    m["code_min"] = codes.low;
    m["code_max"] = codes.high;
}

// Cells of the picture range across which, along some axis, no channel moves: there a table has lost its input.
void measureFlatCells(const Look& look, Measures& m) {
    constexpr double STILL = 1e-4;
    const int n = look.points;
    const int first = static_cast<int>(std::ceil(PICTURE_LOW * (n - 1)));
    const int last = static_cast<int>(std::floor(PICTURE_HIGH * (n - 1)));
    int flat = 0;
    for (int b = first; b < last; ++b)
        for (int g = first; g < last; ++g)
            for (int r = first; r < last; ++r) {
                Vec3 moved{};
                for (int c = 0; c < 3; ++c) {
                    const double here = look.at(r, g, b, c);
                    moved[0] = std::max(moved[0], std::abs(look.at(r + 1, g, b, c) - here));
                    moved[1] = std::max(moved[1], std::abs(look.at(r, g + 1, b, c) - here));
                    moved[2] = std::max(moved[2], std::abs(look.at(r, g, b + 1, c) - here));
                }
                flat += *std::min_element(moved.begin(), moved.end()) < STILL;
            }
    m["flat_cells"] = flat;
}

// Interpolation error falls with the square of the cell, so a quarter of what leaving out every second node costs is
// what the table itself costs.
void measureInterpolation(const Look& look, Measures& m) {
    const int n = look.points, half = (n + 1) / 2;
    std::vector<float> coarse;
    for (int b = 0; b < n; b += 2)
        for (int g = 0; g < n; g += 2)
            for (int r = 0; r < n; r += 2)
                for (int c = 0; c < 3; ++c)
                    coarse.push_back(static_cast<float>(look.at(r, g, b, c)));
    const Look coarseLook{coarse.data(), half};
    double largest = 0, largestMid = 0, sum = 0;
    long count = 0;
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r) {
                const Vec3 code = {r / (n - 1.0), g / (n - 1.0), b / (n - 1.0)};
                const auto [low, high] = std::minmax_element(code.begin(), code.end());
                const Vec3 guess = sampleCodes(coarseLook, code);
                for (int c = 0; c < 3; ++c, ++count) {
                    const double error = std::abs(guess[c] - look.at(r, g, b, c)) / 4.0;
                    largest = std::max(largest, error);
                    if (*low >= PICTURE_LOW && *high <= PICTURE_HIGH) largestMid = std::max(largestMid, error);
                    sum += error;
                }
            }
    m["ierr_max"] = largest;
    m["ierr_mid"] = largestMid;
    m["ierr_mean"] = sum / static_cast<double>(count);
}

void measureOutOfGamut(const Look& look, Measures& m) {
    constexpr double LEVELS[] = {0.02, 0.18, 1.0};
    for (int axis = 0; axis < 3; ++axis)
        for (const double first : LEVELS)
            for (const double second : LEVELS) {
                Vec3 code{};
                code[(axis + 1) % 3] = encodeLogC4(first);
                code[(axis + 2) % 3] = encodeLogC4(second);
                const Vec3 below = sampleCodes(look, code);
                code[axis] = encodeLogC4(0.0);
                const Vec3 at = sampleCodes(look, code);
                for (int c = 0; c < 3; ++c)
                    m["neg_step"] = std::max(m["neg_step"], std::abs(at[c] - below[c]));
            }

    const double dark = encodeLogC4(0.0);
    for (int channel = 0; channel < 3; ++channel)
        for (const double level : {0.3, 0.4, 0.5}) {
            Vec3 primary = {dark, dark, dark}, secondary = {level, level, level};
            primary[channel] = level;
            secondary[channel] = dark;
            const Vec3 p = sampleCodes(look, primary), s = sampleCodes(look, secondary);
            m["sextant"] += std::max_element(p.begin(), p.end()) - p.begin() != channel;
            m["sextant"] += std::min_element(s.begin(), s.end()) - s.begin() != channel;
        }
}

void measureCrossTalk(const Look& look, Measures& m) {
    const double grey = encodeLogC4(0.18);
    const Vec3 at = sampleCodes(look, {grey, grey, grey});
    for (int channel = 0; channel < 3; ++channel)
        for (const double stop : {-1.0, 1.0}) {
            Vec3 code = {grey, grey, grey};
            code[channel] = encodeLogC4(0.18 * std::exp2(stop));
            const Vec3 moved = sampleCodes(look, code);
            for (int c = 0; c < 3; ++c)
                if (c != channel) m["cross_talk"] = std::max(m["cross_talk"], std::abs(moved[c] - at[c]));
        }
}

std::vector<Vec3> comparisonLights() {
    std::vector<Vec3> lights;
    for (const double stops : {0.0, -2.0, -1.0, 1.0})
        for (const Patch& patch : COLOR_CHECKER)
            lights.push_back(scaled(awg4OfPatch(patch), std::exp2(stops)));
    for (int i = -8; i <= 8; ++i)
        lights.push_back(greyAt(i * 0.75));
    return lights;
}

template <class Other>
double meanDifferenceTo(const Look& look, Other&& other) {
    const std::vector<Vec3> lights = comparisonLights();
    double sum = 0;
    for (const Vec3& light : lights)
        sum += ciede2000(visibleLab(render(look, light)), visibleLab(other(light)));
    return sum / static_cast<double>(lights.size());
}

} // namespace

Vec3 greyAt(double stops) {
    const double light = 0.18 * std::exp2(stops);
    return {light, light, light};
}

Vec3 belowWhite(Vec3 awg4) {
    return scaled(awg4, 1.0 / std::max(1.0, luminance(awg4)));
}

double meanDifference(const Look& a, const Look& b) {
    return meanDifferenceTo(a, [&](const Vec3& light) { return render(b, light); });
}

Measures measure(const Look& look) {
    Measures m;
    measureTone(look, m);
    measureGreyAxis(look, m);
    measureCast(look, "sh", -4, -2, m);
    measureCast(look, "mid", -1, 1, m);
    measureCast(look, "hi", 2, 5, m);
    measureSkin(look, m);
    measurePatches(look, m);
    measureHueRings(look, m);
    measureSaturatedLights(look, m);
    measureLattice(look, m);
    measureFlatCells(look, m);
    measureInterpolation(look, m);
    measureOutOfGamut(look, m);
    measureCrossTalk(look, m);
    m["from_identity"] = meanDifferenceTo(look, [](const Vec3& light) { return light; });
    return m;
}

} // namespace lookmeter
