// Runs a scenario of scenarios.cpp in a process of its own and looks at its end.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace velloid::test {

// True when the scenario ends with this exit status and says nothing on standard error. One that has not ended after
// minutes is killed and counts as hanging.
testing::AssertionResult scenarioEnds(std::initializer_list<std::string> arguments, int exitStatus = 0,
                                      const std::string& program = TARNWELL_SCENARIOS);

} // namespace velloid::test
