// A small file whose one page holds a great many finds: 200,000 copies of one e-mail address in
// under 8 KB of compressed content. -b with text links writes one link element per find, 220 MB
// of slide XML; the job once held that XML twice (as an element tree and as its printed text,
// 1.86 GB at its peak). The link elements are now kept as their text and written to the file in
// pieces, so memory grows by about what is written: both writers stay within 1.5 times the bytes
// they write, plus what the page's text scan needs on its own (measured: slides 282 MiB for
// 210 MiB written, 1,813 MiB before; page editor 242 MiB for 54 MiB), and every find arrives.
//
// Memory is read from the child's peak resident size, which a sanitizer build would inflate, so
// a sanitizer build of the tests runs the tool PDFA_PLAIN_TOOL names and skips without it.

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "robustness/HostilePdfs.h"
#include "robustness/ToolJobs.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

constexpr int kLines = 2000;
constexpr int kPerLine = 100;
constexpr long kFinds = long{kLines} * kPerLine;
constexpr std::string_view kAddress = "a@b.cn";

// What the text scan of this page needs whatever is written: its characters with their boxes,
// the detector's matches and the list of finds, about 190 MiB (the page editor, which writes
// little, peaks at 242 MiB; it peaked at 341 MiB while it held its XML twice).
constexpr double kTextScanMiB = 220;

std::string repeated(const std::string& text, int times) {
    std::string result;
    result.reserve(text.size() * static_cast<std::size_t>(times));
    for (int k = 0; k < times; ++k) result += text;
    return result;
}

// One tall page: kLines lines of kPerLine addresses, a line and a half apart.
std::string pageOfFinds() {
    const int height = kLines * 3 / 2 + 20;
    std::string line = "(" + repeated(std::string(kAddress) + " ", kPerLine) + ") Tj T*\n";
    std::string content = "BT /F1 1 Tf 1.5 TL 10 " + std::to_string(height - 10) + " Td\n" +
                          repeated(line, kLines) + "ET\n";
    return pdfOf(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [4 0 R] /Count 1 >>",
         "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 " + std::to_string(height) +
             "] /Resources << /Font << /F1 3 0 R >> >> /Contents 5 0 R >>",
         streamBody(deflated(content), "/Filter /FlateDecode")});
}

// Checks that text is a frame (up to the first headEnd, and tail) that parses once its list is
// taken out, holding elements each starting with open and ending with close that parse on their
// own and pass check (given the element and its index); returns how many elements there are.
// Elements are parsed one by one: the whole file as one tree would take gigabytes in the test.
long countElements(const std::string& text, std::string_view headEnd, std::string_view open,
                   std::string_view close, std::string_view tail,
                   const std::function<bool(const platform::XmlNode&, long)>& check) {
    const std::size_t headSize = text.find(headEnd) + headEnd.size();
    if (text.find(headEnd) == std::string::npos || text.size() < headSize + tail.size() ||
        text.compare(text.size() - tail.size(), tail.size(), tail) != 0 ||
        !platform::XmlDocument::parse(text.substr(0, headSize) + std::string(tail))) {
        ADD_FAILURE() << "the file is cut short or has another frame";
        return -1;
    }
    const std::size_t end = text.size() - tail.size();
    long count = 0;
    for (std::size_t at = headSize; at < end; ++count) {
        std::size_t next = text.find(close, at);
        if (text.compare(at, open.size(), open) != 0 || next == std::string::npos || next >= end) {
            ADD_FAILURE() << "element " << count << " is broken";
            return -1;
        }
        next += close.size();
        std::optional<platform::XmlDocument> element =
            platform::XmlDocument::parse(text.substr(at, next - at));
        if (!element || !check(element->root(), count)) {
            ADD_FAILURE() << "element " << count << " is wrong: " << text.substr(at, next - at);
            return -1;
        }
        at = next;
    }
    return count;
}

class PageOfFinds : public testing::Test {
protected:
    void SetUp() override {
        if (plainTool().empty()) {
            GTEST_SKIP() << "a sanitizer build's memory says nothing about the tool's; set "
                            "PDFA_PLAIN_TOOL to a PDFAnnotations built without PDFA_SANITIZE";
        }
        const std::string pdf = pageOfFinds();
        ASSERT_LT(pdf.size(), 8192u) << "the page should stay a small file";
        ASSERT_TRUE(writeBytes(dir_ / "input.pdf", pdf));
        fs::create_directories(dir_.path() / "tmp");
    }

    // Runs -b with text links into a fresh folder; the one page's file and the child's peak.
    std::string convert(const std::string& name, const std::string& items, long& peakKiB) {
        const fs::path out = dir_.path() / name;
        fs::create_directories(out);
        const std::string settings = "input=" + pathValue((dir_ / "input.pdf").string()) +
                                     "|output=" + pathValue(out.string()) +
                                     "|range=ALL|divide=0|t2l=ALL" + items;
        ToolResult result = runTool(plainTool(), {PDFA_TOOL, "-b", codes(settings)},
                                    environmentFor(dir_.path() / "tmp"),
                                    Limits{std::chrono::minutes(3), 8192, 1024, false});
        expectConversionOutcome(result);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(strayNames(out, {"1.xml"}), std::vector<std::string>());
        peakKiB = result.peakMemoryKiB;
        return readBytes(out / "1.xml");
    }

    void expectWithinBound(const char* job, long peakKiB, std::size_t written) {
        const double peakMiB = peakKiB / 1024.0, writtenMiB = written / 1048576.0;
        std::printf("[figures] %s: %ld finds, %.1f MiB written, peak %.1f MiB (%.2f times)\n", job,
                    kFinds, writtenMiB, peakMiB, peakMiB / writtenMiB);
        EXPECT_GT(peakKiB, 0) << "the peak was not measured";
        EXPECT_LE(peakMiB, 1.5 * writtenMiB + kTextScanMiB) << job;
    }

    testsupport::TempDir dir_;
};

TEST_F(PageOfFinds, SlidesHoldEveryFindWithinTheBound) {
    long peakKiB = 0;
    const std::string xml = convert("slides", "|html5=1", peakKiB);
    const std::string mailto = "mailto:" + std::string(kAddress);
    long count = countElements(xml, "<elements>", "<element>", "</element>", "</elements></slide>",
                               [&mailto](const platform::XmlNode& element, long index) {
                                   const platform::XmlNode action = element.lastChild("action");
                                   return element.name() == "element" &&
                                          element.firstChild("template").firstChild("id").text() ==
                                              std::to_string(index) &&
                                          action.firstChild("type").text() == "openUrl" &&
                                          action.firstChild("content").text() == mailto;
                               });
    EXPECT_EQ(count, kFinds);
    expectWithinBound("-b html5=1 t2l=all", peakKiB, xml.size());
}

TEST_F(PageOfFinds, PageEditorHoldsEveryFindWithinTheBound) {
    long peakKiB = 0;
    const std::string xml = convert("editor", "", peakKiB);
    const std::string mailto = "mailto:" + std::string(kAddress);
    long count =
        countElements(xml, "<pageAnnos pageIndex=\"0\">", "<anno ", "</anno>", "</pageAnnos>",
                      [&mailto](const platform::XmlNode& anno, long) {
                          return anno.name() == "anno" &&
                                 anno.firstChild("action").firstChild("url").text() == mailto &&
                                 anno.firstChild("location");
                      });
    EXPECT_EQ(count, kFinds);
    expectWithinBound("-b t2l=all (page editor)", peakKiB, xml.size());
}

}  // namespace
