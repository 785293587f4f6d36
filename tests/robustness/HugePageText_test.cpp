// Small files whose one page holds a huge text (issue 17): four million digits in one string,
// and a line of telephone numbers that keeps the number matcher busy for minutes. The built
// tool runs as the host runs it: both jobs end by themselves, and a stop raised while the page
// is being scanned ends the job within seconds as a stopped job ends. The figures are printed
// for docs/RELIABILITY.md. The tool runs without the sanitizer (PDFA_PLAIN_TOOL in a sanitizer
// build): under it the engine alone takes minutes to lay out four million characters.

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "robustness/HostilePdfs.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

const Limits kLimits{std::chrono::minutes(3), 2048, 256, false};
// Generous: the tests share two cores with other builds here.
constexpr double kStopBoundSeconds = 3;

// One page that shows text in one string, deflated: a few kilobytes of file.
std::string onePageShowing(const std::string& text) {
    const std::string content = "BT /F1 1 Tf 0 400 Td (" + text + ") Tj ET";
    return pdfOf({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [5 0 R] /Count 1 >>",
                  "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding "
                  "/WinAnsiEncoding >>",
                  streamBody(deflated(content), "/Filter /FlateDecode"),
                  "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 800] /Resources << /Font << "
                  "/F1 3 0 R >> >> /Contents 4 0 R >>"});
}

std::string repeated(const std::string& piece, std::size_t times) {
    std::string text;
    text.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

class HugePageText : public testing::Test {
protected:
    void SetUp() override {
        if (plainTool().empty()) {
            GTEST_SKIP() << "set PDFA_PLAIN_TOOL to a PDFAnnotations built without PDFA_SANITIZE";
        }
    }

    fs::path write(const std::string& bytes) { return writeJobInput(dir_.path(), bytes); }
    std::map<std::string, std::string> tmp() const { return environmentFor(dir_.path() / "tmp"); }

    // Starts the job, raises its stop flag after delay and returns the seconds from the flag to
    // the job's end.
    double stopAfter(const std::vector<std::string>& arguments, const std::string& identifier,
                     std::chrono::milliseconds delay, ToolResult& result) {
        testsupport::HostStopFlag flag(dir_.path() / "tmp", identifier);
        ToolProcess process(plainTool(), arguments, tmp(), kLimits);
        EXPECT_TRUE(process.started());
        std::this_thread::sleep_for(delay);
        EXPECT_FALSE(process.poll()) << "the job ended before the stop: make the page bigger";
        flag.set();
        const Clock::time_point flaggedAt = Clock::now();
        result = process.wait();
        return std::chrono::duration<double>(result.endedAt - flaggedAt).count();
    }

    testsupport::TempDir dir_;
};

const std::string kDigits = repeated("1234567890", 400000);
// Each number costs the matcher about ten milliseconds: some three minutes for the line.
const std::string kNumbers = repeated("13812345678 ", 20000);

TEST_F(HugePageText, FourMillionDigitsOnOnePage) {
    const fs::path input = write(onePageShowing(kDigits));
    ToolResult textLinks = runTool(plainTool(), textLinkArguments(input), tmp(), kLimits);
    expectTextLinkOutcome(textLinks);
    EXPECT_EQ(openablePageCount(input), 1);
    ToolResult slides =
        runTool(plainTool(), conversionArguments(input, dir_.path() / "out", Writer::Slides), tmp(),
                kLimits);
    expectConversionOutcome(slides);
    expectWellFormedXml(dir_.path() / "out");
    std::printf(
        "[figures] 4,000,000 digits on one page: -a %.1f s, %ld MiB; -b slides %.1f s, "
        "%ld MiB\n",
        textLinks.seconds, textLinks.peakMemoryKiB / 1024, slides.seconds,
        slides.peakMemoryKiB / 1024);
}

TEST_F(HugePageText, AStopDuringTheScanOfOnePageIsHeard) {
    const fs::path input = write(onePageShowing(kNumbers));
    const std::string before = readBytes(input);
    ToolResult textLinks;
    const double textLinkSeconds = stopAfter(textLinkArguments(input, "|identifier=numbers-a"),
                                             "numbers-a", std::chrono::seconds(3), textLinks);
    expectTextLinkOutcome(textLinks);
    expectUntouchedOrValid(input, before, 1);
    EXPECT_LT(textLinkSeconds, kStopBoundSeconds);

    ToolResult slides;
    const double slideSeconds = stopAfter(
        conversionArguments(input, dir_.path() / "out", Writer::Slides, "|identifier=numbers-b"),
        "numbers-b", std::chrono::seconds(3), slides);
    expectConversionOutcome(slides);
    expectWellFormedXml(dir_.path() / "out");
    EXPECT_LT(slideSeconds, kStopBoundSeconds);
    std::printf(
        "[figures] 20,000 numbers on one line, stop raised 3 s in: -a ended %.2f s after "
        "it, -b slides %.2f s after it\n",
        textLinkSeconds, slideSeconds);
}

}  // namespace
