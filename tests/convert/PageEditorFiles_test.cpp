// The page-editor files a page converter writes for fixture PDFs, compared with golden files.

#include <gtest/gtest.h>

#include <string>

#include "convert/ConvertTestSupport.h"
#include "convert/GoldenXml.h"
#include "convert/PDFAnnotations.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

using converttest::bookWithSpread;
using converttest::destLink;
using converttest::fileNames;
using converttest::kSingle;
using converttest::named;
using converttest::pageConverter;
using converttest::RecordingReporter;
using converttest::squareWithAction;
using converttest::StopAfterPolls;
using converttest::uriLink;
using goldenxml::expectGoldenFile;
using testsupport::PdfFixture;

namespace {

class PageEditorFiles : public ::testing::Test {
protected:
    std::filesystem::path write(const PdfFixture& pdf, const std::string& name = "in.pdf") {
        std::filesystem::path path = dir_ / name;
        pdf.write(path);
        return path;
    }
    // Runs the converter for page into out/<page>.xml and expects it to succeed.
    void convert(convert::PDFAnnotations& converter, const platform::StopFlag& stop) {
        RecordingReporter reporter;
        EXPECT_TRUE(converter.startConvert(stop, reporter));
        EXPECT_TRUE(reporter.outLines.empty());
        EXPECT_TRUE(reporter.logLines.empty());
    }
    convert::PDFAnnotations converterFor(const std::filesystem::path& pdf, std::int64_t page) {
        std::filesystem::create_directories(out());
        return pageConverter(pdf, page, out() / (std::to_string(page) + ".xml"));
    }
    std::filesystem::path out() const { return dir_ / "out"; }

    testsupport::TempDir dir_;
    platform::NeverStop neverStop_;
};

}  // namespace

TEST_F(PageEditorFiles, EveryKindOfActionOnAnUndividedPage) {
    PdfFixture pdf;
    pdf.page(kSingle)
        .annot(uriLink("60 700 240 730", "http://a.example/path?x=1&y=2"))
        .annot(destLink("60 600 160 630", "{page:1} /XYZ 0 800 0"))
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [300 100 400 150] /A << /S /GoTo /D "
            "[{page:1} /Fit] >> >>")
        .annot(uriLink("60 500 240 530", "http://b.example/%2541"))
        .annot(uriLink("60 400 240 430", "http://c.example/100%"))
        .annot("<< /Type /Annot /Subtype /Text /Rect [10 10 30 30] /Contents (note) >>")
        .annot("<< /Type /Annot /Subtype /Link /Rect [10 40 30 60] >>")
        .annot(
            "<< /Type /Annot /Subtype /Link /Rect [10 70 30 90] /A << /S /Launch /F (a.exe) "
            ">> >>")
        .annot(squareWithAction("400 400 500 450", "<< /S /URI /URI (http://square.example/) >>"))
        .annot(squareWithAction("400 300 500 350", "<< /S /GoTo /D [{page:1} /Fit] >>"))
        .annot(squareWithAction("400 200 500 250", "<< /S /Launch /F (a.exe) >>"))
        .annot("<< /Type /Annot /Subtype /Square /Rect [400 100 500 150] >>");
    pdf.page(kSingle);
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    convert(converter, neverStop_);
    EXPECT_EQ(fileNames(out()), std::vector<std::string>{"1.xml"});
    expectGoldenFile(out() / "1.xml", "editor_actions");
}

TEST_F(PageEditorFiles, NamedActionsAreClampedAtTheBooksEnds) {
    PdfFixture pdf;
    for (int page = 0; page < 3; ++page) {
        pdf.page(kSingle)
            .annot(squareWithAction("10 10 20 20", named("PrevPage")))
            .annot(squareWithAction("30 10 40 20", named("NextPage")))
            .annot(squareWithAction("50 10 60 20", named("FirstPage")))
            .annot(squareWithAction("70 10 80 20", named("LastPage")))
            .annot(squareWithAction("90 10 100 20", named("GoBack")))
            // A link's own named action is not one the page editor follows.
            .annot("<< /Type /Annot /Subtype /Link /Rect [110 10 120 20] /A " + named("NextPage") +
                   " >>");
    }
    std::filesystem::path in = write(pdf);
    for (std::int64_t page : {1, 3}) {
        convert::PDFAnnotations converter = converterFor(in, page);
        convert(converter, neverStop_);
    }
    expectGoldenFile(out() / "1.xml", "editor_named_first_page");
    expectGoldenFile(out() / "3.xml", "editor_named_last_page");
}

TEST_F(PageEditorFiles, RotatedPageMeasuresTheDisplayedPage) {
    PdfFixture pdf;
    pdf.page(kSingle, platform::Rect{0, 0, 600, 800}, 90)
        .annot(uriLink("100 200 150 240", "http://turned.example/"));
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    convert(converter, neverStop_);
    expectGoldenFile(out() / "1.xml", "editor_rotated_90");
}

// 296.936 / 362.835 = 0.81837749...; the engine's floats would give 0.818378.
TEST_F(PageEditorFiles, LocationsAreComputedFromTheDecimalsTheFileWrites) {
    PdfFixture pdf;
    pdf.page({0, 0, 362.835, 272.126})
        .annot(uriLink("296.936 10.959 303.91 19.925", "http://exact.example/"));
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    convert(converter, neverStop_);
    EXPECT_EQ(goldenxml::readFile(out() / "1.xml").value_or(""),
              "<pageAnnos pageIndex=\"0\"><anno "
              "annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\"><action "
              "triggerEventType=\"mouseDown\" "
              "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionOpenURL\"><url>http://"
              "exact.example/</url></action><location x=\"0.818377\" y=\"0.926780\" "
              "width=\"0.019221\" height=\"0.032948\"></location></anno></pageAnnos>");
}

TEST_F(PageEditorFiles, FixedWidthDividesTheSpreadAndRenumbers) {
    std::filesystem::path in = write(bookWithSpread());
    for (std::int64_t page : {1, 2, 3}) {
        convert::PDFAnnotations converter = converterFor(in, page);
        converter.wideMode = 1;
        converter.pageWidth = 700;
        convert(converter, neverStop_);
    }
    EXPECT_EQ(fileNames(out()),
              (std::vector<std::string>{"1.xml", "2-w0.xml", "2-w1.xml", "3.xml"}));
    expectGoldenFile(out() / "1.xml", "editor_wide_ltr_p1");
    expectGoldenFile(out() / "2-w0.xml", "editor_wide_ltr_p2_w0");
    expectGoldenFile(out() / "2-w1.xml", "editor_wide_ltr_p2_w1");
    expectGoldenFile(out() / "3.xml", "editor_wide_ltr_p3");
}

TEST_F(PageEditorFiles, RightToLeftBookSwapsTheHalvesAndDropsUndividedLinks) {
    std::filesystem::path in = write(bookWithSpread());
    for (std::int64_t page : {1, 2}) {
        convert::PDFAnnotations converter = converterFor(in, page);
        converter.wideMode = 1;
        converter.pageWidth = 700;
        converter.isRight2Left = true;
        convert(converter, neverStop_);
    }
    EXPECT_EQ(goldenxml::readFile(out() / "1.xml"), "<pageAnnos pageIndex=\"0\"></pageAnnos>");
    expectGoldenFile(out() / "2-w0.xml", "editor_wide_rtl_p2_w0");
    expectGoldenFile(out() / "2-w1.xml", "editor_wide_rtl_p2_w1");
}

TEST_F(PageEditorFiles, WideModeTwoDividesEveryPage) {
    std::filesystem::path in = write(bookWithSpread());
    for (std::int64_t page : {1, 3}) {
        convert::PDFAnnotations converter = converterFor(in, page);
        converter.wideMode = 2;
        convert(converter, neverStop_);
    }
    EXPECT_EQ(fileNames(out()),
              (std::vector<std::string>{"1-w0.xml", "1-w1.xml", "3-w0.xml", "3-w1.xml"}));
    expectGoldenFile(out() / "1-w0.xml", "editor_wide_mode2_p1_w0");
    expectGoldenFile(out() / "1-w1.xml", "editor_wide_mode2_p1_w1");
    expectGoldenFile(out() / "3-w0.xml", "editor_wide_mode2_p3_w0");
    EXPECT_EQ(goldenxml::readFile(out() / "3-w1.xml"), "<pageAnnos pageIndex=\"1\"></pageAnnos>");
}

TEST_F(PageEditorFiles, AspectRatioModeFindsTheSpread) {
    std::filesystem::path in = write(bookWithSpread());
    convert::PDFAnnotations converter = converterFor(in, 2);
    converter.wideMode = 1;
    converter.isNewMode = true;
    converter.aspectRatio = 0.75;
    convert(converter, neverStop_);
    EXPECT_EQ(fileNames(out()), (std::vector<std::string>{"2-w0.xml", "2-w1.xml"}));
    expectGoldenFile(out() / "2-w0.xml", "editor_wide_ltr_p2_w0");
}

TEST_F(PageEditorFiles, WidgetWithAURIMouseDownActionOpensIt) {
    PdfFixture pdf;
    pdf.page(kSingle)
        .annot(
            "<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [60 700 160 730] /AA << /D << /S "
            "/URI /URI (http://widget.example/) >> >> >>")
        .annot(
            "<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [60 600 160 630] /A << /S /URI "
            "/URI (http://mouse-up-only.example/) >> >>");
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    convert(converter, neverStop_);
    expectGoldenFile(out() / "1.xml", "editor_widget");
}

TEST_F(PageEditorFiles, LinkWhoseAddressOnlyTheRawListHas) {
    PdfFixture pdf;
    pdf.page(kSingle).annot(
        "<< /Type /Annot /Subtype /Link /Rect [60 700 160 730] /A << /S /URI /URI#20action "
        "(http://raw.example/) >> >>");
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    convert(converter, neverStop_);
    expectGoldenFile(out() / "1.xml", "editor_raw_only");
}

TEST_F(PageEditorFiles, StopBeforeTheFirstLinkWritesBothHalvesEmpty) {
    std::filesystem::path in = write(bookWithSpread());
    convert::PDFAnnotations converter = converterFor(in, 2);
    converter.wideMode = 2;
    StopAfterPolls stopAtOnce(0);
    convert(converter, stopAtOnce);
    EXPECT_EQ(goldenxml::readFile(out() / "2-w0.xml"), "<pageAnnos pageIndex=\"0\"></pageAnnos>");
    EXPECT_EQ(goldenxml::readFile(out() / "2-w1.xml"), "<pageAnnos pageIndex=\"1\"></pageAnnos>");
}

TEST_F(PageEditorFiles, StopMidPageKeepsTheLinksHandledSoFar) {
    PdfFixture pdf;
    pdf.page(kSingle)
        .annot(uriLink("60 700 160 730", "http://first.example/"))
        .annot(uriLink("60 600 160 630", "http://second.example/"))
        .annot(uriLink("60 500 160 530", "http://third.example/"));
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    // The raw list read polls once per annotation, the link loop once per link: the stop comes
    // before the second link.
    StopAfterPolls stopAfterOneLink(3 + 1);
    convert(converter, stopAfterOneLink);
    expectGoldenFile(out() / "1.xml", "editor_stopped_after_one");
}

TEST_F(PageEditorFiles, TextLinksFollowThePagesOwnLinks) {
    PdfFixture pdf;
    pdf.page(kSingle)
        .text(72, 700, 12, "Visit www.example.com today")
        .annot(uriLink("60 100 160 130", "http://own.example/"));
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    converter.isText2Link = true;
    convert(converter, neverStop_);
    expectGoldenFile(out() / "1.xml", "editor_text_links");
}

// The same page cropped below the text: the address is in the content stream but never shown.
TEST_F(PageEditorFiles, TextLinksOutsideTheCropBoxAreLeftOut) {
    PdfFixture pdf;
    pdf.page(kSingle, platform::Rect{0, 0, 600, 650})
        .text(72, 700, 12, "Visit www.example.com today")
        .annot(uriLink("60 100 160 130", "http://own.example/"));
    convert::PDFAnnotations converter = converterFor(write(pdf), 1);
    converter.isText2Link = true;
    convert(converter, neverStop_);
    std::optional<std::string> written = goldenxml::readFile(out() / "1.xml");
    ASSERT_TRUE(written);
    EXPECT_NE(written->find("http://own.example/"), std::string::npos) << *written;
    EXPECT_EQ(written->find("www.example.com"), std::string::npos) << *written;
}
