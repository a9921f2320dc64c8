// The output table through the bundle: when the file is read, when it is read again, and when it is left alone.
#include "tests/bundle/bundle_frame.h"
#include "tests/bundle/sanitizers.h"
#include "tests/bundle/table_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace velloid::test;

namespace {

constexpr Size SMALL{24, 16};

class OutputTable : public testing::Test {
protected:
    void SetUp() override { host.start(); }

    Host host;
};

// How often a file has been opened.
class Opens {
public:
    explicit Opens(const std::string& path) : fd_(inotify_init1(IN_NONBLOCK)) {
        EXPECT_GE(inotify_add_watch(fd_, path.c_str(), IN_OPEN), 0) << path;
    }
    ~Opens() { close(fd_); }
    Opens(const Opens&) = delete;
    Opens& operator=(const Opens&) = delete;

    // Since the last time that this was asked.
    int count() const {
        alignas(inotify_event) std::array<char, 4096> events;
        const ssize_t n = read(fd_, events.data(), events.size());
        return n <= 0 ? 0 : static_cast<int>(n / static_cast<ssize_t>(sizeof(inotify_event)));
    }

private:
    int fd_;
};

// Writes another table into the same file, then gives it back the times that it had: nothing that stat shows differs
// but the time of the change, which no program can set.
void changeUnseen(TableFile& table, double gain) {
    struct stat before {};
    ASSERT_EQ(stat(table.path().c_str(), &before), 0);
    table.write(gain);
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, table.path().c_str(), times, 0), 0);
    struct stat after {};
    ASSERT_EQ(stat(table.path().c_str(), &after), 0);
    ASSERT_EQ(after.st_ino, before.st_ino);
    ASSERT_EQ(after.st_size, before.st_size);
    ASSERT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    ASSERT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

// Lets this process open no further file while it lives; what is open stays.
class NoMoreFiles {
public:
    NoMoreFiles() {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
        const int next = dup(0); // the lowest that is free
        EXPECT_GE(next, 0);
        close(next);
        rlimit none = before_;
        none.rlim_cur = static_cast<rlim_t>(next);
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        EXPECT_EQ(open("/dev/null", O_RDONLY), -1);
    }
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;

private:
    rlimit before_{};
};

} // namespace

TEST_F(OutputTable, IsReadOnceAndAgainAfterPurgeOrUnload) {
    TableFile table("again.cube", 0.25);
    Instance instance(host);
    instance.allOff().set("outputLutPath", table.path());
    const Opens opens(table.path());
    const std::uint64_t first = instance.frame(streetOf(SMALL)).hash();
    EXPECT_EQ(opens.count(), 1);
    changeUnseen(table, 0.75);
    opens.count(); // the writing
    EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), first) << "kept from the first frame";
    EXPECT_EQ(opens.count(), 0);

    EXPECT_EQ(host.purge(), kOfxStatOK);
    const std::uint64_t second = instance.frame(streetOf(SMALL)).hash();
    EXPECT_EQ(opens.count(), 1);
    EXPECT_NE(second, first) << "the file has changed and was read again";

    changeUnseen(table, 0.25);
    EXPECT_EQ(host.unload(), kOfxStatOK);
    EXPECT_EQ(host.load(), kOfxStatOK);
    EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), first);
}

TEST_F(OutputTable, IsNotReadAtStrengthZero) {
    const TableFile table("zero.cube", 0.5);
    Instance instance(host);
    instance.allOff().set("blackWhite", 1.0);
    const std::uint64_t without = instance.frame(streetOf(SMALL)).hash();
    instance.set("outputLutPath", table.path());
    const Opens opens(table.path());
    for (const double off : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        instance.set("outputLutStrength", off);
        EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), without) << off;
        EXPECT_EQ(opens.count(), 0) << off;
    }
    instance.set("outputLutStrength", 1e-3);
    instance.frame(streetOf(SMALL));
    EXPECT_EQ(opens.count(), 1);
}

TEST_F(OutputTable, AtStrengthZeroLeavesAFrameWithoutEffectsUntouched) {
    const TableFile table("copy.cube", 0.5);
    Instance instance(host);
    instance.allOff().set("outputLutPath", table.path()).set("outputLutStrength", 0.0);
    Picture source = streetOf(SMALL);
    source.at(3, 3, 0) = std::numeric_limits<float>::quiet_NaN(); // a copy keeps it, the chain does not
    EXPECT_EQ(instance.frame(source).hash(), source.hash());
}

TEST_F(OutputTable, IsReadAtTheNextFrameWhenThereWasNoDescriptorForIt) {
    if (UNDEFINED_SANITIZER) GTEST_SKIP() << "the sanitizer needs descriptors itself, to look at an object's type";
    const TableFile table("later.cube", 0.5);
    Instance instance(host);
    instance.everything();
    const std::uint64_t without = instance.frame(streetOf(SMALL)).hash(); // workers and tables are there
    instance.set("outputLutPath", table.path());
    {
        const NoMoreFiles none;
        EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), without);
        EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), without);
    }
    const std::uint64_t with = instance.frame(streetOf(SMALL)).hash();
    EXPECT_NE(with, without) << "the table is applied once it can be read";
    Instance other(host);
    other.everything().set("outputLutPath", table.path());
    EXPECT_EQ(other.frame(streetOf(SMALL)).hash(), with);
}

// A file that was read and is no table is not read again before it changes.
TEST_F(OutputTable, ThatIsNoneIsReadOnce) {
    TableFile table("broken.cube", 0.5);
    ASSERT_EQ(truncate(table.path().c_str(), 30), 0);
    Instance instance(host);
    instance.allOff().set("blackWhite", 1.0);
    const std::uint64_t without = instance.frame(streetOf(SMALL)).hash();
    instance.set("outputLutPath", table.path());
    const Opens opens(table.path());
    EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), without);
    EXPECT_EQ(opens.count(), 1);
    EXPECT_EQ(instance.frame(streetOf(SMALL)).hash(), without);
    EXPECT_EQ(opens.count(), 0);
}
