#include "platform/AtomicFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/TempDir.h"

namespace {

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::size_t entryCount(const std::filesystem::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
    return count;
}

// The bytes as one piece.
platform::Status writeWhole(const std::string& path, std::string_view bytes) {
    return platform::writeFileAtomically(
        path, [bytes](const platform::ByteSink& out) { return out(bytes); });
}

}  // namespace

TEST(AtomicFile, ContentThatCannotBeMadeLeavesTheOldFile) {
    testsupport::TempDir dir;
    const std::string path = (dir / "1.xml").string();
    ASSERT_TRUE(writeWhole(path, "old").ok());
    platform::Status status = platform::writeFileAtomically(
        path, [](const platform::ByteSink& out) { return out(std::string(100000, 'x')) && false; });
    EXPECT_FALSE(status.ok());
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(entryCount(dir.path()), 1u);
}

TEST(AtomicFile, WritesANewFile) {
    testsupport::TempDir dir;
    std::string path = dir / "1.xml";
    ASSERT_TRUE(writeWhole(path, std::string("<a>\0b</a>", 9)).ok());
    EXPECT_EQ(readFile(path), std::string("<a>\0b</a>", 9));
    EXPECT_EQ(entryCount(dir.path()), 1u);
}

// As a file the program opened itself would get them, not the private ones of a temporary file.
TEST(AtomicFile, GivesANewFileThePermissionsTheUmaskAllows) {
    testsupport::TempDir dir;
    const mode_t previous = ::umask(027);
    platform::Status written = writeWhole(dir / "1.xml", "new");
    ::umask(previous);
    ASSERT_TRUE(written.ok());
    struct stat info {};
    ASSERT_EQ(::stat((dir / "1.xml").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
}

// Thousands of files in one folder, each through a sibling of its own.
TEST(AtomicFile, ManyFilesInOneFolderLeaveNoSiblings) {
    testsupport::TempDir dir;
    for (int i = 0; i < 2000; ++i) {
        ASSERT_TRUE(writeWhole(dir / (std::to_string(i) + ".xml"), std::to_string(i)).ok()) << i;
    }
    EXPECT_EQ(entryCount(dir.path()), 2000u);
    EXPECT_EQ(readFile(dir / "1999.xml"), "1999");
}

TEST(AtomicFile, ReplacesAnExistingFileKeepingItsPermissions) {
    testsupport::TempDir dir;
    std::string path = dir / "1.xml";
    std::ofstream(path) << "old content that is longer";
    ::chmod(path.c_str(), 0640);
    ASSERT_TRUE(writeWhole(path, "new").ok());
    EXPECT_EQ(readFile(path), "new");
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(entryCount(dir.path()), 1u);
}

TEST(AtomicFile, FailsInAMissingFolder) {
    testsupport::TempDir dir;
    platform::Status status = writeWhole(dir / "no/such/1.xml", "x");
    ASSERT_FALSE(status.ok());
    EXPECT_EQ(status.error().code, platform::Error::Code::System);
    EXPECT_EQ(entryCount(dir.path()), 0u);
}

TEST(AtomicFile, FailsOverAFolderAndLeavesNoTemporaryFile) {
    testsupport::TempDir dir;
    std::filesystem::create_directory(dir / "target");
    std::ofstream(dir / "target" / "inside") << "x";
    EXPECT_FALSE(writeWhole(dir / "target", "x").ok());
    EXPECT_EQ(entryCount(dir.path()), 1u);
    EXPECT_EQ(readFile(dir / "target" / "inside"), "x");
}

// A path without a folder names a file in the working folder, and so does its sibling.
TEST(AtomicFile, WritesAFileNamedWithoutAFolder) {
    testsupport::TempDir dir;
    {
        testsupport::ScopedWorkingFolder working(dir.path());
        ASSERT_TRUE(writeWhole("plain.xml", "text").ok());
    }
    EXPECT_EQ(readFile(dir / "plain.xml"), "text");
    EXPECT_EQ(entryCount(dir.path()), 1u);
}

// The sibling's name is the target's with eight bytes more; a name at the folder's limit lends
// it only what fits.
TEST(AtomicFile, ANameAtTheFoldersLimitIsWritten) {
    testsupport::TempDir dir;
    const long limit = ::pathconf(dir.path().c_str(), _PC_NAME_MAX);
    ASSERT_GT(limit, 8);
    const std::string name(static_cast<std::size_t>(limit), 'n');
    ASSERT_TRUE(writeWhole(dir / name, "long").ok());
    EXPECT_EQ(readFile(dir / name), "long");
    EXPECT_EQ(entryCount(dir.path()), 1u);
}

// Only siblings of the target that no job holds locked go: not a live job's, not another
// target's, not a name of another shape.
TEST(AtomicFile, RemovesTheStaleSiblingsOfItsTargetOnly) {
    testsupport::TempDir dir;
    const std::string target = dir / "book.pdf";
    std::ofstream(target) << "pdf";
    for (const char* name : {".book.pdf.Stale1", ".book.pdf.Live22", ".other.pdf.Stale1",
                             ".book.pdf.Short", "book.pdf.Stale1"}) {
        std::ofstream(dir / name) << name;
    }
    const int live = ::open((dir / ".book.pdf.Live22").c_str(), O_RDONLY);
    ASSERT_GE(live, 0);
    ASSERT_EQ(::flock(live, LOCK_EX), 0);
    platform::removeStaleSiblings(target);
    ::close(live);
    EXPECT_FALSE(std::filesystem::exists(dir / ".book.pdf.Stale1"));
    for (const char* name : {".book.pdf.Live22", ".other.pdf.Stale1", ".book.pdf.Short",
                             "book.pdf.Stale1", "book.pdf"}) {
        EXPECT_TRUE(std::filesystem::exists(dir / name)) << name;
    }
}
