#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "convert/PDFAnnotations.h"

using convert::PDFAnnotations;
using platform::Rect;
using platform::XmlDocument;

namespace {

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

namespace {

// A link's bounds on a page box and rotation, and the fraction rectangle they make.
struct BoundsCase {
    const char* name;
    Rect page;
    Rect bounds;
    int rotation;
    Rect expected;
};

constexpr Rect kPage{0, 0, 600, 800};
constexpr Rect kBounds{100, 200, 50, 40};
constexpr Rect kOffsetPage{50, 100, 500, 600};
constexpr Rect kOffsetBounds{60, 120, 10, 30};

const BoundsCase kBoundsCases[] = {
    // Turns with each rotation; other angles count as none.
    {"Rotation0", kPage, kBounds, 0, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
    {"Rotation90", kPage, kBounds, 90, {200.0 / 800, 450.0 / 600, 40.0 / 800, 50.0 / 600}},
    {"Rotation180", kPage, kBounds, 180, {450.0 / 600, 560.0 / 800, 50.0 / 600, 40.0 / 800}},
    {"Rotation270", kPage, kBounds, 270, {560.0 / 800, 100.0 / 600, 40.0 / 800, 50.0 / 600}},
    {"Rotation360", kPage, kBounds, 360, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
    {"RotationMinus90", kPage, kBounds, -90, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
    {"Rotation45", kPage, kBounds, 45, {100.0 / 600, 200.0 / 800, 50.0 / 600, 40.0 / 800}},
    // A non-zero page origin is subtracted, or added where the rotation mirrors an axis.
    {"PageOriginRotation0",
     kOffsetPage,
     kOffsetBounds,
     0,
     {(60.0 - 50) / 500, (120.0 - 100) / 600, 10.0 / 500, 30.0 / 600}},
    {"PageOriginRotation90",
     kOffsetPage,
     kOffsetBounds,
     90,
     {(120.0 - 100) / 600, (50 + (500 - 70.0)) / 500, 30.0 / 600, 10.0 / 500}},
    {"PageOriginRotation180",
     kOffsetPage,
     kOffsetBounds,
     180,
     {(50 + (500 - 70.0)) / 500, (100 + (600 - 150.0)) / 600, 10.0 / 500, 30.0 / 600}},
    {"PageOriginRotation270",
     kOffsetPage,
     kOffsetBounds,
     270,
     {(100 + (600 - 150.0)) / 600, (60.0 - 50) / 500, 30.0 / 600, 10.0 / 500}},
};

class ConvertRatioContraintBounds : public testing::TestWithParam<BoundsCase> {};

TEST_P(ConvertRatioContraintBounds, GivesTheFractionRectangle) {
    const BoundsCase& c = GetParam();
    expectRect(PDFAnnotations::convertRatioContraintBounds(c.bounds, c.rotation, c.page),
               c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ConvertRatioContraintBounds, testing::ValuesIn(kBoundsCases),
                         [](const testing::TestParamInfo<BoundsCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace

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

namespace {

// A slide before, the page size it was made for and the size it is moved to, and the slide after.
struct SlideCase {
    const char* name;
    const char* before;
    platform::Size from;
    platform::Size to;
    const char* after;
};

const SlideCase kSlideCases[] = {
    {"ScalesStylePositionsAndTruncatesTowardZero",
     "<slide><info><width>1</width><height>2</height></info><elements><element><style>"
     "<left>300</left><x>300</x><width>12.7</width><top>-7</top><y>30</y><height>abc</height>"
     "<rotate>45</rotate><opacity>1</opacity></style></element></elements></slide>",
     {600, 300},
     {1200, 100},
     "<slide><info><width>1200</width><height>100</height></info><elements><element>"
     "<style><left>600</left><x>600</x><width>24</width><top>-2</top><y>10</y>"
     "<height>0</height><rotate>45</rotate><opacity>1</opacity></style></element>"
     "</elements></slide>"},
    {"TouchesOnlyTheLastStyleOfEachElementAndTheLastElementsList",
     "<slide><elements><element><style><left>5</left></style></element></elements>"
     "<elements><element><style><left>10</left></style><style><left>20</left></style>"
     "</element><element><other><left>30</left></other></element></elements></slide>",
     {100, 100},
     {200, 200},
     "<slide><elements><element><style><left>5</left></style></element></elements>"
     "<elements><element><style><left>10</left></style><style><left>40</left></style>"
     "</element><element><other><left>30</left></other></element></elements></slide>"},
    {"SlideWithoutElementsStillGetsItsSize",
     "<slide><info><id>0</id><width>1080</width><height>1440</height></info></slide>",
     {1190.9, 841.6},
     {1190.9, 841.6},
     "<slide><info><id>0</id><width>1190</width><height>841</height></info></slide>"},
    {"LeavesOtherRootsAlone",
     "<page><info><width>1</width></info><elements><element><style><left>3</left></style>"
     "</element></elements></page>",
     {1, 1},
     {2, 2},
     "<page><info><width>1</width></info><elements><element><style><left>3</left></style>"
     "</element></elements></page>"},
    {"ZeroSourceSizeGivesZeroNotGarbage",
     "<slide><info><width>1</width><height>1</height></info><elements><element><style>"
     "<left>300</left><top>40</top></style></element></elements></slide>",
     {0, 0},
     {600, 800},
     "<slide><info><width>600</width><height>800</height></info><elements><element>"
     "<style><left>0</left><top>0</top></style></element></elements></slide>"},
    {"ClampsHugeAndNaNSizes",
     "<slide><info><width>1</width><height>1</height></info><elements><element><style>"
     "<left>2000000000</left><top>-2000000000</top></style></element></elements></slide>",
     {1, 1},
     {1e12, std::nan("")},
     "<slide><info><width>2147483647</width><height>0</height></info><elements>"
     "<element><style><left>2147483647</left><top>0</top></style></element></elements>"
     "</slide>"},
};

class ChangeSlidePosition : public testing::TestWithParam<SlideCase> {};

TEST_P(ChangeSlidePosition, MovesTheSlide) {
    const SlideCase& c = GetParam();
    XmlDocument slide = parsed(c.before);
    PDFAnnotations::changeSlidePosition(slide.root(), c.from, c.to);
    EXPECT_EQ(slide.toCompactString(), c.after);
}

INSTANTIATE_TEST_SUITE_P(Cases, ChangeSlidePosition, testing::ValuesIn(kSlideCases),
                         [](const testing::TestParamInfo<SlideCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
