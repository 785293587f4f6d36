// -a saves over its input. Killed with SIGKILL at any moment of a job on a 300-page book (40
// lines of text a page), it leaves the input either as it was or as the complete new file,
// never anything in between, and always a file that opens with all its pages. Kills land all
// over the job and more densely at its end, where the file is written. A killed job may leave
// its temporary file behind; the next job on the same file removes it, and a job that runs to
// its end leaves none.
//
// PDFA_KILL_POINTS sets the number of kills (24 by default).

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <thread>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr int kPages = 300;
const Limits kLimits{std::chrono::minutes(5), 2048, 256};

int killPoints() {
    const char* text = std::getenv("PDFA_KILL_POINTS");
    return text != nullptr && std::atoi(text) > 0 ? std::atoi(text) : 24;
}

// The book, and the file one complete job makes of it.
class CrashSafeSave : public testing::Test {
protected:
    void SetUp() override {
        original_ = linkBook(kPages, 0, 40).bytes();
        const fs::path folder = dir_.path() / "complete";
        fs::create_directories(folder / "tmp");
        ASSERT_TRUE(writeBytes(folder / "book.pdf", original_));
        ToolResult result = runTool(PDFA_TOOL, textLinkArguments(folder / "book.pdf"),
                                    environmentFor(folder / "tmp"), kLimits);
        expectTextLinkOutcome(result);
        complete_ = readBytes(folder / "book.pdf");
        ASSERT_NE(complete_, original_) << "the job added no links";
        ASSERT_EQ(openablePageCount(folder / "book.pdf"), kPages);
        jobSeconds_ = result.seconds;
        leftByCompleteRun_ = strayNames(folder, {"book.pdf", "tmp"});
    }

    // Kill moments: 60% spread over the whole job, the rest over its last 15% and just past it.
    std::vector<double> killMoments() const {
        std::mt19937 random(20240601);
        std::uniform_real_distribution<double> anywhere(0.0, 1.0), late(0.85, 1.05);
        std::vector<double> moments;
        const int count = killPoints();
        for (int k = 0; k < count; ++k) {
            moments.push_back(jobSeconds_ * (k < count * 6 / 10 ? anywhere(random) : late(random)));
        }
        return moments;
    }

    testsupport::TempDir dir_;
    std::string original_;
    std::string complete_;
    double jobSeconds_ = 0;
    std::vector<std::string> leftByCompleteRun_;
};

TEST_F(CrashSafeSave, CompleteJobLeavesNoTemporaryFile) {
    EXPECT_EQ(leftByCompleteRun_, std::vector<std::string>());
}

TEST_F(CrashSafeSave, KilledJobLeavesTheOldFileOrTheCompleteOne) {
    // One folder for all kills: every job meets what the killed ones before it left behind.
    const fs::path folder = dir_.path() / "killed";
    fs::create_directories(folder / "tmp");
    const fs::path book = folder / "book.pdf";
    int old = 0, complete = 0, endedFirst = 0;
    for (double moment : killMoments()) {
        SCOPED_TRACE("kill after " + std::to_string(moment) + " s");
        ASSERT_TRUE(writeBytes(book, original_));
        ToolProcess job(PDFA_TOOL, textLinkArguments(book), environmentFor(folder / "tmp"),
                        kLimits);
        ASSERT_TRUE(job.started());
        std::this_thread::sleep_for(std::chrono::duration<double>(moment));
        job.kill(SIGKILL);
        const ToolResult& result = job.wait();
        if (result.signal != SIGKILL) {
            ++endedFirst;
            expectTextLinkOutcome(result);
        }
        const std::string after = readBytes(book);
        EXPECT_TRUE(after == original_ || after == complete_)
            << "the file is neither the old one nor the complete new one";
        old += after == original_ ? 1 : 0;
        complete += after == complete_ ? 1 : 0;
        EXPECT_EQ(openablePageCount(book), kPages);
    }
    const std::vector<std::string> stale = strayNames(folder, {"book.pdf", "tmp"});

    // A job after all the kills, among whatever they left, still makes the complete file.
    ASSERT_TRUE(writeBytes(book, original_));
    expectTextLinkOutcome(
        runTool(PDFA_TOOL, textLinkArguments(book), environmentFor(folder / "tmp"), kLimits));
    EXPECT_EQ(readBytes(book), complete_);
    EXPECT_EQ(strayNames(folder, {"book.pdf", "tmp"}), std::vector<std::string>())
        << "the last job left a file, or did not remove what the killed ones left";

    std::printf(
        "[figures] %d kills over a %.1f s job: %d left the old file, %d the complete "
        "one, %d jobs ended before their kill; %zu temporary files left by killed jobs\n",
        killPoints(), jobSeconds_, old, complete, endedFirst, stale.size());
}

// What a job killed while writing leaves: a hidden sibling holding part of a file. The next job
// removes it.
TEST_F(CrashSafeSave, StaleTemporaryFileIsRemovedByTheNextJob) {
    const fs::path folder = dir_.path() / "stale";
    fs::create_directories(folder / "tmp");
    const fs::path book = folder / "book.pdf";
    ASSERT_TRUE(writeBytes(book, original_));
    const std::string partial = complete_.substr(0, complete_.size() / 2);
    ASSERT_TRUE(writeBytes(folder / ".book.pdf.Ab12Cd", partial));
    expectTextLinkOutcome(
        runTool(PDFA_TOOL, textLinkArguments(book), environmentFor(folder / "tmp"), kLimits));
    EXPECT_EQ(readBytes(book), complete_);
    EXPECT_EQ(strayNames(folder, {"book.pdf", "tmp"}), std::vector<std::string>());
}

}  // namespace
