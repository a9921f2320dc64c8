#include "color/colorspace.h"

#include "color/curves/cineon.h"
#include "color/matrix_tables.h"
#include "rows/logc4_constants.h"
#include "tests/color/encodings.h"
#include "tests/reference/transfer_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velloid;
using tarnwell::test::forEverySpace;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// Linear value below which a space's encode clamps: it can't come back from there.
double lowestReversible(IOSpace space) {
    switch (space) {
    case IOSpace::Rec709:
        return 0.0;
    case IOSpace::AppleLog:
        return -0.05641088;
    case IOSpace::Cineon:
        return -0.0109;
    default:
        return -4.0;
    }
}

// Where decode and encode part at slightly different points because the published constants say so: the code is off by
// the mismatch of the two branches there.
double roundTripTolerance(IOSpace space, double x) {
    const auto near = [x](double cut, double width) { return std::fabs(x - cut) < width; };
    if (space == IOSpace::DaVinciIntermediate && near(0.00262409, 1e-8)) return 1e-8;
    if (space == IOSpace::FLog && near(0.00089, 2e-5)) return 2e-5;
    if (space == IOSpace::AppleLog && near(0.01, 1e-8)) return 1e-8;
    return 1e-13 * std::max(1.0, std::fabs(x));
}

std::vector<double> linearValues() {
    std::vector<double> v;
    for (int i = 0; i <= 6000; ++i)
        v.push_back(-0.08 + 0.2 * i / 6000.0);
    for (int i = 0; i <= 3000; ++i)
        v.push_back(std::exp2(-12.0 + 18.0 * i / 3000.0));
    for (int i = 0; i <= 500; ++i)
        v.push_back(-std::exp2(-4.0 + 5.0 * i / 500.0));
    std::sort(v.begin(), v.end());
    return v;
}

TEST(Colorspace, LogC4ToeJoinsAtCodeZero) {
    EXPECT_NEAR(transferEncode(logc4::t(), IOSpace::LogC4), 0.0, 1e-16); // the rounding of 0.0928 - 0.0928
    EXPECT_EQ(transferDecode(0.0, IOSpace::LogC4), logc4::t());
}

TEST(Colorspace, LogC4ConstantsHaveTheirPublishedValues) {
    EXPECT_DOUBLE_EQ(logc4::s(), 0.1135972086105891);
    EXPECT_DOUBLE_EQ(logc4::t(), -0.01805699611991131);
    EXPECT_DOUBLE_EQ(logc4::A, 2231.8263090676883);
    EXPECT_DOUBLE_EQ(logc4::B, 0.9071358748778103);
    EXPECT_DOUBLE_EQ(logc4::C, 0.09286412512218964);
}

TEST(Colorspace, RowConstantsEqualTheComputedOnes) {
    EXPECT_DOUBLE_EQ(logc4_constants::S, logc4::s());
    EXPECT_DOUBLE_EQ(logc4_constants::T, logc4::t());
    EXPECT_DOUBLE_EQ(cineon::BO, cineon::bo());
    EXPECT_DOUBLE_EQ(cineon::bo(), 0.0107977516232771);
}

TEST(Colorspace, LogC4FootroomBelowBlackSurvivesARoundTrip) {
    for (double v : {-0.001, -0.05, -0.5, -3.0}) {
        EXPECT_DOUBLE_EQ(logc4::decode(v), v * logc4::s() + logc4::t());
        EXPECT_NEAR(logc4::encode(logc4::decode(v)), v, 1e-14);
    }
}

TEST(Colorspace, LogC4MidGreyLiesAtItsPublishedCode) {
    EXPECT_NEAR(logc4::encode(0.18), 0.2784, 5e-5);
}

TEST(Colorspace, LogC4FunctionsAreThoseOfSpaceZero) {
    for (double x : {-1.0, -0.02, 0.0, 0.18, 1.0, 400.0}) {
        EXPECT_EQ(logc4::encode(x), transferEncode(x, IOSpace::LogC4));
        EXPECT_EQ(logc4::decode(x), transferDecode(x, IOSpace::LogC4));
    }
}

TEST(Colorspace, EveryCurveFollowsItsFormulaWrittenOut) {
    forEverySpace([](IOSpace space) {
        const int index = static_cast<int>(space);
        for (double x : linearValues()) {
            const double code = tarnwell::reference::transferEncode(x, index);
            ASSERT_DOUBLE_EQ(transferEncode(x, space), code) << "encode of " << x;
            const double linear = tarnwell::reference::transferDecode(code, index);
            ASSERT_DOUBLE_EQ(transferDecode(code, space), linear) << "decode of " << code;
        }
    });
}

TEST(Colorspace, AMatrixRowIsOneProductAndTwoFusedSteps) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> light(-1.0, 8.0);
    const struct {
        IOSpace space;
        const double *to, *from;
    } linear[] = {{IOSpace::LinearAwg3, CS_MAT_AWG3_TO_AWG4, CS_MAT_AWG4_TO_AWG3},
                  {IOSpace::LinearDwg, CS_MAT_TO_AWG4[1], CS_MAT_FROM_AWG4[1]}};
    for (const auto& row : linear) {
        for (int i = 0; i < 200; ++i) {
            const double v[3] = {light(random), light(random), light(random)};
            const auto fused = [&](const double* m) { return std::fma(m[2], v[2], std::fma(m[0], v[0], m[1] * v[1])); };
            double got[3];
            decodeToLinearAWG4(v[0], v[1], v[2], row.space, got[0], got[1], got[2]);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(got[c], fused(row.to + 3 * c)) << ioSpaceLabel(row.space) << ", decode, channel " << c;
            encodeFromLinearAWG4(v[0], v[1], v[2], row.space, got[0], got[1], got[2]);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(got[c], fused(row.from + 3 * c)) << ioSpaceLabel(row.space) << ", encode, channel " << c;
        }
    }
}

TEST(Colorspace, RoundTripsWithinDoubleRounding) {
    forEverySpace([](IOSpace space) {
        for (double x : linearValues()) {
            if (x <= lowestReversible(space)) continue;
            // The logarithm of Cineon runs into its own argument near black, and codes are flat where light is high.
            const double slack = space == IOSpace::Cineon && x < -0.0107 ? 1e-12 : 0.0;
            ASSERT_NEAR(transferDecode(transferEncode(x, space), space), x, roundTripTolerance(space, x) + slack);
        }
    });
}

TEST(Colorspace, EncodeNeverFallsWhereLightRises) {
    forEverySpace([](IOSpace space) {
        // Where the published branches don't quite meet, a step down of the size of the mismatch is theirs.
        const double step = space == IOSpace::FLog ? 2e-4 : 1e-6;
        double last = -INF;
        for (double x : linearValues()) {
            const double code = transferEncode(x, space);
            ASSERT_GE(code, last - step) << "at " << x;
            last = std::max(last, code);
        }
    });
}

TEST(Colorspace, DecodeNeverFallsWhereTheCodeRises) {
    forEverySpace([](IOSpace space) {
        double last = -INF;
        for (int i = 0; i <= 20000; ++i) {
            const double v = -0.5 + 2.0 * i / 20000.0;
            const double linear = transferDecode(v, space);
            ASSERT_GE(linear, last - 2e-5) << "at code " << v;
            last = std::max(last, linear);
        }
    });
}

TEST(Colorspace, TheClampingCurvesClamp) {
    EXPECT_EQ(transferEncode(-0.3, IOSpace::Rec709), 0.0);
    EXPECT_EQ(transferDecode(-0.3, IOSpace::Rec709), 0.0);
    EXPECT_FALSE(std::signbit(transferDecode(-0.0, IOSpace::Rec709)));
    EXPECT_FALSE(std::signbit(transferEncode(-0.0, IOSpace::Rec709)));
    EXPECT_NEAR(transferEncode(4.0, IOSpace::Rec709), 1.7818, 5e-5);
    EXPECT_EQ(transferEncode(-0.0565, IOSpace::AppleLog), 0.0);
    EXPECT_EQ(transferDecode(-0.2, IOSpace::AppleLog), -0.05641088);
    EXPECT_DOUBLE_EQ(transferEncode(-0.011, IOSpace::Cineon), (685.0 - 3000.0) / 1023.0);
    EXPECT_DOUBLE_EQ(transferEncode(-7.0, IOSpace::Cineon), (685.0 - 3000.0) / 1023.0);
}

// The published constants have eight digits; the branches meet to within 2.6e-9 of code.
TEST(Colorspace, CLog3PartsAtTheSamePointBothWays) {
    for (double v : {0.097465473, 0.15277891}) {
        const double below = std::nextafter(v, 0.0), above = std::nextafter(v, 1.0);
        for (double code : {below, v, above})
            EXPECT_NEAR(transferEncode(transferDecode(code, IOSpace::CLog3), IOSpace::CLog3), code, 3e-9);
    }
}

TEST(Colorspace, NotANumberStaysUnlessTheCurveClamps) {
    forEverySpace([](IOSpace space) {
        const double decoded = transferDecode(NOT_A_NUMBER, space);
        const double encoded = transferEncode(NOT_A_NUMBER, space);
        switch (space) {
        case IOSpace::AppleLog:
            EXPECT_EQ(decoded, -0.05641088);
            EXPECT_EQ(encoded, 0.0);
            break;
        case IOSpace::Rec709:
            EXPECT_EQ(decoded, 0.0);
            EXPECT_EQ(encoded, 0.0);
            break;
        case IOSpace::Cineon:
            EXPECT_TRUE(std::isnan(decoded)) << decoded;
            EXPECT_DOUBLE_EQ(encoded, (685.0 - 3000.0) / 1023.0);
            break;
        default:
            EXPECT_TRUE(std::isnan(decoded)) << decoded;
            EXPECT_TRUE(std::isnan(encoded)) << encoded;
        }
    });
}

TEST(Colorspace, InfinityGoesToInfinityOrToTheClamp) {
    forEverySpace([](IOSpace space) {
        EXPECT_EQ(transferDecode(INF, space), INF);
        EXPECT_EQ(transferEncode(INF, space), INF);
        const double floor = transferDecode(-INF, space);
        if (space == IOSpace::Rec709) {
            EXPECT_EQ(floor, 0.0);
        } else if (space == IOSpace::AppleLog) {
            EXPECT_EQ(floor, -0.05641088);
        } else if (space == IOSpace::Cineon) {
            EXPECT_DOUBLE_EQ(floor, -cineon::bo() / (1.0 - cineon::bo()));
        } else {
            EXPECT_EQ(floor, -INF);
        }
    });
}

TEST(Colorspace, ZeroIsFiniteBothWays) {
    forEverySpace([](IOSpace space) {
        EXPECT_TRUE(std::isfinite(transferDecode(0.0, space)));
        EXPECT_TRUE(std::isfinite(transferEncode(0.0, space)));
    });
}

TEST(Colorspace, AValueOutsideTheEnumerationPassesTheCurvesUnchanged) {
    for (int value : {17, 18, 1000, -1}) {
        const auto space = static_cast<IOSpace>(value);
        EXPECT_EQ(transferDecode(0.37, space), 0.37);
        EXPECT_EQ(transferEncode(-2.5, space), -2.5);
        EXPECT_TRUE(std::isnan(transferDecode(NOT_A_NUMBER, space)));
    }
}

TEST(Colorspace, PixelAndRowFunctionsRefuseAValueOutsideTheEnumeration) {
    const auto space = static_cast<IOSpace>(17);
    double r = 0.0, g = 0.0, b = 0.0;
    float row[3] = {};
    EXPECT_THROW(decodeToLinearAWG4(0.1, 0.2, 0.3, space, r, g, b), std::out_of_range);
    EXPECT_THROW(encodeFromLinearAWG4(0.1, 0.2, 0.3, space, r, g, b), std::out_of_range);
    EXPECT_THROW(decodeRowToLinearAWG4(&row[0], &row[1], &row[2], 1, space), std::out_of_range);
    EXPECT_THROW(encodeRowFromLinearAWG4(&row[0], &row[1], &row[2], 1, space), std::out_of_range);
    EXPECT_THROW(ioSpaceLabel(space), std::out_of_range);
}

TEST(Colorspace, LabelsAreThoseOfTheMenuInOrder) {
    const std::vector<std::string> labels = {"LogC4/AWG4",
                                             "Linear/AWG4",
                                             "LogC3/AWG3",
                                             "Linear/AWG3",
                                             "DaVinci Intermediate/DWG",
                                             "Linear/DWG",
                                             "ACEScct/AP1",
                                             "Rec709 G2.4",
                                             "S-Log3/S-Gamut3.Cine",
                                             "V-Log/V-Gamut",
                                             "C-Log2/Cinema Gamut",
                                             "C-Log3/Cinema Gamut",
                                             "F-Log/F-Gamut",
                                             "Log3G10/RWG",
                                             "BMD Film Gen5",
                                             "Cineon (Rec709)",
                                             "Apple Log"};
    ASSERT_EQ(labels.size(), static_cast<std::size_t>(IO_SPACE_COUNT));
    for (int i = 0; i < IO_SPACE_COUNT; ++i)
        EXPECT_EQ(ioSpaceLabel(static_cast<IOSpace>(i)), labels[static_cast<std::size_t>(i)]);
}

TEST(Colorspace, ANonFiniteChannelCountsAsCodeZero) {
    forEverySpace([](IOSpace space) {
        double wanted[3], got[3];
        decodeToLinearAWG4(0.4, 0.0, 0.3, space, wanted[0], wanted[1], wanted[2]);
        for (double bad : {INF, -INF, NOT_A_NUMBER}) {
            decodeToLinearAWG4(0.4, bad, 0.3, space, got[0], got[1], got[2]);
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(got[c], wanted[c]) << "channel " << c << " for " << bad;
        }
    });
    double r, g, b;
    decodeToLinearAWG4(NOT_A_NUMBER, INF, -INF, IOSpace::LogC4, r, g, b);
    EXPECT_EQ(r, logc4::t());
    EXPECT_EQ(g, logc4::t());
    EXPECT_EQ(b, logc4::t());
}

TEST(Colorspace, ACodeThatOverflowsTheCurveBecomesZeroLight) {
    double r, g, b;
    decodeToLinearAWG4(0.4, 1e30, 0.4, IOSpace::LogC4, r, g, b);
    EXPECT_EQ(g, 0.0);
    EXPECT_GT(r, 0.0);
    decodeToLinearAWG4(1e30, 1e30, 1e30, IOSpace::SLog3, r, g, b);
    EXPECT_EQ(r, 0.0);
    EXPECT_EQ(g, 0.0);
    EXPECT_EQ(b, 0.0);
}

TEST(Colorspace, ANonFiniteLinearChannelEncodesAsLinearZero) {
    forEverySpace([](IOSpace space) {
        double wanted[3], got[3];
        encodeFromLinearAWG4(0.4, 0.0, 0.3, space, wanted[0], wanted[1], wanted[2]);
        for (double bad : {INF, -INF, NOT_A_NUMBER}) {
            encodeFromLinearAWG4(0.4, bad, 0.3, space, got[0], got[1], got[2]);
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(got[c], wanted[c]) << "channel " << c << " for " << bad;
        }
    });
}

TEST(Colorspace, APixelReturnsFromTheWorkingSpace) {
    forEverySpace([](IOSpace space) {
        double R, G, B, r, g, b;
        decodeToLinearAWG4(0.45, 0.4, 0.35, space, R, G, B);
        encodeFromLinearAWG4(R, G, B, space, r, g, b);
        // The stored matrices are inverse to 1e-6 per element; the curves stretch that by at most ten here.
        EXPECT_NEAR(r, 0.45, 1e-5);
        EXPECT_NEAR(g, 0.4, 1e-5);
        EXPECT_NEAR(b, 0.35, 1e-5);
    });
}

TEST(Colorspace, NeutralCodesDecodeToNeutralLight) {
    forEverySpace([](IOSpace space) {
        double R, G, B;
        decodeToLinearAWG4(0.4, 0.4, 0.4, space, R, G, B);
        EXPECT_NEAR(G / R, 1.0, 5e-6);
        EXPECT_NEAR(B / R, 1.0, 5e-6);
    });
}

TEST(Colorspace, FirstUseMayComeFromManyThreadsAtOnce) {
    std::vector<double> codes(8);
    std::vector<std::thread> threads;
    for (double& code : codes)
        threads.emplace_back([&code] {
            code = logc4::encode(0.18) + transferEncode(0.18, IOSpace::Cineon) + transferDecode(0.0, IOSpace::LogC4);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (double code : codes)
        EXPECT_EQ(code, codes[0]);
}

// Element (row, column) of the inverse of m, by cofactors.
double inverseElement(const double* m, int row, int column) {
    const auto at = [m](int i, int j) { return m[3 * (i % 3) + j % 3]; };
    const auto cofactor = [&](int i, int j) {
        return at(i + 1, j + 1) * at(i + 2, j + 2) - at(i + 1, j + 2) * at(i + 2, j + 1);
    };
    const double determinant = m[0] * cofactor(0, 0) + m[1] * cofactor(0, 1) + m[2] * cofactor(0, 2);
    return cofactor(column, row) / determinant;
}

void expectInverse(const double* to, const double* from, double tolerance, int row) {
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(from[i], inverseElement(to, i / 3, i % 3), tolerance) << "row " << row << ", m" << i;
}

TEST(ColorMatrices, TheWayBackIsTheInverse) {
    for (int k = 0; k < CS_MAT_COUNT; ++k)
        expectInverse(CS_MAT_TO_AWG4[k], CS_MAT_FROM_AWG4[k], 1e-6, k);
    expectInverse(CS_MAT_AWG3_TO_AWG4, CS_MAT_AWG4_TO_AWG3, 1e-14, -1);
}

TEST(ColorMatrices, WhiteStaysWhite) {
    const auto check = [](const double* m, const char* name, int row) {
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(m[3 * i] + m[3 * i + 1] + m[3 * i + 2], 1.0, 2e-6) << name << " " << row << ", channel " << i;
    };
    for (int k = 0; k < CS_MAT_COUNT; ++k) {
        check(CS_MAT_TO_AWG4[k], "to", k);
        check(CS_MAT_FROM_AWG4[k], "from", k);
    }
    check(CS_MAT_AWG3_TO_AWG4, "AWG3 to AWG4", 0);
    check(CS_MAT_AWG4_TO_AWG3, "AWG4 to AWG3", 0);
}

TEST(ColorMatrices, EncodingsOfOneGamutShareTheirMatrix) {
    const int twins[][2] = {{5, 4}, {15, 7}, {16, 12}, {11, 10}};
    for (const auto& [one, other] : twins) {
        for (int i = 0; i < 9; ++i) {
            EXPECT_EQ(CS_MAT_TO_AWG4[one - 4][i], CS_MAT_TO_AWG4[other - 4][i]) << one << " and " << other;
            EXPECT_EQ(CS_MAT_FROM_AWG4[one - 4][i], CS_MAT_FROM_AWG4[other - 4][i]) << one << " and " << other;
        }
    }
}

TEST(ColorMatrices, PrimariesComeOutOfTheTables) {
    double R, G, B;
    decodeToLinearAWG4(1.0, 0.0, 0.0, IOSpace::LinearDwg, R, G, B);
    EXPECT_EQ(R, CS_MAT_TO_AWG4[1][0]);
    EXPECT_EQ(G, CS_MAT_TO_AWG4[1][3]);
    EXPECT_EQ(B, CS_MAT_TO_AWG4[1][6]);
    encodeFromLinearAWG4(0.0, 0.0, 1.0, IOSpace::LinearAwg3, R, G, B);
    EXPECT_EQ(R, CS_MAT_AWG4_TO_AWG3[2]);
    EXPECT_EQ(G, CS_MAT_AWG4_TO_AWG3[5]);
    EXPECT_EQ(B, CS_MAT_AWG4_TO_AWG3[8]);
}

} // namespace
