// -a reads and scans pages on every core the process may use. The benchmark book run once with
// the job pinned to one core (one worker, as a host that pins its jobs gets) and once with every
// core must give the same file and the same progress messages.

#include <gtest/gtest.h>
#include <sched.h>

#include "platform/WorkerPool.h"
#include "robustness/ToolJobs.h"
#include "support/Process.h"
#include "support/ProgressListener.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr int kPages = 200;
const Limits kLimits{std::chrono::minutes(5), 2048, 256};

// The second part of the trailer's /ID changes with every save, whatever was saved.
std::string withoutSaveIdentifier(std::string bytes) {
    for (std::size_t at = bytes.find("/ID["); at != std::string::npos;
         at = bytes.find("/ID[", at + 1)) {
        const std::size_t second = bytes.find("><", at);
        const std::size_t end = second == std::string::npos ? second : bytes.find('>', second + 1);
        if (end == std::string::npos) break;
        bytes.erase(second + 2, end - second - 2);
    }
    return bytes;
}

int annotationCount(const fs::path& path) {
    auto document = platform::Document::open(path.string());
    if (!document || !document->unlock("")) return -1;
    int count = 0;
    for (int page = 0; page < document->pageCount(); ++page) {
        count += static_cast<int>(document->annotations(page).size());
    }
    return count;
}

struct JobOutcome {
    std::string bytes;
    std::vector<std::string> messages;
};

// Runs -a on a copy of the book in a folder of its own; pinned, on the first core this process
// may use (the child inherits the affinity of the thread that starts it).
JobOutcome runJob(const fs::path& book, const fs::path& folder, bool pinned) {
    fs::create_directories(folder);
    fs::copy_file(book, folder / "input.pdf");
    testsupport::ProgressListener listener(folder);
    cpu_set_t all;
    EXPECT_EQ(::sched_getaffinity(0, sizeof all, &all), 0);
    if (pinned) {
        int first = 0;
        while (!CPU_ISSET(first, &all)) ++first;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(first, &one);
        EXPECT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
    }
    ToolProcess tool(PDFA_TOOL, textLinkArguments(folder / "input.pdf"), environmentFor(folder),
                     kLimits);
    ::sched_setaffinity(0, sizeof all, &all);
    expectTextLinkOutcome(tool.wait());
    return {readBytes(folder / "input.pdf"), listener.arguments()};
}

TEST(TextLinkWorkers, OneCoreAndEveryCoreGiveTheSameFileAndMessages) {
    if (platform::usableCores() < 2) GTEST_SKIP() << "this process may use one core only";
    testsupport::TempDir dir;
    const fs::path book = dir / "book.pdf";
    auto made = testsupport::runProcess(PDFA_MAKE_BOOK, {std::to_string(kPages), book.string()});
    ASSERT_EQ(made.exitStatus, 0) << made.err;

    const JobOutcome one = runJob(book, dir / "one", true);
    const JobOutcome every = runJob(book, dir / "every", false);

    std::vector<std::string> pages;
    for (int page = 1; page <= kPages; ++page) pages.push_back(std::to_string(page));
    EXPECT_EQ(one.messages, pages);
    EXPECT_EQ(every.messages, pages);
    EXPECT_GT(annotationCount(dir / "one" / "input.pdf"), annotationCount(book) + kPages * 10);
    EXPECT_EQ(one.bytes.size(), every.bytes.size());
    EXPECT_TRUE(withoutSaveIdentifier(one.bytes) == withoutSaveIdentifier(every.bytes))
        << "the files differ";
}

}  // namespace
