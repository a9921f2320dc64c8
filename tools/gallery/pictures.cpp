#include "tools/gallery/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace gallery {
namespace {

using namespace lookmeter;

// clang-format off
constexpr std::array<Color, LOOK_COUNT> LOOK_COLORS = {{
    {0.95f, 0.76f, 0.30f}, {0.35f, 0.80f, 0.55f}, {0.60f, 0.72f, 0.68f}, {0.98f, 0.52f, 0.22f},
    {0.75f, 0.45f, 0.95f}, {0.95f, 0.35f, 0.40f}, {0.40f, 0.62f, 0.98f}, {0.92f, 0.92f, 0.92f},
}};
// clang-format on

constexpr Color RED = {0.95f, 0.35f, 0.30f}, BLUE = {0.40f, 0.55f, 1.0f};

// A display transform for pictures that keep the highlights of the scene: grey stays, 12 becomes white.
double softShoulder(double x) {
    constexpr double POWER = 1.2, HALF = 0.6034, TOP = 1.0306;
    const double p = std::pow(std::max(x, 0.0), POWER);
    return TOP * p / (p + HALF);
}

std::string number(double value, const char* format) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

Vec3 scaled(Vec3 v, double factor) {
    for (double& c : v)
        c *= factor;
    return v;
}

const char* labelOf(int look) {
    return embeddedLooks()[look].label;
}

void legend(Canvas& canvas, double x, double y) {
    for (int i = 0; i < LOOK_COUNT; ++i, y += 17) {
        canvas.line({x, y - 4}, {x + 22, y - 4}, LOOK_COLORS[i], 2.5);
        canvas.text(x + 30, y, labelOf(i));
    }
}

template <class Value>
std::vector<Point> alongGrey(Value&& value) {
    std::vector<Point> points;
    for (double stops = -8; stops <= 8; stops += 0.1)
        points.push_back({stops, value(stops)});
    return points;
}

double greyStops(const Look& look, double stops) {
    return std::log2(std::max(luminance(render(look, greyAt(stops))), 1e-6) / 0.18);
}

// Saturated hue at an angle of the Rec.709 hexagon: 0 red, 120 green, 240 blue. Eased at the corners: a crease in the
// picture is the look's, not the hexagon's.
Vec3 hexagonHue(double degrees, double saturation) {
    Vec3 rgb{};
    for (int c = 0; c < 3; ++c) {
        const double away = std::abs(std::remainder(degrees - 120.0 * c, 360.0));
        const double full = std::clamp(2.0 - away / 60.0, 0.0, 1.0);
        const double eased = 0.5 - 0.5 * std::cos(std::numbers::pi * full);
        rgb[c] = 1.0 - saturation * (1.0 - eased);
    }
    return rec709ToAwg4(rgb);
}

void drawPatches(Canvas& canvas, const Look& look, bool sceneRange, int left, int top) {
    constexpr int SIZE = 52;
    canvas.text(left, top - 8, "ColorChecker: left before, right after");
    for (int i = 0; i < 24; ++i) {
        const int x = left + i % 6 * (SIZE + 4), y = top + i / 6 * (SIZE + 4);
        const Vec3 light = awg4OfPatch(COLOR_CHECKER[i]);
        canvas.fill(x, y, x + SIZE / 2, y + SIZE, shown(light, sceneRange));
        canvas.fill(x + SIZE / 2, y, x + SIZE, y + SIZE, shown(render(look, light), sceneRange));
    }
}

void drawArrows(Canvas& canvas, const Look& look, Point topLeft, Point bottomRight) {
    const Chart chart(canvas, topLeft, bottomRight, {-60, 80, 20, "a*"}, {-60, 80, 20, "b*"}, "CIELAB, in to out");
    for (int i = 0; i < COLOUR_PATCHES; ++i) {
        const Vec3 light = awg4OfPatch(COLOR_CHECKER[i]);
        const Vec3 in = labOf(light), out = labOf(belowWhite(render(look, light)));
        canvas.arrow(chart.at(in[1], in[2]), chart.at(out[1], out[2]), shown(light, false));
    }
}

Point onVectorscope(Point center, double radius, const Vec3& awg4) {
    Vec3 signal = awg4ToRec709(awg4);
    for (double& s : signal)
        s = std::copysign(std::pow(std::abs(s), 1.0 / 2.4), s);
    const double luma = 0.2126 * signal[0] + 0.7152 * signal[1] + 0.0722 * signal[2];
    return {center.x + radius * 2 * (signal[2] - luma) / 1.8556, center.y - radius * 2 * (signal[0] - luma) / 1.5748};
}

void drawVectorscope(Canvas& canvas, const Look& look, Point center, double radius) {
    canvas.text(center.x - radius, center.y - radius - 8, "Vectorscope x2: thin in, bold out; line: skin");
    canvas.ring(center, radius, FAINT);
    const double skin = 123.0 * std::numbers::pi / 180.0;
    canvas.line(center, {center.x + radius * std::cos(skin), center.y - radius * std::sin(skin)}, {0.8f, 0.6f, 0.45f});
    for (const double chroma : {0.05, 0.11}) {
        std::vector<Point> in, out;
        for (int degrees = 0; degrees <= 360; degrees += 3) {
            const double angle = degrees * std::numbers::pi / 180.0;
            const Vec3 light = awg4OfOkLab({0.62, chroma * std::cos(angle), chroma * std::sin(angle)});
            in.push_back(onVectorscope(center, radius, light));
            out.push_back(onVectorscope(center, radius, render(look, light)));
            if (degrees % 15 == 0) canvas.disc(out.back(), 2.6, shown(light, false));
        }
        canvas.path(in, FAINT, 1.0);
        canvas.path(out, INK, 1.4);
    }
    for (const int patch : {DARK_SKIN, LIGHT_SKIN})
        for (int stops = -2; stops <= 2; ++stops) {
            const Vec3 light = scaled(awg4OfPatch(COLOR_CHECKER[patch]), std::exp2(stops));
            canvas.disc(onVectorscope(center, radius, render(look, light)), 3.0, shown(light, true));
        }
}

// Where a drawing goes on the canvas, in pixels, and the title above it.
struct Panel {
    int left, top, width, height;
    std::string title;
};

void drawSweep(Canvas& canvas, const Panel& at, const Look& look, bool sceneRange, double saturation) {
    canvas.text(at.left, at.top - 8, at.title);
    for (int y = 0; y < at.height; ++y)
        for (int x = 0; x < at.width; ++x) {
            const double stops = 8.0 - 13.0 * (y + 0.5) / at.height;
            const Vec3 hue = hexagonHue(360.0 * (x + 0.5) / at.width, saturation);
            canvas.set(at.left + x, at.top + y, shown(render(look, scaled(hue, 0.18 * std::exp2(stops))), sceneRange));
        }
}

// A ramp, and under it the differences of neighbouring pixels, forty times: kinks of the lattice show as edges.
void drawRamp(Canvas& canvas, const Panel& at, const Look& look, bool sceneRange, const Vec3& light) {
    canvas.text(at.left, at.top - 8, at.title);
    const int middle = at.top + 26, bottom = at.top + at.height;
    Color before{};
    for (int x = 0; x < at.width; ++x) {
        const double stops = -8.0 + 16.0 * (x + 0.5) / at.width;
        const Color here = shown(render(look, scaled(light, std::exp2(stops))), sceneRange);
        canvas.fill(at.left + x, at.top, at.left + x + 1, middle, here);
        Color change{};
        for (int c = 0; c < 3; ++c)
            change[c] = x > 0 ? std::min(1.f, 40.f * std::abs(here[c] - before[c])) : 0.f;
        canvas.fill(at.left + x, middle, at.left + x + 1, bottom, change);
        before = here;
    }
}

// Rec.709 light that its display can show: colours beyond its edge are drawn in softly instead of cut channel by
// channel, which would draw contours that are not in the look.
Vec3 withinRec709(const Vec3& awg4) {
    constexpr double KNEE = 0.85;
    Vec3 light = awg4ToRec709(awg4);
    const double grey = luminance(awg4), lowest = std::min({light[0], light[1], light[2]});
    const double reach = grey > 0 ? (grey - lowest) / grey : 0.0; // 0 neutral, 1 at the edge
    if (reach <= KNEE) return light;
    const double drawn = KNEE + (1.0 - KNEE) * (1.0 - std::exp(-(reach - KNEE) / (1.0 - KNEE)));
    for (double& c : light)
        c = grey + (c - grey) * drawn / reach;
    return light;
}

} // namespace

Color shown(const Vec3& awg4, bool sceneRange) {
    Color color{};
    const Vec3 light = withinRec709(awg4);
    for (int c = 0; c < 3; ++c) {
        const double displayed = sceneRange ? softShoulder(light[c]) : light[c];
        color[c] = static_cast<float>(std::pow(std::clamp(displayed, 0.0, 1.0), 1.0 / 2.4));
    }
    return color;
}

Canvas toneCurves(const LookSet& looks) {
    Canvas canvas(1180, 1000);
    const Chart::Axis stops = {-8, 8, 1, "scene, stops about 0.18"};
    const Chart tone(canvas, {60, 40}, {960, 430}, stops, {-10, 7, 1, "stops about 0.18"}, "Grey out over grey in");
    const Chart slope(canvas, {60, 490}, {960, 700}, stops, {0, 2.5, 0.5, "stops per stop"}, "Local slope");
    const Chart cast(canvas, {60, 760}, {960, 960}, stops, {-16, 16, 4, "CIELAB"}, "Cast: a* thin, b* bold");
    for (int i = 0; i < LOOK_COUNT; ++i) {
        const Look& look = looks[i];
        tone.curve(alongGrey([&](double s) { return greyStops(look, s); }), LOOK_COLORS[i], 1.8);
        slope.curve(alongGrey([&](double s) { return greyStops(look, s + 0.5) - greyStops(look, s - 0.5); }),
                    LOOK_COLORS[i]);
        const auto lab = [&](double s) { return labOf(belowWhite(render(look, greyAt(s)))); };
        cast.curve(alongGrey([&](double s) { return lab(s)[1]; }), LOOK_COLORS[i], 0.9);
        cast.curve(alongGrey([&](double s) { return lab(s)[2]; }), LOOK_COLORS[i], 2.0);
    }
    legend(canvas, 990, 60);
    return canvas;
}

Canvas lookSheet(const Look& look, LookIndex index) {
    const bool sceneRange = index == CLASSIC_P0;
    Canvas canvas(1060, 700);
    canvas.text(20, 26, labelOf(index), INK, 17);
    canvas.text(1040, 26, sceneRange ? "Rec.709 through a soft shoulder" : "Rec.709, power 1/2.4", INK, 11,
                Align::Right);
    drawPatches(canvas, look, sceneRange, 20, 64);
    drawArrows(canvas, look, {410, 60}, {680, 285});
    drawVectorscope(canvas, look, {870, 180}, 118);
    drawSweep(canvas, {20, 340, 500, 200, "Rec.709 hues, -5 (bottom) to +8 stops: full saturation"}, look, sceneRange,
              1.0);
    drawSweep(canvas, {540, 340, 500, 200, "half saturation"}, look, sceneRange, 0.5);
    drawRamp(canvas, {20, 568, 1020, 44, "Grey, -8 ... +8 stops, and neighbour differences x40"}, look, sceneRange,
             greyAt(0));
    drawRamp(canvas, {20, 644, 1020, 44, "Light skin"}, look, sceneRange, awg4OfPatch(COLOR_CHECKER[LIGHT_SKIN]));
    return canvas;
}

Canvas distanceMatrix(const LookSet& looks) {
    constexpr int CELL = 74, LEFT = 170, TOP = 60;
    Canvas canvas(LEFT + CELL * LOOK_COUNT + 20, TOP + CELL * LOOK_COUNT + 20);
    canvas.text(20, 26, "Mean CIEDE2000 between looks", INK, 15);
    for (int row = 0; row < LOOK_COUNT; ++row) {
        canvas.text(LEFT - 10, TOP + CELL * row + CELL / 2 + 4, labelOf(row), INK, 12, Align::Right);
        canvas.disc({LEFT + CELL * (row + 0.5), TOP - 12.0}, 5, LOOK_COLORS[row]);
        canvas.disc({16, TOP + CELL * (row + 0.5)}, 5, LOOK_COLORS[row]);
        for (int col = 0; col < LOOK_COUNT; ++col) {
            const double far = meanDifference(looks[row], looks[col]);
            const float shade = static_cast<float>(std::min(far / 10.0, 1.0));
            const int x = LEFT + CELL * col, y = TOP + CELL * row;
            canvas.fill(x, y, x + CELL - 2, y + CELL - 2, {0.13f + 0.5f * shade, 0.15f + 0.25f * shade, 0.22f});
            if (row != col)
                canvas.text(x + CELL / 2.0, y + CELL / 2.0 + 5, number(far, "%.1f"), INK, 14, Align::Center);
        }
    }
    return canvas;
}

Canvas pushAndPull(const LookSet& looks) {
    Canvas canvas(900, 460);
    const Chart chart(canvas, {60, 40}, {870, 410}, {-8, 8, 1, "scene, stops about 0.18"}, {-1, 1, 0.25, "stops"},
                      "Push (red) and Pull (blue) against their mean");
    const auto mean = [&](double s) { return 0.5 * (greyStops(looks[PUSH], s) + greyStops(looks[PULL], s)); };
    chart.curve(alongGrey([&](double s) { return greyStops(looks[PUSH], s) - mean(s); }), RED, 2.0);
    chart.curve(alongGrey([&](double s) { return greyStops(looks[PULL], s) - mean(s); }), BLUE, 2.0);
    return canvas;
}

} // namespace gallery
