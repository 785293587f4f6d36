// Small pages whose content run costs the engine gigabytes or minutes. 4,000,000 nested q in
// 16 KB made the engine keep as many saved graphics states: 2.4 GB and 11 to 13 s a job; the
// nesting is now bounded, so both jobs fit in a small address space and still find the text
// inside and after it. A page of 40,000,000 cheap operators runs for many seconds, and a stop
// raised meanwhile was heard only after the page (12.6 s after the flag): it is now heard inside
// the run, and the page cut short adds nothing, while the pages before it keep what they found.
//
// The memory bound is shown under an address-space limit, which a sanitizer build cannot run
// under: a sanitizer build of the tests runs the release tool PDFA_PLAIN_TOOL names there, and
// bounds its own tool's resident memory instead when that is not set.

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "robustness/HostilePdfs.h"
#include "robustness/ToolJobs.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr long kNesting = 4000000;
constexpr long kCheapOperators = 40000000;

const std::string kBefore = "BT /F1 12 Tf 72 700 Td (Before www.example.org) Tj ET\n";
const std::string kInside = "BT /F1 12 Tf 72 600 Td (Deep inside deep@example.com) Tj ET\n";
const std::string kAfter = "BT /F1 12 Tf 72 500 Td (After www.after.example.org) Tj ET\n";

std::string repeated(const std::string& text, long times) {
    std::string out;
    out.reserve(text.size() * static_cast<std::size_t>(times));
    for (long k = 0; k < times; ++k) out += text;
    return out;
}

// A book whose pages run the given content streams, each deflated.
std::string bookOf(const std::vector<std::string>& contents) {
    std::string kids;
    for (std::size_t page = 0; page < contents.size(); ++page) kids += ref(4 + 2 * page) + " ";
    std::vector<std::string> bodies = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(contents.size()) + " >>",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"};
    for (std::size_t page = 0; page < contents.size(); ++page) {
        bodies.push_back(
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 800] /Resources << /Font << /F1 3 "
            "0 R >> >> /Contents " +
            ref(5 + 2 * page) + " >>");
        bodies.push_back(streamBody(deflated(contents[page]), "/Filter /FlateDecode"));
    }
    return pdfOf(bodies);
}

std::string nestedBook() {
    return bookOf(
        {kBefore + repeated("q\n", kNesting) + kInside + repeated("Q\n", kNesting) + kAfter});
}

// Page 1 is an ordinary page; page 2 runs for many seconds before its text.
const std::string& slowBook() {
    static const std::string book = bookOf({kBefore, repeated("0 g\n", kCheapOperators) + kAfter});
    return book;
}

// The URLs of the links on each page of the PDF at path.
std::vector<std::vector<std::string>> linksOf(const fs::path& path) {
    std::vector<std::vector<std::string>> pages;
    auto document = platform::Document::open(path.string());
    if (!document) return pages;
    for (int page = 0; page < document->pageCount(); ++page) {
        pages.emplace_back();
        for (const platform::Annotation& annotation : document->annotations(page)) {
            pages.back().push_back(annotation.url.value_or("(none)"));
        }
    }
    return pages;
}

// The XML files -b wrote for one page (a divided page has two), joined in name order.
std::string pageXml(const fs::path& folder, int page) {
    std::string xml;
    for (const auto& [name, bytes] : filesIn(folder)) {
        const std::string number = std::to_string(page);
        if (name.rfind(number + ".", 0) == 0 || name.rfind(number + "-", 0) == 0) xml += bytes;
    }
    return xml;
}

class PageRuns : public testing::Test {
protected:
    void SetUp() override { fs::create_directories(dir_.path() / "tmp"); }

    fs::path prepare(const std::string& name, const std::string& bytes) {
        const fs::path folder = dir_.path() / name;
        fs::create_directories(folder / "out");
        EXPECT_TRUE(writeBytes(folder / "input.pdf", bytes));
        return folder;
    }

    std::map<std::string, std::string> tmp() const { return environmentFor(dir_.path() / "tmp"); }

    testsupport::TempDir dir_;
};

TEST_F(PageRuns, NestingOfMillionsOfSavedStatesFitsInASmallAddressSpace) {
    const std::string book = nestedBook();
    ASSERT_LT(book.size(), 20000u);
    const std::string tool = plainTool();
    // 256 MiB of address space: the libraries alone take about 94 MiB.
    const Limits limits = tool.empty() ? Limits{std::chrono::minutes(2), 512, 256}
                                       : Limits{std::chrono::minutes(2), 256, 256, false};
    if (tool.empty()) {
        std::printf(
            "PDFA_PLAIN_TOOL not set: the sanitizer build's resident memory is bounded "
            "instead of the address space\n");
    }
    const std::string run = tool.empty() ? PDFA_TOOL : tool;

    const fs::path added = prepare("a", book);
    std::vector<std::string> arguments = textLinkArguments(added / "input.pdf");
    arguments[0] = run;
    const ToolResult linked = runTool(run, arguments, tmp(), limits);
    expectTextLinkOutcome(linked);
    const std::vector<std::vector<std::string>> expectedLinks = {
        {"http://www.example.org", "mailto:deep@example.com", "http://www.after.example.org"}};
    EXPECT_EQ(linksOf(added / "input.pdf"), expectedLinks);

    const fs::path converted = prepare("b", book);
    arguments = conversionArguments(converted / "input.pdf", converted / "out", Writer::PageEditor,
                                    "|t2l=ALL");
    arguments[0] = run;
    const ToolResult written = runTool(run, arguments, tmp(), limits);
    expectConversionOutcome(written);
    EXPECT_EQ(written.exitStatus, 0);
    const std::string xml = pageXml(converted / "out", 1);
    ASSERT_FALSE(xml.empty());
    for (const std::string& url : expectedLinks[0]) {
        EXPECT_NE(xml.find(url), std::string::npos) << url << " missing from " << xml;
    }
    std::printf("[figures] %ld nested q (%zu bytes): -a %.2f s, %ld MiB; -b %.2f s, %ld MiB%s\n",
                kNesting, book.size(), linked.seconds, linked.peakMemoryKiB / 1024, written.seconds,
                written.peakMemoryKiB / 1024, tool.empty() ? " (sanitizer build)" : "");
}

class StopInsideAPage : public PageRuns {
protected:
    // Runs the job with its stop flag raised 1.5 s after the start, well inside page 2's run,
    // and returns the seconds from the flag to the job's end.
    double runStopped(const std::vector<std::string>& arguments, ToolResult& result) {
        testsupport::HostStopFlag flag(dir_.path() / "tmp", "slow");
        ToolProcess job(PDFA_TOOL, arguments, tmp(), Limits{std::chrono::minutes(2), 2048, 256});
        EXPECT_TRUE(job.started());
        const Clock::time_point raiseAt = Clock::now() + std::chrono::milliseconds(1500);
        while (!job.poll(20) && Clock::now() < raiseAt) {
        }
        EXPECT_LT(Clock::now(), raiseAt + std::chrono::seconds(1)) << "the job ended too soon";
        flag.set();
        const Clock::time_point raised = Clock::now();
        result = job.wait();
        return std::chrono::duration<double>(result.endedAt - raised).count();
    }
};

// Generous: a bound on being heard at all inside the page, not a speed figure.
constexpr double kHeardWithinSeconds = 3;

TEST_F(StopInsideAPage, TextLinkJobSavesThePagesFinishedBeforeIt) {
    const fs::path folder = prepare("a", slowBook());
    ToolResult result;
    const double seconds =
        runStopped(textLinkArguments(folder / "input.pdf", "|identifier=slow"), result);
    expectTextLinkOutcome(result);
    EXPECT_LT(seconds, kHeardWithinSeconds);
    const std::vector<std::vector<std::string>> expectedLinks = {{"http://www.example.org"}, {}};
    EXPECT_EQ(linksOf(folder / "input.pdf"), expectedLinks);
    EXPECT_EQ(strayNames(folder, {"input.pdf", "out"}), std::vector<std::string>());
    std::printf(
        "[figures] -a stopped inside a page of %ld operators: ended %.2f s after the "
        "flag\n",
        kCheapOperators, seconds);
}

TEST_F(StopInsideAPage, ConversionWithTextLinksWritesThePageWithoutItsText) {
    const fs::path folder = prepare("b", slowBook());
    ToolResult result;
    const double seconds =
        runStopped(conversionArguments(folder / "input.pdf", folder / "out", Writer::PageEditor,
                                       "|t2l=ALL|identifier=slow"),
                   result);
    expectConversionOutcome(result);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_LT(seconds, kHeardWithinSeconds);
    expectWellFormedXml(folder / "out");
    const std::string first = pageXml(folder / "out", 1);
    EXPECT_NE(first.find("http://www.example.org"), std::string::npos) << first;
    const std::string second = pageXml(folder / "out", 2);
    EXPECT_NE(second, "") << "page 2 has no file";
    EXPECT_EQ(second.find("www."), std::string::npos) << "text read after the stop: " << second;
    EXPECT_EQ(readBytes(folder / "input.pdf"), slowBook());
    std::printf(
        "[figures] -b stopped inside a page of %ld operators: ended %.2f s after the "
        "flag\n",
        kCheapOperators, seconds);
}

}  // namespace
