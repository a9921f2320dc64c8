#include "bench/machine.h"

#include <gtest/gtest.h>

namespace tarnwell::bench {
namespace {

TEST(Machine, NamesTheProcessor) {
    const std::string text = "processor\t: 0\nvendor_id\t: Maker\ncpu family\t: 25\nmodel\t\t: 1\n"
                             "model name\t: Maker Processor 9000\nprocessor\t: 1\nmodel name\t: another\n";
    EXPECT_EQ(processorIn(text), "Maker Processor 9000, family 25, model 1");
}

TEST(Machine, SaysSoWhenTheProcessorIsUnknown) {
    EXPECT_EQ(processorIn(""), "unknown");
    EXPECT_EQ(processorIn("model name without a colon\n"), "unknown");
}

} // namespace
} // namespace tarnwell::bench
