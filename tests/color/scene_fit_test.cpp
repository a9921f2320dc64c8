#include "color/scene_fit.h"

#include "color/colorspace.h"
#include "process/parallel_pool.h"
#include "tests/reference/transfer_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using namespace velloid;

struct Planes {
    std::vector<float> r, g, b;
    bool operator==(const Planes&) const = default;
};

constexpr int WIDTH = 61;
constexpr int HEIGHT = 17;

Planes scene() {
    Planes p;
    for (int i = 0; i < WIDTH * HEIGHT; ++i) {
        p.r.push_back(0.9f * static_cast<float>(i) / (WIDTH * HEIGHT));
        p.g.push_back(std::fabs(std::sin(0.1f * static_cast<float>(i))));
        p.b.push_back(std::exp2(-8.0f + 0.01f * static_cast<float>(i)));
    }
    return p;
}

Planes fitted(Planes p, double strength) {
    applySceneFit(p.r, p.g, p.b, WIDTH, HEIGHT, strength);
    return p;
}

TEST(SceneFit, LeavesThePlanesUntouchedWithoutStrength) {
    for (double strength : {0.0, -0.5, -std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_EQ(fitted(scene(), strength), scene()) << strength;
}

TEST(SceneFit, FollowsTheLiteralLoop) {
    const Planes got = fitted(scene(), 0.7);
    Planes wanted = scene();
    tarnwell::reference::sceneFitRow(wanted.r.data(), wanted.g.data(), wanted.b.data(), wanted.r.size(), 0.7);
    for (std::size_t i = 0; i < wanted.r.size(); ++i) {
        ASSERT_FLOAT_EQ(got.r[i], wanted.r[i]) << "red " << i;
        ASSERT_FLOAT_EQ(got.g[i], wanted.g[i]) << "green " << i;
        ASSERT_FLOAT_EQ(got.b[i], wanted.b[i]) << "blue " << i;
    }
}

// On a grey axis every code is c and so is y: n = (r + g + b + y1) c + y2 c^2 + y3 c^3 + offset. Mid grey has
// c = 0.27839583654826525; red 0.4660547 c + 2.90819387 c^2 - 2.81059305 c^3 - 0.00372917 = 0.2907721, and so on.
TEST(SceneFit, MapsMidGreyToTheCodesComputedByHand) {
    Planes p = {std::vector<float>(1, 0.18f), std::vector<float>(1, 0.18f), std::vector<float>(1, 0.18f)};
    applySceneFit(p.r, p.g, p.b, 1, 1, 1.0);
    EXPECT_NEAR(logc4::encode(p.r[0]), 0.29077211, 1e-7);
    EXPECT_NEAR(logc4::encode(p.g[0]), 0.31267810, 1e-7);
    EXPECT_NEAR(logc4::encode(p.b[0]), 0.30673476, 1e-7);
}

TEST(SceneFit, ClampsStrengthAboveOne) {
    EXPECT_EQ(fitted(scene(), 3.0), fitted(scene(), 1.0));
    EXPECT_EQ(fitted(scene(), std::numeric_limits<double>::infinity()), fitted(scene(), 1.0));
}

TEST(SceneFit, HoldsTheFittedCodeAtZero) {
    // Below code 0 on the grey axis all three mixes are negative; at full strength the pixel ends exactly on code 0.
    Planes p = {std::vector<float>(1, -0.02f), std::vector<float>(1, -0.02f), std::vector<float>(1, -0.02f)};
    applySceneFit(p.r, p.g, p.b, 1, 1, 1.0);
    const float black = static_cast<float>(logc4::t());
    EXPECT_EQ(p.r[0], black);
    EXPECT_EQ(p.g[0], black);
    EXPECT_EQ(p.b[0], black);
}

TEST(SceneFit, DoesNotDependOnTheNumberOfThreads) {
    const Planes wanted = fitted(scene(), 0.6);
    for (unsigned threads : {1u, 2u, 3u, 7u}) {
        ParallelPool pool(threads);
        useParallelPool(&pool);
        const Planes got = fitted(scene(), 0.6);
        useParallelPool(nullptr);
        EXPECT_EQ(got, wanted) << threads << " threads";
    }
}

TEST(SceneFit, LeavesAnEmptyImageAlone) {
    std::vector<float> none;
    applySceneFit(none, none, none, 0, 5, 1.0);
    applySceneFit(none, none, none, 5, 0, 1.0);
    EXPECT_TRUE(none.empty());
}

TEST(SceneFit, RefusesPlanesThatAreTooSmall) {
    std::vector<float> r(10), g(10), b(9);
    EXPECT_THROW(applySceneFit(r, g, b, 5, 2, 1.0), std::invalid_argument);
}

} // namespace
