#include "color/cube_reader.h"

#include "tests/color/cube_file.h"
#include "tests/color/lut_test_support.h"
#include "tests/reference/cube_reference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <random>

namespace velloid {
namespace {

using namespace lut_test;
namespace reference = tarnwell::reference;
using testing::HasSubstr;

const std::string SIZE_2 = "LUT_3D_SIZE 2\n";
const std::string ROWS_7 = someRows(7);
const std::string ROWS_8 = someRows(8);
const std::string NUL(1, '\0');

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

struct Accepted {
    const char* name;
    std::string content;
};

void PrintTo(const Accepted& c, std::ostream* out) {
    *out << c.name;
}

class CubeAccepts : public testing::TestWithParam<Accepted> {};

TEST_P(CubeAccepts, TheWholeTable) {
    const TemporaryFile file(GetParam().content);
    LUT3D lut;
    CubeError error;
    ASSERT_TRUE(loadCubeLut(file.c_str(), lut, &error)) << "line " << error.line << ": " << error.reason;
    EXPECT_EQ(lut.size, 2);
    EXPECT_EQ(lut.data.size(), 8u);
    EXPECT_FALSE(lut.logDomain);
    EXPECT_NE(lut.id, 0u);
    LUT3D literal;
    ASSERT_TRUE(reference::loadCubeLut(file.c_str(), literal));
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_TRUE(sameBits(lut.data[i], literal.data[i])) << i;
    EXPECT_TRUE(sameBits(lut.domainMin, literal.domainMin));
    EXPECT_TRUE(sameBits(lut.domainMax, literal.domainMax));
}

const Accepted ACCEPTED[] = {
    {"Plain", SIZE_2 + ROWS_8},
    {"NoFinalLineFeed", SIZE_2 + ROWS_8.substr(0, ROWS_8.size() - 1)},
    {"CarriageReturns", replaced(SIZE_2 + ROWS_8, "\n", "\r\n")},
    {"BlankLinesAndCommentsAnywhere", "\n# top\n" + SIZE_2 + " \n\t# between\n" + replaced(ROWS_8, "\n", "\n\n#c\n")},
    {"CommentBehindARow", SIZE_2 + replaced(ROWS_8, "\n", " # note\n")},
    {"CommentTouchingANumber", SIZE_2 + replaced(ROWS_8, "\n", "#note\n")},
    {"CommentBehindTheSize", "LUT_3D_SIZE 2 # points\n" + ROWS_8},
    {"CommentTouchingTheSize", "LUT_3D_SIZE 2#points\n" + ROWS_8},
    {"Tabs", "\tLUT_3D_SIZE\t2\n" + replaced(ROWS_8, " ", "\t\t")},
    {"LeadingAndTrailingBlanks", "  LUT_3D_SIZE  2  \n" + replaced(ROWS_8, "\n", "  \n ")},
    {"QuotedTitle", "TITLE \"a # b\"\n" + SIZE_2 + ROWS_8},
    {"UnquotedTitle", "TITLE my look\n" + SIZE_2 + ROWS_8},
    {"TitleAfterTheSize", SIZE_2 + "TITLE late\n" + ROWS_8},
    {"TwoTitles", "TITLE a\nTITLE b\n" + SIZE_2 + ROWS_8},
    {"TitleAlone", "TITLE\n" + SIZE_2 + ROWS_8},
    {"RangeAfterTheTitle", "TITLE \"x\"\nLUT_3D_INPUT_RANGE 0.0 1.0\n" + SIZE_2 + ROWS_8},
    {"RangeAfterTheSize", SIZE_2 + "LUT_3D_INPUT_RANGE -0.5 65504 # half\n" + ROWS_8},
    {"Domain", "DOMAIN_MAX 1 2 3\n" + SIZE_2 + "DOMAIN_MIN -1 0 0.5\n" + ROWS_8},
    {"DomainMinAlone", "DOMAIN_MIN -1 -1 -1\n" + SIZE_2 + ROWS_8},
    {"Exponents", SIZE_2 + "1e-07 1E+2 -2.5e0\n" + someRows(7)},
    {"BarePointAndSign", SIZE_2 + ".5 +0.5 -.5\n5. 0 -0\n" + someRows(6)},
    {"HexadecimalFloat", SIZE_2 + "0x1p-1 0x.8 0X1P1\n" + someRows(7)},
    {"ValuesOutsideZeroToOne", SIZE_2 + "-3 4 1000000\n" + someRows(7)},
    {"ManyDigits", SIZE_2 + "0.12345678901234567890123456789 123456789012345678 0.000000000000000001\n" + someRows(7)},
    {"SmallestSubnormalFloats", SIZE_2 + "1e-42 -1e-45 1e-60\n" + someRows(7)},
    {"LargestFloat", SIZE_2 + "3.4028235e38 -3.4028235e38 0\n" + someRows(7)},
    {"SignedSize", "LUT_3D_SIZE +2\n" + ROWS_8},
    {"LeadingZeroSize", "LUT_3D_SIZE 002\n" + ROWS_8},
    {"VerticalTabBeforeANumber", SIZE_2 + "1 \v2 3\n" + someRows(7)},
    {"LineOf510Characters", "#" + std::string(509, 'x') + "\n" + SIZE_2 + ROWS_8},
    {"LastLineOf511Characters", SIZE_2 + ROWS_8 + "#" + std::string(510, 'x')},
    {"LastLineOf510CharactersAndLineFeed", SIZE_2 + ROWS_8 + "#" + std::string(509, 'x') + "\n"},
    {"NulEndsALine", SIZE_2 + replaced(ROWS_8, "\n", NUL + "rest 9 9\n")},
    {"NulAtTheStartOfALine", SIZE_2 + NUL + "anything\n" + ROWS_8},
    {"NulEndsTheSizeLine", "LUT_3D_SIZE 2" + NUL + "7\n" + ROWS_8},
};

INSTANTIATE_TEST_SUITE_P(Files, CubeAccepts, testing::ValuesIn(ACCEPTED),
                         [](const auto& test) { return std::string(test.param.name); });

struct Refused {
    const char* name;
    std::string content;
    int line;
    const char* reason; // part of it
};

void PrintTo(const Refused& c, std::ostream* out) {
    *out << c.name;
}

class CubeRefuses : public testing::TestWithParam<Refused> {};

TEST_P(CubeRefuses, NamesTheLineAndLeavesTheTableUntouched) {
    const TemporaryFile file(GetParam().content);
    LUT3D lut = identityTable(3);
    const std::uint64_t id = lut.id;
    CubeError error;
    EXPECT_FALSE(loadCubeLut(file.c_str(), lut, &error));
    EXPECT_FALSE(error.unread);
    EXPECT_EQ(error.line, GetParam().line) << error.reason;
    EXPECT_THAT(error.reason, HasSubstr(GetParam().reason));
    EXPECT_FALSE(loadCubeLut(file.c_str(), lut));
    EXPECT_EQ(lut.size, 3);
    EXPECT_EQ(lut.id, id);
    EXPECT_EQ(lut.data.size(), 27u);
    LUT3D literal;
    EXPECT_FALSE(reference::loadCubeLut(file.c_str(), literal));
}

const Refused REFUSED[] = {
    {"Nothing", "", 0, "no LUT_3D_SIZE"},
    {"CommentsOnly", "# a\n# b\n", 0, "no LUT_3D_SIZE"},
    {"SizeOnly", SIZE_2, 0, "0 data rows instead of 8"},
    {"OneRowMissing", SIZE_2 + someRows(7), 0, "7 data rows instead of 8"},
    {"OneRowTooMany", SIZE_2 + someRows(9), 10, "more than 8 data rows"},
    {"Size1", "LUT_3D_SIZE 1\n" + someRows(1), 1, "LUT_3D_SIZE 1 is outside 2 ... 129"},
    {"Size0", "LUT_3D_SIZE 0\n", 1, "outside"},
    {"SizeNegative", "LUT_3D_SIZE -2\n" + ROWS_8, 1, "outside"},
    {"Size130", "LUT_3D_SIZE 130\n", 1, "outside"},
    {"SizeBeyondLong", "LUT_3D_SIZE 99999999999999999999\n", 1, "one whole number"},
    {"SizeWithoutNumber", "LUT_3D_SIZE\n" + ROWS_8, 1, "without a number"},
    {"SizeComment", "LUT_3D_SIZE # 2\n" + ROWS_8, 1, "without a number"},
    {"SizeWord", "LUT_3D_SIZE two\n" + ROWS_8, 1, "one whole number"},
    {"SizeFraction", "LUT_3D_SIZE 2.0\n" + ROWS_8, 1, "one whole number"},
    {"SizeThrice", "LUT_3D_SIZE 2 2 2\n" + ROWS_8, 1, "one whole number"},
    {"SizeAgain", SIZE_2 + SIZE_2 + ROWS_8, 2, "a second LUT_3D_SIZE"},
    {"SizeAgainAfterData", SIZE_2 + ROWS_8 + SIZE_2, 10, "a second LUT_3D_SIZE"},
    {"SizeAfterData", ROWS_8 + SIZE_2, 1, "before LUT_3D_SIZE"},
    {"LowerCaseKeywords", "lut_3d_size 2\n" + ROWS_8, 1, "unknown line \"lut_3d_size\""},
    {"KeywordWithATail", "LUT_3D_SIZES 2\n" + ROWS_8, 1, "unknown line \"LUT_3D_SIZES\""},
    {"KeywordTouchingAComment", "TITLE#x\n" + SIZE_2 + ROWS_8, 1, "unknown line \"TITLE#x\""},
    {"UnknownKeyword", SIZE_2 + "LUT_OUT_VIDEO_RANGE\n" + ROWS_8, 2, "unknown line \"LUT_OUT_VIDEO_RANGE\""},
    {"VideoRange", "LUT_IN_VIDEO_RANGE\n" + SIZE_2 + ROWS_8, 1, "unknown line \"LUT_IN_VIDEO_RANGE\""},
    {"SlashComment", "// made by hand\n" + SIZE_2 + ROWS_8, 1, "unknown line \"//\""},
    {"ByteOrderMark", "\xef\xbb\xbf" + SIZE_2 + ROWS_8, 1, "byte order mark"},
    {"Utf16", std::string("\xff\xfeL\0U\0T\0", 8), 1, "unknown line"},
    {"CarriageReturnsOnly", replaced(SIZE_2 + ROWS_8, "\n", "\r"), 1, "one whole number"},
    {"OneDimensional", "LUT_1D_SIZE 2\n0 0 0\n1 1 1\n", 1, "one-dimensional"},
    {"OneDimensionalBesideThree", SIZE_2 + "LUT_1D_SIZE 2\n" + ROWS_8, 2, "LUT_1D_SIZE: one-dimensional"},
    {"OneDimensionalAfterTheData", SIZE_2 + ROWS_8 + "LUT_1D_SIZE 2\n", 10, "one-dimensional"},
    {"OneDimensionalRange", SIZE_2 + "LUT_1D_INPUT_RANGE 0 1\n" + ROWS_8, 2, "LUT_1D_INPUT_RANGE"},
    {"TitleAfterData", SIZE_2 + someRows(1) + "TITLE x\n" + someRows(7), 3, "TITLE stands after"},
    {"TitleAfterAllData", SIZE_2 + ROWS_8 + "TITLE x\n", 10, "TITLE stands after"},
    {"DomainAfterData", SIZE_2 + ROWS_8 + "DOMAIN_MIN 0 0 0\n", 10, "DOMAIN_MIN stands after"},
    {"DomainMinTwice", "DOMAIN_MIN 0 0 0\nDOMAIN_MIN 0 0 0\n" + SIZE_2 + ROWS_8, 2, "a second DOMAIN_MIN"},
    {"DomainMaxTwice", "DOMAIN_MAX 1 1 1\n" + SIZE_2 + "DOMAIN_MAX 1 1 1\n" + ROWS_8, 3, "a second DOMAIN_MAX"},
    {"DomainThenRange", "DOMAIN_MIN 0 0 0\nLUT_3D_INPUT_RANGE 0 1\n" + SIZE_2 + ROWS_8, 2, "beside DOMAIN_MIN"},
    {"DomainMaxThenRange", "DOMAIN_MAX 1 1 1\n" + SIZE_2 + "LUT_3D_INPUT_RANGE 0 1\n" + ROWS_8, 3, "beside"},
    {"RangeThenDomain", "LUT_3D_INPUT_RANGE 0 1\nDOMAIN_MAX 1 1 1\n" + SIZE_2 + ROWS_8, 2, "beside LUT_3D_INPUT_RANGE"},
    {"RangeTwice", "LUT_3D_INPUT_RANGE 0 1\nLUT_3D_INPUT_RANGE 0 1\n" + SIZE_2 + ROWS_8, 2, "a second"},
    {"RangeAfterData", SIZE_2 + ROWS_8 + "LUT_3D_INPUT_RANGE 0 1\n", 10, "stands after"},
    {"RangeFalling", "LUT_3D_INPUT_RANGE 1 0\n" + SIZE_2 + ROWS_8, 1, "must rise"},
    {"RangeEmpty", "LUT_3D_INPUT_RANGE 1 1\n" + SIZE_2 + ROWS_8, 1, "must rise"},
    {"RangeEmptyAsFloats", "LUT_3D_INPUT_RANGE 1 1.000000001\n" + SIZE_2 + ROWS_8, 1, "must rise"},
    {"RangeBeyondFloat", "LUT_3D_INPUT_RANGE 0 1e39\n" + SIZE_2 + ROWS_8, 1, "range of a float"},
    {"RangeOfThree", "LUT_3D_INPUT_RANGE 0 1 2\n" + SIZE_2 + ROWS_8, 1, "two finite numbers"},
    {"RangeOfOne", "LUT_3D_INPUT_RANGE 1\n" + SIZE_2 + ROWS_8, 1, "two finite numbers"},
    {"DomainOfTwo", "DOMAIN_MIN 0 0\n" + SIZE_2 + ROWS_8, 1, "three finite numbers"},
    {"DomainInfinite", "DOMAIN_MAX 1 inf 1\n" + SIZE_2 + ROWS_8, 1, "three finite numbers"},
    {"DomainBeyondFloat", "DOMAIN_MAX 1 1 1e39\n" + SIZE_2 + ROWS_8, 1, "range of a float"},
    {"DomainFallingOnOneAxis", "DOMAIN_MIN 0 2 0\n" + SIZE_2 + ROWS_8, 0, "must rise on every axis"},
    {"DomainEmptyOnOneAxis", "DOMAIN_MAX 1 1 0\n" + SIZE_2 + ROWS_8, 0, "must rise on every axis"},
    {"RowOfTwo", SIZE_2 + "0 0\n" + someRows(7), 2, "three finite numbers"},
    {"RowOfFour", SIZE_2 + "0 0 0 1\n" + someRows(7), 2, "three finite numbers"},
    {"RowWithText", SIZE_2 + "0 0 0 black\n" + someRows(7), 2, "three finite numbers"},
    {"RowWithTouchingText", SIZE_2 + "0 0 0x\n" + someRows(7), 2, "three finite numbers"},
    {"RowCommentedShort", SIZE_2 + "0 0 # 0\n" + someRows(7), 2, "three finite numbers"},
    {"RowNotANumber", SIZE_2 + "0 nan 0\n" + someRows(7), 2, "three finite numbers"},
    {"RowInfinite", SIZE_2 + "0 0 -inf\n" + someRows(7), 2, "three finite numbers"},
    {"RowBeyondFloat", SIZE_2 + "0 0 1e39\n" + someRows(7), 2, "range of a float"},
    {"RowBeyondDouble", SIZE_2 + "0 0 1e400\n" + someRows(7), 2, "three finite numbers"},
    {"RowBelowDouble", SIZE_2 + "0 0 1e-320\n" + someRows(7), 2, "three finite numbers"},
    {"CommaDecimals", SIZE_2 + "0,5 0,5 0,5\n" + someRows(7), 2, "three finite numbers"},
    {"CommaSeparated", SIZE_2 + "0.5, 0.5, 0.5\n" + someRows(7), 2, "three finite numbers"},
    {"TrailingControlZ", SIZE_2 + ROWS_8 + "\x1a", 10, "unknown line"},
    {"TwoSigns", SIZE_2 + "--1 0 0\n" + someRows(7), 2, "three finite numbers"},
    {"PointAlone", SIZE_2 + ". 0 0\n" + someRows(7), 2, "three finite numbers"},
    {"LineOf511Characters", "#" + std::string(510, 'x') + "\n" + SIZE_2 + ROWS_8, 1, "longer than 510"},
    {"LongTitle", SIZE_2 + "TITLE " + std::string(600, 'x') + "\n" + ROWS_8, 2, "longer than 510"},
    {"LastLineOf512Characters", SIZE_2 + ROWS_8 + "#" + std::string(511, 'x'), 10, "longer than 510"},
    {"NulInTheMiddleOfALongLine", "#" + NUL + std::string(600, 'x') + "\n" + SIZE_2 + ROWS_8, 1, "unknown line"},
    {"NulInsideANumberRow", SIZE_2 + "0 0" + NUL + " 0\n" + someRows(7), 2, "three finite numbers"},
};

INSTANTIATE_TEST_SUITE_P(Files, CubeRefuses, testing::ValuesIn(REFUSED),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(CubeReader, FillsTheWholeRecord) {
    LUT3D written = randomTable(3, 31);
    written.domainMin = {-0.5f, 0.f, 0.125f};
    written.domainMax = {1.f, 2.f, 65504.f};
    const TemporaryFile file(cubeText(written));
    LUT3D lut = identityTable(2);
    lut.logDomain = true;
    const std::uint64_t before = lut.id;
    ASSERT_TRUE(loadCubeLut(file.c_str(), lut));
    EXPECT_EQ(lut.size, 3);
    EXPECT_FALSE(lut.logDomain);
    EXPECT_TRUE(sameBits(lut.domainMin, written.domainMin));
    EXPECT_TRUE(sameBits(lut.domainMax, written.domainMax));
    EXPECT_NE(lut.id, before);
    ASSERT_EQ(lut.data.size(), 27u);
    for (std::size_t i = 0; i < 27; ++i)
        EXPECT_TRUE(sameBits(lut.data[i], written.data[i])) << i;
}

TEST(CubeReader, TakesARangeForAllThreeAxes) {
    const TemporaryFile file(SIZE_2 + "LUT_3D_INPUT_RANGE -0.25 1.5\n" + ROWS_8);
    LUT3D lut;
    ASSERT_TRUE(loadCubeLut(file.c_str(), lut));
    EXPECT_TRUE(sameBits(lut.domainMin, {-0.25f, -0.25f, -0.25f}));
    EXPECT_TRUE(sameBits(lut.domainMax, {1.5f, 1.5f, 1.5f}));
}

// The largest size, and lines across the borders of the read buffer.
TEST(CubeReader, ReadsTheLargestTable) {
    std::string text = "LUT_3D_SIZE 129\n";
    const int rows = 129 * 129 * 129;
    text.reserve(static_cast<std::size_t>(rows) * 10);
    for (int i = 0; i < rows; ++i)
        text += std::to_string(i % 1000) + " 0 1\n";
    const TemporaryFile file(text);
    LUT3D lut;
    ASSERT_TRUE(loadCubeLut(file.c_str(), lut));
    ASSERT_EQ(lut.data.size(), static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i)
        ASSERT_EQ(lut.data[static_cast<std::size_t>(i)].r, static_cast<float>(i % 1000)) << i;
}

TEST(CubeReader, RefusesWhatIsNoFile) {
    LUT3D lut;
    CubeError error;
    EXPECT_FALSE(loadCubeLut("no/such/folder/table.cube", lut, &error));
    EXPECT_TRUE(error.unread);
    EXPECT_EQ(error.line, 0);
    EXPECT_THAT(error.reason, HasSubstr("can't be opened"));
    EXPECT_FALSE(loadCubeLut(testing::TempDir().c_str(), lut, &error));
    EXPECT_EQ(error.line, 0);
    EXPECT_THAT(error.reason, HasSubstr("can't be"));
}

// Bytes of good files exchanged at random: whatever the C library's own lines and numbers make of the result, the
// reader makes of it too.
TEST(CubeReader, AgreesWithTheLiteralReaderOnDamagedFiles) {
    const std::string alphabet = std::string("0123456789.+-eE#\n\r\t xLUT_3DSIZEaninf", 37) + NUL;
    std::mt19937 random(32);
    int accepted = 0;
    for (int round = 0; round < 1500; ++round) {
        std::string text = ACCEPTED[random() % std::size(ACCEPTED)].content;
        for (unsigned edits = random() % 4; edits-- > 0 && !text.empty();) {
            const std::size_t at = random() % text.size();
            const char c = alphabet[random() % alphabet.size()];
            if (random() % 2) {
                text[at] = c;
            } else {
                text.insert(at, 1, c);
            }
        }
        const TemporaryFile file(text);
        LUT3D got, expected;
        const bool good = reference::loadCubeLut(file.c_str(), expected);
        ASSERT_EQ(loadCubeLut(file.c_str(), got), good) << testing::PrintToString(text);
        accepted += good;
        ASSERT_EQ(got.data.size(), expected.data.size());
        for (std::size_t i = 0; i < got.data.size(); ++i)
            ASSERT_TRUE(sameBits(got.data[i], expected.data[i])) << testing::PrintToString(text);
    }
    EXPECT_GT(accepted, 300);
    EXPECT_LT(accepted, 1200);
}

TEST(CubeNumbers, EqualStrtodBitForBit) {
    std::mt19937_64 random(33);
    const char* const formats[] = {"%.6f", "%.10f", "%.9g", "%.17g", "%.0f", "%.3e", "%.15f", "%+.4f", "%.18f", "%a"};
    for (int i = 0; i < 40000; ++i) {
        const double unit = static_cast<double>(random() >> 11) * 0x1p-53;
        const double value = (unit - 0.25) * std::pow(10.0, static_cast<double>(random() % 9) - 2.0);
        char text[400];
        std::snprintf(text, sizeof text, formats[random() % std::size(formats)], value);
        double got = 0.0;
        ASSERT_TRUE(parseCubeDoubles(text, &got, 1)) << text;
        const double expected = std::strtod(text, nullptr);
        ASSERT_EQ(std::memcmp(&got, &expected, sizeof got), 0) << text << ": " << got << ", expected " << expected;
    }
}

TEST(CubeNumbers, NeedExactlyTheCountThatIsAsked) {
    double v[3] = {};
    EXPECT_TRUE(parseCubeDoubles(" 1\t2\r\n3 # four", v, 3));
    EXPECT_EQ(v[0], 1.0);
    EXPECT_EQ(v[1], 2.0);
    EXPECT_EQ(v[2], 3.0);
    EXPECT_FALSE(parseCubeDoubles("1 2", v, 3));
    EXPECT_FALSE(parseCubeDoubles("1 2 # 3", v, 3));
    EXPECT_FALSE(parseCubeDoubles("1 2 3 4", v, 3));
    EXPECT_FALSE(parseCubeDoubles("1 2 3;", v, 3));
    EXPECT_FALSE(parseCubeDoubles("", v, 1));
    EXPECT_TRUE(parseCubeDoubles("", v, 0));
    EXPECT_TRUE(parseCubeDoubles(" # only", v, 0));
    EXPECT_TRUE(parseCubeDoubles("1-2", v, 2)) << "strtod ends a number where the next begins";
}

TEST(CubeKeyword, EndsAtABlankOrTheEndOfTheText) {
    for (const char* line : {"TITLE x", "TITLE\tx", "TITLE\r", "TITLE\n", "TITLE"}) {
        const char* rest = nullptr;
        EXPECT_TRUE(cubeKeyword(line, "TITLE", rest)) << line;
        EXPECT_EQ(rest, line + 5) << line;
    }
    for (const char* line : {"TITLES", "TITLE#", "TITL", "title x", " TITLE x", "", "TITLE\v"}) {
        const char* const untouched = "untouched";
        const char* rest = untouched;
        EXPECT_FALSE(cubeKeyword(line, "TITLE", rest)) << line;
        EXPECT_EQ(rest, untouched) << line;
    }
}

// Switches the process to a locale with a decimal comma, as some hosts do, for the length of a test.
class CommaLocale {
public:
    CommaLocale() {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE", "German_Germany.1252"}) {
            if (std::setlocale(LC_ALL, name) && std::string(std::localeconv()->decimal_point) == ",") {
                found = true;
                return;
            }
        }
    }
    ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
    bool found = false;
};

TEST(CubeReader, ReadsDecimalPointsUnderACommaLocale) {
    const CommaLocale locale;
    if (!locale.found) GTEST_SKIP() << "no locale with a decimal comma is installed (Debian: package locales-all)";
    ASSERT_EQ(std::strtod("0.5", nullptr), 0.0) << "the locale is in force";
    const TemporaryFile points(SIZE_2 + "0.5 1.25e-1 0.1234567890123456789\n" + ROWS_7);
    LUT3D lut;
    ASSERT_TRUE(loadCubeLut(points.c_str(), lut));
    EXPECT_TRUE(sameBits(lut.data[0], {0.5f, 0.125f, 0.12345679f}));
    const TemporaryFile commas(SIZE_2 + "0,5 0,125 0,1\n" + ROWS_7, "commas.cube");
    EXPECT_FALSE(loadCubeLut(commas.c_str(), lut));
    const TemporaryFile exponents(SIZE_2 + "5,0e-1 1 1\n" + ROWS_7, "exponents.cube");
    EXPECT_FALSE(loadCubeLut(exponents.c_str(), lut));
}

} // namespace
} // namespace velloid
