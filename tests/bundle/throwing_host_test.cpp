// A host whose functions throw: in every action, at every call in turn. The plug-in answers with a status, has given
// back what it fetched, and the next frame is right.
#include "ofx/tarnwell_statistics.h"
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/child.h"
#include "tests/bundle/thrown.h"
#include "tests/golden/golden_frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <exception>

using namespace velloid::test;

namespace {

class ThrowingHost : public testing::TestWithParam<Thrown> {
protected:
    void SetUp() override { host.start(); }

    // Runs the action again and again, the host throwing at its first call, at its second, ... until the action ends
    // before the throw. A release that throws goes unnoticed.
    void throwAtEveryCall(
        OfxStatus untroubled, const std::function<OfxStatus()>& action,
        const std::function<void()>& afterwards = [] {}) {
        for (int n = 1;; ++n) {
            int calls = 0;
            std::string where;
            bool release = false;
            host.onCall = [&](const Call& call) {
                if (++calls != n) return;
                where = "call " + std::to_string(n) + ", " + call.function + " " + call.subject;
                release = std::strcmp(call.function, "clipReleaseImage") == 0;
                GetParam().raise();
            };
            const OfxStatus status = action();
            host.onCall = nullptr;
            if (calls < n) {
                EXPECT_EQ(status, untroubled);
                EXPECT_GT(n, 1) << "the action calls nothing";
                return;
            }
            EXPECT_EQ(status, release ? untroubled : GetParam().status) << where;
            EXPECT_EQ(std::uncaught_exceptions(), 0) << where;
            EXPECT_FALSE(std::current_exception()) << where;
            EXPECT_EQ(host.lentImages, 0) << where;
            afterwards();
            ASSERT_FALSE(HasFailure()) << where;
        }
    }

    Host host;
};

std::string nameOf(const testing::TestParamInfo<Thrown>& tested) {
    return tested.param.name;
}

} // namespace

TEST_P(ThrowingHost, GetsAStatusFromLoad) {
    throwAtEveryCall(kOfxStatOK, [&] { return host.load(); });
}

TEST_P(ThrowingHost, GetsAStatusFromDescribe) {
    throwAtEveryCall(kOfxStatOK, [&] { return host.describe(); });
}

TEST_P(ThrowingHost, GetsAStatusFromDescribeInContext) {
    throwAtEveryCall(kOfxStatOK, [&] { return host.describeInContext(); });
}

TEST_P(ThrowingHost, GetsAStatusFromInstanceChanged) {
    Instance instance(host);
    PropertySet in("arguments");
    in.set(kOfxPropName, {std::string("detail")});
    throwAtEveryCall(kOfxStatOK, [&] { return host.act(kOfxActionInstanceChanged, &instance.effect(), &in); });
}

TEST_P(ThrowingHost, GetsAStatusFromClipPreferences) {
    Instance instance(host);
    throwAtEveryCall(kOfxStatOK, [&] { return instance.clipPreferences(); });
}

TEST_P(ThrowingHost, GetsAStatusFromIdentity) {
    Instance instance(host);
    instance.allOff();
    throwAtEveryCall(kOfxStatOK, [&] { return instance.isIdentity(3.0); });
}

TEST_P(ThrowingHost, GetsAStatusFromRenderAndTheNextFrameIsRight) {
    Instance instance(host);
    instance.everything();
    const Picture source = streetOf({24, 16});
    const std::uint64_t expected = instance.frame(source).hash();
    Picture from = source;
    Picture to(source.size);
    throwAtEveryCall(
        kOfxStatOK,
        [&] {
            instance.prepare(from, to, {});
            return instance.render();
        },
        [&] { EXPECT_EQ(instance.frame(source).hash(), expected); });
    const GoldenCase& golden = goldenCase("EverythingSLog3");
    if (hasFusedMultiplyAdd()) {
        EXPECT_EQ(hex(goldenHash(instance, golden)), hex(golden.hash));
    }
}

TEST_P(ThrowingHost, MayThrowAgainWhileItsImageIsReleased) {
    Instance instance(host);
    Picture source = streetOf({8, 8});
    Picture output(source.size);
    instance.prepare(source, output, {});
    host.onCall = [&](const Call& call) {
        const std::string_view function = call.function;
        if (function == "clipReleaseImage" || (function == "clipGetImage" && std::strcmp(call.subject, "Output") == 0))
            GetParam().raise();
    };
    EXPECT_EQ(instance.render(), GetParam().status);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(host.lentImages, 0);
}

// What a host that wants to know times hands in is a function of the host as well.
TEST_P(ThrowingHost, MayThrowWhenItIsToldTheTimesOfAFrame) {
    static const Thrown* thrown = nullptr;
    thrown = &GetParam();
    TarnwellRenderStatistics statistics{};
    statistics.size = sizeof statistics;
    statistics.stage = [](void*, const char*, double) { thrown->raise(); };
    statistics.scratch = [](void*, double, double) {};
    Instance instance(host);
    Picture source = streetOf({8, 8});
    Picture output(source.size);
    instance.prepare(source, output, {});
    instance.in().set(kTarnwellPropRenderStatistics, {static_cast<void*>(&statistics)});
    EXPECT_EQ(instance.render(), GetParam().status);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(host.lentImages, 0);
}

// A host may render from within a handler of its own.
TEST_P(ThrowingHost, KeepsTheExceptionThatItIsHandlingItself) {
    Instance instance(host);
    Picture source = streetOf({8, 8});
    Picture output(source.size);
    instance.prepare(source, output, {});
    host.onCall = [&](const Call& call) {
        if (std::strcmp(call.function, "clipGetHandle") == 0) GetParam().raise();
    };
    try {
        throw std::string("mine");
    } catch (const std::string&) {
        EXPECT_EQ(instance.render(), GetParam().status);
        try {
            throw;
        } catch (const std::string& text) {
            EXPECT_EQ(text, "mine");
        } catch (...) {
            ADD_FAILURE() << "another exception is being handled than before the frame";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ThrowingHost, testing::ValuesIn(THROWN), nameOf);

// ---- the first exception that the process ever sees -----------------------------------------------------------------

namespace {

struct FirstThrow {
    const char* action;
    const char* function;
};

std::ostream& operator<<(std::ostream& out, const FirstThrow& first) {
    return out << first.function << " in " << first.action;
}

class FirstThrowEver : public testing::TestWithParam<FirstThrow> {};

} // namespace

TEST_P(FirstThrowEver, BecomesAStatus) {
    for (const Thrown& thrown : THROWN)
        EXPECT_TRUE(scenarioEnds({"first-throw", GetParam().action, GetParam().function, thrown.name}));
}

#if defined(TARNWELL_STATIC_SCENARIOS)
TEST_P(FirstThrowEver, OfAHostWithItsOwnUnwinderBecomesAStatus) {
    for (const Thrown& thrown : THROWN)
        EXPECT_TRUE(scenarioEnds({"first-throw", GetParam().action, GetParam().function, thrown.name}, 0,
                                 TARNWELL_STATIC_SCENARIOS));
}
#endif

INSTANTIATE_TEST_SUITE_P(
    In, FirstThrowEver,
    testing::Values(FirstThrow{"load", "fetchSuite"}, FirstThrow{"describe", "getPropertySet"},
                    FirstThrow{"describe", "propSetString"}, FirstThrow{"describeInContext", "clipDefine"},
                    FirstThrow{"describeInContext", "paramDefine"}, FirstThrow{"clipPreferences", "clipGetHandle"},
                    FirstThrow{"identity", "propGetDouble"}, FirstThrow{"identity", "paramGetValueAtTime"},
                    FirstThrow{"render", "propGetDouble"}, FirstThrow{"render", "getParamSet"},
                    FirstThrow{"render", "paramGetHandle"}, FirstThrow{"render", "paramGetValueAtTime"},
                    FirstThrow{"render", "clipGetHandle"}, FirstThrow{"render", "clipGetImage"},
                    FirstThrow{"render", "propGetPointer"}, FirstThrow{"render", "clipReleaseImage"}),
    [](const auto& tested) { return std::string(tested.param.action) + "_" + tested.param.function; });
