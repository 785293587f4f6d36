#include "host/LinkPreview.h"

#include <gtest/gtest.h>

namespace host {
namespace {

using platform::Rect;

const std::string kPageEditor =
    "<pageAnnos pageIndex=\"0\">"
    "<anno annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\"><action "
    "triggerEventType=\"mouseDown\" "
    "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionOpenURL\"><url>https://"
    "www.example.org/story</url></action><location x=\"0.250000\" y=\"0.125000\" "
    "width=\"0.500000\" height=\"0.062500\"></location></anno>"
    "<anno annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\"><action "
    "triggerEventType=\"mouseDown\" "
    "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionGotoPage\"><pageIndex>4</pageIndex>"
    "</action><location x=\"0.0\" y=\"0.500000\" width=\"0.100000\" "
    "height=\"0.050000\"></location></anno></pageAnnos>";

// A slide of a 600 × 800 page with one web link and one page link (template parts cut short).
const std::string kSlide =
    "<slide><info><id>0</id><width>600</width><height>800</height></info><elements>"
    "<element><template><id>0</id><type>LINK</type></template><style><zIndex>0</zIndex>"
    "<width>300</width><height>50</height><left>150</left><top>100</top></style><action>"
    "<type>openUrl</type><content><![CDATA[https://www.example.org/left]]></content><params>"
    "<target>_blank</target></params></action></element>"
    "<element><template><id>2</id><type>LINK</type></template><style><width>60</width>"
    "<height>40</height><left>0</left><top>400</top></style><action><type>goToPage</type>"
    "<content><![CDATA[Fixed Page]]></content><params><target>6</target></params></action>"
    "</element></elements></slide>";

TEST(LinkXml, ReadsPageEditorLocationsAndTargets) {
    auto links = readLinkXml(kPageEditor);
    ASSERT_TRUE(links);
    EXPECT_EQ(*links, (std::vector<PreviewLink>{
                          {{0.25, 0.125, 0.5, 0.0625}, "https://www.example.org/story", false},
                          {{0.0, 0.5, 0.1, 0.05}, "page 4", true},
                      }));
}

TEST(LinkXml, ReadsSlidePositionsAsFractionsOfTheSlide) {
    auto links = readLinkXml(kSlide);
    ASSERT_TRUE(links);
    EXPECT_EQ(*links, (std::vector<PreviewLink>{
                          {{0.25, 0.125, 0.5, 0.0625}, "https://www.example.org/left", false},
                          {{0.0, 0.5, 0.1, 0.05}, "page 6", true},
                      }));
}

TEST(LinkXml, AnEmptyPageHasNoLinks) {
    auto editor = readLinkXml("<pageAnnos pageIndex=\"1\"></pageAnnos>");
    ASSERT_TRUE(editor);
    EXPECT_TRUE(editor->empty());
    auto slide = readLinkXml(
        "<slide><info><width>10</width><height>10</height></info>"
        "<elements></elements></slide>");
    ASSERT_TRUE(slide);
    EXPECT_TRUE(slide->empty());
}

TEST(LinkXml, ASlideWithoutASizePlacesNothing) {
    auto slide = readLinkXml(
        "<slide><elements><element><style><left>1</left></style><action><type>openUrl</type>"
        "</action></element></elements></slide>");
    ASSERT_TRUE(slide);
    EXPECT_TRUE(slide->empty());
}

TEST(LinkXml, OtherTextIsAFormatError) {
    for (const char* text : {"", "<pageAnnos>", "<other/>", "plain"}) {
        SCOPED_TRACE(text);
        auto links = readLinkXml(text);
        ASSERT_FALSE(links);
        EXPECT_EQ(links.error().code, platform::Error::Code::Format);
        EXPECT_EQ(links.error().message, "neither a page-editor nor a slide file");
    }
}

TEST(LinkFileName, TellsThePageAndTheHalf) {
    EXPECT_EQ(pageNumberOfFile("out/7.xml"), 7);
    EXPECT_EQ(pageNumberOfFile("out/12-w1.xml"), 12);
    EXPECT_EQ(pageNumberOfFile("Result.xml"), std::nullopt);
    EXPECT_EQ(pageNumberOfFile("0.xml"), std::nullopt);
    EXPECT_EQ(halfOfFile("out/7.xml"), PageHalf::Whole);
    EXPECT_EQ(halfOfFile("out/7-w0.xml"), PageHalf::First);
    EXPECT_EQ(halfOfFile("out/Result-w1.XML"), PageHalf::Second);
}

TEST(HalfPage, FirstHalfIsLeftUnlessTheBookRunsRightToLeft) {
    const Rect frame{0.8, 0.25, 0.6, 0.1};
    EXPECT_EQ(toWholePage(frame, PageHalf::Whole, false), frame);
    EXPECT_EQ(toWholePage(frame, PageHalf::First, false), (Rect{0.4, 0.25, 0.3, 0.1}));
    EXPECT_EQ(toWholePage(frame, PageHalf::Second, false), (Rect{0.9, 0.25, 0.3, 0.1}));
    EXPECT_EQ(toWholePage(frame, PageHalf::First, true), (Rect{0.9, 0.25, 0.3, 0.1}));
    EXPECT_EQ(toWholePage(frame, PageHalf::Second, true), (Rect{0.4, 0.25, 0.3, 0.1}));
}

}  // namespace
}  // namespace host
