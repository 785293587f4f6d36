// Two -a jobs on one file used to lose work silently: both read the old file, and the one that
// saved last replaced the other's result. Now each job holds an advisory lock (flock) on the
// file from before it opens it until it has saved; a second job waits for the lock (up to five
// minutes, giving up at once when it is stopped), then opens the file the first one saved.
// Here the host's side holds the lock itself where a test needs to decide the timing.

#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <thread>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::minutes(3), 2048, 256};
constexpr int kPages = 200;

class ConcurrentJobs : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir_.path() / "tmp");
        original_ = linkBook(kPages, 0, 10).bytes();
    }

    std::vector<std::string> job(const std::string& range, const std::string& extra = "") {
        return {PDFA_TOOL, "-a",
                codes("input=" + pathValue(book_.string()) + "|range=" + range + extra)};
    }
    std::map<std::string, std::string> environment() const {
        return environmentFor(dir_.path() / "tmp");
    }

    // The file the jobs for first and then second make, one after the other.
    std::string oneAfterTheOther(const std::string& first, const std::string& second) {
        EXPECT_TRUE(writeBytes(book_, original_));
        expectTextLinkOutcome(runTool(PDFA_TOOL, job(first), environment(), kLimits));
        expectTextLinkOutcome(runTool(PDFA_TOOL, job(second), environment(), kLimits));
        return readBytes(book_);
    }

    // A lock on the file as a job holds it.
    static int lockFile(const fs::path& path) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_GE(fd, 0);
        EXPECT_EQ(::flock(fd, LOCK_EX), 0);
        return fd;
    }

    testsupport::TempDir dir_;
    fs::path book_ = dir_.path() / "book.pdf";
    std::string original_;
};

TEST_F(ConcurrentJobs, TwoJobsOnOneFileKeepBothJobsLinks) {
    const std::string firstHalf = oneAfterTheOther("1-100", "101-200");
    const std::string secondHalf = oneAfterTheOther("101-200", "1-100");
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        ASSERT_TRUE(writeBytes(book_, original_));
        ToolProcess a(PDFA_TOOL, job("1-100"), environment(), kLimits);
        ToolProcess b(PDFA_TOOL, job("101-200"), environment(), kLimits);
        expectTextLinkOutcome(a.wait());
        expectTextLinkOutcome(b.wait());
        const std::string result = readBytes(book_);
        EXPECT_TRUE(result == firstHalf || result == secondHalf)
            << "the file holds the links of one job only";
        EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp"}), std::vector<std::string>());
    }
}

TEST_F(ConcurrentJobs, WaitingJobWorksOnTheFileSavedMeanwhile) {
    const std::string expected = oneAfterTheOther("1-100", "101-200");
    ASSERT_TRUE(writeBytes(book_, original_));
    expectTextLinkOutcome(runTool(PDFA_TOOL, job("1-100"), environment(), kLimits));
    const std::string saved = readBytes(book_);

    // The holder saves as a job does, by renaming a new file over the name, then lets go.
    ASSERT_TRUE(writeBytes(book_, original_));
    const int held = lockFile(book_);
    ToolProcess waiting(PDFA_TOOL, job("101-200"), environment(), kLimits);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_FALSE(waiting.poll()) << "the job did not wait for the lock";
    ASSERT_TRUE(writeBytes(dir_.path() / "new.pdf", saved));
    fs::rename(dir_.path() / "new.pdf", book_);
    ::close(held);
    expectTextLinkOutcome(waiting.wait());
    EXPECT_EQ(readBytes(book_), expected);
}

TEST_F(ConcurrentJobs, StopEndsTheWaitAndLeavesTheFile) {
    ASSERT_TRUE(writeBytes(book_, original_));
    testsupport::HostStopFlag flag(dir_.path() / "tmp", "waiting");
    const int held = lockFile(book_);
    ToolProcess waiting(PDFA_TOOL, job("ALL", "|id=waiting"), environment(), kLimits);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_FALSE(waiting.poll()) << "the job did not wait for the lock";
    flag.set();
    const ToolResult& result = waiting.wait();
    ::close(held);
    expectTextLinkOutcome(result);
    EXPECT_EQ(readBytes(book_), original_);
    std::printf(
        "[figures] a job waiting for the lock ended %.2f s after it started (flag at 0.5 s)\n",
        result.seconds);
}

}  // namespace
