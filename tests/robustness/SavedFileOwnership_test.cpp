// -a replaces its input with a new file; the new file must belong to whoever the old one did.
// A job run by root used to hand a nobody:nogroup 0640 file to root, and split a file with two
// names (the other name kept the old content). Now owner, group and mode are kept, and a file
// with several names is left as it was: no name of it changes, and nothing is left beside it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::seconds(60), 2048, 64};
constexpr uid_t kNobody = 65534;
constexpr gid_t kNogroup = 65534;

class SavedFileOwnership : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir_.path() / "tmp");
        original_ = linkBook(3).bytes();
        ASSERT_TRUE(writeBytes(book_, original_));
    }

    ToolResult addLinks() {
        return runTool(PDFA_TOOL, textLinkArguments(book_), environmentFor(dir_.path() / "tmp"),
                       kLimits);
    }

    static struct stat statusOf(const fs::path& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status;
    }

    testsupport::TempDir dir_;
    fs::path book_ = dir_.path() / "book.pdf";
    std::string original_;
};

TEST_F(SavedFileOwnership, OwnerGroupAndModeAreKept) {
    if (::geteuid() != 0) GTEST_SKIP() << "giving a file to another user needs root";
    ASSERT_EQ(::chown(book_.c_str(), kNobody, kNogroup), 0);
    ASSERT_EQ(::chmod(book_.c_str(), 0640), 0);
    expectTextLinkOutcome(addLinks());
    EXPECT_NE(readBytes(book_), original_) << "the job added no links";
    const struct stat after = statusOf(book_);
    EXPECT_EQ(after.st_uid, kNobody);
    EXPECT_EQ(after.st_gid, kNogroup);
    EXPECT_EQ(after.st_mode & 07777, 0640u);
    EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp"}), std::vector<std::string>());
}

TEST_F(SavedFileOwnership, UnusualModeIsKept) {
    ASSERT_EQ(::chmod(book_.c_str(), 0604), 0);
    expectTextLinkOutcome(addLinks());
    EXPECT_NE(readBytes(book_), original_);
    EXPECT_EQ(statusOf(book_).st_mode & 07777, 0604u);
}

TEST_F(SavedFileOwnership, FileWithSeveralNamesIsLeftAsItWas) {
    const fs::path other = dir_.path() / "other.pdf";
    fs::create_hard_link(book_, other);
    const struct stat before = statusOf(book_);
    expectTextLinkOutcome(addLinks());
    EXPECT_EQ(readBytes(book_), original_);
    EXPECT_EQ(readBytes(other), original_);
    const struct stat after = statusOf(book_);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_nlink, 2u);
    EXPECT_EQ(statusOf(other).st_ino, before.st_ino);
    EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "other.pdf", "tmp"}),
              std::vector<std::string>());
}

}  // namespace
