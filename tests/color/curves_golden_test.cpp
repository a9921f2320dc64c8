// The transfer curves against numbers from outside: code values that the makers publish, and the published formulas
// evaluated with 40 decimal digits (mpmath).
#include "color/colorspace.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>

namespace {

using namespace velloid;

constexpr int POINTS = 6;
constexpr double LINEAR[POINTS] = {-0.01, 0.0, 0.004, 0.18, 1.0, 16.0};

struct GoldenRow {
    IOSpace space;
    double code[POINTS];
};

// Codes of LINEAR, from the published formulas in 40-digit arithmetic, rounded to 17 digits.
// clang-format off
const GoldenRow GOLDEN[] = {
    {IOSpace::LogC4,               {0.052778017073297465, 0.092864125122189638, 0.10507075153015611,  0.27839583654826525, 0.42751936483530617, 0.68422550957063031}},
    {IOSpace::LogC3,               {0.03913245,           0.092809,             0.11427962,           0.39100683203408372, 0.5706315581204173,  0.8673357281585074}},
    {IOSpace::DaVinciIntermediate, {-0.1044426855,        0.0,                  0.040880908825159173, 0.33604327238485533, 0.51383744111622526, 0.80626683340124924}},
    {IOSpace::AcesCct,             {-0.0324968432207095,  0.0729055341958355,   0.1150664851624535,   0.41358840249244222, 0.55479452054794521, 0.78310502283105023}},
    {IOSpace::Rec709,              {0.0,                  0.0,                  0.10019783315388434,  0.48943708957387834, 1.0,                 3.1748021039363989}},
    {IOSpace::SLog3,               {0.026644688004431411, 0.092864125122189638, 0.11935189996929293,  0.41055718475073314, 0.59602734369012342, 0.90279009447481144}},
    {IOSpace::VLog,                {0.069,                0.125,                0.1474,               0.42331144876013616, 0.5991177001581459,  0.88907504750664568}},
    {IOSpace::CLog2,               {0.021910208440217228, 0.092864125,          0.12716399610166606,  0.39825469256149192, 0.57322927923015605, 0.86284671187849105}},
    {IOSpace::CLog3,               {0.10317241444444444,  0.12512219,           0.13390210022222222,  0.34338937037393555, 0.58027779421637083, 1.0138066176624231}},
    {IOSpace::FLog,                {0.00550769,           0.092864,             0.12447790275007011,  0.45931845866162125, 0.7049964092164284,  1.1176574311889233}},
    {IOSpace::Log3G10,             {0.0,                  0.091551487714745202, 0.11279723596378227,  0.33333291202599184, 0.49344851977068143, 0.76202525934391224}},
    {IOSpace::BmdFilmGen5,         {0.00962969410063259,  0.09246575342465753,  0.12560017715426751,  0.38356164383561656, 0.53048962495730475, 0.77106088509231212}},
    {IOSpace::Cineon,              {-0.22277663530472423, 0.092864125122189638, 0.13262745287269349,  0.45731961308541839, 0.66959921798631476, 1.0214177703092046}},
    {IOSpace::AppleLog,            {0.101855011119183,    0.15047645230091254,  0.17257310706576435,  0.48827245852686754, 0.69455298305519099, 1.0354629144211908}},
    {IOSpace::LinearAwg4,          {-0.01, 0.0, 0.004, 0.18, 1.0, 16.0}},
    {IOSpace::LinearAwg3,          {-0.01, 0.0, 0.004, 0.18, 1.0, 16.0}},
    {IOSpace::LinearDwg,           {-0.01, 0.0, 0.004, 0.18, 1.0, 16.0}},
};
// clang-format on
static_assert(std::size(GOLDEN) == IO_SPACE_COUNT, "one golden row per encoding");

TEST(CurvesGolden, EveryEncodingHasItsRow) {
    bool seen[IO_SPACE_COUNT] = {};
    for (const GoldenRow& row : GOLDEN)
        seen[static_cast<int>(row.space)] = true;
    for (int i = 0; i < IO_SPACE_COUNT; ++i)
        EXPECT_TRUE(seen[i]) << ioSpaceLabel(static_cast<IOSpace>(i));
}

TEST(CurvesGolden, EncodeGivesThePublishedFormula) {
    for (const GoldenRow& row : GOLDEN)
        for (int i = 0; i < POINTS; ++i)
            EXPECT_NEAR(transferEncode(LINEAR[i], row.space), row.code[i], 2e-14)
                << ioSpaceLabel(row.space) << " at " << LINEAR[i];
}

TEST(CurvesGolden, DecodeIsItsInverse) {
    for (const GoldenRow& row : GOLDEN)
        for (int i = 0; i < POINTS; ++i) {
            if (row.space == IOSpace::Rec709 && LINEAR[i] < 0.0) continue; // clamped away
            EXPECT_NEAR(transferDecode(row.code[i], row.space), LINEAR[i], 1e-13 * std::fmax(1.0, LINEAR[i]))
                << ioSpaceLabel(row.space) << " at code " << row.code[i];
        }
}

struct PublishedCode {
    IOSpace space;
    double linear;
    double code;
    double tolerance; // half of the last digit that is published
    const char* origin;
};

constexpr double BITS10 = 1023.0;

// clang-format off
const PublishedCode PUBLISHED[] = {
    {IOSpace::LogC4,               0.18,     0.2784,            5e-5,         "ARRI LogC4 paper, mid grey"},
    {IOSpace::LogC4,               469.8,    1.0,               1e-6,         "ARRI LogC4 paper, largest relative exposure"},
    {IOSpace::LogC3,               0.18,     400.0 / BITS10,    0.5 / BITS10, "ALEXA Log C Curve, EI 800, mid grey 400"},
    {IOSpace::DaVinciIntermediate, 0.18,     0.336043,          5e-7,         "Wide Gamut Intermediate, table of values"},
    {IOSpace::DaVinciIntermediate, 1.0,      0.513837,          5e-7,         "Wide Gamut Intermediate, table of values"},
    {IOSpace::DaVinciIntermediate, 100.0,    1.0,               5e-7,         "Wide Gamut Intermediate, table of values"},
    {IOSpace::AcesCct,             0.18,     0.4135884,         5e-8,         "S-2016-001, mid grey"},
    {IOSpace::AcesCct,             65504.0,  1.467996,          5e-7,         "S-2016-001, largest half float"},
    {IOSpace::SLog3,               0.0,      95.0 / BITS10,     0.5 / BITS10, "Sony technical summary, 0 %"},
    {IOSpace::SLog3,               0.18,     420.0 / BITS10,    0.5 / BITS10, "Sony technical summary, 18 %"},
    {IOSpace::SLog3,               0.9,      598.0 / BITS10,    0.5 / BITS10, "Sony technical summary, 90 %"},
    {IOSpace::VLog,                0.0,      128.0 / BITS10,    0.5 / BITS10, "V-Log reference manual, 0 %"},
    {IOSpace::VLog,                0.18,     433.0 / BITS10,    0.5 / BITS10, "V-Log reference manual, 18 %"},
    {IOSpace::VLog,                0.9,      602.0 / BITS10,    0.5 / BITS10, "V-Log reference manual, 90 %"},
    {IOSpace::FLog,                0.0,      95.0 / BITS10,     0.5 / BITS10, "F-Log data sheet, 0 %"},
    {IOSpace::FLog,                0.18,     470.0 / BITS10,    0.5 / BITS10, "F-Log data sheet, 18 %"},
    {IOSpace::FLog,                0.9,      705.0 / BITS10,    0.5 / BITS10, "F-Log data sheet, 90 %"},
    {IOSpace::Log3G10,             0.18,     1.0 / 3.0,         1e-6,         "Log3G10 white paper, mid grey at one third"},
    {IOSpace::Log3G10,             184.322,  1.0,               1e-6,         "Log3G10 white paper, ten stops above mid grey"},
    {IOSpace::BmdFilmGen5,         0.18,     0.38356164383562,  5e-15,        "Generation 5 technical reference, table of values"},
    {IOSpace::Cineon,              0.0,      95.0 / BITS10,     1e-12,        "Cineon, reference black"},
    {IOSpace::Cineon,              1.0,      685.0 / BITS10,    1e-12,        "Cineon, reference white"},
    {IOSpace::AppleLog,            0.18,     0.488272,          5e-7,         "Apple Log white paper, mid grey"},
};
// clang-format on

TEST(CurvesGolden, TheMakersPublishedCodesAreMet) {
    for (const PublishedCode& p : PUBLISHED)
        EXPECT_NEAR(transferEncode(p.linear, p.space), p.code, p.tolerance)
            << ioSpaceLabel(p.space) << ", linear " << p.linear << ": " << p.origin;
}

} // namespace
