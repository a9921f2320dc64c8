#include "process/grain_profiles.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>

namespace velloid {
namespace {

TEST(GrainProfiles, HaveTheFirstStockForUnknownOnes) {
    for (const int stock : {-1, NEGATIVE_STOCK_COUNT, 1000, -2147483647}) {
        EXPECT_EQ(grainProfile(static_cast<NegativeStock>(stock)).grainSeed, 0x50071F1Bu) << stock;
    }
}

// Seed, sum of the three tables, sum of sizes, sum of weights: one digit wrong anywhere shows.
struct Sums {
    std::uint32_t seed;
    double tables;
    double sizes;
    double weights;
};

const Sums SUMS[NEGATIVE_STOCK_COUNT] = {
    {0x50071F1Bu, 1.18867, 1.934, 0.62}, // 500T (Vision3 5219)
    {0x250D5207u, 0.67064, 1.548, 0.49}, // 250D (Vision3 5207)
    {0x2007A11Du, 0.81399, 1.638, 0.49}, // 200T (Vision3 5213)
    {0x50D51A3Bu, 0.31475, 1.259, 0.38}, // 50D (Vision3 5203)
    {0x800C4117u, 1.29342, 1.934, 0.62}, // 800T (Tungsten, no rem-jet)
    {0x5254EC11u, 1.94015, 2.611, 0.74}, // Eastman 5254 (ECN-1)
    {0x8573E7E7u, 1.02393, 1.837, 0.58}, // Eterna 500T
    {0x8563E25Du, 0.65147, 1.548, 0.49}, // Eterna 250D
    {0x854771D1u, 0.86227, 1.740, 0.55}, // Eterna Vivid
    {0x0160B0BEu, 0.42031, 1.508, 0.44}, // Portra 160
    {0x0400B0BEu, 0.77127, 1.780, 0.53}, // Portra 400
    {0x0800B0BEu, 1.25751, 2.031, 0.62}, // Portra 800
    {0x0200601Du, 1.06588, 1.934, 0.58}, // Gold 200
    {0x0400FA51u, 1.19460, 2.031, 0.61}, // UltraMax 400
    {0x7B1C5400u, 0.79815, 1.53, 0},     // Tri-X 400 (B&W)
    {0x70A50100u, 0.31440, 1.26, 0},     // T-Max 100 (B&W)
    {0x0FF0FF00u, 0, 1.44, 0},           // Off
};

double sumOf(const double* table) {
    return std::accumulate(table, table + GRAIN_NODE_COUNT, 0.0);
}

TEST(GrainProfiles, CarryTheirTables) {
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
        const GrainProfile p = grainProfile(static_cast<NegativeStock>(i));
        EXPECT_EQ(p.grainSeed, SUMS[i].seed) << i;
        EXPECT_NEAR(sumOf(p.tableR) + sumOf(p.tableG) + sumOf(p.tableB), SUMS[i].tables, 1e-9) << i;
        EXPECT_NEAR(p.sizeR + p.sizeG + p.sizeB, SUMS[i].sizes, 1e-9) << i;
        EXPECT_NEAR(p.corrRG + p.corrBR + p.corrGB, SUMS[i].weights, 1e-9) << i;
    }
}

TEST(GrainProfiles, AreSilverForTheBlackAndWhiteStocksOnly) {
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
        const NegativeStock stock = static_cast<NegativeStock>(i);
        const bool silver = stock == NegativeStock::TriX400 || stock == NegativeStock::TMax100;
        EXPECT_EQ(grainProfile(stock).grainMono, silver) << i;
    }
}

TEST(GrainProfiles, HaveSeedsOfTheirOwn) {
    std::set<std::uint32_t> seeds;
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i)
        seeds.insert(grainProfile(static_cast<NegativeStock>(i)).grainSeed);
    EXPECT_EQ(seeds.size(), static_cast<std::size_t>(NEGATIVE_STOCK_COUNT));
}

TEST(GrainProfiles, PutMostGrainIntoBlueAndLittleIntoHighlights) {
    for (int i = 0; i < NEGATIVE_STOCK_COUNT; ++i) {
        const GrainProfile p = grainProfile(static_cast<NegativeStock>(i));
        for (int node = 0; node + 1 < GRAIN_NODE_COUNT; ++node) {
            EXPECT_GE(p.tableB[node], p.tableR[node]) << i << " node " << node;
            EXPECT_GE(p.tableB[node], p.tableG[node]) << i << " node " << node;
        }
        if (i == static_cast<int>(NegativeStock::Off)) continue;
        for (const double* table : {p.tableR, p.tableG, p.tableB})
            EXPECT_LT(table[10], 0.4 * table[9]) << i;
    }
}

TEST(GrainProfiles, HaveAscendingDensities) {
    for (int i = 1; i < GRAIN_NODE_COUNT; ++i)
        EXPECT_LT(GRAIN_NODE_Y[i - 1], GRAIN_NODE_Y[i]) << i;
    EXPECT_EQ(GRAIN_NODE_Y[0], 0.0968);
    EXPECT_EQ(GRAIN_NODE_Y[10], 0.9991);
}

} // namespace
} // namespace velloid
