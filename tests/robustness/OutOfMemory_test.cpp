// Jobs that run out of memory end like any failed job. Each job runs under address-space limits
// from too small to load the libraries to enough (RLIMIT_AS in the child, as `ulimit -v` sets it),
// so that memory runs out at every stage: starting, opening, building page text, scanning it,
// making XML, writing the files, saving. Whatever the limit, the job ends by itself, never by a
// signal (an exception escaping a thread once aborted it); -a exits 0 and leaves its input as it
// was or as the complete new file, with no temporary file beside it; -b exits 0 with every file
// of a run without limit, or 255 with nothing printed and only finished files, each exactly as a
// run without limit writes it.
//
// Under AddressSanitizer the address space cannot be limited (its shadow memory alone reserves
// terabytes, and its allocator reports running out as an error instead of failing the
// allocation), so a sanitizer build of the tests runs the tool built without the sanitizer that
// PDFA_PLAIN_TOOL names (`make test` builds one), and skips without it.

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr int kPages = 20;

// From below what the process needs to load its libraries to more than a job of the book
// needs; densely where jobs start to fit.
std::vector<long> limitsMiB() {
    std::vector<long> limits;
    for (long mib = 90; mib < 130; ++mib) limits.push_back(mib);
    for (long mib = 130; mib <= 290; mib += 40) limits.push_back(mib);
    return limits;
}

// The dynamic loader could not map the libraries: none of the tool's code ran.
bool notStarted(const ToolResult& result) {
    return result.exitStatus == 127 &&
           result.err.find("error while loading shared libraries") != std::string::npos;
}

Limits limitOf(long mib) { return Limits{std::chrono::minutes(2), mib, 256, false}; }

class OutOfMemory : public testing::Test {
protected:
    void SetUp() override {
        if (plainTool().empty()) {
            GTEST_SKIP() << "the address space of a sanitizer build cannot be limited; set "
                            "PDFA_PLAIN_TOOL to a PDFAnnotations built without PDFA_SANITIZE";
        }
        book_ = linkBook(kPages, 0, 40).bytes();
        fs::create_directories(dir_.path() / "tmp");
    }

    // A fresh folder holding the book as input.pdf (and out/ for -b).
    fs::path prepare(const std::string& name) {
        const fs::path folder = dir_.path() / name;
        fs::create_directories(folder / "out");
        EXPECT_TRUE(writeBytes(folder / "input.pdf", book_));
        return folder;
    }

    ToolResult run(const std::vector<std::string>& arguments, long limitMiB) {
        return runTool(plainTool(), arguments, environmentFor(dir_.path() / "tmp"),
                       limitOf(limitMiB));
    }

    void report(const char* job, int failed, int completed) {
        std::printf(
            "[figures] %s: %zu limits from %ld to %ld MiB, %d failed, %d complete, the "
            "rest could not load the libraries\n",
            job, limitsMiB().size(), limitsMiB().front(), limitsMiB().back(), failed, completed);
    }

    std::string book_;
    testsupport::TempDir dir_;
};

TEST_F(OutOfMemory, TextLinkJobLeavesTheOldOrTheCompleteFile) {
    const fs::path whole = prepare("whole");
    expectTextLinkOutcome(run(textLinkArguments(whole / "input.pdf"), 4096));
    const std::string complete = readBytes(whole / "input.pdf");
    ASSERT_NE(complete, book_) << "the job added no links";
    int failed = 0, completed = 0;
    for (long limit : limitsMiB()) {
        SCOPED_TRACE("limit " + std::to_string(limit) + " MiB");
        const fs::path folder = prepare("a" + std::to_string(limit));
        ToolResult result = run(textLinkArguments(folder / "input.pdf"), limit);
        if (notStarted(result)) continue;
        expectTextLinkOutcome(result);
        const std::string after = readBytes(folder / "input.pdf");
        EXPECT_TRUE(after == book_ || after == complete) << "the input was changed otherwise";
        EXPECT_EQ(strayNames(folder, {"input.pdf", "out"}), std::vector<std::string>());
        after == complete ? ++completed : ++failed;
    }
    EXPECT_GT(failed, 0) << "no limit was small enough";
    EXPECT_GT(completed, 0) << "no limit was large enough";
    report("-a", failed, completed);
}

TEST_F(OutOfMemory, ConversionWritesOnlyFinishedFiles) {
    for (Writer writer : {Writer::PageEditor, Writer::Slides}) {
        SCOPED_TRACE(writer == Writer::Slides ? "slides" : "page editor");
        const fs::path whole = prepare(writer == Writer::Slides ? "slides" : "editor");
        ToolResult full =
            run(conversionArguments(whole / "input.pdf", whole / "out", writer), 4096);
        expectConversionOutcome(full);
        ASSERT_EQ(full.exitStatus, 0);
        const std::map<std::string, std::string> expected = filesIn(whole / "out");
        int failed = 0, completed = 0;
        for (long limit : limitsMiB()) {
            SCOPED_TRACE("limit " + std::to_string(limit) + " MiB");
            const fs::path folder = prepare(whole.filename().string() + std::to_string(limit));
            ToolResult result =
                run(conversionArguments(folder / "input.pdf", folder / "out", writer), limit);
            if (notStarted(result)) continue;
            expectEndedByItself(result);
            EXPECT_EQ(result.out, "");
            std::istringstream log(result.err);
            for (std::string line; std::getline(log, line);) {
                EXPECT_TRUE(isConversionLogLine(line)) << "unexpected log line: " << line;
            }
            EXPECT_EQ(readBytes(folder / "input.pdf"), book_);
            const std::map<std::string, std::string> written = filesIn(folder / "out");
            for (const auto& [name, bytes] : written) {
                auto found = expected.find(name);
                EXPECT_TRUE(found != expected.end() && found->second == bytes)
                    << name << " is no finished file";
            }
            if (result.exitStatus == 0) {
                EXPECT_EQ(written.size(), expected.size());
                ++completed;
            } else {
                EXPECT_EQ(result.exitStatus, 255);
                ++failed;
            }
        }
        EXPECT_GT(failed, 0) << "no limit was small enough";
        EXPECT_GT(completed, 0) << "no limit was large enough";
        report(writer == Writer::Slides ? "-b slides" : "-b page editor", failed, completed);
    }
}

}  // namespace
