// The smaller suites, each through its functions: memory, threads and mutexes, messages, progress, timeline; and which
// suites there are.
#include "host/suites.h"

#include "host/message.h"
#include "tests/host/scripted_plugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <set>
#include <thread>

namespace tarnwell {

namespace {

TEST(Suites, AreGivenByNameAndVersionWithoutNullMembers) {
    Host host;
    const auto fetch = host.record()->fetchSuite;
    const std::pair<const char*, std::size_t> suites[] = {
        {kOfxPropertySuite, sizeof(OfxPropertySuiteV1)},       {kOfxParameterSuite, sizeof(OfxParameterSuiteV1)},
        {kOfxImageEffectSuite, sizeof(OfxImageEffectSuiteV1)}, {kOfxMemorySuite, sizeof(OfxMemorySuiteV1)},
        {kOfxMultiThreadSuite, sizeof(OfxMultiThreadSuiteV1)}, {kOfxMessageSuite, sizeof(OfxMessageSuiteV1)},
        {kOfxProgressSuite, sizeof(OfxProgressSuiteV1)},       {kOfxTimeLineSuite, sizeof(OfxTimeLineSuiteV1)}};
    for (const auto& [name, size] : suites) {
        const auto* members = static_cast<void* const*>(fetch(host.record()->host, name, 1));
        ASSERT_NE(members, nullptr) << name;
        EXPECT_EQ(members, fetch(host.record()->host, name, 1)) << "the same pointer each time";
        for (std::size_t i = 0; i < size / sizeof(void*); ++i)
            EXPECT_NE(members[i], nullptr) << name << " member " << i;
    }
    EXPECT_NE(fetch(host.record()->host, kOfxMessageSuite, 2), nullptr);
    EXPECT_NE(fetch(host.record()->host, kOfxProgressSuite, 2), nullptr);
    EXPECT_EQ(fetch(host.record()->host, kOfxInteractSuite, 1), nullptr);
    EXPECT_EQ(fetch(host.record()->host, kOfxPropertySuite, 2), nullptr);
    EXPECT_EQ(fetch(host.record()->host, nullptr, 1), nullptr);
    EXPECT_EQ(fetch(nullptr, kOfxPropertySuite, 1), nullptr) << "not the record's own handle";
    EXPECT_EQ(host.takeMissedSuites(), (std::vector<std::string>{"OfxInteractSuite 1", "OfxPropertySuite 2"}));
}

TEST(Suites, CanBeReplacedOrLeftOut) {
    static const int MINE = 0;
    HostOptions options;
    options.suites[{kOfxMemorySuite, 1}] = nullptr;
    options.suites[{"OfxDrawSuite", 1}] = &MINE;
    Host host(options);
    EXPECT_EQ(host.record()->fetchSuite(host.record()->host, kOfxMemorySuite, 1), nullptr);
    EXPECT_EQ(host.record()->fetchSuite(host.record()->host, "OfxDrawSuite", 1), &MINE);
}

// ---- memory -------------------------------------------------------------------------------------------------------

TEST(MemorySuite, GivesAlignedBlocksAndKnowsItsOwn) {
    const OfxMemorySuiteV1& suite = memorySuite();
    void* block = nullptr;
    ASSERT_EQ(suite.memoryAlloc(nullptr, 1000, &block), kOfxStatOK);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    static_cast<char*>(block)[999] = 1;
    EXPECT_EQ(suite.memoryFree(block), kOfxStatOK);
    EXPECT_EQ(suite.memoryFree(block), kOfxStatErrBadHandle) << "freed twice";
    EXPECT_EQ(suite.memoryFree(&block), kOfxStatErrBadHandle) << "a stranger";
    EXPECT_EQ(suite.memoryFree(nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(suite.memoryAlloc(nullptr, SIZE_MAX, &block), kOfxStatErrMemory);
    EXPECT_EQ(suite.memoryAlloc(nullptr, 0, &block), kOfxStatOK);
    EXPECT_EQ(suite.memoryFree(block), kOfxStatOK);
}

TEST(ImageMemory, IsLockedUnlockedAndFreedInSpiteOfLocks) {
    const OfxImageEffectSuiteV1& suite = effectSuite();
    OfxImageMemoryHandle memory = nullptr;
    void* block = nullptr;
    ASSERT_EQ(suite.imageMemoryAlloc(nullptr, 64, &memory), kOfxStatOK);
    EXPECT_EQ(suite.imageMemoryLock(memory, &block), kOfxStatOK);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    void* again = nullptr;
    EXPECT_EQ(suite.imageMemoryLock(memory, &again), kOfxStatOK);
    EXPECT_EQ(again, block);
    EXPECT_EQ(suite.imageMemoryUnlock(memory), kOfxStatOK);
    EXPECT_EQ(suite.imageMemoryFree(memory), kOfxStatOK);
    EXPECT_EQ(suite.imageMemoryLock(memory, &block), kOfxStatErrBadHandle);
    EXPECT_EQ(suite.imageMemoryFree(nullptr), kOfxStatErrBadHandle);
}

// ---- threads ------------------------------------------------------------------------------------------------------

struct Calls {
    std::mutex mutex;
    std::multiset<unsigned int> indices;
    std::set<unsigned int> maxima;
    bool allSpawned = true, ownIndex = true;
    OfxStatus nested = kOfxStatOK;
};

void noteCall(unsigned int index, unsigned int count, void* argument) {
    Calls& calls = *static_cast<Calls*>(argument);
    unsigned int asked = 999;
    multiThreadSuite().multiThreadIndex(&asked);
    const OfxStatus nested = multiThreadSuite().multiThread(noteCall, 2, argument);
    const std::lock_guard lock(calls.mutex);
    calls.indices.insert(index);
    calls.maxima.insert(count);
    calls.allSpawned = calls.allSpawned && multiThreadSuite().multiThreadIsSpawnedThread() != 0;
    calls.ownIndex = calls.ownIndex && asked == index;
    calls.nested = nested;
}

TEST(MultiThreadSuite, CallsEveryIndexOnceAndRefusesToNest) {
    for (unsigned int threads : {1u, 2u, 7u, 40u}) {
        Calls calls;
        EXPECT_EQ(multiThreadSuite().multiThread(noteCall, threads, &calls), kOfxStatOK);
        EXPECT_EQ(calls.indices.size(), threads);
        EXPECT_EQ(std::set<unsigned int>(calls.indices.begin(), calls.indices.end()).size(), threads);
        EXPECT_EQ(calls.maxima, std::set<unsigned int>{threads});
        EXPECT_TRUE(calls.allSpawned);
        EXPECT_TRUE(calls.ownIndex);
        EXPECT_EQ(calls.nested, kOfxStatErrExists);
    }
    EXPECT_EQ(multiThreadSuite().multiThreadIsSpawnedThread(), 0);
    unsigned int index = 9;
    EXPECT_EQ(multiThreadSuite().multiThreadIndex(&index), kOfxStatOK);
    EXPECT_EQ(index, 0u);
}

TEST(MultiThreadSuite, TakesZeroForAsManyAsThereAre) {
    Calls calls;
    unsigned int cpus = 0;
    EXPECT_EQ(multiThreadSuite().multiThreadNumCPUs(&cpus), kOfxStatOK);
    EXPECT_GE(cpus, 1u);
    EXPECT_EQ(multiThreadSuite().multiThread(noteCall, 0, &calls), kOfxStatOK);
    EXPECT_EQ(calls.indices.size(), cpus);
}

TEST(MultiThreadSuite, AnswersFailedToAFunctionThatThrows) {
    const auto thrower = [](unsigned int, unsigned int, void*) { throw 1; };
    EXPECT_EQ(multiThreadSuite().multiThread(thrower, 3, nullptr), kOfxStatFailed);
    EXPECT_EQ(multiThreadSuite().multiThread(nullptr, 3, nullptr), kOfxStatFailed);
    EXPECT_EQ(multiThreadSuite().multiThreadIsSpawnedThread(), 0);
}

TEST(Mutexes, AreRecursive) {
    const OfxMultiThreadSuiteV1& suite = multiThreadSuite();
    OfxMutexHandle mutex = nullptr;
    ASSERT_EQ(suite.mutexCreate(&mutex, 0), kOfxStatOK);
    EXPECT_EQ(suite.mutexUnLock(mutex), kOfxStatErrBadHandle) << "not held";
    EXPECT_EQ(suite.mutexLock(mutex), kOfxStatOK);
    EXPECT_EQ(suite.mutexLock(mutex), kOfxStatOK);
    const auto elsewhere = [&] {
        OfxStatus status = kOfxStatOK;
        std::thread([&] {
            status = suite.mutexTryLock(mutex);
            if (status == kOfxStatOK) suite.mutexUnLock(mutex);
        }).join();
        return status;
    };
    EXPECT_EQ(elsewhere(), kOfxStatFailed);
    EXPECT_EQ(suite.mutexUnLock(mutex), kOfxStatOK);
    EXPECT_EQ(elsewhere(), kOfxStatFailed);
    EXPECT_EQ(suite.mutexUnLock(mutex), kOfxStatOK);
    EXPECT_EQ(elsewhere(), kOfxStatOK);
    EXPECT_EQ(suite.mutexDestroy(mutex), kOfxStatOK);
    EXPECT_EQ(suite.mutexLock(mutex), kOfxStatErrBadHandle);
    EXPECT_EQ(suite.mutexTryLock(nullptr), kOfxStatErrBadHandle);
}

TEST(Mutexes, AreBornWithTheLocksThatWereAskedFor) {
    const OfxMultiThreadSuiteV1& suite = multiThreadSuite();
    OfxMutexHandle mutex = nullptr;
    ASSERT_EQ(suite.mutexCreate(&mutex, 1), kOfxStatOK);
    OfxStatus elsewhere = kOfxStatOK;
    std::thread([&] { elsewhere = suite.mutexTryLock(mutex); }).join();
    EXPECT_EQ(elsewhere, kOfxStatFailed);
    EXPECT_EQ(suite.mutexDestroy(mutex), kOfxStatOK) << "locked as it is";
}

int gCounted = 0; // guarded by the mutex under test

TEST(Mutexes, KeepThreadsApart) {
    const OfxMultiThreadSuiteV1& suite = multiThreadSuite();
    OfxMutexHandle mutex = nullptr;
    suite.mutexCreate(&mutex, 0);
    gCounted = 0;
    const auto count = [](unsigned int, unsigned int, void* argument) {
        for (int i = 0; i < 500; ++i) {
            multiThreadSuite().mutexLock(static_cast<OfxMutexHandle>(argument));
            ++gCounted;
            multiThreadSuite().mutexUnLock(static_cast<OfxMutexHandle>(argument));
        }
    };
    suite.multiThread(count, 8, mutex);
    EXPECT_EQ(gCounted, 4000);
    suite.mutexDestroy(mutex);
}

// ---- messages, progress, timeline ---------------------------------------------------------------------------------

class Talk : public ::testing::Test {
protected:
    Talk() {
        setMessageSink([this](const Message& message) { heard.push_back(message); });
        effect.load();
        instance = std::make_unique<Instance>(effect, options());
        handle = instance->object().handle();
    }
    ~Talk() override { setMessageSink(nullptr); }

    static InstanceOptions options() {
        InstanceOptions options;
        options.frameRange = {3.0, 9.0};
        return options;
    }

    std::vector<Message> heard;
    testing::ScriptedPlugin plugin;
    Host host;
    Effect effect{host, plugin.binary(), plugin.record()};
    std::unique_ptr<Instance> instance;
    void* handle = nullptr;
};

TEST_F(Talk, MessagesAreFormattedAndDelivered) {
    EXPECT_EQ(messageSuiteV1().message(handle, kOfxMessageWarning, "id", "%d of %s", 3, "four"), kOfxStatOK);
    EXPECT_EQ(messageSuiteV2().message(nullptr, kOfxMessageLog, nullptr, "plain"), kOfxStatOK);
    EXPECT_EQ(messageSuiteV1().message(nullptr, kOfxMessageQuestion, "", "sure?"), kOfxStatReplyNo);
    EXPECT_EQ(messageSuiteV1().message(&heard, kOfxMessageLog, "", "x"), kOfxStatErrBadHandle);
    ASSERT_EQ(heard.size(), 3u);
    EXPECT_EQ(heard[0].text, "3 of four");
    EXPECT_EQ(heard[0].type, kOfxMessageWarning);
    EXPECT_EQ(heard[0].effect, "tests:scripted");
    EXPECT_EQ(heard[1].effect, "");
}

TEST_F(Talk, PersistentMessagesStayUntilCleared) {
    EXPECT_EQ(messageSuiteV2().setPersistentMessage(handle, kOfxMessageError, "", "no %s", "light"), kOfxStatOK);
    EXPECT_EQ(instance->persistentMessage(), "no light");
    EXPECT_EQ(messageSuiteV2().clearPersistentMessage(handle), kOfxStatOK);
    EXPECT_EQ(instance->persistentMessage(), "");
    EXPECT_EQ(messageSuiteV2().setPersistentMessage(nullptr, kOfxMessageError, "", "x"), kOfxStatErrBadHandle);
}

TEST_F(Talk, ProgressRunsOnUntilTheFrameIsToStop) {
    EXPECT_EQ(progressSuiteV1().progressStart(handle, "label"), kOfxStatOK);
    EXPECT_EQ(progressSuiteV2().progressStart(handle, "message", "id"), kOfxStatOK);
    EXPECT_EQ(progressSuiteV2().progressUpdate(handle, 0.5), kOfxStatOK);
    EXPECT_EQ(effectSuite().abort(instance->object().handle()), 0);
    instance->abortRequested = true;
    EXPECT_EQ(progressSuiteV2().progressUpdate(handle, 0.5), kOfxStatReplyNo);
    EXPECT_EQ(effectSuite().abort(instance->object().handle()), 1);
    EXPECT_EQ(progressSuiteV1().progressEnd(handle), kOfxStatOK);
    EXPECT_EQ(progressSuiteV1().progressEnd(nullptr), kOfxStatErrBadHandle);
}

TEST_F(Talk, TheTimelineStandsWhereTheFrameStands) {
    double time = -1.0, first = -1.0, last = -1.0;
    EXPECT_EQ(timeLineSuite().getTime(handle, &time), kOfxStatOK);
    EXPECT_EQ(time, 3.0);
    EXPECT_EQ(timeLineSuite().getTimeBounds(handle, &first, &last), kOfxStatOK);
    EXPECT_EQ(first, 3.0);
    EXPECT_EQ(last, 9.0);
    EXPECT_EQ(timeLineSuite().gotoTime(handle, 4.0), kOfxStatFailed);
    EXPECT_EQ(timeLineSuite().getTime(nullptr, &time), kOfxStatErrBadHandle);
}

TEST(StdoutGuard, SendsStrayOutputToStderrAndKeepsTheRealOneClean) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    {
        StdoutGuard guard;
        std::printf("stray\n");
        std::fprintf(guard.out(), "data\n");
    }
    const std::string out = ::testing::internal::GetCapturedStdout();
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "data\n");
    EXPECT_EQ(err, "stray\n");
}

} // namespace

} // namespace tarnwell
