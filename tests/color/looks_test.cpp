#include "color/looks.h"

#include "color/colorspace.h"
#include "color/density_look.h"
#include "color/look_tables.h"
#include "color/luminance_look.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"
#include "tests/color/lut_test_support.h"
#include "tests/reference/looks_reference.h"
#include "tests/reference/transfer_reference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace velloid {
namespace {

using namespace lut_test;
namespace reference = tarnwell::reference;

// The row kernels' own logarithm and power are good to about one unit of a double: after rounding to float one sample
// in some millions may differ from the C library's by one step.
constexpr double ROUNDING = 2.4e-7;

constexpr PrintProcess process(int value) {
    return static_cast<PrintProcess>(value);
}

struct FilmRow {
    const char* name;
    PrintProcess process;
    const FilmLookParams* params;
    const double (&listed)[38];
};

const FilmRow FILM_ROWS[] = {
    {"Premiere", PrintProcess::Premiere, &PREMIERE_FILM, reference::PREMIERE_FILM},
    {"Corvex Look Standard", PrintProcess::CorvexStandard, &CORVEX_STANDARD_FILM, reference::CORVEX_STANDARD_FILM},
    {"Corvex A35 Modern", PrintProcess::CorvexA35, &CORVEX_A35_FILM, reference::CORVEX_A35_FILM},
};

// One name per parameter, in their order.
std::vector<std::string> filmParameterNames() {
    std::vector<std::string> names;
    const auto add = [&](const char* name, int count) {
        for (int i = 0; i < count; ++i)
            names.push_back(count == 1 ? name : std::string(name) + "[" + std::to_string(i) + "]");
    };
    add("negGamma", 3);
    add("negBase", 3);
    add("negOffset", 1);
    add("negSoft", 1);
    add("crosstalk", 9);
    add("printGamma", 3);
    add("printDmin", 3);
    add("printDmax", 3);
    add("printOffset", 1);
    add("printerLights", 3);
    add("printToeSoft", 1);
    add("printShoulderSoft", 1);
    add("outGain", 3);
    add("outLift", 3);
    return names;
}

FilmLookParams listedParams(const FilmRow& row) {
    FilmLookParams params;
    std::memcpy(&params, row.listed, sizeof params);
    return params;
}

struct PrintRow {
    int value;
    const PrintProfile* profile;
};

const PrintRow PRINT_ROWS[] = {{1, &CLASSIC_PRINT},       {2, &LIVE_PRINT},      {3, &REVERSAL_PRINT},
                               {4, &BLEACH_BYPASS_PRINT}, {15, &IDENTITY_PRINT}, {6, &FALLBACK_PRINT},
                               {99, &FALLBACK_PRINT}};

Planes scenePlanes(std::size_t n, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> stops(-12.f, 7.f);
    Planes p{Plane(n), Plane(n), Plane(n)};
    for (std::size_t i = 0; i < n; ++i) {
        p.r[i] = 0.18f * std::exp2(stops(random));
        p.g[i] = 0.18f * std::exp2(stops(random));
        p.b[i] = i % 7 ? p.g[i] * 0.9f : -0.03f;
    }
    return p;
}

TEST(PrintLut, HasTheFormOfEachLook) {
    std::set<const LUT3D*> tables;
    std::set<std::uint64_t> ids;
    for (int value = 0; value < PRINT_PROCESS_COUNT; ++value) {
        const LUT3D& lut = printLut(process(value));
        const int size = value == 14 ? 65 : 33;
        const bool luminanceModel = (value >= 1 && value <= 4) || value == 15;
        EXPECT_EQ(lut.size, size) << value;
        EXPECT_EQ(lut.data.size(), static_cast<std::size_t>(size) * size * size) << value;
        EXPECT_EQ(lut.logDomain, !luminanceModel) << value;
        EXPECT_TRUE(sameBits(lut.domainMin, {0.f, 0.f, 0.f})) << value;
        EXPECT_TRUE(sameBits(lut.domainMax, {1.f, 1.f, 1.f})) << value;
        EXPECT_NE(lut.id, 0u) << value;
        EXPECT_EQ(&printLut(process(value)), &lut) << "the same object every time";
        tables.insert(&lut);
        ids.insert(lut.id);
    }
    EXPECT_EQ(tables.size(), 16u);
    EXPECT_EQ(ids.size(), 16u);
}

TEST(PrintLut, GivesPremiereOutsideTheEnumeration) {
    for (int value : {16, 17, 1000, -1, -1000}) {
        EXPECT_EQ(&printLut(process(value)), &printLut(PrintProcess::Premiere)) << value;
    }
}

TEST(PrintLut, BuildsOneTableForCallersAtOnce) {
    std::vector<const LUT3D*> got(8);
    std::vector<std::thread> threads;
    for (auto& g : got)
        threads.emplace_back([&g] { g = &printLut(PrintProcess::CorvexA35); });
    for (std::thread& t : threads)
        t.join();
    for (const LUT3D* g : got)
        EXPECT_EQ(g, got[0]);
}

TEST(PrintLut, CarriesTheConstantTablesUnchanged) {
    const struct {
        PrintProcess p;
        const float* data;
    } rows[] = {{PrintProcess::Kodak2383, LOOK_KODAK2383_33},
                {PrintProcess::Fuji3513, LOOK_FUJI3513_33},
                {PrintProcess::Fuji3510, LOOK_FUJI3510_33},
                {PrintProcess::TealOrange, LOOK_TEALORANGE_33},
                {PrintProcess::CrossProcessing, LOOK_CROSSPROC_33},
                {PrintProcess::Push, LOOK_PUSH1_33},
                {PrintProcess::Pull, LOOK_PULL1_33},
                {PrintProcess::CorvexClassicP0, LOOK_KESTRA_P0_65}};
    for (const auto& row : rows) {
        const LUT3D& lut = printLut(row.p);
        EXPECT_EQ(std::memcmp(lut.data.data(), row.data, lut.data.size() * sizeof(RGB)), 0) << static_cast<int>(row.p);
    }
}

TEST(LutFromEmbedded, CopiesTheTriplesInOrder) {
    std::vector<float> values(2 * 2 * 2 * 3);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i);
    LUT3D lut = identityTable(3);
    lut.domainMin = {-1.f, -1.f, -1.f};
    const std::uint64_t before = lut.id;
    lutFromEmbedded(lut, values.data(), 2);
    EXPECT_EQ(lut.size, 2);
    EXPECT_TRUE(lut.logDomain);
    EXPECT_TRUE(sameBits(lut.domainMin, {0.f, 0.f, 0.f}));
    EXPECT_NE(lut.id, before);
    ASSERT_EQ(lut.data.size(), 8u);
    EXPECT_TRUE(sameBits(lut.data[1], {3.f, 4.f, 5.f}));
    EXPECT_TRUE(sameBits(lut.data[7], {21.f, 22.f, 23.f}));
}

TEST(DensityLook, MatchesTheLiteralModel) {
    const Planes p = scenePlanes(400, 41);
    for (const FilmRow& row : FILM_ROWS) {
        const FilmLookParams listed = listedParams(row);
        for (std::size_t i = 0; i < p.r.size(); ++i) {
            const RGB got = evalFilmLook(p.r[i], p.g[i], p.b[i], *row.params);
            const RGB expected = reference::evalFilmLook(p.r[i], p.g[i], p.b[i], listed);
            ASSERT_TRUE(sameBits(got, expected)) << p.r[i] << " " << p.g[i] << " " << p.b[i];
        }
    }
}

TEST(DensityLook, HasTheParametersAsListed) {
    const std::vector<std::string> names = filmParameterNames();
    ASSERT_EQ(names.size(), 38u);
    for (const FilmRow& row : FILM_ROWS) {
        double found[38];
        std::memcpy(found, row.params, sizeof found);
        for (std::size_t i = 0; i < 38; ++i)
            EXPECT_EQ(found[i], row.listed[i]) << row.name << ": " << names[i];
    }
}

// A parameter that another one would stand in for, or that no picture shows, would slip through the list unnoticed.
TEST(DensityLook, ShowsAPercentOfEveryParameter) {
    const std::vector<std::string> names = filmParameterNames();
    const Planes p = scenePlanes(200, 49);
    for (const FilmRow& row : FILM_ROWS) {
        for (std::size_t k = 0; k < 38; ++k) {
            double changed[38];
            std::memcpy(changed, row.params, sizeof changed);
            changed[k] = changed[k] == 0.0 ? 0.01 : changed[k] * 1.01;
            FilmLookParams params;
            std::memcpy(&params, changed, sizeof params);
            std::size_t different = 0;
            for (std::size_t i = 0; i < p.r.size(); ++i) {
                const RGB got = evalFilmLook(p.r[i], p.g[i], p.b[i], params);
                different += !sameBits(got, evalFilmLook(p.r[i], p.g[i], p.b[i], *row.params));
            }
            EXPECT_GT(different, 0u) << row.name << ": " << names[k];
        }
    }
}

TEST(DensityLook, CountsLightBelowItsFloorAsTheFloor) {
    for (const FilmRow& row : FILM_ROWS) {
        const RGB floor = evalFilmLook(1e-6, 1e-6, 1e-6, *row.params);
        EXPECT_TRUE(sameBits(evalFilmLook(0.0, -3.0, 1e-9, *row.params), floor));
    }
}

TEST(DensityLook, BrightensWithTheScene) {
    for (const FilmRow& row : FILM_ROWS) {
        float last = -1.f;
        for (int stop = -8; stop <= 6; ++stop) {
            const double x = 0.18 * std::exp2(stop);
            const RGB o = evalFilmLook(x, x, x, *row.params);
            EXPECT_GT(o.g, last) << "look " << static_cast<int>(row.process) << ", stop " << stop;
            last = o.g;
        }
    }
}

TEST(DensityLook, BuildsItsTableFromCodeToCode) {
    constexpr int N = 9;
    for (const FilmRow& row : FILM_ROWS) {
        LUT3D lut;
        buildPrintLut(lut, row.process, N);
        ASSERT_EQ(lut.data.size(), static_cast<std::size_t>(N * N * N));
        EXPECT_TRUE(lut.logDomain);
        std::size_t at = 0;
        double worst = 0.0;
        const FilmLookParams listed = listedParams(row);
        for (int b = 0; b < N; ++b)
            for (int g = 0; g < N; ++g)
                for (int r = 0; r < N; ++r) {
                    const auto light = [](int i) {
                        return std::max(reference::transferDecode(i / static_cast<double>(N - 1), 0), 0.0);
                    };
                    const RGB o = reference::evalFilmLook(light(r), light(g), light(b), listed);
                    const auto code = [](float v) {
                        return static_cast<float>(reference::transferEncode(std::max(v, 0.f), 0));
                    };
                    const RGB& e = lut.data[at++];
                    for (float d : {e.r - code(o.r), e.g - code(o.g), e.b - code(o.b)})
                        worst = std::max(worst, std::fabs(static_cast<double>(d)));
                }
        EXPECT_LE(worst, 1.2e-7) << static_cast<int>(row.process);
    }
}

TEST(LuminanceLook, MatchesTheLiteralModel) {
    const Planes p = scenePlanes(400, 42);
    for (const PrintRow& row : PRINT_ROWS) {
        for (std::size_t i = 0; i < p.r.size(); ++i) {
            const RGB got = evalPrintAnalytic(p.r[i], p.g[i], p.b[i], *row.profile);
            const RGB expected = reference::evalPrintAnalytic(p.r[i], p.g[i], p.b[i], *row.profile);
            ASSERT_TRUE(sameBits(got, expected)) << row.value << ": " << p.r[i] << " " << p.g[i] << " " << p.b[i];
        }
    }
}

TEST(LuminanceLook, BuildsItsTableFromLinearToLinear) {
    constexpr int N = 5;
    for (const PrintRow& row : PRINT_ROWS) {
        LUT3D lut;
        buildPrintLut(lut, process(row.value), N);
        EXPECT_FALSE(lut.logDomain) << row.value;
        ASSERT_EQ(lut.data.size(), 125u);
        for (int b = 0; b < N; ++b)
            for (int g = 0; g < N; ++g)
                for (int r = 0; r < N; ++r) {
                    const RGB expected = reference::evalPrintAnalytic(r / 4.0, g / 4.0, b / 4.0, *row.profile);
                    EXPECT_TRUE(sameBits(lut.data[static_cast<std::size_t>((b * N + g) * N + r)], expected))
                        << row.value << ": " << r << " " << g << " " << b;
                }
    }
}

TEST(LuminanceLook, HasTheProfilesAsListed) {
    const double listed[][8] = {
        {1.0, 1.075, 0.01, 0.34, 1.065, 0.07, 0.02, -0.004},
        {1.0, 1.01, 0, 0.16, 1.01, 0.015, 0, 0},
        {1.015, 1.18, -0.07, 0.24, 1.23, 0.025, 0.03, 0.006},
        {0.97, 1.245, -0.145, 0.18, 0.47, 0.02, 0.075, -0.01},
        {1, 1, 0, 0, 1, 0, 0, 0},
        {1.0, 1.045, 0.006, 0.4, 1.04, 0.04, 0.012, 0},
    };
    for (std::size_t i = 0; i < std::size(listed); ++i) {
        EXPECT_EQ(std::memcmp(PRINT_ROWS[i].profile, listed[i], sizeof listed[i]), 0) << "row " << i;
    }
}

TEST(BuildPrintLut, RefusesATableWithoutACell) {
    LUT3D lut = identityTable(3);
    for (int value : {0, 1}) {
        EXPECT_THROW(buildPrintLut(lut, process(value), 1), std::invalid_argument);
        EXPECT_THROW(buildPrintLut(lut, process(value), -4), std::invalid_argument);
        EXPECT_EQ(lut.size, 3) << "the table stays as it was";
    }
}

TEST(BuildPrintLut, GivesTheSameBitsForEveryThreadCount) {
    for (PrintProcess p : {PrintProcess::CorvexStandard, PrintProcess::Reversal}) {
        LUT3D first;
        for (unsigned threads : {1u, 2u, 5u}) {
            ParallelPool pool(threads);
            useParallelPool(&pool);
            LUT3D lut;
            buildPrintLut(lut, p, 7);
            useParallelPool(nullptr);
            if (first.size == 0) first = lut;
            EXPECT_EQ(std::memcmp(lut.data.data(), first.data.data(), lut.data.size() * sizeof(RGB)), 0) << threads;
        }
    }
}

TEST(ApplyPrintLut, MatchesTheLiteralFormForEveryLookAndLevel) {
    const RowLevel active = activeRowLevel();
    const Planes input = scenePlanes(257, 43);
    for (int value = 0; value < PRINT_PROCESS_COUNT; ++value) {
        const LUT3D& lut = printLut(process(value));
        Planes expected = input;
        reference::applyPrintLut(expected.r, expected.g, expected.b, 257, 1, 0.777, lut);
        for (int level = 0; level < ROW_LEVEL_COUNT; ++level) {
            if (!setRowLevel(static_cast<RowLevel>(level))) continue;
            Planes got = input;
            applyPrintLut(got.r, got.g, got.b, 257, 1, 0.777, lut);
            EXPECT_LE(largestError(got, expected), ROUNDING) << value << ", " << rowLevelName(activeRowLevel());
            EXPECT_LE(countDifferent(got, expected), 2u) << value << ", " << rowLevelName(activeRowLevel());
        }
    }
    setRowLevel(active);
}

TEST(ApplyPrintLut, TreatsNotANumberAndInfinityAsTheLiteralForm) {
    const Planes input = testPlanes(500, 44, -0.1f, 4.f);
    for (PrintProcess p : {PrintProcess::Kodak2383, PrintProcess::Classic}) {
        Planes expected = input;
        reference::applyPrintLut(expected.r, expected.g, expected.b, 500, 1, 1.0, printLut(p));
        Planes got = input;
        applyPrintLut(got.r, got.g, got.b, 500, 1, 1.0, printLut(p));
        for (std::size_t i = 0; i < 500; ++i) {
            ASSERT_EQ(std::isfinite(got.r[i]), std::isfinite(expected.r[i])) << input.r[i];
            ASSERT_EQ(std::isnan(got.g[i]), std::isnan(expected.g[i])) << input.g[i];
        }
        EXPECT_LE(largestError(got, expected), ROUNDING);
    }
}

TEST(ApplyPrintLut, ClampsTheStrength) {
    const Planes input = scenePlanes(64, 45);
    const auto at = [&](double strength, PrintProcess p) {
        Planes planes = input;
        applyPrintLut(planes.r, planes.g, planes.b, 8, 8, strength, printLut(p));
        return planes;
    };
    for (PrintProcess p : {PrintProcess::Fuji3513, PrintProcess::Live}) {
        EXPECT_EQ(countDifferent(at(2.0, p), at(1.0, p)), 0u);
        EXPECT_EQ(countDifferent(at(HUGE_VAL, p), at(1.0, p)), 0u);
        EXPECT_EQ(countDifferent(at(-1.0, p), at(0.0, p)), 0u);
        EXPECT_EQ(countDifferent(at(std::nan(""), p), at(0.0, p)), 0u);
        EXPECT_EQ(countDifferent(at(-HUGE_VAL, p), at(0.0, p)), 0u);
        EXPECT_GT(countDifferent(at(0.5, p), at(1.0, p)), 0u);
    }
}

// Half the strength is half way in log exposure, not in light.
TEST(ApplyPrintLut, BlendsLogTablesInCodes) {
    LUT3D lut = emptyTable(2);
    lut.logDomain = true;
    for (RGB& e : lut.data)
        e = {0.6f, 0.6f, 0.6f};
    Plane r{0.18f}, g{0.18f}, b{0.18f};
    applyPrintLut(r, g, b, 1, 1, 0.5, lut);
    const double code = 0.5 * (logc4::encode(0.18f) + double{0.6f});
    EXPECT_FLOAT_EQ(r[0], static_cast<float>(transferDecode(code, IOSpace::LogC4)));
}

TEST(ApplyPrintLut, SamplesTheBottomForNegativeCodesAndDecodesTheToe) {
    LUT3D lut = identityTable(3);
    lut.logDomain = true;
    lut.data.front() = {-0.1f, 0.2f, 0.f};
    const float dark = static_cast<float>(logc4::t()) - 0.05f; // a code below 0
    ASSERT_LT(logc4::encode(dark), 0.0);
    Plane r{dark}, g{dark}, b{dark};
    applyPrintLut(r, g, b, 1, 1, 1.0, lut);
    EXPECT_FLOAT_EQ(r[0], static_cast<float>(-0.1f * logc4::s() + logc4::t())) << "the straight line below code 0";
    EXPECT_FLOAT_EQ(g[0], static_cast<float>(transferDecode(0.2f, IOSpace::LogC4)));
    EXPECT_FLOAT_EQ(b[0], static_cast<float>(logc4::t()));
}

TEST(ApplyPrintLut, PassesLinearValuesThroughTheOffTable) {
    Plane r, g, b;
    for (int i = 0; i <= 50; ++i) {
        r.push_back(static_cast<float>(i) / 50);
        g.push_back(static_cast<float>(50 - i) / 50);
        b.push_back(static_cast<float>(i * i) / 2500);
    }
    const Planes input{r, g, b};
    applyPrintLut(r, g, b, 51, 1, 1.0, printLut(PrintProcess::Off));
    for (std::size_t i = 0; i < r.size(); ++i) {
        EXPECT_NEAR(r[i], input.r[i], 1e-6) << i;
        EXPECT_NEAR(g[i], input.g[i], 1e-6) << i;
        EXPECT_NEAR(b[i], input.b[i], 1e-6) << i;
    }
    Plane bright{4.f}, half{0.5f}, dark{-1.f};
    applyPrintLut(bright, half, dark, 1, 1, 1.0, printLut(PrintProcess::Off));
    EXPECT_NEAR(bright[0], 1.f, 1e-6) << "linear values above 1 end at the top of the table";
    EXPECT_NEAR(half[0], 0.5f, 1e-6);
    EXPECT_NEAR(dark[0], 0.f, 1e-6);
}

TEST(ApplyPrintLut, RefusesPlanesThatAreTooSmall) {
    Plane r(4), g(3), b(4);
    EXPECT_THROW(applyPrintLut(r, g, b, 2, 2, 1.0, printLut(PrintProcess::Live)), std::invalid_argument);
}

TEST(ApplyPrintProcess, LeavesThePlanesUntouchedWhenItIsOff) {
    const Planes input = testPlanes(64, 46, -0.5f, 4.f);
    const auto untouched = [&](PrintProcess p, double intensity) {
        Planes planes = input;
        applyPrintProcess(planes.r, planes.g, planes.b, 8, 8, p, intensity);
        return countDifferent(planes, input) == 0;
    };
    EXPECT_TRUE(untouched(PrintProcess::Off, 1.0));
    for (double none : {0.0, -1.0, -HUGE_VAL, std::nan("")}) {
        EXPECT_TRUE(untouched(PrintProcess::Kodak2383, none)) << none;
    }
    EXPECT_FALSE(untouched(PrintProcess::Kodak2383, 0.5));
}

TEST(ApplyPrintProcess, AppliesTheLookAtTheClampedIntensity) {
    const Planes input = scenePlanes(64, 47);
    for (int value = 0; value < 15; ++value) {
        Planes twice = input, once = input, plain = input;
        applyPrintProcess(twice.r, twice.g, twice.b, 8, 8, process(value), 2.0);
        applyPrintProcess(once.r, once.g, once.b, 8, 8, process(value), 1.0);
        applyPrintLut(plain.r, plain.g, plain.b, 8, 8, 1.0, printLut(process(value)));
        EXPECT_EQ(countDifferent(twice, once), 0u) << value;
        EXPECT_EQ(countDifferent(once, plain), 0u) << value;
        EXPECT_GT(countDifferent(once, input), 0u) << value;
    }
}

TEST(ApplyPrintProcess, GivesTheSameBitsForEveryThreadCount) {
    const Planes input = scenePlanes(61 * 7, 48);
    Planes first;
    for (unsigned threads : {1u, 2u, 3u}) {
        ParallelPool pool(threads);
        useParallelPool(&pool);
        Planes p = input;
        applyPrintProcess(p.r, p.g, p.b, 61, 7, PrintProcess::CorvexClassicP0, 0.9);
        useParallelPool(nullptr);
        if (first.r.empty()) first = p;
        EXPECT_EQ(countDifferent(p, first), 0u) << threads;
    }
}

TEST(ProcessGrainScale, CouplesPushAndPullToTheGrain) {
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Push, 0.5), 1.1);
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Push, 1.0), 1.2);
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Pull, 1.0), 0.85);
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Pull, 0.5), 0.925);
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Push, 7.0), 1.2);
    EXPECT_DOUBLE_EQ(processGrainScale(PrintProcess::Pull, HUGE_VAL), 0.85);
    for (double none : {0.0, -1.0, -HUGE_VAL, std::nan("")}) {
        EXPECT_EQ(processGrainScale(PrintProcess::Push, none), 1.0) << none;
        EXPECT_EQ(processGrainScale(PrintProcess::Pull, none), 1.0) << none;
    }
    for (int value = 0; value < PRINT_PROCESS_COUNT; ++value) {
        if (value == 11 || value == 12) continue;
        EXPECT_EQ(processGrainScale(process(value), 1.0), 1.0) << value;
    }
}

} // namespace
} // namespace velloid
