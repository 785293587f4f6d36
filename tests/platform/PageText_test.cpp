#include "platform/PageText.h"

#include <gtest/gtest.h>

namespace {

TEST(PageText, BoundsOfTwoLineRangeIsOneUnionRectangle) {
    platform::PageText page;
    page.text = u"ab\ncd";
    page.boxes = {{10, 700, 5, 10}, {15, 700, 5, 10}, {}, {10, 680, 5, 10}, {15, 680, 5, 10}};
    EXPECT_EQ(page.boundsOfRange(1, 3), (platform::Rect{10, 680, 10, 30}));
}

TEST(PageText, RangeWithoutBoxesIsZero) {
    platform::PageText page;
    page.text = u"a";
    page.boxes = {{}};
    EXPECT_EQ(page.boundsOfRange(0, 1), platform::Rect{});
    EXPECT_EQ(page.boundsOfRange(5, 2), platform::Rect{});
}

}  // namespace
