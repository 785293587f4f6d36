// An address wrapped at a line end becomes one link over both lines.
#include <gtest/gtest.h>

#include "text2link/ParsePDFTextLink.h"

namespace {

using platform::Annotation;
using platform::Rect;

// "see http://a.cn/x-" on a line at y 700, "2/y.html ok" on the next at y 686; every unit is
// 10 wide, the line break has no box.
platform::PageText twoLines() {
    platform::PageText page;
    const std::u16string first = u"see http://a.cn/x-", second = u"2/y.html ok";
    page.text = first + u"\n" + second;
    for (std::size_t i = 0; i < first.size(); ++i)
        page.boxes.push_back(Rect{10.0 * i, 700, 10, 12});
    page.boxes.push_back({});
    for (std::size_t i = 0; i < second.size(); ++i)
        page.boxes.push_back(Rect{10.0 * i, 686, 10, 12});
    return page;
}

std::vector<Annotation> scan(const platform::PageText& page, bool detector = true) {
    text2link::ParsePDFTextLink job;
    job.useDataDetector = detector;
    std::vector<Annotation> links;
    job.parsePageText(page, links, platform::NeverStop());
    return links;
}

TEST(ParsePDFTextLinkWrappedAddress, OneLinkWithTheJoinedTargetOverBothLines) {
    const std::vector<Annotation> links = scan(twoLines());
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(links[0].url, "http://a.cn/x-2/y.html");
    EXPECT_EQ(links[0].bounds, (Rect{0, 686, 180, 26}));
    EXPECT_EQ(links[0].lines, (std::vector<Rect>{{40, 700, 140, 12}, {0, 686, 80, 12}}));
}

TEST(ParsePDFTextLinkWrappedAddress, LinkOnOneLineHasNoLines) {
    platform::PageText page = twoLines();
    page.text[17] = u'x';  // the first line no longer ends inside the address
    const std::vector<Annotation> links = scan(page);
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(links[0].url, "http://a.cn/xx");
    EXPECT_TRUE(links[0].lines.empty());
}

}  // namespace
