// startConvert on its own: opening, unlocking and choosing the writer.

#include "convert/PDFAnnotations.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "convert/ConvertTestSupport.h"
#include "convert/GoldenXml.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

using converttest::fileNames;
using converttest::kSingle;
using converttest::pageConverter;
using converttest::RecordingReporter;
using converttest::uriLink;

namespace {

const std::string kOneLink =
    "<pageAnnos pageIndex=\"0\"><anno annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\">"
    "<action triggerEventType=\"mouseDown\" "
    "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionOpenURL\"><url>http://a.example/"
    "</url></action><location x=\"0.100000\" y=\"0.087500\" width=\"0.300000\" "
    "height=\"0.037500\"></location></anno></pageAnnos>";

testsupport::PdfFixture onePage() {
    testsupport::PdfFixture pdf;
    pdf.page(kSingle).annot(uriLink("60 700 240 730", "http://a.example/"));
    return pdf;
}

class StartConvert : public ::testing::Test {
protected:
    std::filesystem::path out() const { return dir_ / "1.xml"; }
    convert::PDFAnnotations converter(const std::filesystem::path& pdf) {
        return pageConverter(pdf, 1, out());
    }
    testsupport::TempDir dir_;
    platform::NeverStop neverStop_;
    RecordingReporter reporter_;
};

}  // namespace

TEST_F(StartConvert, MissingFileFailsSilently) {
    convert::PDFAnnotations c = converter(dir_ / "absent.pdf");
    EXPECT_FALSE(c.startConvert(neverStop_, reporter_));
    EXPECT_TRUE(reporter_.logLines.empty());
    EXPECT_TRUE(reporter_.outLines.empty());
    EXPECT_FALSE(c.pdfDoc);
    EXPECT_EQ(fileNames(dir_.path()), std::vector<std::string>{});
}

TEST_F(StartConvert, UnreadableFileFailsSilently) {
    std::ofstream(dir_ / "junk.pdf") << "this is no PDF";
    convert::PDFAnnotations c = converter(dir_ / "junk.pdf");
    bool converted = c.startConvert(neverStop_, reporter_);
    // The engine may repair anything it recognises; what matters is that nothing goes wrong.
    if (!converted) {
        EXPECT_TRUE(reporter_.logLines.empty());
    }
    EXPECT_TRUE(reporter_.outLines.empty());
}

TEST_F(StartConvert, WrongPasswordLogsInvalidPassword) {
    onePage().writeEncrypted(dir_ / "locked.pdf", "user", "owner", "aes-128");
    convert::PDFAnnotations c = converter(dir_ / "locked.pdf");
    c.pdfPassword = "wrong";
    EXPECT_FALSE(c.startConvert(neverStop_, reporter_));
    EXPECT_EQ(reporter_.logLines, std::vector<std::string>{"Invalid Password !"});
    EXPECT_FALSE(std::filesystem::exists(out()));
}

TEST_F(StartConvert, NoPasswordForALockedFileLogsInvalidPassword) {
    onePage().writeEncrypted(dir_ / "locked.pdf", "user", "owner", "rc4-128");
    convert::PDFAnnotations c = converter(dir_ / "locked.pdf");
    EXPECT_FALSE(c.startConvert(neverStop_, reporter_));
    EXPECT_EQ(reporter_.logLines, std::vector<std::string>{"Invalid Password !"});
}

TEST_F(StartConvert, RightPasswordUnlocks) {
    onePage().writeEncrypted(dir_ / "locked.pdf", "user", "owner", "aes-256");
    convert::PDFAnnotations c = converter(dir_ / "locked.pdf");
    c.pdfPassword = "user";
    EXPECT_TRUE(c.startConvert(neverStop_, reporter_));
    EXPECT_TRUE(reporter_.logLines.empty());
    EXPECT_EQ(goldenxml::readFile(out()), kOneLink);
}

TEST_F(StartConvert, EmptyUserPasswordOpensWhateverPasswordIsGiven) {
    onePage().writeEncrypted(dir_ / "owner-only.pdf", "", "owner", "aes-128");
    convert::PDFAnnotations c = converter(dir_ / "owner-only.pdf");
    c.pdfPassword = "wrong";
    EXPECT_TRUE(c.startConvert(neverStop_, reporter_));
    EXPECT_TRUE(reporter_.logLines.empty());
    EXPECT_EQ(goldenxml::readFile(out()), kOneLink);
}

TEST_F(StartConvert, PasswordOfAnUnencryptedFileIsIgnored) {
    onePage().write(dir_ / "plain.pdf");
    convert::PDFAnnotations c = converter(dir_ / "plain.pdf");
    c.pdfPassword = "anything";
    EXPECT_TRUE(c.startConvert(neverStop_, reporter_));
    EXPECT_EQ(goldenxml::readFile(out()), kOneLink);
}

TEST_F(StartConvert, MeasuresAndNumbersThePages) {
    testsupport::PdfFixture pdf;
    pdf.page(kSingle).page({0, 0, 1400, 800}).page({0, 0, 600, 800}, std::nullopt, 90);
    pdf.write(dir_ / "book.pdf");
    convert::PDFAnnotations c = converter(dir_ / "book.pdf");
    c.wideMode = 1;
    c.pageWidth = 700;
    EXPECT_TRUE(c.startConvert(neverStop_, reporter_));
    EXPECT_EQ(c.widthsOfPDF(), (std::vector<int>{600, 1400, 800}));
    ASSERT_EQ(c.aspectOfPDF().size(), 3u);
    EXPECT_FLOAT_EQ(c.aspectOfPDF()[0], 0.75f);
    EXPECT_FLOAT_EQ(c.aspectOfPDF()[1], 1.75f);
    EXPECT_FLOAT_EQ(c.aspectOfPDF()[2], 800.0f / 600.0f);
    EXPECT_EQ(c.indexesOfPDFDivided(), (std::vector<std::int64_t>{1, 2, 4}));
    EXPECT_EQ(c.NewPageIndexAt(1), 1);
    EXPECT_EQ(c.NewPageIndexAt(3), 4);
    EXPECT_EQ(c.NewPageIndexAt(0), 0);  // outside the book: the page itself
    EXPECT_EQ(c.NewPageIndexAt(4), 4);
    EXPECT_FALSE(c.isWidePageAt(0));
    EXPECT_TRUE(c.isWidePageAt(2));
    EXPECT_FALSE(c.isWidePageAt(4));
}

TEST_F(StartConvert, AnimationEditorSwitchChoosesTheSlideWriter) {
    onePage().write(dir_ / "plain.pdf");
    convert::PDFAnnotations c = converter(dir_ / "plain.pdf");
    c.isHTML5Annotions = true;
    EXPECT_TRUE(c.startConvert(neverStop_, reporter_));
    std::optional<std::string> written = goldenxml::readFile(out());
    ASSERT_TRUE(written);
    EXPECT_EQ(written->rfind("<slide>", 0), 0u) << *written;
}
