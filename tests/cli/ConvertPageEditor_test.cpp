// -b jobs for the page editor, run through the built tool as the host runs them: settings
// encoded by the codes tool, the tool's exit status, its output lines and the files it writes.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "convert/ConvertTestSupport.h"
#include "convert/GoldenXml.h"
#include "support/HostStopFlag.h"
#include "support/PdfFixture.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using converttest::fileNames;
using goldenxml::expectGoldenFile;
using testsupport::ProcessResult;

const std::string kEmptyFirst = "<pageAnnos pageIndex=\"0\"></pageAnnos>";
const std::string kEmptySecond = "<pageAnnos pageIndex=\"1\"></pageAnnos>";

// The codes text of items, made as the host makes it.
std::string codes(const std::string& items) {
    ProcessResult encoded = testsupport::runProcess(PDFA_CODES_TOOL, {"encode", items});
    EXPECT_EQ(encoded.exitStatus, 0) << encoded.err << " for " << items;
    if (encoded.out.empty()) return {};
    return encoded.out.substr(0, encoded.out.size() - 1);
}

class ConvertPageEditor : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(tmp_);
        fs::create_directories(out_);
    }

    // Runs -b with the input, the output folder and more items; TMPDIR is private to the test.
    ProcessResult run(const std::string& more, const fs::path& output) {
        std::string items = "input=" + pdf_.string() + "|output=" + output.string() + more;
        return testsupport::runProcess(PDFA_TOOL, {"-b", codes(items)},
                                       {{"TMPDIR", tmp_.string()}});
    }
    ProcessResult run(const std::string& more) { return run(more, out_); }

    static void expectSilentSuccess(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }

    std::optional<std::string> written(const std::string& name) const {
        return goldenxml::readFile(out_ / name);
    }

    testsupport::TempDir dir_;
    fs::path tmp_ = dir_ / "tmp";
    fs::path out_ = dir_ / "out";
    fs::path pdf_ = dir_ / "book.pdf";
};

}  // namespace

TEST_F(ConvertPageEditor, FixedWidthDividesTheSpread) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=ALL|divide=700:1"));
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    expectGoldenFile(out_ / "1.xml", "editor_wide_ltr_p1");
    expectGoldenFile(out_ / "2-w0.xml", "editor_wide_ltr_p2_w0");
    expectGoldenFile(out_ / "2-w1.xml", "editor_wide_ltr_p2_w1");
    expectGoldenFile(out_ / "3.xml", "editor_wide_ltr_p3");
}

TEST_F(ConvertPageEditor, DetectedWidthDividesTheSpread) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=ALL|d=1"));
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    expectGoldenFile(out_ / "1.xml", "editor_wide_ltr_p1");
    expectGoldenFile(out_ / "2-w0.xml", "editor_wide_ltr_p2_w0");
    expectGoldenFile(out_ / "2-w1.xml", "editor_wide_ltr_p2_w1");
}

TEST_F(ConvertPageEditor, ZeroWidthWithAPieceAfterItAlsoDetects) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=2|divide=0:5"));
    EXPECT_EQ(fileNames(out_), (Lines{"2-w0.xml", "2-w1.xml"}));
}

TEST_F(ConvertPageEditor, HostWidthAboveTheSpreadDividesNothing) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=ALL|divide=800:1"));
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2.xml", "3.xml"}));
}

TEST_F(ConvertPageEditor, WideModeTwoDividesEveryPage) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=1,3|divide=2"));
    EXPECT_EQ(fileNames(out_), (Lines{"1-w0.xml", "1-w1.xml", "3-w0.xml", "3-w1.xml"}));
    expectGoldenFile(out_ / "1-w0.xml", "editor_wide_mode2_p1_w0");
    expectGoldenFile(out_ / "1-w1.xml", "editor_wide_mode2_p1_w1");
    expectGoldenFile(out_ / "3-w0.xml", "editor_wide_mode2_p3_w0");
    EXPECT_EQ(written("3-w1.xml"), kEmptySecond);
}

TEST_F(ConvertPageEditor, AspectRatioFindsTheSpread) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=2|ar=0.75|divide=1"));
    expectGoldenFile(out_ / "2-w0.xml", "editor_wide_ltr_p2_w0");
    expectGoldenFile(out_ / "2-w1.xml", "editor_wide_ltr_p2_w1");
}

TEST_F(ConvertPageEditor, AspectRatioAloneDividesNothing) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=2|ar=0.75"));
    EXPECT_EQ(fileNames(out_), (Lines{"2.xml"}));
}

TEST_F(ConvertPageEditor, RightToLeftBook) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=1-2|divide=700:1|r2l=1"));
    EXPECT_EQ(written("1.xml"), kEmptyFirst);
    expectGoldenFile(out_ / "2-w0.xml", "editor_wide_rtl_p2_w0");
    expectGoldenFile(out_ / "2-w1.xml", "editor_wide_rtl_p2_w1");
}

TEST_F(ConvertPageEditor, FolderGetsOneFilePerSelectedPage) {
    testsupport::PdfFixture pdf;
    pdf.pages(12, converttest::kSingle);
    pdf.write(pdf_);
    expectSilentSuccess(run("|range=10,3,1|divide=0"));
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "10.xml", "3.xml"}));
    EXPECT_EQ(written("10.xml"), kEmptyFirst);
}

TEST_F(ConvertPageEditor, SingleFileModeWritesOnlyTheLowestPage) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=2-3|divide=0", out_ / "Result.XML"));
    EXPECT_EQ(fileNames(out_), (Lines{"Result.XML"}));
    std::optional<std::string> result = written("Result.XML");
    ASSERT_TRUE(result);
    EXPECT_NE(result->find("http://over.example/middle"), std::string::npos) << *result;
}

TEST_F(ConvertPageEditor, SingleFileModeWritesTheDividedHalvesBesideTheFile) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=2-3|divide=700:1", out_ / "Result.xml"));
    EXPECT_EQ(fileNames(out_), (Lines{"Result-w0.xml", "Result-w1.xml"}));
    expectGoldenFile(out_ / "Result-w0.xml", "editor_wide_ltr_p2_w0");
}

TEST_F(ConvertPageEditor, EmptySelectionWritesNothing) {
    converttest::bookWithSpread().write(pdf_);
    expectSilentSuccess(run("|range=7-9|divide=0"));
    EXPECT_EQ(fileNames(out_), Lines());
}

TEST_F(ConvertPageEditor, StopRequestedBeforeTheJobWritesFilesWithoutLinks) {
    converttest::bookWithSpread().write(pdf_);
    testsupport::HostStopFlag flag(tmp_, "conv-7");
    flag.set();
    expectSilentSuccess(run("|range=ALL|divide=700:1|id=conv-7"));
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    EXPECT_EQ(written("1.xml"), kEmptyFirst);
    EXPECT_EQ(written("2-w0.xml"), kEmptyFirst);
    EXPECT_EQ(written("2-w1.xml"), kEmptySecond);
    EXPECT_EQ(written("3.xml"), kEmptyFirst);
}

TEST_F(ConvertPageEditor, WrongPasswordFailsTheJob) {
    converttest::bookWithSpread().writeEncrypted(pdf_, "user", "owner", "aes-128");
    ProcessResult result = run("|range=ALL|divide=0|password=wrong");
    EXPECT_EQ(result.exitStatus, 255);
    EXPECT_EQ(result.out, "failed to verify the password!!!\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(fileNames(out_), Lines());
}

TEST_F(ConvertPageEditor, RightPasswordOpensTheJob) {
    converttest::bookWithSpread().writeEncrypted(pdf_, "user", "owner", "rc4-128");
    expectSilentSuccess(run("|range=1|divide=700:1|p=user"));
    expectGoldenFile(out_ / "1.xml", "editor_wide_ltr_p1");
}

TEST_F(ConvertPageEditor, TextLinksOnRequest) {
    testsupport::PdfFixture pdf;
    pdf.page(converttest::kSingle)
        .text(72, 700, 12, "Visit www.example.com today")
        .annot(converttest::uriLink("60 100 160 130", "http://own.example/"));
    pdf.write(pdf_);
    expectSilentSuccess(run("|range=1|divide=0|t2l=link"));
    expectGoldenFile(out_ / "1.xml", "editor_text_links");
}
