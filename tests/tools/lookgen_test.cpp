// The generator: its tables are the ones that the library carries, on any number of threads; greys print where the
// recipe says; the model is defined for any light.
#include "color/look_tables.h"
#include "tools/lookgen/look_table.h"
#include "tools/lookgen/recipes.h"
#include "tools/lookmeter/bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using lookgen::FilmModel;
using lookgen::Recipe;
using lookgen::RECIPES;
using lookgen::Triple;

const float* embedded(const Recipe& recipe) {
    for (const auto& look : lookmeter::embeddedLooks())
        if (std::string(look.symbol) == recipe.symbol) return look.look.data;
    return nullptr;
}

// Of the values rounded to 1e-5. Change them together with a recipe, and say in the commit what became better.
constexpr std::pair<const char*, std::uint64_t> CHECKSUMS[] = {
    {"LOOK_KODAK2383_33", 0x49289709c54ea286u}, {"LOOK_FUJI3513_33", 0x26fe049384253dc7u},
    {"LOOK_FUJI3510_33", 0x8ad6c102d01dd959u},  {"LOOK_TEALORANGE_33", 0x3c8fc5b20d3f8ffdu},
    {"LOOK_CROSSPROC_33", 0x4611fc3319c9843bu}, {"LOOK_PUSH1_33", 0x9450a0b14328a43fu},
    {"LOOK_PULL1_33", 0x0fc0b3c686c4a3eau},     {"LOOK_KESTRA_P0_65", 0x64883848f60a1e3cu},
};

TEST(LookGen, EmbeddedTablesHaveTheirPinnedChecksums) {
    for (const auto& [symbol, expected] : CHECKSUMS)
        for (const Recipe& recipe : RECIPES) {
            if (std::strcmp(recipe.symbol, symbol) != 0) continue;
            const float* data = embedded(recipe);
            const std::size_t count = static_cast<std::size_t>(recipe.points) * recipe.points * recipe.points * 3;
            EXPECT_EQ(lookgen::checksum({data, data + count}), expected) << symbol;
        }
    EXPECT_EQ(std::size(CHECKSUMS), RECIPES.size());
}

// libm's last bits differ between machines; float rounding makes of them at most one unit of the last place, 6e-8.
TEST(LookGen, RecipesGiveTheEmbeddedTables) {
    constexpr double TOLERANCE = 2e-6;
    for (const Recipe& recipe : RECIPES) {
        const std::vector<float> table = lookgen::computeTable(recipe, 2);
        const float* data = embedded(recipe);
        double largest = 0;
        for (std::size_t i = 0; i < table.size(); ++i)
            largest = std::max(largest, std::abs(static_cast<double>(table[i]) - data[i]));
        std::printf("%-20s checksum %016llx, largest difference %g\n", recipe.symbol,
                    static_cast<unsigned long long>(lookgen::checksum(table)), largest);
        EXPECT_LE(largest, TOLERANCE) << recipe.symbol;
    }
}

TEST(LookGen, GivesTheSameBitsOnAnyNumberOfThreads) {
    const std::vector<float> alone = lookgen::computeTable(RECIPES[0], 1);
    for (const int threads : {2, 3, 8}) {
        const std::vector<float> shared = lookgen::computeTable(RECIPES[0], threads);
        ASSERT_EQ(shared.size(), alone.size());
        EXPECT_EQ(std::memcmp(shared.data(), alone.data(), alone.size() * sizeof(float)), 0) << threads << " threads";
    }
}

TEST(LookGen, PrintsTheGreyCardWhereTheRecipeWantsIt) {
    for (const Recipe& recipe : RECIPES) {
        const FilmModel film(recipe);
        const Triple density = film.printDensity({0.18, 0.18, 0.18});
        const Triple light = film.projectedLight({0.18, 0.18, 0.18});
        for (int c = 0; c < 3; ++c) {
            const double wanted = recipe.screen.grey * recipe.screen.tint[c];
            EXPECT_NEAR(density[c], -std::log10(wanted / recipe.screen.gain), 1e-12)
                << recipe.symbol << " channel " << c;
            // The dyes' amounts are interpolated between neutrals that are solved exactly, 0.05 of density apart. A
            // tint is told in densities; the side absorptions of the dyes keep a part of it from the light.
            const bool neutral = recipe.screen.tint == Triple{1, 1, 1};
            EXPECT_NEAR(light[c] / wanted, 1.0, neutral ? 2e-4 : 0.02) << recipe.symbol << " channel " << c;
        }
    }
}

TEST(LookGen, EqualDensitiesAreNeutral) {
    for (const auto set : {lookgen::DyeSet::Kodak, lookgen::DyeSet::Fuji}) {
        const lookgen::PrintDyes dyes(set, 0.8);
        for (double density = 0.0; density <= 5.5; density += 0.0125) {
            const Triple light = dyes.lightThrough({density, density, density});
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(light[c] * std::pow(10.0, density), 1.0, 2e-4) << "density " << density << " channel " << c;
        }
    }
}

TEST(LookGen, AnyLightGivesAPicture) {
    const FilmModel film(RECIPES[0]);
    for (const double r : {-1e3, -0.02, 0.0, 0.18, 470.0, 1e9})
        for (const double g : {-1e3, -0.02, 0.0, 0.18, 470.0, 1e9})
            for (const double b : {-1e3, -0.02, 0.0, 0.18, 470.0, 1e9})
                for (const double channel : film.projectedLight({r, g, b})) {
                    EXPECT_TRUE(std::isfinite(channel)) << r << " " << g << " " << b;
                    EXPECT_GT(channel, -0.01) << r << " " << g << " " << b;
                    EXPECT_LT(channel, 1.1) << r << " " << g << " " << b;
                }
}

struct InterpolationError {
    double anywhere = 0, inPictures = 0; // codes
};

// On every third point of a lattice twice as fine: points, middles of edges, faces and cells alike.
InterpolationError interpolationError(const Recipe& recipe) {
    const FilmModel film(recipe);
    const lookmeter::Look stored{embedded(recipe), recipe.points};
    const int last = 2 * (recipe.points - 1);
    const auto codeOf = [last](int index) { return static_cast<double>(index) / last; };
    InterpolationError worst;
    for (int b = 0; b <= last; ++b)
        for (int g = 0; g <= last; ++g)
            for (int r = (b + g) % 3; r <= last; r += 3) {
                const lookmeter::Vec3 code = {codeOf(r), codeOf(g), codeOf(b)};
                const Triple light = film.projectedLight(
                    {lookgen::logC4Decode(code[0]), lookgen::logC4Decode(code[1]), lookgen::logC4Decode(code[2])});
                const lookmeter::Vec3 read = lookmeter::sampleCodes(stored, code);
                const bool picture = *std::min_element(code.begin(), code.end()) >= 0.11 &&
                                     *std::max_element(code.begin(), code.end()) <= 0.56;
                for (int c = 0; c < 3; ++c) {
                    const double error = std::abs(read[c] - lookgen::logC4Encode(std::fmax(light[c], 0.0)));
                    worst.anywhere = std::max(worst.anywhere, error);
                    if (picture) worst.inPictures = std::max(worst.inPictures, error);
                }
            }
    return worst;
}

// A table is read between its points too. The table of 65 points has a test of its own: its bounds in lookmeter.
TEST(LookGen, TablesFollowTheModelBetweenTheirPoints) {
    constexpr double MOST_ANYWHERE = 0.0085, MOST_IN_PICTURES = 0.005;
    for (const Recipe& recipe : RECIPES) {
        if (recipe.points != 33) continue;
        const InterpolationError error = interpolationError(recipe);
        std::printf("%-20s largest error %.4f, in pictures %.4f\n", recipe.symbol, error.anywhere, error.inPictures);
        EXPECT_LE(error.anywhere, MOST_ANYWHERE) << recipe.symbol;
        EXPECT_LE(error.inPictures, MOST_IN_PICTURES) << recipe.symbol;
    }
}

TEST(LookTables, AreFoundByTheirIndex) {
    using namespace velloid;
    const float* expected[] = {LOOK_KODAK2383_33, LOOK_FUJI3513_33, LOOK_FUJI3510_33, LOOK_TEALORANGE_33,
                               LOOK_CROSSPROC_33, LOOK_PUSH1_33,    LOOK_PULL1_33};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(embeddedLookDataByIndex(i), expected[i]) << i;
    for (const int outside : {-1, 7, 8, 1 << 30, -(1 << 30)})
        EXPECT_EQ(embeddedLookDataByIndex(outside), LOOK_KODAK2383_33) << outside;
}

} // namespace
