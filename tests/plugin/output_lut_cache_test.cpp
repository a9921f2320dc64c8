#include "plugin/output_lut_cache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velloid {
namespace {

namespace fs = std::filesystem;

std::string tableText(float first) {
    std::string text = "LUT_3D_SIZE 2\n" + std::to_string(first) + " 0 0\n";
    for (int i = 0; i < 7; ++i)
        text += "0 0 0\n";
    return text;
}

// An empty cache, a folder of its own, and a reader that counts.
class OutputLutCache : public testing::Test {
protected:
    void SetUp() override {
        clearOutputLutCache();
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder = fs::path(testing::TempDir()) / ("tarnwell_cache_" + std::to_string(::getpid()) + "_" + test->name());
        fs::create_directories(folder);
    }
    void TearDown() override {
        clearOutputLutCache();
        fs::remove_all(folder);
    }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    // The i-th of several files; its first entry is red i.
    std::string writeNumbered(int i) const {
        std::string name = std::to_string(i);
        name += ".cube";
        return write(name, tableText(static_cast<float>(i)));
    }

    std::shared_ptr<const LUT3D> load(const std::string& file) {
        return loadCachedOutputLut(file, [this](const char* p, LUT3D& out, CubeError& error) {
            ++reads;
            return loadCubeLut(p, out, &error);
        });
    }

    // Gives the file this modification time, in nanoseconds of one far-off second.
    static void setTime(const std::string& file, long nanoseconds) {
        const timespec times[2] = {{1000000000, nanoseconds}, {1000000000, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }

    fs::path folder;
    std::atomic<int> reads{0};
};

TEST_F(OutputLutCache, ReadsAFileOnceAndHandsOutTheSameTable) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto first = load(file);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->size, 2);
    EXPECT_EQ(load(file), first);
    EXPECT_EQ(load(file), first);
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(gLutCache.size(), 1u);
    EXPECT_EQ(gLutCache.at(file).lastUse, 3u) << "stamped by the insertion and by both hits";
    EXPECT_EQ(gLutCacheGeneration, 3u);
}

TEST_F(OutputLutCache, IsWhatThePublicFunctionUses) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto lut = loadCachedOutputLut(file);
    ASSERT_NE(lut, nullptr);
    EXPECT_FLOAT_EQ(lut->data[0].r, 0.5f);
    EXPECT_EQ(load(file), lut);
    EXPECT_EQ(reads, 0);
}

TEST_F(OutputLutCache, RemembersTheFingerprint) {
    const std::string file = write("a.cube", tableText(0.5f));
    setTime(file, 123456789);
    load(file);
    struct stat info;
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    const LutCacheEntry& entry = gLutCache.at(file);
    EXPECT_EQ(entry.device, static_cast<std::int32_t>(info.st_dev));
    EXPECT_EQ(entry.inode, info.st_ino);
    EXPECT_EQ(entry.size, static_cast<std::int64_t>(tableText(0.5f).size()));
    EXPECT_EQ(entry.modifiedSeconds, 1000000000);
    EXPECT_EQ(entry.modifiedNanoseconds, 123456789);
}

TEST_F(OutputLutCache, ReadsATouchedFileAgain) {
    const std::string file = write("a.cube", tableText(0.5f));
    setTime(file, 1);
    const auto first = load(file);
    setTime(file, 2);
    const auto second = load(file);
    EXPECT_EQ(reads, 2);
    EXPECT_NE(second, first);
    EXPECT_EQ(gLutCache.size(), 1u);
    EXPECT_EQ(load(file), second);
    EXPECT_EQ(reads, 2);
}

TEST_F(OutputLutCache, ReadsAReplacedFileAgain) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto first = load(file);
    write("a.cube", tableText(0.25f) + "# longer\n");
    const auto second = load(file);
    ASSERT_NE(second, nullptr);
    EXPECT_FLOAT_EQ(second->data[0].r, 0.25f);
    EXPECT_FLOAT_EQ(first->data[0].r, 0.5f) << "a table that was handed out stays as it is";
    EXPECT_NE(first->id, second->id);
}

TEST_F(OutputLutCache, TellsFilesOfEqualSizeAndTimeApartByTheInode) {
    const std::string file = write("a.cube", tableText(0.5f));
    const std::string other = write("b.cube", tableText(0.7f));
    setTime(file, 7);
    setTime(other, 7);
    const auto first = load(file);
    ASSERT_EQ(fs::file_size(file), fs::file_size(other));
    fs::rename(other, file);
    const auto second = load(file);
    EXPECT_EQ(reads, 2);
    ASSERT_NE(second, nullptr);
    EXPECT_FLOAT_EQ(second->data[0].r, 0.7f);
}

TEST_F(OutputLutCache, ReadsAFileThatIsNoTableOnce) {
    const std::string file = write("bad.cube", "no table\n");
    EXPECT_EQ(load(file), nullptr);
    EXPECT_EQ(load(file), nullptr);
    EXPECT_EQ(load(file), nullptr);
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(gLutCache.size(), 1u);
    EXPECT_EQ(gLutCache.at(file).lastUse, 3u);
    write("bad.cube", tableText(1.f));
    EXPECT_NE(load(file), nullptr) << "mended, so it has another fingerprint";
    EXPECT_EQ(reads, 2);
}

TEST_F(OutputLutCache, ForgetsAPathThatIsNoFileAnyMore) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto held = load(file);
    fs::remove(file);
    EXPECT_EQ(load(file), nullptr);
    EXPECT_EQ(gLutCache.size(), 0u);
    EXPECT_EQ(held->size, 2);
}

TEST_F(OutputLutCache, ForgetsAPathThatBecameAFolder) {
    const std::string file = write("a.cube", tableText(0.5f));
    load(file);
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_EQ(load(file), nullptr);
    EXPECT_EQ(gLutCache.count(file), 0u);
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(load(""), nullptr);
    EXPECT_EQ(load(folder.string()), nullptr);
}

TEST_F(OutputLutCache, KeepsTheSixteenTablesUsedLast) {
    std::vector<std::string> files;
    for (int i = 0; i < 17; ++i) {
        files.push_back(writeNumbered(i));
        load(files.back());
        if (i == 15) load(files[0]); // used again, so the second file is the oldest when the seventeenth comes
    }
    EXPECT_EQ(gLutCache.size(), 16u);
    EXPECT_EQ(gLutCache.count(files[0]), 1u);
    EXPECT_EQ(gLutCache.count(files[1]), 0u);
    EXPECT_EQ(gLutCache.count(files[16]), 1u);
    EXPECT_EQ(reads, 17);
    load(files[1]);
    EXPECT_EQ(reads, 18);
    EXPECT_EQ(gLutCache.size(), 16u);
    EXPECT_EQ(gLutCache.count(files[2]), 0u);
}

TEST_F(OutputLutCache, KeepsNothingAfterAClear) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto held = load(file);
    load(file);
    clearOutputLutCache();
    EXPECT_EQ(gLutCache.size(), 0u);
    EXPECT_EQ(gLutCacheGeneration, 0u);
    EXPECT_EQ(held->size, 2);
    EXPECT_NE(load(file), held);
    EXPECT_EQ(gLutCache.at(file).lastUse, 1u);
}

// A file that changes while it is read gets a second chance, and no third.
TEST_F(OutputLutCache, TriesAFileThatChangesUnderTheReaderTwice) {
    const std::string file = write("a.cube", tableText(0.5f));
    setTime(file, 1);
    int calls = 0;
    const auto once = loadCachedOutputLut(file, [&](const char* p, LUT3D& out, CubeError& error) {
        const bool good = loadCubeLut(p, out, &error);
        if (++calls == 1) setTime(file, 2);
        return good;
    });
    EXPECT_EQ(calls, 2);
    EXPECT_NE(once, nullptr);
    EXPECT_EQ(gLutCache.at(file).modifiedNanoseconds, 2);

    clearOutputLutCache();
    calls = 0;
    const auto always = loadCachedOutputLut(file, [&](const char* p, LUT3D& out, CubeError& error) {
        setTime(file, 10 + ++calls);
        return loadCubeLut(p, out, &error);
    });
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(always, nullptr);
    EXPECT_EQ(gLutCache.size(), 0u) << "nothing is known of a file that does not hold still";
}

TEST_F(OutputLutCache, ReturnsNothingForAFileThatGoesAwayUnderTheReader) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto lut = loadCachedOutputLut(file, [&](const char* p, LUT3D& out, CubeError& error) {
        const bool good = loadCubeLut(p, out, &error);
        fs::remove(file);
        return good;
    });
    EXPECT_EQ(lut, nullptr);
    EXPECT_EQ(gLutCache.size(), 0u);
}

// Another caller finished first: its table is adopted and the own one dropped.
TEST_F(OutputLutCache, AdoptsTheTableThatAnotherCallerStoredMeanwhile) {
    const std::string file = write("a.cube", tableText(0.5f));
    std::shared_ptr<const LUT3D> other;
    const auto lut = loadCachedOutputLut(file, [&](const char* p, LUT3D& out, CubeError& error) {
        other = loadCachedOutputLut(file); // possible only because no lock is held while a file is read
        return loadCubeLut(p, out, &error);
    });
    EXPECT_NE(other, nullptr);
    EXPECT_EQ(lut, other);
    EXPECT_EQ(gLutCache.at(file).lastUse, 2u);
}

// No descriptors left, a share that is away for a moment: such a file is tried again, one that is no table is not.
TEST_F(OutputLutCache, TriesAFileThatCouldNotBeReadAgain) {
    const std::string file = write("a.cube", tableText(0.5f));
    const auto refused = loadCachedOutputLut(file, [](const char*, LUT3D&, CubeError& error) {
        error.unread = true;
        return false;
    });
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(gLutCache.size(), 0u);
    EXPECT_NE(load(file), nullptr);
    EXPECT_EQ(reads, 1);
}

TEST_F(OutputLutCache, StoresNothingWhenTheReaderThrows) {
    const std::string file = write("a.cube", tableText(0.5f));
    EXPECT_THROW(loadCachedOutputLut(file, [](const char*, LUT3D&, CubeError&) -> bool { throw std::bad_alloc(); }),
                 std::bad_alloc);
    EXPECT_EQ(gLutCache.size(), 0u);
    EXPECT_NE(load(file), nullptr) << "the lock is free";
}

TEST_F(OutputLutCache, GivesSixteenThreadsOneTableEach) {
    constexpr int THREADS = 16, ROUNDS = 40, FILES = 20;
    std::vector<std::string> files;
    for (int i = 0; i < FILES; ++i)
        files.push_back(writeNumbered(i));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < ROUNDS; ++round) {
                const int i = (t * 7 + round * 3) % FILES;
                const auto lut = load(files[static_cast<std::size_t>(i)]);
                if (!lut || lut->data.size() != 8 || lut->data[0].r != static_cast<float>(i)) ++wrong;
                if (t == 0 && round == ROUNDS / 2) clearOutputLutCache();
            }
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(gLutCache.size(), 16u);
}

// All start on the same new file: each may read it, but all leave with the table that was stored.
TEST_F(OutputLutCache, GivesThreadsThatStartTogetherTheSameTable) {
    const std::string file = write("a.cube", tableText(0.5f));
    std::vector<std::shared_ptr<const LUT3D>> got(16);
    std::vector<std::thread> threads;
    for (auto& g : got)
        threads.emplace_back([&] { g = load(file); });
    for (std::thread& t : threads)
        t.join();
    for (const auto& g : got)
        EXPECT_EQ(g, got[0]);
    EXPECT_NE(got[0], nullptr);
    EXPECT_GE(reads, 1);
}

} // namespace
} // namespace velloid
