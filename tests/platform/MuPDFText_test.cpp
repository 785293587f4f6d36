#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::PageText;
using platform::Rect;
using testsupport::PdfFixture;

PageText textOf(const PdfFixture& fixture, int page = 0) {
    testsupport::TempDir dir;
    fixture.write(dir / "t.pdf");
    auto document = Document::open((dir / "t.pdf").string());
    EXPECT_TRUE(document.ok());
    auto text = document->pageText(page);
    EXPECT_TRUE(text.ok()) << (text.ok() ? "" : text.error().message);
    return text.ok() ? *text : PageText{};
}

// Helvetica widths in thousandths of the font size.
constexpr double kWidthH = 0.722;
constexpr double kWidthI = 0.222;

TEST(MuPDFText, WordsOfOneLineWithBoxesInPageSpace) {
    PageText text = textOf(PdfFixture().page({0, 0, 600, 800}).text(100, 700, 10, "Hi Hi"));
    EXPECT_EQ(text.text, u"Hi Hi");
    ASSERT_EQ(text.boxes.size(), 5u);
    EXPECT_NEAR(text.boxes[0].rect().x, 100, 0.01);
    EXPECT_NEAR(text.boxes[0].rect().width, 10 * kWidthH, 0.01);
    EXPECT_NEAR(text.boxes[1].rect().x, 100 + 10 * kWidthH, 0.01);
    EXPECT_NEAR(text.boxes[1].rect().width, 10 * kWidthI, 0.01);
    // The box spans the font's ascent and descent around the baseline.
    EXPECT_LT(text.boxes[0].rect().y, 700);
    EXPECT_GT(text.boxes[0].rect().maxY(), 700 + 5);
    EXPECT_LT(text.boxes[0].rect().maxY(), 700 + 12);
}

TEST(MuPDFText, LinesAreSeparatedByNewlinesWithEmptyBoxes) {
    PageText text = textOf(
        PdfFixture().page({0, 0, 600, 800}).text(72, 700, 12, "first").text(72, 600, 12, "second"));
    EXPECT_EQ(text.text, u"first\nsecond");
    ASSERT_EQ(text.boxes.size(), 12u);
    EXPECT_EQ(text.boxes[5].rect(), Rect{});
    EXPECT_NEAR(text.boxes[6].rect().x, 72, 0.01);
    EXPECT_LT(text.boxes[6].rect().y, 600);
    EXPECT_GT(text.boxes[6].rect().maxY(), 600);
}

TEST(MuPDFText, GapBetweenRunsBecomesSpace) {
    PageText text = textOf(
        PdfFixture().page({0, 0, 600, 800}).text(72, 700, 12, "www").text(104, 700, 12, "example"));
    EXPECT_EQ(text.text, u"www example");
}

TEST(MuPDFText, BoxesStayInPageSpaceOnRotatedAndCroppedPages) {
    for (int rotate : {90, 180, 270}) {
        SCOPED_TRACE(rotate);
        PageText text = textOf(PdfFixture()
                                   .page({0, 0, 600, 800}, Rect{50, 60, 500, 700}, rotate)
                                   .text(100, 700, 10, "Hi"));
        EXPECT_EQ(text.text, u"Hi");
        ASSERT_EQ(text.boxes.size(), 2u);
        EXPECT_NEAR(text.boxes[0].rect().x, 100, 0.01);
        EXPECT_NEAR(text.boxes[0].rect().width, 10 * kWidthH, 0.01);
        EXPECT_LT(text.boxes[0].rect().y, 700);
        EXPECT_GT(text.boxes[0].rect().maxY(), 705);
    }
}

TEST(MuPDFText, NonAsciiWinAnsiTextIsDecoded) {
    PageText text = textOf(PdfFixture().page({0, 0, 600, 800}).text(72, 700, 12, "caf\xE9"));
    EXPECT_EQ(text.text, u"caf\u00E9");
}

TEST(MuPDFText, EmptyPageHasNoText) {
    PageText text = textOf(PdfFixture().page({0, 0, 600, 800}));
    EXPECT_EQ(text.text, u"");
    EXPECT_TRUE(text.boxes.empty());
}

TEST(MuPDFText, EveryPageOfALongDocumentReads) {
    PdfFixture fixture;
    for (int i = 0; i < 200; ++i) fixture.page({0, 0, 300, 300}).text(10, 10, 8, std::to_string(i));
    testsupport::TempDir dir;
    fixture.write(dir / "t.pdf");
    auto document = Document::open((dir / "t.pdf").string());
    ASSERT_TRUE(document.ok());
    for (int i = 0; i < 200; ++i) {
        auto text = document->pageText(i);
        ASSERT_TRUE(text.ok());
        std::string expected = std::to_string(i);
        EXPECT_EQ(text->text, std::u16string(expected.begin(), expected.end()));
    }
}

}  // namespace
