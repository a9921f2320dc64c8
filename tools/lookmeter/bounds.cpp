#include "tools/lookmeter/bounds.h"

#include "color/look_tables.h"

#include <algorithm>
#include <cmath>

namespace lookmeter {
namespace {

// Replaces the bound of the same measure, or adds it. A bound on a pair of measures becomes two.
void put(std::vector<Bound>& bounds, const Bound& bound) {
    if (bound.measure == "skin_h" || bound.measure == "skin_line") {
        for (const char* end : {"_lo", "_hi"})
            put(bounds, {bound.measure + end, bound.low, bound.high});
        return;
    }
    const auto same = [&](const Bound& b) { return b.measure == bound.measure; };
    const auto found = std::find_if(bounds.begin(), bounds.end(), same);
    if (found == bounds.end())
        bounds.push_back(bound);
    else
        *found = bound;
}

double stopsApart(double a, double b) {
    return std::log2(a / b);
}

// Mean hue difference of the colour patches between two looks, degrees.
double meanHueDifference(const Measures& a, const Measures& b) {
    double sum = 0;
    for (int i = 0; i < COLOUR_PATCHES; ++i) {
        const std::string name = std::string("hue ") + COLOR_CHECKER[i].name;
        sum += std::abs(a.at(name) - b.at(name));
    }
    return sum / COLOUR_PATCHES;
}

} // namespace

const std::array<EmbeddedLook, LOOK_COUNT>& embeddedLooks() {
    static const std::array<EmbeddedLook, LOOK_COUNT> looks = {{
        {"Kodak 2383", "LOOK_KODAK2383_33", {velloid::embeddedLookDataByIndex(0), 33}},
        {"Fuji 3513", "LOOK_FUJI3513_33", {velloid::embeddedLookDataByIndex(1), 33}},
        {"Fuji 3510", "LOOK_FUJI3510_33", {velloid::embeddedLookDataByIndex(2), 33}},
        {"Teal & Orange", "LOOK_TEALORANGE_33", {velloid::embeddedLookDataByIndex(3), 33}},
        {"Cross Processing", "LOOK_CROSSPROC_33", {velloid::embeddedLookDataByIndex(4), 33}},
        {"Push (+1)", "LOOK_PUSH1_33", {velloid::embeddedLookDataByIndex(5), 33}},
        {"Pull (-1)", "LOOK_PULL1_33", {velloid::embeddedLookDataByIndex(6), 33}},
        {"A Corvex Classic P0", "LOOK_KESTRA_P0_65", {velloid::LOOK_KESTRA_P0_65, 65}},
    }};
    return looks;
}

std::vector<Bound> boundsOf(LookIndex look) {
    std::vector<Bound> bounds;
    for (const PerLookBound& row : PER_LOOK_BOUNDS)
        put(bounds, {row.measure, row.of[look].low, row.of[look].high});
    for (const Bound& bound : COMMON_BOUNDS) {
        const auto given = [&](const Bound& b) { return b.measure == bound.measure; };
        if (std::none_of(bounds.begin(), bounds.end(), given)) put(bounds, bound);
    }
    for (const OwnBound& own : OWN_BOUNDS)
        if (own.look == look) put(bounds, own.bound);
    return bounds;
}

std::vector<Relation> relationsBetween(const std::array<Look, LOOK_COUNT>& looks,
                                       const std::array<Measures, LOOK_COUNT>& m) {
    std::vector<Relation> out;
    for (int a = 0; a < LOOK_COUNT; ++a)
        for (int b = a + 1; b < LOOK_COUNT; ++b)
            out.push_back({std::string("CIEDE2000 ") + embeddedLooks()[a].label + " / " + embeddedLooks()[b].label,
                           meanDifference(looks[a], looks[b]), 2.2, ANY});

    const auto of = [&](LookIndex look, const char* measure) { return m[look].at(measure); };
    const auto apart = [&](const char* y) { return stopsApart(of(PUSH, y), of(PULL, y)); };
    const auto above = [&](const char* name, LookIndex a, LookIndex b, const char* measure) {
        out.push_back({name, of(a, measure) - of(b, measure), 0.0, ANY});
    };
    const double normal = 0.5 * (of(PUSH, "slope0") + of(PULL, "slope0"));
    out.push_back({"slope of the normal process between Push and Pull", normal, 1.28, 1.50});
    out.push_back({"slope of Push over the normal process", of(PUSH, "slope0") / normal, 1.10, 1.24});
    out.push_back({"Push over Pull at grey, stops", apart("Y0"), -0.15, 0.15});
    out.push_back({"Push over Pull at +1 stop, stops", apart("Y+1"), 0.12, 1.6});
    out.push_back({"Push over Pull at +2 stops, stops", apart("Y+2"), 0.12, 1.6});
    out.push_back({"Push under Pull at -1 stop, stops", -apart("Y-1"), 0.12, 1.6});
    out.push_back({"Push under Pull at -2 stops, stops", -apart("Y-2"), 0.12, 1.6});
    out.push_back({"Push under Pull at -3 stops, stops", -apart("Y-3"), 0.12, 1.6});
    out.push_back({"chroma of Push over Pull", of(PUSH, "cr_mean") / of(PULL, "cr_mean"), 1.18, 1.6});
    out.push_back({"black of Push over Pull", of(PUSH, "black") / of(PULL, "black"), 0.7, 2.5});
    out.push_back({"mean hue difference Push / Pull, degrees", meanHueDifference(m[PUSH], m[PULL]), 0.0, 6.0});
    above("slope of 2383 above 3510", KODAK_2383, FUJI_3510, "slope0");
    above("slope of 3513 above 3510", FUJI_3513, FUJI_3510, "slope0");
    above("chroma of 2383 above 3513", KODAK_2383, FUJI_3513, "cr_mean");
    above("chroma of 2383 above 3510", KODAK_2383, FUJI_3510, "cr_mean");
    above("chroma of Cross above 2383", CROSS, KODAK_2383, "cr_mean");
    above("highlights of 2383 warmer than 3513 (b)", KODAK_2383, FUJI_3513, "b_hi");
    above("shadows of 2383 less green than 3513 (a)", KODAK_2383, FUJI_3513, "a_sh");
    return out;
}

} // namespace lookmeter
