// A job whose stop flag the host raised before the job started: it still ends as the host
// expects (a stopped -b writes a file for every selected page), without the work a page's text
// costs. Pages whose content inflates to a gigabyte make that work plain. The real executable
// runs; the figures are printed for docs/RELIABILITY.md.

#include <gtest/gtest.h>

#include <cstdio>

#include "robustness/HostilePdfs.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::minutes(3), 2048, 256};

class StopBeforeStart : public testing::Test {
protected:
    fs::path write(const std::string& bytes) { return writeJobInput(dir_.path(), bytes); }

    testsupport::TempDir dir_;
};

// A stopped -b job still writes every selected page, but no longer builds the pages' text for
// text links: with the flag raised before the start, eight pages that each inflate a gigabyte
// (about 5 s a page under the sanitizer) end in a fraction of that.
TEST_F(StopBeforeStart, StoppedConversionBuildsNoPageText) {
    constexpr int kPages = 8;
    const fs::path input = write(pagesSharingContent(kPages, deflatedZeros(1024), "/FlateDecode"));
    testsupport::HostStopFlag flag(dir_.path() / "tmp", "raised");
    flag.set();
    ToolResult result = runTool(
        PDFA_TOOL,
        conversionArguments(input, dir_.path() / "out", Writer::Slides, "|identifier=raised"),
        environmentFor(dir_.path() / "tmp"), kLimits);
    expectConversionOutcome(result);
    EXPECT_EQ(result.exitStatus, 0);
    for (int page = 1; page <= kPages; ++page) {
        for (const char* half : {"-w0.xml", "-w1.xml"}) {
            EXPECT_TRUE(fs::exists(dir_.path() / "out" / (std::to_string(page) + half)));
        }
    }
    // A generous bound (the sanitizer build shares the cores with others): building the text
    // of the eight pages takes 40 s and more.
    EXPECT_LT(result.seconds, 15.0);
    std::printf("[figures] stopped before the start: %d pages of 1 GiB each in %.2f s\n", kPages,
                result.seconds);
}

}  // namespace
