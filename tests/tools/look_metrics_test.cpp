// The embedded looks against their bounds: tone, casts, colours and lattice, measured on the tables as the plug-in
// holds them, with arithmetic that shares nothing with the generator.
#include "tools/lookmeter/bounds.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using namespace lookmeter;

std::string text(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.4g", value);
    return buffer;
}

std::string rangeText(double low, double high) {
    if (low == -ANY && high == ANY) return "-";
    if (low == -ANY) return "<= " + text(high);
    if (high == ANY) return ">= " + text(low);
    return text(low) + " ... " + text(high);
}

void check(const std::string& subject, const std::string& measure, double value, double low, double high) {
    const bool inside = value >= low && value <= high; // not a number is outside
    std::printf("%-20s %-52s %9s   %-18s%s\n", subject.c_str(), measure.c_str(), text(value).c_str(),
                rangeText(low, high).c_str(), inside ? "" : "   OUTSIDE");
    EXPECT_TRUE(inside) << subject << ": " << measure << " is " << value << ", expected " << rangeText(low, high);
}

class EveryLook : public testing::TestWithParam<LookIndex> {};

TEST_P(EveryLook, KeepsWithinItsBounds) {
    const EmbeddedLook& subject = embeddedLooks()[GetParam()];
    const Measures measures = measure(subject.look);
    for (const Bound& bound : boundsOf(GetParam()))
        check(subject.label, bound.measure, measures.at(bound.measure), bound.low, bound.high);
}

INSTANTIATE_TEST_SUITE_P(Looks, EveryLook,
                         testing::Values(KODAK_2383, FUJI_3513, FUJI_3510, TEAL_ORANGE, CROSS, PUSH, PULL, CLASSIC_P0),
                         [](const auto& row) { return std::string(embeddedLooks()[row.param].symbol).substr(5); });

TEST(Looks, AreWorthChoosingBetween) {
    std::array<Look, LOOK_COUNT> looks{};
    std::array<Measures, LOOK_COUNT> measures;
    for (int i = 0; i < LOOK_COUNT; ++i)
        measures[i] = measure(looks[i] = embeddedLooks()[i].look);
    for (const Relation& r : relationsBetween(looks, measures))
        check("between looks", r.name, r.value, r.low, r.high);
}

} // namespace
