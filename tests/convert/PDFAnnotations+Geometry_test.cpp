#include <gtest/gtest.h>

#include <cmath>

#include "convert/PDFAnnotations.h"

using convert::PDFAnnotations;
using platform::Rect;
using platform::XmlDocument;

namespace {

struct RotationCase {
    int rotation;
    Rect expected;
};

void expectRect(const Rect& actual, const Rect& expected) {
    EXPECT_DOUBLE_EQ(actual.x, expected.x);
    EXPECT_DOUBLE_EQ(actual.y, expected.y);
    EXPECT_DOUBLE_EQ(actual.width, expected.width);
    EXPECT_DOUBLE_EQ(actual.height, expected.height);
}

bool isFinite(const Rect& r) {
    return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.width) &&
           std::isfinite(r.height);
}

XmlDocument parsed(const std::string& text) {
    auto document = XmlDocument::parse(text);
    EXPECT_TRUE(document) << text;
    return document ? std::move(*document) : XmlDocument();
}

}  // namespace

TEST(ConvertRatioContraintBounds, TurnsWithEachRotation) {
    const Rect page{0, 0, 600, 800};
    const Rect bounds{100, 200, 50, 40};
    const RotationCase cases[] = {
        {0, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
        {90, {200.0 / 800, 450.0 / 600, 40.0 / 800, 50.0 / 600}},
        {180, {450.0 / 600, 560.0 / 800, 50.0 / 600, 40.0 / 800}},
        {270, {560.0 / 800, 100.0 / 600, 40.0 / 800, 50.0 / 600}},
        {360, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
        {-90, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
        {45, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
    };
    for (const RotationCase& c : cases) {
        SCOPED_TRACE(c.rotation);
        expectRect(PDFAnnotations::convertRatioContraintBounds(bounds, c.rotation, page),
                   c.expected);
    }
}

TEST(ConvertRatioContraintBounds, MatchesTheRoundedFractions) {
    const Rect page{0, 0, 600, 800};
    const Rect bounds{100, 200, 50, 40};
    Rect r = PDFAnnotations::convertRatioContraintBounds(bounds, 0, page);
    EXPECT_NEAR(r.x, 0.1667, 1e-4);
    EXPECT_NEAR(r.width, 0.0833, 1e-4);
    r = PDFAnnotations::convertRatioContraintBounds(bounds, 90, page);
    EXPECT_NEAR(r.y, 0.75, 1e-12);
    r = PDFAnnotations::convertRatioContraintBounds(bounds, 180, page);
    EXPECT_NEAR(r.y, 0.7, 1e-12);
    r = PDFAnnotations::convertRatioContraintBounds(bounds, 270, page);
    EXPECT_NEAR(r.x, 0.7, 1e-12);
    EXPECT_NEAR(r.y, 0.1667, 1e-4);
}

TEST(ConvertRatioContraintBounds, SubtractsOrAddsANonZeroPageOrigin) {
    const Rect page{50, 100, 500, 600};
    const Rect bounds{60, 120, 10, 30};
    const RotationCase cases[] = {
        {0, {(60.0 - 50) / 500, (120.0 - 100) / 600, 10.0 / 500, 30.0 / 600}},
        {90, {(120.0 - 100) / 600, (50 + (500 - 70.0)) / 500, 30.0 / 600, 10.0 / 500}},
        {180, {(50 + (500 - 70.0)) / 500, (100 + (600 - 150.0)) / 600, 10.0 / 500, 30.0 / 600}},
        {270, {(100 + (600 - 150.0)) / 600, (60.0 - 50) / 500, 30.0 / 600, 10.0 / 500}},
    };
    for (const RotationCase& c : cases) {
        SCOPED_TRACE(c.rotation);
        expectRect(PDFAnnotations::convertRatioContraintBounds(bounds, c.rotation, page),
                   c.expected);
    }
}

TEST(ConvertRatioContraintBounds, ZeroPageBoxGivesZeroFractionsNotNaN) {
    const Rect bounds{100, 200, 50, 40};
    for (int rotation : {0, 90, 180, 270}) {
        SCOPED_TRACE(rotation);
        Rect flat = PDFAnnotations::convertRatioContraintBounds(bounds, rotation, {0, 0, 600, 0});
        EXPECT_TRUE(isFinite(flat));
        Rect thin = PDFAnnotations::convertRatioContraintBounds(bounds, rotation, {0, 0, 0, 800});
        EXPECT_TRUE(isFinite(thin));
        Rect none = PDFAnnotations::convertRatioContraintBounds({0, 0, 0, 0}, rotation, {});
        expectRect(none, {0, 0, 0, 0});
    }
    Rect flat = PDFAnnotations::convertRatioContraintBounds(bounds, 0, {0, 0, 600, 0});
    expectRect(flat, {100.0 / 600, 0, 50.0 / 600, 0});
}

TEST(ChangeSlidePosition, ScalesStylePositionsAndTruncatesTowardZero) {
    XmlDocument slide = parsed(
        "<slide><info><width>1</width><height>2</height></info><elements><element><style>"
        "<left>300</left><x>300</x><width>12.7</width><top>-7</top><y>30</y><height>abc</height>"
        "<rotate>45</rotate><opacity>1</opacity></style></element></elements></slide>");
    PDFAnnotations::changeSlidePosition(slide.root(), {600, 300}, {1200, 100});
    EXPECT_EQ(slide.toCompactString(),
              "<slide><info><width>1200</width><height>100</height></info><elements><element>"
              "<style><left>600</left><x>600</x><width>24</width><top>-2</top><y>10</y>"
              "<height>0</height><rotate>45</rotate><opacity>1</opacity></style></element>"
              "</elements></slide>");
}

TEST(ChangeSlidePosition, TouchesOnlyTheLastStyleOfEachElementAndTheLastElementsList) {
    XmlDocument slide = parsed(
        "<slide><elements><element><style><left>5</left></style></element></elements>"
        "<elements><element><style><left>10</left></style><style><left>20</left></style>"
        "</element><element><other><left>30</left></other></element></elements></slide>");
    PDFAnnotations::changeSlidePosition(slide.root(), {100, 100}, {200, 200});
    EXPECT_EQ(slide.toCompactString(),
              "<slide><elements><element><style><left>5</left></style></element></elements>"
              "<elements><element><style><left>10</left></style><style><left>40</left></style>"
              "</element><element><other><left>30</left></other></element></elements></slide>");
}

TEST(ChangeSlidePosition, SlideWithoutElementsStillGetsItsSize) {
    XmlDocument slide =
        parsed("<slide><info><id>0</id><width>1080</width><height>1440</height></info></slide>");
    PDFAnnotations::changeSlidePosition(slide.root(), {1190.9, 841.6}, {1190.9, 841.6});
    EXPECT_EQ(slide.toCompactString(),
              "<slide><info><id>0</id><width>1190</width><height>841</height></info></slide>");
}

TEST(ChangeSlidePosition, LeavesOtherRootsAlone) {
    const std::string text =
        "<page><info><width>1</width></info><elements><element><style><left>3</left></style>"
        "</element></elements></page>";
    XmlDocument page = parsed(text);
    PDFAnnotations::changeSlidePosition(page.root(), {1, 1}, {2, 2});
    EXPECT_EQ(page.toCompactString(), text);
}

TEST(ChangeSlidePosition, ZeroSourceSizeGivesZeroNotGarbage) {
    XmlDocument slide = parsed(
        "<slide><info><width>1</width><height>1</height></info><elements><element><style>"
        "<left>300</left><top>40</top></style></element></elements></slide>");
    PDFAnnotations::changeSlidePosition(slide.root(), {0, 0}, {600, 800});
    EXPECT_EQ(slide.toCompactString(),
              "<slide><info><width>600</width><height>800</height></info><elements><element>"
              "<style><left>0</left><top>0</top></style></element></elements></slide>");
}

TEST(ChangeSlidePosition, ClampsHugeAndNaNSizes) {
    XmlDocument slide = parsed(
        "<slide><info><width>1</width><height>1</height></info><elements><element><style>"
        "<left>2000000000</left><top>-2000000000</top></style></element></elements></slide>");
    PDFAnnotations::changeSlidePosition(slide.root(), {1, 1}, {1e12, std::nan("")});
    EXPECT_EQ(slide.toCompactString(),
              "<slide><info><width>2147483647</width><height>0</height></info><elements>"
              "<element><style><left>2147483647</left><top>0</top></style></element></elements>"
              "</slide>");
}
