// Signals that end an -a job from outside, and what they used to leave: SIGTERM, SIGINT and
// SIGHUP while the hidden sibling ".book.pdf.XXXXXX" was written left it behind (2 to 4 MB);
// a file-size limit ended the job with SIGXFSZ beside a partial sibling; SIGKILL leaves one that
// nothing could remove. Now TERM, INT and HUP remove the sibling and end the job as a stop does
// (it ends by itself, status 0); a write past the file-size limit is a failed save that leaves the
// input as it was; and the next job on the file removes the siblings killed jobs left, but no
// file that is not one of ours or that a live job holds.

#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::minutes(3), 2048, 256};

// A sibling of book.pdf as the tool names them.
bool isSiblingOfBook(const std::string& name) {
    return name.size() == std::string(".book.pdf.XXXXXX").size() &&
           name.rfind(".book.pdf.", 0) == 0;
}

class Signals : public testing::Test {
protected:
    void SetUp() override {
        original_ = linkBook(200, 0, 40).bytes();
        fs::create_directories(dir_.path() / "tmp");
        ASSERT_TRUE(writeBytes(book_, original_));
    }

    ToolResult addLinks(Limits limits = kLimits) {
        return runTool(PDFA_TOOL, textLinkArguments(book_), environmentFor(dir_.path() / "tmp"),
                       limits);
    }

    // Starts -a on the book and waits until its sibling appears; false when the job ended first.
    bool startAndWaitForSibling(std::unique_ptr<ToolProcess>& job) {
        job = std::make_unique<ToolProcess>(PDFA_TOOL, textLinkArguments(book_),
                                            environmentFor(dir_.path() / "tmp"), kLimits);
        while (!job->poll(1)) {
            for (const std::string& name : strayNames(dir_.path(), {"book.pdf", "tmp"})) {
                if (isSiblingOfBook(name)) return true;
            }
        }
        return false;
    }

    testsupport::TempDir dir_;
    fs::path book_ = dir_.path() / "book.pdf";
    std::string original_;
};

TEST_F(Signals, StopSignalsWhileSavingRemoveTheTemporaryFile) {
    int caught = 0;
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE("signal " + std::to_string(signal));
        ASSERT_TRUE(writeBytes(book_, original_));
        std::unique_ptr<ToolProcess> job;
        if (startAndWaitForSibling(job)) {
            ++caught;
            job->kill(signal);
        }
        const ToolResult& result = job->wait();
        expectTextLinkOutcome(result);
        EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp"}), std::vector<std::string>());
        EXPECT_EQ(openablePageCount(book_), 200);
    }
    EXPECT_GT(caught, 0) << "no signal arrived while the file was written";
    std::printf("[figures] %d of 6 signals arrived while the file was written\n", caught);
}

// Early in the job the signal stops it like the host's flag: the pages done are saved.
TEST_F(Signals, StopSignalDuringThePagesEndsTheJobAsAStop) {
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE("signal " + std::to_string(signal));
        ASSERT_TRUE(writeBytes(book_, original_));
        ToolProcess job(PDFA_TOOL, textLinkArguments(book_), environmentFor(dir_.path() / "tmp"),
                        kLimits);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        job.kill(signal);
        expectTextLinkOutcome(job.wait());
        EXPECT_EQ(openablePageCount(book_), 200);
        EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp"}), std::vector<std::string>());
    }
}

TEST_F(Signals, FileSizeLimitIsAFailedSave) {
    original_ = linkBook(300, 0, 40).bytes();
    ASSERT_GT(original_.size(), std::size_t{1} << 20);
    ASSERT_TRUE(writeBytes(book_, original_));
    Limits small = kLimits;
    small.fileSizeMiB = 1;
    expectTextLinkOutcome(addLinks(small));
    EXPECT_EQ(readBytes(book_), original_);
    EXPECT_EQ(strayNames(dir_.path(), {"book.pdf", "tmp"}), std::vector<std::string>());
}

TEST_F(Signals, NextJobRemovesStaleTemporaryFilesOfItsOwnOnly) {
    const std::string partial = original_.substr(0, original_.size() / 2);
    for (const char* name :
         {".book.pdf.Ab12Cd", ".book.pdf.000000", ".book.pdf.Ab12C", ".book.pdf.Ab12Cd7",
          ".book.pdf.Ab-2Cd", ".other.pdf.Ab12Cd", "book.pdf.Ab12Cd", ".book.pdf.Locked"}) {
        ASSERT_TRUE(writeBytes(dir_.path() / name, partial));
    }
    fs::create_directory(dir_.path() / ".book.pdf.Folder");
    // A live job's sibling: locked by its writer.
    const int held = ::open((dir_.path() / ".book.pdf.Locked").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    expectTextLinkOutcome(addLinks());
    ::close(held);
    EXPECT_NE(readBytes(book_), original_);
    std::vector<std::string> left = strayNames(dir_.path(), {"book.pdf", "tmp"});
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left,
              (std::vector<std::string>{".book.pdf.Ab-2Cd", ".book.pdf.Ab12C", ".book.pdf.Ab12Cd7",
                                        ".book.pdf.Folder", ".book.pdf.Locked", ".other.pdf.Ab12Cd",
                                        "book.pdf.Ab12Cd"}));
}

TEST_F(Signals, StaleTemporaryFileOfAnotherUserIsKept) {
    if (::geteuid() != 0) GTEST_SKIP() << "a file of another user needs root";
    const fs::path stale = dir_.path() / ".book.pdf.Ab12Cd";
    ASSERT_TRUE(writeBytes(stale, "partial"));
    ASSERT_EQ(::chown(stale.c_str(), 65534, 65534), 0);
    expectTextLinkOutcome(addLinks());
    EXPECT_EQ(readBytes(stale), "partial");
}

}  // namespace
