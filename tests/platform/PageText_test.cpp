#include "platform/PageText.h"

#include <gtest/gtest.h>

namespace {

TEST(PageText, BoundsOfTwoLineRangeIsOneUnionRectangle) {
    platform::PageText page;
    page.text = u"ab\ncd";
    using platform::Rect;
    page.boxes = {Rect{10, 700, 5, 10}, Rect{15, 700, 5, 10}, Rect{}, Rect{10, 680, 5, 10},
                  Rect{15, 680, 5, 10}};
    EXPECT_EQ(page.boundsOfRange(1, 3), (platform::Rect{10, 680, 10, 30}));
}

TEST(PageText, RangeWithoutBoxesIsZero) {
    platform::PageText page;
    page.text = u"a";
    page.boxes = {{}};
    EXPECT_EQ(page.boundsOfRange(0, 1), platform::Rect{});
    EXPECT_EQ(page.boundsOfRange(5, 2), platform::Rect{});
}

TEST(PageText, TextIsVisibleWhereItMeetsTheCropBox) {
    platform::PageText page;
    EXPECT_TRUE(page.isVisible({700, 700, 10, 10}));  // no box known: everything shows
    page.cropBox = platform::Rect{0, 0, 612, 492};
    EXPECT_TRUE(page.isVisible({72, 400, 50, 12}));
    EXPECT_TRUE(page.isVisible({72, 486, 50, 12}));   // cut by the top edge
    EXPECT_TRUE(page.isVisible({-20, 100, 30, 12}));  // cut by the left edge
    EXPECT_FALSE(page.isVisible({380.9, 697.7, 72.3, 14.5}));
    EXPECT_FALSE(page.isVisible({72, 492, 50, 12}));  // only touching the edge
    EXPECT_FALSE(page.isVisible({-60, 100, 50, 12}));
    EXPECT_TRUE(page.isVisible({}));  // no character, nothing to judge
}

}  // namespace
