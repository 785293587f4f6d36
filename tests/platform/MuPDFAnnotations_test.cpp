#include <gtest/gtest.h>

#include <sstream>

#include "platform/MuPDFDocument.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Action;
using platform::Annotation;
using platform::Document;
using testsupport::PdfFixture;

std::string formatNumber(double value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

std::string describe(const std::optional<platform::Destination>& destination) {
    if (!destination) return "-";
    return "p" + std::to_string(destination->pageIndex) + "@" + formatNumber(destination->point.x) +
           "," + formatNumber(destination->point.y);
}

std::string describe(const std::optional<Action>& action) {
    if (!action) return "none";
    switch (action->kind) {
        case Action::Kind::GoTo:
            return "goto " + describe(action->destination);
        case Action::Kind::URL:
            return "url " + action->url.value_or("?");
        case Action::Kind::Named:
            return "named " + action->name;
        case Action::Kind::Other:
            return "other";
    }
    return "?";
}

// One annotation per line: type [x y w h] url dest action.
std::string describe(const std::vector<Annotation>& annotations) {
    std::string out;
    for (const Annotation& a : annotations) {
        out += a.type + " [" + formatNumber(a.bounds.x) + " " + formatNumber(a.bounds.y) + " " +
               formatNumber(a.bounds.width) + " " + formatNumber(a.bounds.height) + "] " +
               a.url.value_or("-") + " " + describe(a.destination) + " " +
               describe(a.mouseUpAction) + "\n";
    }
    return out;
}

class MuPDFAnnotations : public ::testing::Test {
protected:
    std::string annotationsOf(const PdfFixture& fixture, int page = 0) {
        fixture.write(dir_ / "a.pdf");
        auto document = Document::open((dir_ / "a.pdf").string());
        EXPECT_TRUE(document.ok());
        return describe(document->annotations(page));
    }
    // Three pages; annotations go on the first.
    static PdfFixture book() {
        PdfFixture fixture;
        fixture.pages(3, {0, 0, 600, 800});
        return fixture;
    }
    testsupport::TempDir dir_;
};

PdfFixture withAnnotsOnFirstPage(const std::vector<std::string>& annots,
                                 PdfFixture fixture = PdfFixture()) {
    fixture.page({0, 0, 600, 800});
    for (const auto& a : annots) fixture.annot(a);
    fixture.pages(2, {0, 0, 600, 800});
    return fixture;
}

TEST_F(MuPDFAnnotations, UriLinkInAnnotsOrder) {
    auto fixture = withAnnotsOnFirstPage({
        "<< /Type /Annot /Subtype /Link /Rect [10 20 110 40] /A << /S /URI /URI (http://a.b/) >> "
        ">>",
        "<< /Type /Annot /Subtype /Text /Rect [0 0 5 5] >>",
        "<< /Subtype /Link /Rect [1 2 3 4] /A << /S /URI /URI (mailto:x@y.z) >> >>",
    });
    EXPECT_EQ(annotationsOf(fixture),
              "Link [10 20 100 20] http://a.b/ - url http://a.b/\n"
              "Text [0 0 5 5] - - none\n"
              "Link [1 2 2 2] mailto:x@y.z - url mailto:x@y.z\n");
}

TEST_F(MuPDFAnnotations, ReversedRectCornersGiveTheSameBounds) {
    auto fixture = withAnnotsOnFirstPage({"<< /Subtype /Link /Rect [110 40 10 20] >>",
                                          "<< /Subtype /Link /Rect [10 40 110 20] >>",
                                          "<< /Subtype /Link /Rect [10 20 110 40] >>"});
    EXPECT_EQ(annotationsOf(fixture),
              "Link [10 20 100 20] - - none\n"
              "Link [10 20 100 20] - - none\n"
              "Link [10 20 100 20] - - none\n");
}

// Reals reach the jobs as the decimals the file wrote, not as the engine's floats widened.
TEST_F(MuPDFAnnotations, NumbersAreTheDecimalsTheFileWrites) {
    auto fixture =
        withAnnotsOnFirstPage({"<< /Subtype /Link /Rect [296.936 10.959 303.91 19.925] "
                               "/Dest [{page:1} /XYZ 0.1 612.3 0] >>"});
    fixture.write(dir_ / "a.pdf");
    auto document = Document::open((dir_ / "a.pdf").string());
    ASSERT_TRUE(document.ok());
    std::vector<Annotation> annotations = document->annotations(0);
    ASSERT_EQ(annotations.size(), 1u);
    EXPECT_EQ(annotations[0].bounds,
              (platform::Rect{296.936, 10.959, 303.91 - 296.936, 19.925 - 10.959}));
    ASSERT_TRUE(annotations[0].destination);
    EXPECT_EQ(annotations[0].destination->point, (platform::Point{0.1, 612.3}));
}

TEST_F(MuPDFAnnotations, MissingRectNumbersCountAsZero) {
    auto fixture = withAnnotsOnFirstPage({"<< /Subtype /Link /Rect [10 20] >>",
                                          "<< /Subtype /Link /Rect [10 /x 30 (y)] >>",
                                          "<< /Subtype /Link >>"});
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 10 20] - - none\n"
              "Link [10 0 20 0] - - none\n"
              "Link [0 0 0 0] - - none\n");
}

TEST_F(MuPDFAnnotations, DestinationKinds) {
    auto fixture = withAnnotsOnFirstPage({
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /XYZ 72 700 0] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:2} /XYZ null null null] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitH 500] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitV 30] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitR 10 20 300 400] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /Fit] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitB] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitBH 250] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /FitBV 40] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:0}] >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [2 /Fit] >>",
    });
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] - p1@72,700 none\n"
              "Link [0 0 1 1] - p2@0,0 none\n"
              "Link [0 0 1 1] - p1@0,500 none\n"
              "Link [0 0 1 1] - p1@30,0 none\n"
              "Link [0 0 1 1] - p1@10,20 none\n"
              "Link [0 0 1 1] - p1@0,0 none\n"
              "Link [0 0 1 1] - p1@0,0 none\n"
              "Link [0 0 1 1] - p1@0,250 none\n"
              "Link [0 0 1 1] - p1@40,0 none\n"
              "Link [0 0 1 1] - p0@0,0 none\n"
              "Link [0 0 1 1] - p2@0,0 none\n");
}

TEST_F(MuPDFAnnotations, DestinationsOutsideTheDocumentDoNotResolve) {
    PdfFixture fixture;
    std::string notAPage = fixture.object("<< /Type /Font >>");
    fixture = withAnnotsOnFirstPage(
        {
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest [" + notAPage + " /Fit] >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest [99 0 R /Fit] >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest [7 /Fit] >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest [] >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest (nowhere) >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest << /S /GoTo /D [{page:1} /Fit] >> >>",
        },
        fixture);
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n");
}

TEST_F(MuPDFAnnotations, NamedDestinationsInCatalogDests) {
    PdfFixture fixture;
    fixture.catalogEntry("Dests",
                         "<< /chap1 [{page:1} /XYZ 0 792 0] /chap2 << /D [{page:2} /Fit] >> >>");
    fixture = withAnnotsOnFirstPage({"<< /Subtype /Link /Rect [0 0 1 1] /Dest /chap1 >>",
                                     "<< /Subtype /Link /Rect [0 0 1 1] /Dest (chap2) >>",
                                     "<< /Subtype /Link /Rect [0 0 1 1] /Dest /chap3 >>"},
                                    fixture);
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] - p1@0,792 none\n"
              "Link [0 0 1 1] - p2@0,0 none\n"
              "Link [0 0 1 1] - - none\n");
}

TEST_F(MuPDFAnnotations, NamedDestinationsInNameTree) {
    PdfFixture fixture;
    std::string leaf1 = fixture.object(
        "<< /Limits [(a) (c)] /Names [(a) [{page:1} /Fit] (c) << /D [{page:2} /FitH 10] >>] >>");
    std::string leaf2 =
        fixture.object("<< /Limits [(m) (z)] /Names [(m) [{page:0} /XYZ 5 6 0] (z) 12] >>");
    fixture.catalogEntry("Names", "<< /Dests << /Kids [" + leaf1 + " " + leaf2 + "] >> >>");
    fixture = withAnnotsOnFirstPage(
        {
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest (a) >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest /c >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /GoTo /D (m) >> >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest (b) >>",
            "<< /Subtype /Link /Rect [0 0 1 1] /Dest (z) >>",
        },
        fixture);
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] - p1@0,0 none\n"
              "Link [0 0 1 1] - p2@0,10 none\n"
              "Link [0 0 1 1] - p0@5,6 goto p0@5,6\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - - none\n");
}

TEST_F(MuPDFAnnotations, NameTreeCycleEnds) {
    PdfFixture fixture;
    std::string node = fixture.object("<< /Kids [{obj:0}] >>");
    fixture.catalogEntry("Names", "<< /Dests " + node + " >>");
    fixture = withAnnotsOnFirstPage({"<< /Subtype /Link /Rect [0 0 1 1] /Dest (a) >>"}, fixture);
    EXPECT_EQ(annotationsOf(fixture), "Link [0 0 1 1] - - none\n");
}

TEST_F(MuPDFAnnotations, EveryActionKind) {
    auto fixture = withAnnotsOnFirstPage({
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /GoTo /D [{page:2} /XYZ 1 2 0] >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /GoTo /D [99 0 R /Fit] >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /Named /N /NextPage >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /Named >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /GoToR /F (other.pdf) /D [0 /Fit] >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /JavaScript /JS (app.alert(1)) >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /Launch /F (x.exe) >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /URI (http://no.kind/) >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A /NotADictionary >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /Dest [{page:1} /Fit] "
        "/A << /S /GoTo /D [{page:2} /Fit] >> >>",
    });
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] - p2@1,2 goto p2@1,2\n"
              "Link [0 0 1 1] - - goto -\n"
              "Link [0 0 1 1] - - named NextPage\n"
              "Link [0 0 1 1] - - named \n"
              "Link [0 0 1 1] - - other\n"
              "Link [0 0 1 1] - - other\n"
              "Link [0 0 1 1] - - other\n"
              "Link [0 0 1 1] - - url ?\n"
              "Link [0 0 1 1] - - other\n"
              "Link [0 0 1 1] - - none\n"
              "Link [0 0 1 1] - p1@0,0 goto p2@0,0\n");
}

TEST_F(MuPDFAnnotations, WidgetsCarryTheirActionButNoLinkFields) {
    auto fixture = withAnnotsOnFirstPage({
        "<< /Subtype /Widget /FT /Btn /Rect [5 5 50 25] "
        "/A << /S /URI /URI (https://form.example/) >> >>",
        "<< /Subtype /Widget /FT /Btn /Rect [5 5 50 25] /A << /S /Named /N /PrevPage >> >>",
        "<< /Subtype /Widget /FT /Tx /Rect [5 5 50 25] "
        "/AA << /D << /S /URI /URI (https://down.example/) >> >> >>",
    });
    EXPECT_EQ(annotationsOf(fixture),
              "Widget [5 5 45 20] - - url https://form.example/\n"
              "Widget [5 5 45 20] - - named PrevPage\n"
              "Widget [5 5 45 20] - - none\n");
}

TEST_F(MuPDFAnnotations, UriTextIsDecoded) {
    auto fixture = withAnnotsOnFirstPage({
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI <FEFF0068007400740070003A002F002F"
        "00E9002E0063006F> >> >>",
        "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://x.y/a%20b) >> >>",
    });
    EXPECT_EQ(annotationsOf(fixture),
              "Link [0 0 1 1] http://\xC3\xA9.co - url http://\xC3\xA9.co\n"
              "Link [0 0 1 1] http://x.y/a%20b - url http://x.y/a%20b\n");
}

TEST_F(MuPDFAnnotations, NonDictionaryEntriesAreSkipped) {
    PdfFixture fixture;
    fixture.page({0, 0, 600, 800})
        .annotsEntry("42")
        .annotsEntry("null")
        .annotsEntry("99 0 R")
        .annotsEntry("<< /Subtype /Link /Rect [1 1 2 2] >>")
        .annot("<< /Subtype /Square /Rect [0 0 3 3] >>");
    EXPECT_EQ(annotationsOf(fixture),
              "Link [1 1 1 1] - - none\n"
              "Square [0 0 3 3] - - none\n");
}

TEST_F(MuPDFAnnotations, IndirectAnnotsArray) {
    PdfFixture fixture;
    std::string annots = fixture.object("[<< /Subtype /Link /Rect [1 1 2 2] >>]");
    fixture.page({0, 0, 600, 800}).annotsValue(annots);
    EXPECT_EQ(annotationsOf(fixture), "Link [1 1 1 1] - - none\n");
}

TEST_F(MuPDFAnnotations, MalformedAnnotsGiveNothing) {
    EXPECT_EQ(annotationsOf(PdfFixture().page({0, 0, 1, 1}).annotsValue("<< /Not /AnArray >>")),
              "");
    EXPECT_EQ(annotationsOf(PdfFixture().page({0, 0, 1, 1}).annotsValue("17")), "");
    EXPECT_EQ(annotationsOf(PdfFixture().page({0, 0, 1, 1})), "");
}

TEST_F(MuPDFAnnotations, ManyLinksOnOnePage) {
    PdfFixture fixture;
    fixture.page({0, 0, 600, 800});
    for (int i = 0; i < 2000; ++i) {
        fixture.annotsEntry("<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (u" +
                            std::to_string(i) + ") >> >>");
    }
    fixture.write(dir_ / "many.pdf");
    auto document = Document::open((dir_ / "many.pdf").string());
    ASSERT_TRUE(document.ok());
    auto annotations = document->annotations(0);
    ASSERT_EQ(annotations.size(), 2000u);
    EXPECT_EQ(annotations[1999].url, "u1999");
}

}  // namespace
