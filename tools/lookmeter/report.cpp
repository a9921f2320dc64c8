// lookreport: every measure of every look beside its bound, as Markdown on stdout.
//
//   lookreport            the embedded tables
//   lookreport TABLES     a column more: the same measures of the .f32 files in TABLES (`lookgen files TABLES`)
#include "tools/lookmeter/table_files.h"

#include <cstdio>
#include <exception>

namespace {

using namespace lookmeter;

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

std::string rangeOf(double low, double high) {
    if (low == -ANY && high == ANY) return "";
    if (low == -ANY) return "at most " + number(high);
    if (high == ANY) return "at least " + number(low);
    return number(low) + " ... " + number(high);
}

void printHead(const char* what, bool withBefore) {
    std::printf("\n## %s\n\n| measure |%s value | bound |\n|---|%s---|---|\n", what, withBefore ? " before |" : "",
                withBefore ? "---|" : "");
}

void printRow(const std::string& measure, const double* before, double value, double low, double high) {
    std::printf("| %s |", measure.c_str());
    if (before) std::printf(" %.4g |", *before);
    const bool inside = value >= low && value <= high;
    std::printf(" %.4g%s | %s |\n", value, inside ? "" : " **outside**", rangeOf(low, high).c_str());
}

using AllMeasures = std::array<Measures, LOOK_COUNT>;

AllMeasures measureAll(const LookSet& looks) {
    AllMeasures all;
    for (int i = 0; i < LOOK_COUNT; ++i)
        all[i] = measure(looks[i]);
    return all;
}

void print(const LookSet& looks, const LookSet* before) {
    const AllMeasures now = measureAll(looks), then = before ? measureAll(*before) : AllMeasures{};
    std::printf("# The looks in numbers\n\nWhat each measure means: tools/lookmeter/measures.h.\n");
    for (int i = 0; i < LOOK_COUNT; ++i) {
        printHead(embeddedLooks()[i].label, before);
        for (const Bound& b : boundsOf(static_cast<LookIndex>(i)))
            printRow(b.measure, before ? &then[i].at(b.measure) : nullptr, now[i].at(b.measure), b.low, b.high);
    }
    printHead("Between looks", before);
    const std::vector<Relation> relations = relationsBetween(looks, now);
    const std::vector<Relation> formerly = before ? relationsBetween(*before, then) : std::vector<Relation>{};
    for (std::size_t i = 0; i < relations.size(); ++i)
        printRow(relations[i].name, before ? &formerly[i].value : nullptr, relations[i].value, relations[i].low,
                 relations[i].high);
}

} // namespace

int main(int argc, char** argv) try {
    if (argc > 2) {
        std::fputs("usage: lookreport [TABLES]\n", stderr);
        return 2;
    }
    if (argc == 1) {
        print(embeddedLookSet(), nullptr);
        return 0;
    }
    const TableFiles former(argv[1]);
    print(embeddedLookSet(), &former.looks());
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "lookreport: %s\n", failure.what());
    return 1;
}
