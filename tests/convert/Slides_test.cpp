// The animation-editor writer run through PDFAnnotations on small PDFs made for each case.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "SlidesTestSupport.h"
#include "convert/GoldenXml.h"
#include "convert/PDFAnnotations.h"
#include "platform/PugiXML.h"
#include "platform/Reporter.h"
#include "platform/StopFlag.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using goldenxml::readFile;
using slidestest::describeLinks;
using Lines = std::vector<std::string>;

class RecordingReporter final : public platform::Reporter {
public:
    void out(const std::string& line) override { lines.push_back("out: " + line); }
    void log(const std::string& line) override { lines.push_back("log: " + line); }
    void progress(const std::string& argument) override {
        lines.push_back("progress: " + argument);
    }
    std::vector<std::string> lines;
};

class AlwaysStop final : public platform::StopFlag {
public:
    bool isSet() const override { return true; }
};

std::string uriLink(const std::string& rect, const std::string& uri) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /A << /S /URI /URI (" + uri +
           ") >> >>";
}

std::string gotoLink(const std::string& rect, int page, double x = 0) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect +
           "] /Dest [{page:" + std::to_string(page) + "} /XYZ " + std::to_string(x) + " 0 null] >>";
}

// A square annotation whose mouse-up action is a named page action: annotations other than
// links and widgets take their action from there.
std::string namedAction(const std::string& rect, const std::string& name) {
    return "<< /Type /Annot /Subtype /Square /Rect [" + rect + "] /A << /S /Named /N /" + name +
           " >> >>";
}

class Slides : public ::testing::Test {
protected:
    std::filesystem::path write(const testsupport::PdfFixture& pdf) {
        pdf.write(dir / "in.pdf");
        return dir / "in.pdf";
    }

    // A converter for one page, writing <page>.xml into the temporary folder.
    convert::PDFAnnotations converter(std::int64_t page) {
        convert::PDFAnnotations c;
        c.inputFile = (dir / "in.pdf").string();
        c.outputFile = (dir / (std::to_string(page) + ".xml")).string();
        c.pageNumber = page;
        c.isHTML5Annotions = true;
        c.typeOfText2Link = 3;
        return c;
    }

    void run(convert::PDFAnnotations& c, const platform::StopFlag& stop = platform::NeverStop()) {
        EXPECT_TRUE(c.startConvert(stop, reporter));
        EXPECT_EQ(reporter.lines, Lines());
    }

    std::filesystem::path out(const std::string& name) const { return dir / name; }

    std::vector<std::string> writtenFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            if (entry.path().filename() != "in.pdf") names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    testsupport::TempDir dir;
    RecordingReporter reporter;
};

TEST_F(Slides, PageWithoutLinksIsTheBlankSlideSizedToTheCropBox) {
    write(testsupport::PdfFixture().page({0, 0, 595.9, 842.7}));
    convert::PDFAnnotations c = converter(1);
    run(c);
    goldenxml::expectGoldenFile(out("1.xml"), "slides_blank");
    std::optional<std::string> bytes = readFile(out("1.xml"));
    ASSERT_TRUE(bytes);
    std::optional<platform::XmlDocument> slide = platform::XmlDocument::parse(*bytes);
    ASSERT_TRUE(slide);
    EXPECT_EQ(slidestest::dump(slide->root()), slidestest::blankSlideLines("595", "842"));
}

TEST_F(Slides, WritesEveryKindOfLinkInFull) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annot(uriLink("10 700 110 720", "https://a.example/path?x=1&y=2"))
              .annot(gotoLink("10 600 110 620", 2))
              .annot(namedAction("10 500 110 520", "NextPage"))
              .pages(2, {0, 0, 600, 800}));
    convert::PDFAnnotations c = converter(1);
    run(c);
    goldenxml::expectGoldenFile(out("1.xml"), "slides_link_kinds");
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"0 [10 79 100 20] openUrl https://a.example/path?x=1&y=2 _blank",
                     "1 [10 179 100 20] goToPage Fixed Page 3",
                     "2 [10 280 100 20] goToPage Fixed Page 2"}));
}

TEST_F(Slides, SkippedLinksLeaveGapsInTheIds) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annot(uriLink("0 0 60 80", "https://a.example/"))
              .annot("<< /Type /Annot /Subtype /Text /Rect [0 0 60 80] /Contents (note) >>")
              .annot(gotoLink("0 0 60 80", 1))
              .annot("<< /Type /Annot /Subtype /Link /Rect [300 300 360 380] >>")
              .annot(uriLink("0 0 60 80", "https://b.example/x]]>y"))
              .annot(uriLink("0 0 60 80", "https://c.example/%01"))
              .annot(uriLink("0 0 60 80", "https://d.example/%"))
              .annot(uriLink("0 0 60 80", "mailto:someone@example.com"))
              .pages(1, {0, 0, 600, 800}));
    convert::PDFAnnotations c = converter(1);
    run(c);
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"0 [0 720 60 80] openUrl https://a.example/ _blank",
                     "2 [0 720 60 80] goToPage Fixed Page 2",
                     "7 [0 720 60 80] openUrl mailto:someone@example.com _blank"}));
}

TEST_F(Slides, DividedPageSplitsAnOverflowingLinkWithACopy) {
    write(testsupport::PdfFixture()
              .page({0, 0, 1200, 800})
              .annot(uriLink("480 100 840 130", "https://a.example/"))
              .annot(gotoLink("480 200 840 230", 1))
              .annot(gotoLink("700 300 800 330", 1, 700))
              .pages(2, {0, 0, 1200, 800}));
    convert::PDFAnnotations c = converter(1);
    c.wideMode = 2;
    run(c);
    EXPECT_EQ(writtenFiles(), (Lines{"1-w0.xml", "1-w1.xml"}));
    // Every page is divided in mode 2, so page 2 starts at page 3 of the divided book; a target
    // point in the right half of the spread goes to page 4. The copies keep page 2.
    EXPECT_EQ(describeLinks(out("1-w0.xml")),
              (Lines{"0 [960 670 720 30] openUrl https://a.example/ _blank",
                     "1 [960 570 720 30] goToPage Fixed Page 3"}));
    EXPECT_EQ(describeLinks(out("1-w1.xml")),
              (Lines{"1981 [960 670 479 30] openUrl https://a.example/ _blank",
                     "1982 [960 570 479 30] goToPage Fixed Page 2",
                     "2 [200 470 200 30] goToPage Fixed Page 4"}));
    goldenxml::expectGoldenFile(out("1-w0.xml"), "slides_divided_w0");
    goldenxml::expectGoldenFile(out("1-w1.xml"), "slides_divided_w1");
}

TEST_F(Slides, RightToLeftDividedPagePutsTheRightHalfFirstWithoutCopies) {
    write(testsupport::PdfFixture()
              .page({0, 0, 1200, 800})
              .annot(uriLink("700 100 800 130", "https://right.example/"))
              .annot(uriLink("100 100 800 130", "https://left.example/")));
    convert::PDFAnnotations c = converter(1);
    c.wideMode = 2;
    c.isRight2Left = true;
    run(c);
    EXPECT_EQ(describeLinks(out("1-w0.xml")),
              (Lines{"0 [200 670 200 30] openUrl https://right.example/ _blank"}));
    EXPECT_EQ(describeLinks(out("1-w1.xml")),
              (Lines{"1 [200 670 1400 30] openUrl https://left.example/ _blank"}));
}

TEST_F(Slides, RightToLeftUndividedPageDropsItsLinks) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annot(uriLink("10 10 60 60", "https://a.example/"))
              .annot(gotoLink("10 100 60 160", 0)));
    convert::PDFAnnotations c = converter(1);
    c.isRight2Left = true;
    run(c);
    EXPECT_EQ(writtenFiles(), (Lines{"1.xml"}));
    EXPECT_EQ(describeLinks(out("1.xml")), Lines());
}

TEST_F(Slides, WideTestDecidesWhichPagesAreDivided) {
    write(testsupport::PdfFixture()
              .page({0, 0, 500, 800})
              .annot(gotoLink("0 0 50 80", 2))
              .page({0, 0, 1000, 800})
              .annot(gotoLink("0 0 50 80", 2))
              .page({0, 0, 500, 800}));
    for (std::int64_t page : {1, 2}) {
        convert::PDFAnnotations c = converter(page);
        c.wideMode = 1;
        c.pageWidth = 500;
        run(c);
    }
    EXPECT_EQ(writtenFiles(), (Lines{"1.xml", "2-w0.xml", "2-w1.xml"}));
    // Page 3 becomes page 4 of the divided book, but an undivided page keeps the number of the
    // undivided PDF.
    EXPECT_EQ(describeLinks(out("1.xml")), (Lines{"0 [0 720 50 80] goToPage Fixed Page 3"}));
    EXPECT_EQ(describeLinks(out("2-w0.xml")), (Lines{"0 [0 720 100 80] goToPage Fixed Page 4"}));
    EXPECT_EQ(describeLinks(out("2-w1.xml")), Lines());
}

TEST_F(Slides, NamedActionsStayInsideTheBook) {
    testsupport::PdfFixture pdf;
    pdf.page({0, 0, 600, 800})
        .annot(namedAction("0 0 60 80", "LastPage"))
        .annot(namedAction("0 0 60 80", "PrevPage"))
        .annot(namedAction("0 0 60 80", "FirstPage"))
        .annot(namedAction("0 0 60 80", "NextPage"))
        .annot(namedAction("0 0 60 80", "GoBack"));
    pdf.pages(8, {0, 0, 600, 800});
    pdf.page({0, 0, 600, 800})
        .annot(namedAction("0 0 60 80", "NextPage"))
        .annot(namedAction("0 0 60 80", "PrevPage"));
    write(pdf);
    for (std::int64_t page : {1, 10}) {
        convert::PDFAnnotations c = converter(page);
        run(c);
    }
    EXPECT_EQ(
        describeLinks(out("1.xml")),
        (Lines{"0 [0 720 60 80] goToPage Fixed Page 10", "1 [0 720 60 80] goToPage Fixed Page 1",
               "2 [0 720 60 80] goToPage Fixed Page 1", "3 [0 720 60 80] goToPage Fixed Page 2",
               "4 [0 720 60 80] goToPage Fixed Page 1"}));
    EXPECT_EQ(describeLinks(out("10.xml")), (Lines{"0 [0 720 60 80] goToPage Fixed Page 10",
                                                   "1 [0 720 60 80] goToPage Fixed Page 9"}));
}

TEST_F(Slides, StopBeforeTheFirstLinkWritesEmptySlides) {
    write(testsupport::PdfFixture()
              .page({0, 0, 1200, 800})
              .annot(uriLink("480 100 840 130", "https://a.example/"))
              .annot(gotoLink("0 0 60 80", 0)));
    convert::PDFAnnotations c = converter(1);
    c.wideMode = 2;
    run(c, AlwaysStop());
    EXPECT_EQ(writtenFiles(), (Lines{"1-w0.xml", "1-w1.xml"}));
    EXPECT_EQ(describeLinks(out("1-w0.xml")), Lines());
    EXPECT_EQ(describeLinks(out("1-w1.xml")), Lines());
}

TEST_F(Slides, DecodedLineBreaksInAWebAddressAreDeleted) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annot(uriLink("0 0 60 80", "https://example.com/first%0D%0Asecond"))
              .annot(uriLink("0 0 60 80", "https://example.com/%2541")));
    convert::PDFAnnotations c = converter(1);
    run(c);
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"0 [0 720 60 80] openUrl https://example.com/firstsecond _blank",
                     "1 [0 720 60 80] openUrl https://example.com/A _blank"}));
}

TEST_F(Slides, WebAddressesMissingFromTheModelComeFromTheRawLinks) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annot("<< /Type /Annot /Subtype /Link /Rect [0 0 60 80] "
                     "/A << /S /URI /URI#20action (https://raw.example/) >> >>")
              .annot("<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [100 0 160 80] "
                     "/AA << /D << /S /URI /URI (https://widget.example/) >> >> >>")
              .annot("<< /Type /Annot /Subtype /Widget /FT /Btn /Rect [300 0 360 80] >>"));
    convert::PDFAnnotations c = converter(1);
    run(c);
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"0 [0 720 60 80] openUrl https://raw.example/ _blank",
                     "1 [100 720 60 80] openUrl https://widget.example/ _blank"}));
}

TEST_F(Slides, PositionsAreCropBoxPointsEvenOnRotatedPages) {
    // Crop box 500 x 700 at (100, 50); turned by 90 degrees the link's fractions are measured
    // against the turned page, yet multiplied by the unturned width and height.
    write(testsupport::PdfFixture()
              .page({0, 0, 700, 800}, platform::Rect{100, 50, 500, 700}, 90)
              .annot(uriLink("200 400 300 470", "https://a.example/")));
    convert::PDFAnnotations c = converter(1);
    run(c);
    // x = (400 - 50) / 700, y = (100 + (500 - 300)) / 500, w = 70 / 700, h = 100 / 500; the
    // top, 1 - (0.6 + 0.2), falls just below 0.2 in double precision.
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"0 [250 139 50 140] openUrl https://a.example/ _blank"}));
    std::optional<std::string> bytes = readFile(out("1.xml"));
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<width>500</width><height>700</height>"), std::string::npos);
}

TEST_F(Slides, OutputFileNamesOfADividedPageKeepTheExtension) {
    write(testsupport::PdfFixture().page({0, 0, 1200, 800}));
    convert::PDFAnnotations c = converter(1);
    c.outputFile = (dir / "Slide.Data.XML").string();
    c.wideMode = 2;
    run(c);
    EXPECT_EQ(writtenFiles(), (Lines{"Slide.Data-w0.XML", "Slide.Data-w1.XML"}));
}

TEST_F(Slides, MissingDocumentWritesNothing) {
    convert::PDFAnnotations c = converter(1);
    c.parsePageForAnimationEditor(platform::NeverStop());
    EXPECT_EQ(writtenFiles(), Lines());
}

TEST_F(Slides, TextLinksFollowThePagesOwnLinksWithContinuingIds) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .text(72, 700, 12, "Visit www.example.org for more.")
              .text(72, 600, 12, "Write to info@example.com today.")
              .annot(uriLink("0 0 60 80", "https://a.example/"))
              .annot(namedAction("0 0 60 80", "FirstPage"))
              .annot(gotoLink("0 0 60 80", 0)));
    convert::PDFAnnotations c = converter(1);
    c.isText2Link = true;
    run(c);
    EXPECT_EQ(
        describeLinks(out("1.xml")),
        (Lines{"0 [0 720 60 80] openUrl https://a.example/ _blank",
               "1 [0 720 60 80] goToPage Fixed Page 1", "2 [0 720 60 80] goToPage Fixed Page 1",
               "3 [98 87 95 16] openUrl http://www.example.org _blank",
               "4 [116 187 102 16] openUrl mailto:info@example.com _blank"}));
}

TEST_F(Slides, DamagedAnnotationEntriesDoNotStopThePage) {
    write(testsupport::PdfFixture()
              .page({0, 0, 600, 800})
              .annotsEntry("42")
              .annotsEntry("999 0 R")
              .annotsEntry("<< /Subtype /Link /Rect [1 2] /A << /S /URI /URI 7 >> >>")
              .annot(uriLink("0 0 60 80", "https://a.example/"))
              .annot("<< /Type /Annot /Subtype /Widget /Rect [0 0 60 80] /AA << /D 5 >> >>"));
    convert::PDFAnnotations c = converter(1);
    run(c);
    // The number and the missing object are no annotations; the link with the broken rectangle
    // and address is one, without a target, so the good link comes second.
    EXPECT_EQ(describeLinks(out("1.xml")),
              (Lines{"1 [0 720 60 80] openUrl https://a.example/ _blank"}));
}

TEST_F(Slides, PageWithoutAnnotsArrayConverts) {
    write(testsupport::PdfFixture().page({0, 0, 600, 800}).annotsValue("(not an array)"));
    convert::PDFAnnotations c = converter(1);
    run(c);
    EXPECT_EQ(describeLinks(out("1.xml")), Lines());
}

}  // namespace
