// A host loop as the authoring application runs one: many jobs (page editor, slides, -a) on
// small books, sixteen at a time, each with its own identifier and stop flag file in one shared
// temporary directory. At random (seeded) moments the loop sets a job's flag; a quarter of the
// jobs are never stopped. Every stopped job ends promptly after its flag (only a generous bound
// is asserted; the figures are printed), every -a file stays a valid PDF, every -b file is
// well-formed XML, and every job that was not stopped gives exactly what it gives when it runs
// alone: the jobs and their flags do not disturb each other.
//
// PDFA_STOP_JOBS sets the number of jobs (200 by default).

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr int kAtOnce = 16;
constexpr int kBooks = 4;
constexpr int kKinds = 3;  // page editor, slides, -a
const Limits kLimits{std::chrono::minutes(2), 2048, 256};
// Generous: sixteen sanitizer builds share two cores here.
constexpr double kStopBoundSeconds = 30;

int jobCount() {
    const char* text = std::getenv("PDFA_STOP_JOBS");
    return text != nullptr && std::atoi(text) > 0 ? std::atoi(text) : 200;
}

int pagesOf(int book) { return 30 + 10 * book; }

struct Job {
    int number = 0;
    int kind = 0;
    int book = 0;
    double stopAfter = -1;  // seconds after the start; negative: never
    fs::path folder;        // input.pdf and, for -b, out/
    std::unique_ptr<testsupport::HostStopFlag> flag;
    std::unique_ptr<ToolProcess> process;
    Clock::time_point startedAt;
    std::optional<Clock::time_point> flaggedAt;

    std::string identifier() const { return "load job " + std::to_string(number); }
    std::vector<std::string> arguments() const {
        const std::string id = "|identifier=" + identifier();
        if (kind == 2) return textLinkArguments(folder / "input.pdf", id);
        return conversionArguments(folder / "input.pdf", folder / "out",
                                   kind == 1 ? Writer::Slides : Writer::PageEditor, id);
    }
    fs::path outputFolder() const { return kind == 2 ? folder : folder / "out"; }
};

class StopUnderLoad : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir_.path() / "tmp");
        for (int book = 0; book < kBooks; ++book) {
            books_.push_back(linkBook(pagesOf(book), book).bytes());
        }
    }

    void prepare(Job& job) {
        job.folder = dir_.path() / ("job" + std::to_string(job.number));
        fs::create_directories(job.folder / "out");
        ASSERT_TRUE(writeBytes(job.folder / "input.pdf", books_[job.book]));
    }

    // What the job gives when it runs alone, without a stop flag.
    const std::map<std::string, std::string>& expectedOutput(const Job& job) {
        const int key = job.kind * kBooks + job.book;
        if (!alone_.count(key)) {
            Job single;
            single.number = 1000 + key;
            single.kind = job.kind;
            single.book = job.book;
            prepare(single);
            ToolResult result = runTool(PDFA_TOOL, single.arguments(), tmp(), kLimits);
            EXPECT_EQ(result.exitStatus, 0);
            alone_[key] = filesIn(single.outputFolder());
        }
        return alone_[key];
    }

    std::map<std::string, std::string> tmp() const { return environmentFor(dir_.path() / "tmp"); }

    // Checks a job that has ended and returns its flag-to-exit time (negative when unflagged).
    double finish(Job& job) {
        SCOPED_TRACE(job.identifier());
        const ToolResult& result = job.process->result();
        if (job.kind == 2) {
            expectTextLinkOutcome(result);
            EXPECT_EQ(openablePageCount(job.folder / "input.pdf"), pagesOf(job.book));
        } else {
            expectConversionOutcome(result);
            EXPECT_EQ(result.exitStatus, 0);
            expectWellFormedXml(job.outputFolder());
        }
        if (!job.flaggedAt) {
            EXPECT_TRUE(filesIn(job.outputFolder()) == expectedOutput(job)) << "disturbed";
            return -1;
        }
        if (!(filesIn(job.outputFolder()) == expectedOutput(job))) ++cutShort_;
        const double seconds =
            std::chrono::duration<double>(result.endedAt - *job.flaggedAt).count();
        EXPECT_LT(seconds, kStopBoundSeconds);
        return seconds;
    }

    testsupport::TempDir dir_;
    std::vector<std::string> books_;
    std::map<int, std::map<std::string, std::string>> alone_;
    int cutShort_ = 0;  // stopped jobs whose output lacks something a whole run gives
};

TEST_F(StopUnderLoad, JobsEndPromptlyAndDoNotDisturbEachOther) {
    std::mt19937 random(77);
    std::uniform_real_distribution<double> moment(0.0, 0.5);
    std::vector<Job> jobs(static_cast<std::size_t>(jobCount()));
    for (int k = 0; k < jobCount(); ++k) {
        Job& job = jobs[static_cast<std::size_t>(k)];
        job.number = k;
        job.kind = k % kKinds;
        job.book = (k / kKinds) % kBooks;
        job.stopAfter = k % 4 == 3 ? -1 : moment(random);
        expectedOutput(job);
    }

    std::vector<double> stopTimes;
    std::size_t next = 0;
    std::vector<Job*> running;
    while (next < jobs.size() || !running.empty()) {
        // One start per pass, so the flags of the running jobs are served between starts.
        if (running.size() < kAtOnce && next < jobs.size()) {
            Job& job = jobs[next++];
            prepare(job);
            job.flag =
                std::make_unique<testsupport::HostStopFlag>(dir_.path() / "tmp", job.identifier());
            job.process = std::make_unique<ToolProcess>(PDFA_TOOL, job.arguments(), tmp(), kLimits);
            job.startedAt = Clock::now();
            running.push_back(&job);
        }
        for (auto it = running.begin(); it != running.end();) {
            Job& job = **it;
            if (job.process->poll()) {
                const double seconds = finish(job);
                if (seconds >= 0) stopTimes.push_back(seconds);
                job.flag.reset();
                job.process.reset();
                it = running.erase(it);
                continue;
            }
            // Set only while the job is known to run, so every flag counted was one it could see.
            const double elapsed =
                std::chrono::duration<double>(Clock::now() - job.startedAt).count();
            if (!job.flaggedAt && job.stopAfter >= 0 && elapsed >= job.stopAfter) {
                job.flag->set();
                job.flaggedAt = Clock::now();
            }
            ++it;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Only the flag files, which the host owns, stay in the temporary directory.
    for (const std::string& name : strayNames(dir_.path() / "tmp", {})) {
        EXPECT_EQ(name.rfind("Tarn_", 0), 0u) << "left in the temporary directory: " << name;
    }

    std::sort(stopTimes.begin(), stopTimes.end());
    const double median = stopTimes.empty() ? 0 : stopTimes[stopTimes.size() / 2];
    const double longest = stopTimes.empty() ? 0 : stopTimes.back();
    std::printf(
        "[figures] %zu jobs, %d at once: %zu flagged while running (%d of them cut "
        "short), flag to exit median %.2f s, longest %.2f s\n",
        jobs.size(), kAtOnce, stopTimes.size(), cutShort_, median, longest);
}

}  // namespace
