#include "tools/gallery/scene.h"

#include <algorithm>
#include <cmath>

namespace gallery {
namespace {

using namespace lookmeter;

constexpr int WIDTH = 340, HEIGHT = 220;

Vec3 patchLight(const char* name, double stops) {
    for (const Patch& patch : COLOR_CHECKER) {
        if (std::string(patch.name) != name) continue;
        Vec3 light = awg4OfPatch(patch);
        for (double& c : light)
            c *= std::exp2(stops);
        return light;
    }
    return {};
}

Vec3 mix(const Vec3& a, const Vec3& b, double t) {
    Vec3 out{};
    for (int c = 0; c < 3; ++c)
        out[c] = a[c] + (b[c] - a[c]) * t;
    return out;
}

void add(Vec3& light, const Vec3& more, double factor) {
    for (int c = 0; c < 3; ++c)
        light[c] += factor * more[c];
}

// Smooth value noise from sines; enough for leaves.
double leaves(double x, double y) {
    return 0.5 + 0.25 * std::sin(x * 0.9 + 2.3 * std::sin(y * 0.37)) +
           0.25 * std::sin(y * 1.3 + 1.7 * std::sin(x * 0.53));
}

Vec3 background(double x, double y) {
    constexpr double HORIZON = 0.52;
    if (y < HORIZON) {
        Vec3 sky = mix(patchLight("blue sky", -0.7), patchLight("blue sky", 1.6), y / HORIZON);
        const double sun = std::hypot(x - 0.86, (y - 0.12) * HEIGHT / WIDTH);
        add(sky, {1.0, 0.86, 0.62}, 60.0 * std::exp(-std::pow(sun / 0.035, 2.0)) + 1.5 * std::exp(-sun / 0.09));
        return sky;
    }
    const double shade = leaves(x * WIDTH * 0.5, y * HEIGHT * 0.5);
    return mix(patchLight("foliage", -2.6), patchLight("yellow green", -0.6), shade * shade);
}

struct Ball {
    double x, y, radius;
    Vec3 color;
    double glow; // linear light of a lamp; 0: lit by the sun from the right
};

// Lit from the upper right, with a sky-blue fill in the shade and a small shine.
Vec3 shaded(const Ball& ball, double nx, double ny) {
    const double nz = std::sqrt(std::max(0.0, 1.0 - nx * nx - ny * ny));
    if (ball.glow > 0) {
        Vec3 light{};
        add(light, ball.color, ball.glow * (0.08 + nz * nz * nz));
        return light;
    }
    const double key = std::max(0.0, 0.62 * nx - 0.55 * ny + 0.56 * nz);
    Vec3 light{};
    add(light, ball.color, 1.9 * key + 0.06);
    for (int c = 0; c < 3; ++c)
        light[c] += ball.color[c] * 0.10 * patchLight("blue sky", 0.5)[c] / 0.3;
    add(light, {1, 1, 1}, 1.4 * std::pow(key, 40.0));
    return light;
}

const std::vector<Ball>& balls() {
    static const std::vector<Ball> all = {
        {0.17, 0.55, 0.15, patchLight("light skin", 0), 0},   {0.42, 0.60, 0.15, patchLight("dark skin", 0), 0},
        {0.60, 0.84, 0.06, rec709ToAwg4({1, 0.05, 0.03}), 6}, {0.70, 0.84, 0.06, rec709ToAwg4({0.1, 1, 0.15}), 6},
        {0.80, 0.84, 0.06, rec709ToAwg4({0.05, 0.1, 1}), 6},  {0.90, 0.84, 0.06, rec709ToAwg4({1, 0.45, 0.08}), 12},
    };
    return all;
}

Vec3 sceneAt(double x, double y) {
    Vec3 light = background(x, y);
    if (x > 0.58 && x < 0.72 && y > 0.40 && y < 0.70) light = {5.5, 5.6, 5.8}; // the window
    if (x > 0.76 && x < 0.95 && y > 0.58 && y < 0.72)                          // grey wedge, 2 stops down each
        light = greyAt(2.0 - 2.0 * std::floor((x - 0.76) / 0.038));
    for (const Ball& ball : balls()) {
        const double nx = (x - ball.x) / ball.radius, ny = (y - ball.y) * HEIGHT / WIDTH / ball.radius;
        if (nx * nx + ny * ny < 1.0) light = shaded(ball, nx, ny);
    }
    return light;
}

void drawScene(Canvas& canvas, int left, int top, const Look* look, bool sceneRange, const std::string& title) {
    canvas.text(left, top - 7, title, INK, 13);
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            const Vec3 light = sceneAt((x + 0.5) / WIDTH, (y + 0.5) / HEIGHT);
            canvas.set(left + x, top + y, shown(look ? render(*look, light) : light, sceneRange));
        }
}

} // namespace

Canvas sceneSheet(const LookSet& looks) {
    constexpr int STEP_X = WIDTH + 16, STEP_Y = HEIGHT + 32;
    Canvas canvas(16 + 3 * STEP_X, 12 + 3 * STEP_Y);
    drawScene(canvas, 16, 30, nullptr, true, "No look, soft shoulder");
    for (int i = 0; i < LOOK_COUNT; ++i) {
        const int cell = i + 1;
        const bool sceneRange = i == CLASSIC_P0;
        drawScene(canvas, 16 + cell % 3 * STEP_X, 30 + cell / 3 * STEP_Y, &looks[i], sceneRange,
                  std::string(embeddedLooks()[i].label) + (sceneRange ? ", soft shoulder" : ""));
    }
    return canvas;
}

} // namespace gallery
