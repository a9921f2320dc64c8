#include "plugin/actions.h"
#include "plugin/host.h"
#include "plugin/output_lut_cache.h"
#include "plugin_under_test.h"
#include "process/parallel_pool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <new>
#include <thread>

using namespace velloid;
using namespace velloid::test;
using tarnwell::Fault;
using tarnwell::FaultScope;

namespace {

// Whether the pool of the process has workers.
bool runsOnAWorker() {
    bool onWorker = false;
    ParallelPool::instance().run(0, 1, 1, 1, [&](int, int) { onWorker = detail_par::inPoolWorker; });
    return onWorker;
}

} // namespace

TEST(Entry, OffersOnePluginAtIndexZeroAlone) {
    EXPECT_EQ(OfxGetNumberOfPlugins(), 1);
    EXPECT_NE(OfxGetPlugin(0), nullptr);
    EXPECT_EQ(OfxGetPlugin(0), OfxGetPlugin(0));
    EXPECT_EQ(OfxGetPlugin(1), nullptr);
    EXPECT_EQ(OfxGetPlugin(-1), nullptr);
}

TEST(Entry, SaysWhatItIs) {
    const OfxPlugin& plugin = *OfxGetPlugin(0);
    EXPECT_STREQ(plugin.pluginApi, "OfxImageEffectPluginAPI");
    EXPECT_EQ(plugin.apiVersion, 1);
    EXPECT_STREQ(plugin.pluginIdentifier, "com.ostrel.tarnwell");
    EXPECT_EQ(plugin.pluginVersionMajor, 7u);
    EXPECT_EQ(plugin.pluginVersionMinor, 1u);
}

TEST(Entry, AnswersANullActionWithBadHandle) {
    EXPECT_EQ(mainEntry(nullptr, nullptr, nullptr, nullptr), kOfxStatErrBadHandle);
}

TEST(Entry, LeavesUnknownActionsToTheHost) {
    PluginUnderTest plugin;
    EXPECT_EQ(plugin.instance->send("OfxImageEffectActionGetRegionOfDefinition"), kOfxStatReplyDefault);
    EXPECT_EQ(plugin.instance->send("OfxImageEffectActionGetFramesNeeded"), kOfxStatReplyDefault);
    EXPECT_EQ(plugin.instance->send("ofxActionLoad"), kOfxStatReplyDefault) << "names are compared exactly";
    EXPECT_EQ(plugin.instance->send(""), kOfxStatReplyDefault);
}

TEST(Entry, AcceptsTheActionsThatNeedNoWork) {
    PluginUnderTest plugin;
    for (const char* action :
         {kOfxActionBeginInstanceChanged, kOfxActionEndInstanceChanged, kOfxActionBeginInstanceEdit,
          kOfxActionEndInstanceEdit, kOfxActionCreateInstance, kOfxActionDestroyInstance, kOfxActionPurgeCaches}) {
        EXPECT_EQ(plugin.instance->send(action), kOfxStatOK) << action;
    }
}

// In a process that never set a host: each test runs in its own.
TEST(Load, WithoutAHostMissesAFeature) {
    setHostFunc(nullptr);
    EXPECT_EQ(mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatErrMissingHostFeature);
}

TEST(Load, NeedsEachOfTheThreeSuites) {
    for (const char* missing : {kOfxImageEffectSuite, kOfxPropertySuite, kOfxParameterSuite}) {
        tarnwell::HostOptions options;
        options.suites[{missing, 1}] = nullptr;
        tarnwell::Host host(options);
        OfxGetPlugin(0)->setHost(host.record());
        EXPECT_EQ(mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatErrMissingHostFeature) << missing;
    }
    tarnwell::Host whole;
    OfxGetPlugin(0)->setHost(whole.record());
    EXPECT_EQ(mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatOK);
}

TEST(Load, SetHostFetchesNothing) {
    int fetched = 0;
    FaultScope watch([&](std::string_view function, std::string_view) {
        fetched += function == "fetchSuite" ? 1 : 0;
        return Fault{};
    });
    tarnwell::Host host;
    OfxGetPlugin(0)->setHost(host.record());
    EXPECT_EQ(fetched, 0);
}

TEST(Load, MayBeRepeatedWhileFramesRender) {
    PluginUnderTest plugin;
    TestImage source(ImageShape{});
    source.fill(testPicture);
    std::thread loader([&] {
        for (int i = 0; i < 50; ++i)
            plugin.effect.send(kOfxActionLoad, nullptr);
    });
    for (int i = 0; i < 10; ++i) {
        TestImage output(ImageShape{});
        EXPECT_EQ(plugin.render(requestFor(source, output)), kOfxStatOK);
    }
    loader.join();
}

TEST(Unload, MayComeTwiceAndBeFollowedByAnotherLife) {
    PluginUnderTest plugin;
    TestImage source(ImageShape{});
    source.fill(testPicture);
    TestImage before(ImageShape{});
    TestImage after(ImageShape{});
    ASSERT_EQ(plugin.render(requestFor(source, before)), kOfxStatOK);
    EXPECT_EQ(plugin.effect.send(kOfxActionUnload, nullptr), kOfxStatOK);
    EXPECT_EQ(plugin.effect.send(kOfxActionUnload, nullptr), kOfxStatOK);
    EXPECT_EQ(plugin.effect.send(kOfxActionLoad, nullptr), kOfxStatOK);
    EXPECT_EQ(plugin.render(requestFor(source, after)), kOfxStatOK) << "a stopped pool still renders, on the caller";
    EXPECT_EQ(before.memory(), after.memory());
}

TEST(Unload, EndsTheWorkers) {
    PluginUnderTest plugin;
    if (!runsOnAWorker()) GTEST_SKIP() << "another test of this process has stopped the pool; run me alone";
    EXPECT_EQ(plugin.effect.send(kOfxActionUnload, nullptr), kOfxStatOK);
    EXPECT_FALSE(runsOnAWorker());
}

TEST(Unload, WithoutALoadIsFine) {
    EXPECT_EQ(mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr), kOfxStatOK);
}

TEST(ExceptionBarrier, TurnsMemoryShortageIntoItsStatus) {
    static const OfxImageEffectSuiteV1 suite = [] {
        OfxImageEffectSuiteV1 s{};
        s.getPropertySet = [](OfxImageEffectHandle, OfxPropertySetHandle*) -> OfxStatus { throw std::bad_alloc(); };
        return s;
    }();
    gEffectSuite = &suite;
    EXPECT_EQ(mainEntry(kOfxActionDescribe, nullptr, nullptr, nullptr), kOfxStatErrMemory);
}

TEST(ExceptionBarrier, TurnsAnythingElseIntoFailed) {
    static const OfxImageEffectSuiteV1 suite = [] {
        OfxImageEffectSuiteV1 s{};
        s.getPropertySet = [](OfxImageEffectHandle, OfxPropertySetHandle*) -> OfxStatus { throw 42; };
        return s;
    }();
    gEffectSuite = &suite;
    EXPECT_EQ(mainEntry(kOfxActionDescribe, nullptr, nullptr, nullptr), kOfxStatFailed);
}

TEST(ExceptionBarrier, HoldsForTheFetchingOfSuites) {
    tarnwell::Host host;
    OfxGetPlugin(0)->setHost(host.record());
    FaultScope hostile([](std::string_view function, std::string_view) {
        return function == "fetchSuite" ? Fault::thrown() : Fault{};
    });
    EXPECT_EQ(mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatFailed);
}

// A host that describes without having loaded, or with half a suite, is told nothing and taken nowhere.
TEST(HostileHosts, MissingSuitesAndMembersDoNotCrashDescribe) {
    gEffectSuite = nullptr;
    gPropSuite = nullptr;
    gParamSuite = nullptr;
    EXPECT_EQ(mainEntry(kOfxActionDescribe, nullptr, nullptr, nullptr), kOfxStatOK);
    EXPECT_EQ(mainEntry(kOfxImageEffectActionDescribeInContext, nullptr, nullptr, nullptr), kOfxStatOK);
    static const OfxImageEffectSuiteV1 hollow{};
    static const OfxPropertySuiteV1 hollowProperties{};
    static const OfxParameterSuiteV1 hollowParameters{};
    gEffectSuite = &hollow;
    gPropSuite = &hollowProperties;
    gParamSuite = &hollowParameters;
    int handle = 0;
    const auto args = reinterpret_cast<OfxPropertySetHandle>(&handle);
    EXPECT_EQ(mainEntry(kOfxActionDescribe, &handle, nullptr, nullptr), kOfxStatOK);
    EXPECT_EQ(mainEntry(kOfxImageEffectActionDescribeInContext, &handle, nullptr, nullptr), kOfxStatOK);
    EXPECT_EQ(mainEntry(kOfxImageEffectActionIsIdentity, &handle, args, args), kOfxStatFailed);
    EXPECT_EQ(mainEntry(kOfxImageEffectActionRender, &handle, args, nullptr), kOfxStatFailed);
    EXPECT_EQ(mainEntry(kOfxImageEffectActionGetClipPreferences, &handle, nullptr, args), kOfxStatOK);
}

TEST(Purge, EmptiesTheLutCacheAndRestartsItsClock) {
    PluginUnderTest plugin;
    {
        std::lock_guard lock(gLutCacheMu);
        gLutCache["nowhere.cube"] = {};
        gLutCacheGeneration = 7;
    }
    EXPECT_EQ(plugin.instance->send(kOfxActionPurgeCaches), kOfxStatOK);
    std::lock_guard lock(gLutCacheMu);
    EXPECT_TRUE(gLutCache.empty());
    EXPECT_EQ(gLutCacheGeneration, 0u);
}

TEST(Purge, LeavesThePoolRunning) {
    PluginUnderTest plugin;
    if (!runsOnAWorker()) GTEST_SKIP() << "another test of this process has stopped the pool; run me alone";
    plugin.instance->send(kOfxActionPurgeCaches);
    EXPECT_TRUE(runsOnAWorker());
}

// ---- support button ------------------------------------------------------------------------------------------------

#if defined(__linux__)
namespace {

// Puts a stand-in for the system's page opener first on the path; it writes down what it was asked to open.
class FakeOpener {
public:
    FakeOpener() : folder_(testing::TempDir() + "tarnwell-opener-" + std::to_string(getpid())) {
        std::system(("mkdir -p '" + folder_ + "'").c_str());
        std::ofstream(folder_ + "/xdg-open") << "#!/bin/sh\nprintf '%s\\n' \"$@\" >> '" << folder_ << "/opened'\n";
        std::system(("chmod +x '" + folder_ + "/xdg-open'").c_str());
        setenv("PATH", (folder_ + ":" + std::getenv("PATH")).c_str(), 1);
    }
    ~FakeOpener() { std::system(("rm -r '" + folder_ + "'").c_str()); }

    std::string opened() const {
        std::ifstream file(folder_ + "/opened");
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string folder_;
};

} // namespace

TEST(SupportButton, OpensThePageOnce) {
    FakeOpener opener;
    PluginUnderTest plugin;
    plugin.instance->sendChanged("support_paypal");
    EXPECT_EQ(opener.opened(), "https://tarnwell.example/support\n");
}

TEST(SupportButton, IgnoresEveryOtherParameter) {
    FakeOpener opener;
    PluginUnderTest plugin;
    plugin.instance->sendChanged("negStock");
    plugin.instance->sendChanged("grpAbout");
    EXPECT_EQ(opener.opened(), "");
}
#endif

TEST(SupportButton, NeedsArguments) {
    PluginUnderTest plugin;
    EXPECT_EQ(plugin.instance->send(kOfxActionInstanceChanged, nullptr), kOfxStatOK);
}
