#include "pdf/detectWidePageForFile.h"

#include <gtest/gtest.h>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using testsupport::PdfFixture;

std::int64_t estimate(const std::vector<double>& widths) {
    testsupport::TempDir dir;
    PdfFixture fixture;
    for (double width : widths) fixture.page({0, 0, width, 800});
    fixture.write(dir / "b.pdf");
    return pdf::detectWidePageForFile((dir / "b.pdf").string(), std::nullopt);
}

TEST(detectWidePageForFile, OneSharedWidthGivesZero) { EXPECT_EQ(estimate({600, 600, 600}), 0); }

TEST(detectWidePageForFile, TwoWidthsFarApartGiveTheSmaller) {
    EXPECT_EQ(estimate({600, 1200, 600}), 600);
}

TEST(detectWidePageForFile, TwoWidthsCloseTogetherGiveZero) { EXPECT_EQ(estimate({600, 700}), 0); }

TEST(detectWidePageForFile, TwoWidthsAtExactlyFourFifthsGiveZero) {
    EXPECT_EQ(estimate({800, 1000}), 0);
}

TEST(detectWidePageForFile, WidthsAreTruncated) { EXPECT_EQ(estimate({600.9, 600.2}), 0); }

TEST(detectWidePageForFile, ManyWidthsGiveTheOneNearestTheLowerMean) {
    // Mean 400; 100, 200 and 300 remain, their mean is 200.
    EXPECT_EQ(estimate({100, 200, 300, 1000}), 200);
}

TEST(detectWidePageForFile, OneWidthAtOrBelowTheMeanIsTheAnswer) {
    EXPECT_EQ(estimate({100, 1000, 1100}), 100);
}

TEST(detectWidePageForFile, FirstWidthStartsWithItsOwnValueAsDistance) {
    // Mean 307; 10, 100 and 120 remain with mean 76. The search starts at 10 with a distance of
    // 10, which no other width beats, although 100 lies nearer the mean.
    EXPECT_EQ(estimate({10, 100, 120, 1000}), 10);
}

TEST(detectWidePageForFile, RotationIsNotApplied) {
    testsupport::TempDir dir;
    PdfFixture().page({0, 0, 600, 800}, {}, 90).page({0, 0, 1200, 800}).write(dir / "b.pdf");
    EXPECT_EQ(pdf::detectWidePageForFile((dir / "b.pdf").string(), std::nullopt), 600);
}

TEST(detectWidePageForFile, CropBoxWidthsCount) {
    testsupport::TempDir dir;
    PdfFixture()
        .page({0, 0, 1200, 800}, platform::Rect{0, 0, 600, 800})
        .page({0, 0, 1200, 800})
        .write(dir / "b.pdf");
    EXPECT_EQ(pdf::detectWidePageForFile((dir / "b.pdf").string(), std::nullopt), 600);
}

TEST(detectWidePageForFile, LockedOrMissingFileGivesZero) {
    testsupport::TempDir dir;
    PdfFixture()
        .page({0, 0, 600, 800})
        .page({0, 0, 1200, 800})
        .writeEncrypted(dir / "e.pdf", "user", "owner", "aes-128");
    EXPECT_EQ(pdf::detectWidePageForFile((dir / "e.pdf").string(), "wrong"), 0);
    EXPECT_EQ(pdf::detectWidePageForFile((dir / "e.pdf").string(), "user"), 600);
    EXPECT_EQ(pdf::detectWidePageForFile((dir / "missing.pdf").string(), std::nullopt), 0);
}

}  // namespace
