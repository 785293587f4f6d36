#include "pdf/ImprovePDFPage.h"

#include <gtest/gtest.h>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Annotation;
using platform::Document;
using testsupport::PdfFixture;

// Stops once it has been asked `allowed` times.
class StopAfter final : public platform::StopFlag {
public:
    explicit StopAfter(int allowed) : allowed_(allowed) {}
    bool isSet() const override { return polls_++ >= allowed_; }
    int polls() const { return polls_; }

private:
    int allowed_;
    mutable int polls_ = 0;
};

// One line per link: [x y w h] url
std::string describe(const std::vector<Annotation>& links) {
    std::string out;
    for (const Annotation& link : links) {
        char bounds[128];
        std::snprintf(bounds, sizeof bounds, "%s [%g %g %g %g] ", link.type.c_str(), link.bounds.x,
                      link.bounds.y, link.bounds.width, link.bounds.height);
        out += bounds + link.url.value_or("-") + "\n";
    }
    return out;
}

class ImprovePDFPage : public ::testing::Test {
protected:
    Document open(const PdfFixture& fixture) {
        fixture.write(dir_ / "i.pdf");
        auto document = Document::open((dir_ / "i.pdf").string());
        EXPECT_TRUE(document.ok());
        return std::move(document).value();
    }
    // One page of count links without actions, the k-th at x = k.
    Document pageOfLinks(int count) {
        PdfFixture fixture;
        fixture.page({0, 0, 600, 800});
        for (int i = 0; i < count; ++i) {
            fixture.annot("<< /Subtype /Link /Rect [" + std::to_string(i) + " 0 10 10] >>");
        }
        return open(fixture);
    }
    // The raw links of the first page, whose /Annots holds the given dictionaries.
    std::string linksOf(const std::vector<std::string>& annots) {
        PdfFixture fixture;
        fixture.page({0, 0, 600, 800});
        for (const auto& annot : annots) fixture.annot(annot);
        Document doc = open(fixture);
        platform::NeverStop never;
        return describe(pdf::fmAnnotations(doc, 0, never));
    }
    testsupport::TempDir dir_;
};

TEST(PDFTypeName, DecodesUtf8AndRefusesOtherBytes) {
    EXPECT_EQ(pdf::PDFTypeName("Link"), "Link");
    EXPECT_EQ(pdf::PDFTypeName("caf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(pdf::PDFTypeName(""), "");
    EXPECT_EQ(pdf::PDFTypeName("caf\xE9"), std::nullopt);
    EXPECT_EQ(pdf::PDFTypeName("\xC0\x80"), std::nullopt);      // overlong
    EXPECT_EQ(pdf::PDFTypeName("\xED\xA0\x80"), std::nullopt);  // surrogate
    EXPECT_EQ(pdf::PDFTypeName(std::string("Li\0\xFFnk", 6)), "Li");
}

TEST_F(ImprovePDFPage, ReversedRectCornersGiveTheSameBounds) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [110 40 10 20] >>",
                       "<< /Subtype /Link /Rect [10 20 110 40] >>",
                       "<< /Subtype /Link /Rect [10 40 110 20] >>"}),
              "Link [10 20 100 20] -\n"
              "Link [10 20 100 20] -\n"
              "Link [10 20 100 20] -\n");
}

TEST_F(ImprovePDFPage, MissingRectNumbersCountAsZero) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [10 20] >>", "<< /Subtype /Link >>"}),
              "Link [0 0 10 20] -\n"
              "Link [0 0 0 0] -\n");
}

TEST_F(ImprovePDFPage, LinksWithoutUriActionStayWithoutUrl) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [0 0 1 1] /A << /S /GoTo /D [0 /Fit] >> >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /Dest [0 /Fit] >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /Named /N /NextPage >> >>"}),
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n");
}

TEST_F(ImprovePDFPage, UriActionWinsOverUri) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://plain/) "
                       "/#55RI#20action (http://action/) >> >>"}),
              "Link [0 0 1 1] http://action/\n");
}

TEST_F(ImprovePDFPage, OnlyTheExactUriActionKindGivesAUrl) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URIx /URI (http://x/) >> >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /Launch /URI (http://x/) >> >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /A << /URI (http://x/) >> >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI >> >>"}),
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n");
}

TEST_F(ImprovePDFPage, UriIsPercentEscapedAsUtf8) {
    EXPECT_EQ(
        linksOf({"<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://a.b/x y) >> >>",
                 "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://a.b/%20) >> >>",
                 "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI "
                 "/URI <FEFF0068007400740070003A002F002F0061002F00E9> >> >>",
                 "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (mailto:a@b.c) >> >>"}),
        "Link [0 0 1 1] http://a.b/x%20y\n"
        "Link [0 0 1 1] http://a.b/%2520\n"
        "Link [0 0 1 1] http://a/%C3%A9\n"
        "Link [0 0 1 1] mailto:a@b.c\n");
}

TEST_F(ImprovePDFPage, UriThatFormsNoUrlLeavesTheLinkWithoutOne) {
    EXPECT_EQ(linksOf({"<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://x/#a#b) >> >>",
                       "<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI () >> >>"}),
              "Link [0 0 1 1] -\n"
              "Link [0 0 1 1] -\n");
}

TEST_F(ImprovePDFPage, WidgetWithUriMouseDownActionIsALink) {
    EXPECT_EQ(linksOf({"<< /Subtype /Widget /Rect [5 5 50 25] "
                       "/AA << /D << /S /URI /URI (https://down.example/) >> >> >>"}),
              "Link [5 5 45 20] https://down.example/\n");
}

TEST_F(ImprovePDFPage, WidgetsWithoutUriMouseDownActionAreAbsent) {
    EXPECT_EQ(linksOf({"<< /Subtype /Widget /Rect [0 0 1 1] /AA << /D << /S /Named /N /NextPage "
                       ">> >> >>",
                       "<< /Subtype /Widget /Rect [0 0 1 1] /AA << /U << /S /URI /URI (http://u/) "
                       ">> >> >>",
                       "<< /Subtype /Widget /Rect [0 0 1 1] /A << /S /URI /URI (http://a/) >> >>",
                       "<< /Subtype /Widget /Rect [0 0 1 1] /AA << /D << /S /URI /URI (x y#a#b) "
                       ">> >> >>"}),
              "");
}

TEST_F(ImprovePDFPage, TextAndOtherSubtypesAreAbsent) {
    EXPECT_EQ(linksOf({"<< /Subtype /Text /Rect [0 0 1 1] /A << /S /URI /URI (http://t/) >> >>",
                       "<< /Subtype /Square /Rect [0 0 1 1] /A << /S /URI /URI (http://s/) >> >>",
                       "<< /Rect [0 0 1 1] /A << /S /URI /URI (http://n/) >> >>",
                       "<< /Subtype /Li#FFnk /Rect [0 0 1 1] >>"}),
              "");
}

TEST_F(ImprovePDFPage, NonDictionaryEntriesAreSkipped) {
    PdfFixture fixture;
    fixture.page({0, 0, 600, 800})
        .annotsEntry("42")
        .annotsEntry("(text)")
        .annotsEntry("99 0 R")
        .annot("<< /Subtype /Link /Rect [1 1 2 2] >>");
    Document doc = open(fixture);
    platform::NeverStop never;
    EXPECT_EQ(describe(pdf::fmAnnotations(doc, 0, never)), "Link [1 1 1 1] -\n");
}

TEST_F(ImprovePDFPage, PageWithoutAnnotsArrayHasNoLinks) {
    platform::NeverStop never;
    Document doc = open(PdfFixture().page({0, 0, 1, 1}).page({0, 0, 1, 1}).annotsValue("<< >>"));
    EXPECT_TRUE(pdf::fmAnnotations(doc, 0, never).empty());
    EXPECT_TRUE(pdf::fmAnnotations(doc, 1, never).empty());
    EXPECT_TRUE(pdf::fmAnnotations(doc, 5, never).empty());
}

TEST_F(ImprovePDFPage, StopFlagEndsTheListEarly) {
    Document doc = pageOfLinks(5);
    StopAfter stop(2);
    auto links = pdf::fmAnnotations(doc, 0, stop);
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[1].bounds.x, 1);
    EXPECT_EQ(stop.polls(), 3);
}

TEST_F(ImprovePDFPage, OneWalkGivesTheModelsListAndTheRawLinks) {
    PdfFixture fixture;
    fixture.page({0, 0, 600, 800})
        .annot("<< /Subtype /Link /Rect [0 0 1 1] /A << /S /URI /URI (http://a/) >> >>")
        .annot("<< /Subtype /Text /Rect [0 0 2 2] >>")
        .annot(
            "<< /Subtype /Widget /Rect [0 0 3 3] /AA << /D << /S /URI /URI (http://w/) >> >> >>");
    Document doc = open(fixture);
    platform::NeverStop never;
    pdf::PageAnnotations page = pdf::readPageAnnotations(doc, 0, never);
    EXPECT_EQ(describe(page.annotations), describe(doc.annotations(0)));
    EXPECT_EQ(describe(page.annotations),
              "Link [0 0 1 1] http://a/\nText [0 0 2 2] -\nWidget [0 0 3 3] -\n");
    EXPECT_EQ(describe(page.links), "Link [0 0 1 1] http://a/\nLink [0 0 3 3] http://w/\n");
}

TEST_F(ImprovePDFPage, StopEndsTheRawLinksButNotTheModelsList) {
    Document doc = pageOfLinks(4);
    StopAfter stop(1);
    pdf::PageAnnotations page = pdf::readPageAnnotations(doc, 0, stop);
    EXPECT_EQ(page.annotations.size(), 4u);
    EXPECT_EQ(page.links.size(), 1u);
}

}  // namespace
