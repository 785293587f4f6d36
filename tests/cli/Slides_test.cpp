// -b jobs for the HTML5 animation editor, run through the built tool as the host runs them.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "convert/SlidesTestSupport.h"
#include "support/HostStopFlag.h"
#include "support/PdfFixture.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using slidestest::describeLinks;
using testsupport::ProcessResult;

// Page 1 is a single page, page 2 a spread 1400 points wide, page 3 a single page again.
testsupport::PdfFixture book() {
    testsupport::PdfFixture pdf;
    pdf.page({0, 0, 600, 800})
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [0 0 60 80] "
            "/A << /S /URI /URI (https://example.com/one) >> >>")
        .annot("<< /Type /Annot /Subtype /Link /Rect [0 100 60 180] /Dest [{page:2} /Fit] >>");
    pdf.page({0, 0, 1400, 800})
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [560 100 840 130] "
            "/Dest [{page:0} /XYZ 0 0 null] >>");
    pdf.page({0, 0, 600, 800})
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [0 0 60 80] "
            "/Dest [{page:1} /XYZ 1000 0 null] >>");
    return pdf;
}

class Slides : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(tmp_);
        fs::create_directories(out_);
        book().write(pdf_);
    }

    ProcessResult tool(const std::string& items) {
        return testsupport::runProcess(PDFA_TOOL, {"-b", codes(items)},
                                       {{"TMPDIR", tmp_.string()}});
    }

    // The codes text of items, made as the host would make it.
    static std::string codes(const std::string& items) {
        ProcessResult encoded = testsupport::runProcess(PDFA_CODES_TOOL, {"encode", items});
        EXPECT_EQ(encoded.exitStatus, 0);
        if (encoded.out.empty()) return {};
        return encoded.out.substr(0, encoded.out.size() - 1);
    }

    std::string job(const std::string& more) const {
        return "input=" + pdf_.string() + "|output=" + out_.string() + "|html5=1" + more;
    }

    Lines written() const {
        Lines names;
        for (const auto& entry : fs::directory_iterator(out_)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    static void expectSilentSuccess(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }

    testsupport::TempDir dir_;
    fs::path tmp_ = dir_ / "tmp";
    fs::path out_ = dir_ / "out";
    fs::path pdf_ = dir_ / "book.pdf";
};

TEST_F(Slides, WritesOneSlidePerPageAndTwoForASpread) {
    expectSilentSuccess(tool(job("|range=ALL|divide=700:1")));
    EXPECT_EQ(written(), (Lines{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    EXPECT_EQ(describeLinks(out_ / "1.xml"),
              (Lines{"0 [0 720 60 80] openUrl https://example.com/one _blank",
                     "1 [0 620 60 80] goToPage Fixed Page 3"}));
    EXPECT_EQ(describeLinks(out_ / "2-w0.xml"),
              (Lines{"0 [1120 670 560 30] goToPage Fixed Page 1"}));
    EXPECT_EQ(describeLinks(out_ / "2-w1.xml"),
              (Lines{"1981 [1120 670 280 30] goToPage Fixed Page 1"}));
    // An undivided page keeps the target's number in the undivided PDF.
    EXPECT_EQ(describeLinks(out_ / "3.xml"), (Lines{"0 [0 720 60 80] goToPage Fixed Page 2"}));
}

TEST_F(Slides, HostWidthDividesOnlyWidePages) {
    expectSilentSuccess(tool(job("|range=2-3|divide=1000:1")));
    EXPECT_EQ(written(), (Lines{"2.xml", "3.xml"}));
}

TEST_F(Slides, DetectedWidthDividesTheSpread) {
    expectSilentSuccess(tool(job("|range=2|divide=1")));
    EXPECT_EQ(written(), (Lines{"2-w0.xml", "2-w1.xml"}));
}

TEST_F(Slides, SwitchKeepsOnlyItsLowEightBits) {
    expectSilentSuccess(tool("input=" + pdf_.string() + "|output=" + out_.string() +
                             "|html5=256|range=1|divide=0"));
    std::optional<std::string> bytes = goldenxml::readFile(out_ / "1.xml");
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->rfind("<pageAnnos", 0), 0u) << *bytes;
}

TEST_F(Slides, SingleFileModeWritesTheLowestPageOnly) {
    const fs::path result = out_ / "Result.XML";
    expectSilentSuccess(tool("input=" + pdf_.string() + "|output=" + result.string() +
                             "|html5=1|range=3,1|divide=0"));
    EXPECT_EQ(written(), (Lines{"Result.XML"}));
    EXPECT_EQ(describeLinks(result),
              (Lines{"0 [0 720 60 80] openUrl https://example.com/one _blank",
                     "1 [0 620 60 80] goToPage Fixed Page 3"}));
}

TEST_F(Slides, StopRequestedBeforeTheJobWritesSlidesWithoutLinks) {
    testsupport::HostStopFlag flag(tmp_, "slides-1");
    flag.set();
    expectSilentSuccess(tool(job("|range=ALL|divide=700:1|identifier=slides-1")));
    EXPECT_EQ(written(), (Lines{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    for (const std::string& name : written()) {
        SCOPED_TRACE(name);
        EXPECT_EQ(describeLinks(out_ / name), Lines());
    }
}

TEST_F(Slides, UnopenableDocumentFailsTheJob) {
    fs::remove(pdf_);
    ProcessResult result = tool(job("|range=ALL|divide=0"));
    EXPECT_EQ(result.exitStatus, 255);
    EXPECT_EQ(result.out, "failed to verify the password!!!\n");
    EXPECT_EQ(written(), Lines());
}

}  // namespace
