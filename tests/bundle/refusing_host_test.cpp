// A host whose functions fail: at every call in turn. What the plug-in can do without it does without; what it can't
// ends the frame with a status, and whatever was fetched goes back.
#include "tests/bundle/bundle_frame.h"

#include <gtest/gtest.h>

using namespace velloid::test;

namespace {

class RefusingHost : public testing::Test {
protected:
    void SetUp() override { host.start(); }

    // Runs the action again and again, the host refusing its first call, its second, ... until the action ends before.
    void refuseEveryCall(
        const std::function<OfxStatus()>& action,
        const std::function<OfxStatus(const std::string& function, const std::string& subject)>& expected,
        const std::function<void()>& afterwards = [] {}) {
        for (int n = 1;; ++n) {
            int calls = 0;
            std::string function;
            std::string subject;
            host.refuses = [&](const Call& call) {
                if (++calls != n) return false;
                function = call.function;
                subject = call.subject;
                return true;
            };
            const OfxStatus status = action();
            host.refuses = nullptr;
            if (calls < n) {
                EXPECT_EQ(status, kOfxStatOK);
                return;
            }
            const std::string where = "call " + std::to_string(n) + ", " + function + " " + subject;
            EXPECT_EQ(status, expected(function, subject)) << where;
            EXPECT_EQ(host.lentImages, 0) << where;
            afterwards();
            ASSERT_FALSE(HasFailure()) << where;
        }
    }

    static OfxStatus fine(const std::string&, const std::string&) { return kOfxStatOK; }

    Host host;
};

} // namespace

TEST_F(RefusingHost, WithoutASuiteIsNotOneToLoadIn) {
    refuseEveryCall([&] { return host.load(); },
                    [](const std::string&, const std::string&) { return kOfxStatErrMissingHostFeature; });
    EXPECT_EQ(host.load(), kOfxStatOK);
}

TEST_F(RefusingHost, IsDescribedToAsFarAsItListens) {
    refuseEveryCall([&] { return host.describe(); }, fine);
    refuseEveryCall([&] { return host.describeInContext(); }, fine);
}

TEST_F(RefusingHost, GetsClipPreferencesAsFarAsItAnswers) {
    Instance instance(host);
    refuseEveryCall([&] { return instance.clipPreferences(); }, fine);
}

TEST_F(RefusingHost, GetsAnIdentityForParametersThatItCantRead) {
    Instance instance(host);
    instance.allOff();
    refuseEveryCall([&] { return instance.isIdentity(1.0); },
                    [](const std::string& function, const std::string&) {
                        return function == "propGetDouble" ? kOfxStatFailed : kOfxStatOK;
                    });
}

TEST_F(RefusingHost, GetsAFrameOrAStatus) {
    Instance instance(host);
    instance.everything();
    const std::uint64_t expected = instance.frame(streetOf({24, 16})).hash();
    Picture source = streetOf({24, 16});
    Picture output(source.size);
    refuseEveryCall(
        [&] {
            instance.prepare(source, output, {});
            return instance.render();
        },
        [](const std::string& function, const std::string& subject) {
            if (function.starts_with("param") || function == "getParamSet" || function == "clipReleaseImage")
                return kOfxStatOK; // a parameter that can't be read is 0
            for (const char* unneeded :
                 {kOfxImageEffectPropPreMultiplication, kOfxImagePropPixelAspectRatio, "OfxImageEffectPropMetalEnabled",
                  "OfxImageEffectPropOpenCLEnabled", "TarnwellImageEffectPropRenderStatistics"}) {
                if (subject == unneeded) return kOfxStatOK;
            }
            return function == "propGetString" ? kOfxStatErrUnsupported : kOfxStatFailed;
        },
        [&] {
            EXPECT_EQ(instance.frame(streetOf({24, 16})).hash(), expected);
        });
}
