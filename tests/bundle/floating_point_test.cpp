// A host whose threads round otherwise, flush small numbers to zero or trap: no bit of a frame changes, on the caller
// or on the workers, and the host gets back the environment that it had.
#include "tests/bundle/bundle_frame.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <thread>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

using namespace velloid::test;

namespace {

constexpr Size SMALL{48, 32};

// What a thread's floating-point environment is, as far as a program can tell.
struct Environment {
    int rounding = std::fegetround();
    int raised = std::fetestexcept(FE_ALL_EXCEPT);
    int trapping = fegetexcept();
#if defined(__x86_64__)
    unsigned control = _mm_getcsr();
#else
    unsigned control = 0;
#endif

    bool operator==(const Environment&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Environment& e) {
    return out << "rounding " << e.rounding << ", raised " << e.raised << ", trapping " << e.trapping << ", control 0x"
               << std::hex << e.control << std::dec;
}

struct Unusual {
    const char* name;
    void (*enter)();
};

std::ostream& operator<<(std::ostream& out, const Unusual& unusual) {
    return out << unusual.name;
}

const Unusual UNUSUAL[] = {
    {"Upward", [] { std::fesetround(FE_UPWARD); }},
    {"Downward", [] { std::fesetround(FE_DOWNWARD); }},
    {"TowardZero", [] { std::fesetround(FE_TOWARDZERO); }},
#if defined(__x86_64__)
    {"FlushToZero", [] { _mm_setcsr(_mm_getcsr() | 0x8040u); }}, // results and operands
    {"EverythingRaised", [] { std::feraiseexcept(FE_ALL_EXCEPT); }},
    {"Trapping",
     [] {
         std::feclearexcept(FE_ALL_EXCEPT);
         feenableexcept(FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW | FE_UNDERFLOW);
     }},
#endif
};

// The street with what host pixels may hold: numbers too small to be normal, infinities and no number at all. Made in
// the usual environment.
Picture makeHostile() {
    Picture picture = streetOf(SMALL);
    for (int x = 0; x < SMALL.width; ++x) {
        for (int c = 0; c < 3; ++c) {
            picture.at(x, 0, c) = static_cast<float>(x + 1) * 1e-41f;
            picture.at(x, 1, c) = static_cast<float>(x + 1) * -3e-39f;
        }
    }
    picture.at(5, 5, 0) = std::numeric_limits<float>::infinity();
    picture.at(9, 9, 1) = std::numeric_limits<float>::quiet_NaN();
    picture.at(13, 5, 2) = std::numeric_limits<float>::max();
    return picture;
}

const Picture& hostile() {
    static const Picture picture = makeHostile();
    return picture;
}

// One frame per kind of code: everything in an encoding with a curve, little in linear light, and a copy.
std::vector<std::uint64_t> frames(Host& host) {
    Instance instance(host);
    std::vector<std::uint64_t> hashes;
    hashes.push_back(instance.everything().frame(hostile(), {100.0, 1.0, 1.0}).hash());
    instance.reset().allOff().set("ioSpace", 1).set("blackWhite", 0.5);
    hashes.push_back(instance.frame(hostile()).hash());
    hashes.push_back(instance.set("gateWeave", 0.3).set("halationIntensity", 1.0).frame(hostile()).hash());
    hashes.push_back(instance.allOff().frame(hostile()).hash());
    return hashes;
}

// What a host of its own, whose every action is called in this environment, gets to see. Its workers start in it too.
std::vector<std::uint64_t> framesIn(const Unusual& unusual) {
    std::vector<std::uint64_t> hashes;
    std::thread([&] {
        unusual.enter();
        Host host;
        host.start();
        hashes = frames(host);
        host.unload();
    }).join();
    return hashes;
}

class FloatingPoint : public testing::TestWithParam<Unusual> {
protected:
    void SetUp() override { hostile(); }
};

} // namespace

TEST_P(FloatingPoint, EnvironmentOfAHostChangesNoBit) {
    const std::vector<std::uint64_t> unusual = framesIn(GetParam()); // first: the process has no pool yet
    const std::vector<std::uint64_t> usual = framesIn({"Usual", [] {}});
    EXPECT_EQ(unusual, usual);
}

// The pool is one of usual threads by then; the caller is not.
TEST_P(FloatingPoint, EnvironmentOfACallerChangesNoBit) {
    Host host;
    host.start();
    const std::vector<std::uint64_t> usual = frames(host);
    std::vector<std::uint64_t> unusual;
    std::thread([&] {
        GetParam().enter();
        unusual = frames(host);
    }).join();
    EXPECT_EQ(unusual, usual);
    EXPECT_EQ(host.unload(), kOfxStatOK); // the caller does all the work from now on
    std::thread([&] {
        GetParam().enter();
        unusual = frames(host);
    }).join();
    EXPECT_EQ(unusual, usual);
}

TEST_P(FloatingPoint, EnvironmentIsTheHostsAgainAfterEveryAction) {
    std::thread([&] {
        Host host;
        const auto check = [&](const char* action, const std::function<OfxStatus()>& act) {
            std::feclearexcept(FE_ALL_EXCEPT);
            GetParam().enter();
            const Environment before;
            const OfxStatus status = act();
            const Environment after;
            std::fesetenv(FE_DFL_ENV); // the test itself is no judge in a trapping environment
            EXPECT_EQ(status, kOfxStatOK) << action;
            EXPECT_EQ(after, before) << action;
        };
        host.open();
        check("load", [&] { return host.load(); });
        check("describe", [&] { return host.describe(); });
        check("describe in context", [&] { return host.describeInContext(); });
        {
            Instance instance(host);
            Picture source = hostile();
            Picture output(SMALL);
            instance.everything().prepare(source, output, {});
            check("render", [&] { return instance.render(); });
            instance.allOff();
            check("identity", [&] { return instance.isIdentity(0.0); });
            check("clip preferences", [&] { return instance.clipPreferences(); });
        }
        check("purge", [&] { return host.purge(); });
        check("unload", [&] { return host.unload(); });
    }).join();
}

INSTANTIATE_TEST_SUITE_P(When, FloatingPoint, testing::ValuesIn(UNUSUAL),
                         [](const auto& tested) { return tested.param.name; });
