#include "bench/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace tarnwell::bench {
namespace {

using testing::HasSubstr;

Row measured(double ratio) {
    Row row;
    row.id = "T9.print-look.1080p";
    row.what = "print look";
    row.against = "literal";
    row.size = "1080p";
    row.level = "AVX2+FMA";
    row.unit = "ns/pixel";
    row.ours = 10.04;
    row.other = 72.5;
    row.ratioMin = ratio - 0.5;
    row.ratioMedian = row.judged = ratio;
    row.rounds = 11;
    row.differences = Differences{1000, 1, 2};
    row.target = Target{Sense::AtLeast, {4.5, 6.5}};
    return row;
}

Row unmeasured() {
    Row row = measured(1);
    row.ours = row.other = row.ratioMin = row.ratioMedian = row.judged = std::nullopt;
    row.differences.reset();
    row.note = "peer not built";
    return row;
}

TEST(Report, SaysWhetherTheTargetIsMet) {
    EXPECT_EQ(metText(measured(6.5)), "yes");
    EXPECT_EQ(metText(measured(5.0)), "floor only");
    EXPECT_EQ(metText(measured(4.0)), "no");
    EXPECT_EQ(metText(unmeasured()), "not measured");
    Row free = measured(5);
    free.target.reset();
    EXPECT_EQ(metText(free), "-");
}

TEST(Report, NumbersHaveThreeDigits) {
    const std::pair<double, const char*> cases[] = {{0.0, "0"},        {7.2149, "7.21"},      {12.04, "12"},
                                                    {645.4, "645"},    {1.5, "1.5"},          {0.0123, "0.0123"},
                                                    {1e-7, "1.0e-07"}, {33177600, "33177600"}};
    for (const auto& [value, text] : cases)
        EXPECT_EQ(number(value), text);
}

TEST(Report, MarkdownIsOneTableWithACellPerColumn) {
    Row odd = measured(7);
    odd.note = "a | b";
    const std::string text = markdownOf({{{"processor", "some"}}, {measured(7), unmeasured(), odd}, {"read so"}});
    EXPECT_THAT(text, HasSubstr("# Measurements of one run\n\n- processor: some\n\n| id |"));
    EXPECT_THAT(text, HasSubstr("| T9.print-look.1080p | print look | literal | 1080p | AVX2+FMA | 1 | ns/pixel | 10 | "
                                "72.5 | 6.5 | 7 | 4.5 | 6.5 | yes | 0.001, 2 ulp |  |\n"));
    EXPECT_THAT(text, HasSubstr("| not measured | - | peer not built |\n"));
    EXPECT_THAT(text, HasSubstr("a \\| b"));
    EXPECT_THAT(text, HasSubstr("\n\n- read so\n"));
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = text.find("\n|", at)) != std::string::npos; ++at)
        ++lines;
    EXPECT_EQ(lines, 5u);
}

TEST(Report, JsonKeepsFullFiguresAndNullsWhatWasNotMeasured) {
    const auto j = nlohmann::json::parse(jsonOf({{{"processor", "some"}}, {measured(7.25), unmeasured()}, {}}));
    EXPECT_EQ(j["facts"]["processor"], "some");
    EXPECT_EQ(j["rows"][0]["ratioMedian"], 7.25);
    EXPECT_EQ(j["rows"][0]["met"], "yes");
    EXPECT_EQ(j["rows"][0]["goal"], 6.5);
    EXPECT_EQ(j["rows"][0]["worstUlps"], 2);
    EXPECT_TRUE(j["rows"][1]["ours"].is_null());
    EXPECT_EQ(j["rows"][1]["note"], "peer not built");
}

TEST(Report, AtMostIsWrittenOut) {
    Row row = measured(1.2);
    row.target = Target{Sense::AtMost, {1.6, 1.15}};
    EXPECT_THAT(textLine(row), HasSubstr("<= 1.15"));
    EXPECT_THAT(textLine(row), HasSubstr("floor only"));
}

} // namespace
} // namespace tarnwell::bench
