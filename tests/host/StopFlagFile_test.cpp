#include "host/StopFlagFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "frontend/TarnShareMemory.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace host {
namespace {

namespace fs = std::filesystem;

std::string fileBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

class StopFlagFileTest : public ::testing::Test {
protected:
    testsupport::TempDir tmp;
    testsupport::ScopedTemporaryDirectory scoped{tmp.path()};
};

TEST_F(StopFlagFileTest, CreatesEightHundredZeroBytesForTheOwnerOnly) {
    auto flag = StopFlagFile::create("job7");
    ASSERT_TRUE(flag) << flag.error().message;
    EXPECT_EQ((*flag)->path(), (tmp.path() / "Tarn_job7").string());
    EXPECT_EQ(fileBytes(tmp.path() / "Tarn_job7"), std::string(800, '\0'));
    struct stat info {};
    ASSERT_EQ(::stat((*flag)->path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_FALSE((*flag)->isRaised());
}

TEST_F(StopFlagFileTest, TheBytesAreAllocatedOnTheDisk) {
    auto flag = StopFlagFile::create("sparse");
    ASSERT_TRUE(flag);
    struct stat info {};
    ASSERT_EQ(::stat((*flag)->path().c_str(), &info), 0);
    EXPECT_GE(info.st_blocks * 512, 800);
}

TEST_F(StopFlagFileTest, AFileCutShortIsNotRaisedAndCanBeRaisedAgain) {
    auto flag = StopFlagFile::create("cut");
    ASSERT_TRUE(flag);
    (*flag)->raise();
    fs::resize_file((*flag)->path(), 0);
    EXPECT_FALSE((*flag)->isRaised());
    (*flag)->raise();
    EXPECT_TRUE((*flag)->isRaised());
    EXPECT_EQ(fileBytes((*flag)->path()), std::string("\0\1", 2));
}

TEST_F(StopFlagFileTest, RaiseSetsByteOneAndClearResetsIt) {
    auto flag = StopFlagFile::create("job7");
    ASSERT_TRUE(flag);
    (*flag)->raise();
    std::string expected(800, '\0');
    expected[1] = 1;
    EXPECT_EQ(fileBytes(tmp.path() / "Tarn_job7"), expected);
    EXPECT_TRUE((*flag)->isRaised());
    (*flag)->clear();
    EXPECT_EQ(fileBytes(tmp.path() / "Tarn_job7"), std::string(800, '\0'));
    EXPECT_FALSE((*flag)->isRaised());
}

TEST_F(StopFlagFileTest, TheWorkersReaderSeesTheRaise) {
    auto flag = StopFlagFile::create("job8");
    ASSERT_TRUE(flag);
    frontend::shareMemoryAlloc("job8");
    EXPECT_EQ(frontend::get_shm_stop_flag(1), 0);
    (*flag)->raise();
    EXPECT_EQ(frontend::get_shm_stop_flag(1), 1);
    (*flag)->clear();
    EXPECT_EQ(frontend::get_shm_stop_flag(1), 0);
    frontend::shareMemoryFree();
}

TEST_F(StopFlagFileTest, TakesOverAFileLeftBehindAndClearsIt) {
    testsupport::HostStopFlag old(tmp.path(), "job9", 20);
    old.set();
    auto flag = StopFlagFile::create("job9");
    ASSERT_TRUE(flag);
    EXPECT_FALSE((*flag)->isRaised());
    EXPECT_EQ(fileBytes(tmp.path() / "Tarn_job9"), std::string(800, '\0'));
}

TEST_F(StopFlagFileTest, TheCreatorRemovesTheFile) {
    {
        auto flag = StopFlagFile::create("job10");
        ASSERT_TRUE(flag);
        EXPECT_TRUE(fs::exists(tmp.path() / "Tarn_job10"));
    }
    EXPECT_FALSE(fs::exists(tmp.path() / "Tarn_job10"));
}

TEST_F(StopFlagFileTest, OpenRaisesAnotherHostsFlagAndLeavesTheFile) {
    testsupport::HostStopFlag running(tmp.path(), "job11");
    {
        auto flag = StopFlagFile::open("job11");
        ASSERT_TRUE(flag) << flag.error().message;
        (*flag)->raise();
    }
    EXPECT_EQ(running.read(1), 1);
    EXPECT_TRUE(fs::exists(tmp.path() / "Tarn_job11"));
}

TEST_F(StopFlagFileTest, OpenWithoutAFileSaysNoJobRunsUnderTheIdentifier) {
    auto flag = StopFlagFile::open("nothing");
    ASSERT_FALSE(flag);
    EXPECT_EQ(flag.error().code, platform::Error::Code::Argument);
    EXPECT_EQ(flag.error().message, "no job runs under the identifier \"nothing\"");
}

TEST_F(StopFlagFileTest, RefusesIdentifiersThatCannotNameTheFile) {
    for (const char* identifier : {"", ".", "..", "a/b", "a|b", "a=b"}) {
        SCOPED_TRACE(identifier);
        EXPECT_FALSE(isUsableIdentifier(identifier));
        auto flag = StopFlagFile::create(identifier);
        ASSERT_FALSE(flag);
        EXPECT_EQ(flag.error().message,
                  "\"" + std::string(identifier) + "\" cannot identify a job");
    }
    EXPECT_FALSE(isUsableIdentifier(std::string("a\0b", 3)));
    EXPECT_TRUE(isUsableIdentifier("host-12_x.y"));
}

TEST_F(StopFlagFileTest, RefusesASymbolicLinkInItsPlace) {
    std::ofstream(tmp.path() / "target").put('x');
    fs::create_symlink(tmp.path() / "target", tmp.path() / "Tarn_link");
    EXPECT_FALSE(StopFlagFile::create("link"));
    EXPECT_FALSE(StopFlagFile::open("link"));
    EXPECT_EQ(fileBytes(tmp.path() / "target"), "x");
}

}  // namespace
}  // namespace host
