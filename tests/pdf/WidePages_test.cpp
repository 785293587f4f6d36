#include "pdf/WidePages.h"

#include <gtest/gtest.h>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using pdf::PageMeasures;
using pdf::WidePages;
using testsupport::PdfFixture;

PageMeasures measuresOf(const PdfFixture& fixture) {
    testsupport::TempDir dir;
    fixture.write(dir / "w.pdf");
    auto document = platform::Document::open((dir / "w.pdf").string());
    EXPECT_TRUE(document.ok());
    return pdf::measurePages(*document);
}

WidePages withWidths(std::vector<int> widths, std::int64_t wideMode, double pageWidth) {
    WidePages wide;
    wide.wideMode = wideMode;
    wide.pageWidth = pageWidth;
    PageMeasures measures;
    measures.widthsOfPDF = std::move(widths);
    measures.aspectOfPDF.assign(measures.widthsOfPDF.size(), 1.0f);
    wide.checkDetectWidePage(measures);
    return wide;
}

WidePages withAspects(std::vector<float> aspects, std::int64_t wideMode, double aspectRatio) {
    WidePages wide;
    wide.wideMode = wideMode;
    wide.isNewMode = true;
    wide.aspectRatio = aspectRatio;
    PageMeasures measures;
    measures.aspectOfPDF = std::move(aspects);
    measures.widthsOfPDF.assign(measures.aspectOfPDF.size(), 100);
    wide.checkDetectWidePage(measures);
    return wide;
}

TEST(WidePages, RotatedPageMeasuresItsDisplayedSides) {
    PageMeasures measures =
        measuresOf(PdfFixture().page({0, 0, 600, 800}, {}, 90).page({0, 0, 600, 800}, {}, 180));
    ASSERT_EQ(measures.widthsOfPDF.size(), 2u);
    EXPECT_EQ(measures.widthsOfPDF[0], 800);
    EXPECT_FLOAT_EQ(measures.aspectOfPDF[0], 800.0f / 600.0f);
    EXPECT_EQ(measures.widthsOfPDF[1], 600);
    EXPECT_FLOAT_EQ(measures.aspectOfPDF[1], 0.75f);
}

TEST(WidePages, MeasuresUseTheCropBoxAndTruncate) {
    PageMeasures measures =
        measuresOf(PdfFixture().page({0, 0, 1224, 792}, platform::Rect{10, 0, 611.9, 792}));
    EXPECT_EQ(measures.widthsOfPDF, std::vector<int>{611});
}

TEST(WidePages, CheckDetectWidePageAppendsPageNumbers) {
    WidePages wide;
    wide.indexesOfPDFDivided = {7};
    PageMeasures measures{{600, 1200, 600}, {0.75f, 1.5f, 0.75f}, {}, {}};
    wide.checkDetectWidePage(measures);
    EXPECT_EQ(wide.widthsOfPDF, measures.widthsOfPDF);
    EXPECT_EQ(wide.aspectOfPDF, measures.aspectOfPDF);
    EXPECT_EQ(wide.indexesOfPDFDivided, (std::vector<std::int64_t>{7, 1, 2, 3}));
}

TEST(WidePages, OldModeComparesWidthsStrictly) {
    WidePages wide = withWidths({900, 901}, 1, 500);
    EXPECT_FALSE(wide.isWidePageAt(1));
    EXPECT_TRUE(wide.isWidePageAt(2));
}

TEST(WidePages, NewModeRoundsTheAspectRatio) {
    WidePages wide = withAspects({1.1f, 1.2f}, 1, 0.75);
    EXPECT_FALSE(wide.isWidePageAt(1));  // 1.1 / 0.75 + 0.5 = 1.97
    EXPECT_TRUE(wide.isWidePageAt(2));   // 1.2 / 0.75 + 0.5 = 2.1
}

TEST(WidePages, NewModeWithZeroReferenceAspect) {
    WidePages wide = withAspects({0.5f}, 1, 0);
    EXPECT_TRUE(wide.isWidePageAt(1));
}

TEST(WidePages, ModeZeroFindsNothingWideAndKeepsTheOrder) {
    WidePages wide = withWidths({600, 5000}, 0, 500);
    EXPECT_FALSE(wide.isWidePageAt(2));
    wide.collectNewPageOrder();
    EXPECT_EQ(wide.indexesOfPDFDivided, (std::vector<std::int64_t>{1, 2}));
}

TEST(WidePages, ModeOneDividesOnlyWidePages) {
    WidePages wide = withWidths({600, 1200, 600, 600}, 1, 600);
    wide.collectNewPageOrder();
    EXPECT_EQ(wide.indexesOfPDFDivided, (std::vector<std::int64_t>{1, 2, 4, 5}));
    EXPECT_EQ(wide.NewPageIndexAt(1), 1);
    EXPECT_EQ(wide.NewPageIndexAt(3), 4);
}

TEST(WidePages, ModeTwoDividesEveryPage) {
    WidePages wide = withWidths({600, 600, 600}, 2, 0);
    EXPECT_TRUE(wide.isWidePageAt(1));
    wide.collectNewPageOrder();
    EXPECT_EQ(wide.indexesOfPDFDivided, (std::vector<std::int64_t>{1, 3, 5}));
}

TEST(WidePages, ModeThreeTestsWideButAdvancesByOne) {
    WidePages wide = withWidths({600, 600, 600}, 3, 0);
    EXPECT_TRUE(wide.isWidePageAt(1));
    EXPECT_TRUE(wide.isWidePageAt(3));
    wide.collectNewPageOrder();
    EXPECT_EQ(wide.indexesOfPDFDivided, (std::vector<std::int64_t>{1, 2, 3}));
}

TEST(WidePages, FirstPageAlwaysMapsToOne) {
    for (std::int64_t mode : {0, 1, 2, 3}) {
        WidePages wide = withWidths({1200, 1200}, mode, 600);
        wide.collectNewPageOrder();
        EXPECT_EQ(wide.NewPageIndexAt(1), 1);
    }
}

TEST(WidePages, PagesOutsideTheDocumentAreGuarded) {
    WidePages wide = withWidths({1200, 1200}, 2, 600);
    wide.collectNewPageOrder();
    for (std::int64_t page : {0, -1, 3, 1000}) {
        SCOPED_TRACE(page);
        EXPECT_FALSE(wide.isWidePageAt(page));
        EXPECT_EQ(wide.NewPageIndexAt(page), page);
    }
    WidePages newMode = withAspects({2.0f}, 2, 0.75);
    EXPECT_FALSE(newMode.isWidePageAt(2));
}

TEST(WidePages, UnreadablePageIsNotWide) {
    WidePages wide;
    wide.wideMode = 1;
    wide.isNewMode = true;
    wide.aspectRatio = 0.75;
    wide.checkDetectWidePage(PageMeasures{{0}, {std::numeric_limits<float>::quiet_NaN()}, {}, {}});
    EXPECT_FALSE(wide.isWidePageAt(1));
}

}  // namespace
