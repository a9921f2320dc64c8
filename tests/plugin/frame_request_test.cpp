// What a frame asks its host for: every parameter at the frame's own time, and within its range.
#include "plugin/frame_request.h"

#include "plugin/actions.h"
#include "plugin/host.h"
#include "plugin/output_lut_cache.h"
#include "plugin/parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

using namespace velloid;

namespace {

// A host of parameters alone. A handle is the parameter's row in PARAMETERS.
struct Values {
    static inline double amount = 0.0;
    static inline int option = 0;
    static inline std::string text;
    static inline std::map<std::string, std::vector<double>> timesAsked; // by key

    static OfxStatus value(OfxParamHandle parameter, OfxTime time, ...) {
        const auto& row = *reinterpret_cast<const ParameterRow*>(parameter);
        timesAsked[row.key].push_back(time);
        std::va_list results;
        va_start(results, time);
        void* const result = va_arg(results, void*);
        va_end(results);
        if (row.type == ParameterType::Choice) {
            *static_cast<int*>(result) = option;
        } else if (row.type == ParameterType::Double) {
            *static_cast<double*>(result) = amount;
        } else {
            *static_cast<const char**>(result) = text.c_str();
        }
        return kOfxStatOK;
    }
};

OfxStatus handleOf(OfxParamSetHandle, const char* name, OfxParamHandle* parameter, OfxPropertySetHandle*) {
    for (const ParameterRow& row : PARAMETERS) {
        if (std::string(row.key) == name) {
            *parameter = reinterpret_cast<OfxParamHandle>(const_cast<ParameterRow*>(&row));
            return kOfxStatOK;
        }
    }
    return kOfxStatErrUnknown;
}

OfxStatus anyParamSet(OfxImageEffectHandle, OfxParamSetHandle* set) {
    static int something;
    *set = reinterpret_cast<OfxParamSetHandle>(&something);
    return kOfxStatOK;
}

class FrameRequestTest : public testing::Test {
protected:
    FrameRequestTest() {
        static const OfxImageEffectSuiteV1 effects = [] {
            OfxImageEffectSuiteV1 s{};
            s.getParamSet = anyParamSet;
            return s;
        }();
        static const OfxParameterSuiteV1 parameters = [] {
            OfxParameterSuiteV1 s{};
            s.paramGetHandle = handleOf;
            s.paramGetValueAtTime = Values::value;
            return s;
        }();
        gEffectSuite = &effects;
        gParamSuite = &parameters;
        Values::amount = 0.0;
        Values::option = 0;
        Values::text.clear();
        Values::timesAsked.clear();
        clearOutputLutCache();
    }
    ~FrameRequestTest() override {
        gEffectSuite = nullptr;
        gParamSuite = nullptr;
    }

    static FrameRequest at(double time) {
        RenderArgs args;
        args.time = time;
        return readFrameRequest(nullptr, args);
    }
};

} // namespace

TEST_F(FrameRequestTest, ReadsEveryParameterAtTheFramesTime) {
    at(12.5);
    for (const ParameterRow& row : PARAMETERS) {
        if (row.type == ParameterType::Group || row.type == ParameterType::PushButton) continue;
        EXPECT_THAT(Values::timesAsked[row.key], testing::ElementsAre(12.5)) << row.key;
    }
}

TEST_F(FrameRequestTest, TheIdentityTestReadsEveryParameterAtItsTime) {
    static const OfxPropertySuiteV1 properties = [] {
        OfxPropertySuiteV1 s{};
        s.propGetDouble = [](OfxPropertySetHandle, const char*, int, double* time) {
            *time = 12.5;
            return kOfxStatOK;
        };
        s.propSetDouble = [](OfxPropertySetHandle, const char*, int, double) { return kOfxStatOK; };
        s.propSetString = [](OfxPropertySetHandle, const char*, int, const char*) { return kOfxStatOK; };
        return s;
    }();
    gPropSuite = &properties;
    int something = 0;
    const auto effect = reinterpret_cast<OfxImageEffectHandle>(&something);
    const auto args = reinterpret_cast<OfxPropertySetHandle>(&something);
    EXPECT_EQ(onIsIdentity(effect, args, args), kOfxStatOK);
    gPropSuite = nullptr;
    EXPECT_GE(Values::timesAsked.size(), 10u);
    for (const auto& [key, times] : Values::timesAsked)
        EXPECT_THAT(times, testing::Each(12.5)) << key;
}

TEST_F(FrameRequestTest, HoldsAmountsWithinZeroAndOne) {
    constexpr double INF = std::numeric_limits<double>::infinity();
    const struct {
        double given, held;
    } cases[] = {{-0.5, 0.0}, {0.0, 0.0}, {0.25, 0.25}, {1.0, 1.0},
                 {1.5, 1.0},  {INF, 1.0}, {-INF, 0.0},  {std::numeric_limits<double>::quiet_NaN(), 0.0}};
    for (const auto& c : cases) {
        Values::amount = c.given;
        const FrameRequest q = at(0.0);
        for (const double held : {q.detail, q.grainIntensity, q.halation, q.colorIntensity, q.gateWeave, q.flicker,
                                  q.bloom, q.blackWhite, q.outputLutStrength}) {
            EXPECT_EQ(held, c.held) << c.given;
        }
    }
}

TEST_F(FrameRequestTest, HoldsOptionsWithinTheirMenus) {
    const struct {
        int given, stock, ioSpace, process;
    } cases[] = {{-1, 0, 0, 15}, {0, 0, 0, 14}, {16, 16, 16, 15}, {17, 16, 16, 15}, {1 << 30, 16, 16, 15}};
    for (const auto& c : cases) {
        Values::option = c.given;
        const FrameRequest q = at(0.0);
        EXPECT_EQ(static_cast<int>(q.stock), c.stock) << c.given;
        EXPECT_EQ(static_cast<int>(q.ioSpace), c.ioSpace) << c.given;
        EXPECT_EQ(static_cast<int>(q.process), c.process) << c.given;
    }
}

TEST_F(FrameRequestTest, LoadsATableOnlyForAStrength) {
    Values::text = testing::TempDir() + "tarnwell-request-" + std::to_string(getpid()) + ".cube";
    std::ofstream(Values::text) << "LUT_3D_SIZE 2\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n";
    for (const double none : {0.0, -1.0}) {
        Values::amount = none;
        EXPECT_EQ(at(0.0).outputLut, nullptr) << none;
        EXPECT_TRUE(gLutCache.empty()) << "the file was looked at with a strength of " << none;
    }
    Values::amount = 0.1;
    EXPECT_NE(at(0.0).outputLut, nullptr);
    std::remove(Values::text.c_str());
}

TEST_F(FrameRequestTest, ReadsTheDomainOfTheTable) {
    for (const int option : {0, 1}) {
        Values::option = option;
        EXPECT_EQ(at(0.0).outputLutInLogC4, option == 1);
    }
}
