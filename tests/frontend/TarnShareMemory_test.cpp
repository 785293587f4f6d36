#include "frontend/TarnShareMemory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using frontend::get_shm_stop_flag;
using frontend::shareMemoryAlloc;
using frontend::shareMemoryFree;
using testsupport::HostStopFlag;

// Every test gets its own temporary directory and leaves no region mapped.
class TarnShareMemory : public testing::Test {
protected:
    ~TarnShareMemory() override { shareMemoryFree(); }

    testsupport::TempDir dir_;
    testsupport::ScopedTemporaryDirectory tmpdir_{dir_.path()};
};

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST_F(TarnShareMemory, WithoutIdentifierEveryPollGivesZero) {
    shareMemoryAlloc(static_cast<const char*>(nullptr));
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    shareMemoryAlloc(std::optional<std::string>());
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    EXPECT_TRUE(fs::is_empty(dir_.path()));
}

TEST_F(TarnShareMemory, CreatesTheFlagFileOfTheIdentifier) {
    shareMemoryAlloc("job-7");
    ASSERT_NE(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "Tarn_job-7");
    const fs::path file = dir_ / "Tarn_job-7";
    EXPECT_EQ(fs::file_size(file), 800u);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(get_shm_stop_flag(1), 0);
}

TEST_F(TarnShareMemory, SeesTheHostSetAndClearFlagOne) {
    HostStopFlag host(dir_.path(), "42");
    shareMemoryAlloc("42");
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    host.set();
    EXPECT_EQ(get_shm_stop_flag(1), 1);
    host.clear();
    EXPECT_EQ(get_shm_stop_flag(1), 0);
}

TEST_F(TarnShareMemory, TheJobsFlagHearsAStopSetBeforeItsFirstPoll) {
    HostStopFlag host(dir_.path(), "42");
    host.set();
    shareMemoryAlloc("42");
    EXPECT_TRUE(frontend::TarnStopFlag().isSet());
}

// The jobs' flag over a flag file the host made, and a time to poll it at.
class JobsStopFlag : public TarnShareMemory {
protected:
    using Clock = frontend::TarnStopFlag::Clock;
    void SetUp() override { shareMemoryAlloc("42"); }

    HostStopFlag host_{dir_.path(), "42"};
    const frontend::TarnStopFlag stop_;
    const Clock::time_point start_ = Clock::now();
};

// Between reads of the file the last answer holds, so a flag set or cleared within
// kFreshFor of a read shows at the first poll after it.
TEST_F(JobsStopFlag, ReadsTheFileAgainOnceItsLastAnswerIsOld) {
    const auto fresh = frontend::TarnStopFlag::kFreshFor;
    EXPECT_FALSE(stop_.isSetAt(start_));
    host_.set();
    EXPECT_FALSE(stop_.isSetAt(start_ + fresh / 2));
    EXPECT_FALSE(stop_.isSetAt(start_ + fresh - std::chrono::nanoseconds(1)));
    EXPECT_TRUE(stop_.isSetAt(start_ + fresh));
    host_.clear();
    EXPECT_TRUE(stop_.isSetAt(start_ + fresh + fresh / 2));
    EXPECT_FALSE(stop_.isSetAt(start_ + 2 * fresh));
}

TEST_F(JobsStopFlag, AStaleMarkMakesTheNextPollReadTheFile) {
    EXPECT_FALSE(stop_.isSetAt(start_));
    host_.set();
    frontend::markStopFlagStale();
    EXPECT_TRUE(stop_.isSetAt(start_));
    host_.clear();
    EXPECT_TRUE(stop_.isSetAt(start_));
    frontend::markStopFlagStale();
    EXPECT_FALSE(stop_.isSetAt(start_));
}

TEST_F(TarnShareMemory, ANewFlagFileIsReadAtTheFirstPoll) {
    using frontend::TarnStopFlag;
    HostStopFlag first(dir_.path(), "first");
    HostStopFlag second(dir_.path(), "second");
    second.set();
    const TarnStopFlag::Clock::time_point start = TarnStopFlag::Clock::now();
    shareMemoryAlloc("first");
    EXPECT_FALSE(TarnStopFlag().isSetAt(start));
    shareMemoryFree();
    shareMemoryAlloc("second");
    EXPECT_TRUE(TarnStopFlag().isSetAt(start));
}

TEST_F(TarnShareMemory, AnyNonZeroByteCountsAsSet) {
    HostStopFlag host(dir_.path(), "42");
    shareMemoryAlloc("42");
    host.write(1, 0xFF);
    EXPECT_EQ(get_shm_stop_flag(1), 1);
    host.write(2, 7);
    EXPECT_EQ(get_shm_stop_flag(2), 1);
    EXPECT_EQ(get_shm_stop_flag(0), 0);
}

TEST_F(TarnShareMemory, IndexesOutsideTheSixteenFlagsGiveZero) {
    HostStopFlag host(dir_.path(), "42");
    host.set(15);
    host.set(16);
    shareMemoryAlloc("42");
    EXPECT_EQ(get_shm_stop_flag(15), 1);
    EXPECT_EQ(get_shm_stop_flag(16), 0);
    EXPECT_EQ(get_shm_stop_flag(799), 0);
    EXPECT_EQ(get_shm_stop_flag(-1), 0);
}

TEST_F(TarnShareMemory, ReusesAnExistingFileAndSeesAnEarlyStopAtTheFirstPoll) {
    HostStopFlag host(dir_.path(), "early", 10);
    host.set();
    shareMemoryAlloc("early");
    EXPECT_EQ(get_shm_stop_flag(1), 1);
    EXPECT_EQ(fs::file_size(host.path()), 800u);
}

TEST_F(TarnShareMemory, AfterFreeEveryPollGivesZeroAndTheFileStays) {
    HostStopFlag host(dir_.path(), "done");
    host.set();
    shareMemoryAlloc("done");
    ASSERT_EQ(get_shm_stop_flag(1), 1);
    shareMemoryFree();
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    EXPECT_TRUE(fs::exists(host.path()));
    EXPECT_EQ(host.read(1), 1);
}

TEST_F(TarnShareMemory, TheFlagBytesAreAllocatedOnTheDisk) {
    HostStopFlag host(dir_.path(), "sparse", 0);
    shareMemoryAlloc("sparse");
    ASSERT_NE(frontend::gShareMemoryFile, -1);
    struct stat info {};
    ASSERT_EQ(::stat(host.path().c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 800);
    EXPECT_GE(info.st_blocks * 512, 800);
}

TEST_F(TarnShareMemory, AFileTheHostCutsShortHoldsNoStopUntilItIsWrittenAgain) {
    HostStopFlag host(dir_.path(), "reused");
    host.set();
    shareMemoryAlloc("reused");
    ASSERT_EQ(get_shm_stop_flag(1), 1);
    fs::resize_file(host.path(), 0);
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    EXPECT_EQ(get_shm_stop_flag(0), 0);
    fs::resize_file(host.path(), 800);
    EXPECT_EQ(get_shm_stop_flag(1), 0);
    host.set();
    EXPECT_EQ(get_shm_stop_flag(1), 1);
}

TEST_F(TarnShareMemory, FreeWithoutRegionDoesNothing) {
    shareMemoryFree();
    shareMemoryFree();
    EXPECT_EQ(get_shm_stop_flag(1), 0);
}

TEST_F(TarnShareMemory, IdentifiersThatAreNotPlainNamesOpenNothing) {
    fs::create_directory(dir_ / "Tarn_sub");
    const std::string refused[] = {"sub/x", "/etc/passwd", ".", "..", std::string("a\0b", 3)};
    for (const std::string& identifier : refused) {
        SCOPED_TRACE(identifier);
        shareMemoryAlloc(std::optional<std::string>(identifier));
        EXPECT_EQ(frontend::gShareMemoryFile, -1);
        EXPECT_STREQ(frontend::share_memory_name, "");
    }
    EXPECT_TRUE(fs::is_empty(dir_ / "Tarn_sub"));
    EXPECT_FALSE(fs::exists(dir_ / "Tarn_a"));
}

TEST_F(TarnShareMemory, NeverFollowsASymbolicLink) {
    const fs::path target = dir_ / "precious";
    std::ofstream(target) << "keep me";
    fs::create_symlink(target, dir_ / "Tarn_link");
    shareMemoryAlloc("link");
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
    EXPECT_EQ(contentOf(target), "keep me");
    EXPECT_TRUE(fs::is_symlink(dir_ / "Tarn_link"));
}

TEST_F(TarnShareMemory, RefusesAFileWithAnotherLink) {
    const fs::path target = dir_ / "precious";
    std::ofstream(target) << "keep me";
    fs::create_hard_link(target, dir_ / "Tarn_hard");
    shareMemoryAlloc("hard");
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_EQ(contentOf(target), "keep me");
}

TEST_F(TarnShareMemory, RefusesWhatIsNotARegularFile) {
    fs::create_directory(dir_ / "Tarn_folder");
    ASSERT_EQ(::mkfifo((dir_ / "Tarn_fifo").c_str(), 0600), 0);
    shareMemoryAlloc("folder");
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    shareMemoryAlloc("fifo");
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
}

TEST_F(TarnShareMemory, MissingTemporaryDirectoryOpensNothing) {
    testsupport::ScopedTemporaryDirectory missing(dir_ / "not-there");
    shareMemoryAlloc("x");
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
    EXPECT_EQ(get_shm_stop_flag(1), 0);
}

TEST_F(TarnShareMemory, TemporaryDirectoryWithTrailingSlashIsJoinedOnce) {
    testsupport::ScopedTemporaryDirectory slash(dir_.path().string() + "/");
    shareMemoryAlloc("s");
    EXPECT_NE(frontend::gShareMemoryFile, -1);
    EXPECT_TRUE(fs::exists(dir_ / "Tarn_s"));
}

TEST_F(TarnShareMemory, OverlongNameIsCutToTheBufferAndThenRefusedByTheFileSystem) {
    shareMemoryAlloc(std::string(2000, 'n').c_str());
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_STREQ(frontend::share_memory_name, "");
}

}  // namespace
