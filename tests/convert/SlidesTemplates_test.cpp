#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "SlidesTestSupport.h"
#include "convert/AnimationLinkFormat.h"
#include "convert/PDFAnnotations.h"
#include "platform/PugiXML.h"

namespace {

using convert::AnimationLinkFormat;
using convert::getGotoPageString;
using convert::getLinkString;
using slidestest::dump;

std::vector<std::string> placeholdersOf(std::string_view text) {
    std::vector<std::string> keys;
    for (std::size_t at = text.find("${"); at != std::string_view::npos; at = text.find("${", at)) {
        std::size_t end = text.find('}', at);
        keys.emplace_back(text.substr(at + 2, end - at - 2));
        at = end;
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

TEST(AnimationLinkFormat, IsOneLineOf1128Characters) {
    EXPECT_EQ(AnimationLinkFormat.size(), 1128u);
    EXPECT_EQ(std::count_if(AnimationLinkFormat.begin(), AnimationLinkFormat.end(),
                            [](char c) { return std::isspace(static_cast<unsigned char>(c)); }),
              0);
}

TEST(AnimationLinkFormat, HoldsExactlyTheEightPlaceholders) {
    EXPECT_EQ(placeholdersOf(AnimationLinkFormat),
              (std::vector<std::string>{"content", "height", "id", "left", "target", "top", "type",
                                        "width"}));
}

TEST(AnimationLinkFormat, KeepsTheContentPlaceholderInACDataSection) {
    EXPECT_NE(AnimationLinkFormat.find("<content><![CDATA[${content}]]></content>"),
              std::string_view::npos);
}

TEST(getLinkString, FillsEveryPlaceholderOfAWebLink) {
    std::string text = getLinkString(960, 12, 720, 30, "https://example.com/a?b=1&c=2", 3);
    auto xml = platform::XmlDocument::parse(text);
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->root().name(), "element");
    EXPECT_EQ(dump(xml->root()),
              slidestest::linkElementLines("3", "960", "12", "720", "30", "openUrl",
                                           "https://example.com/a?b=1&c=2", "_blank"));
}

TEST(getLinkString, WritesTheWholeElementAsOneLine) {
    std::string expected =
        "<element><template><id>7</id><type>LINK</type><name>Link_7</name>"
        "<visible>1</visible><content></content><addedByUser>0</addedByUser></template>"
        "<style><zIndex>7</zIndex><width>3</width><height>4</height>"
        "<left>1</left><top>2</top><x>1</x><y>2</y><rotate>0</rotate>"
        "<opacity>1</opacity><timeLength>Infinity</timeLength>"
        "<linkNormalColor>#AAAAAA,0</linkNormalColor><linkOverColor>#AAAAAA,0.5</linkOverColor>"
        "<linkDownColor>#AAAAAA,0.7</linkDownColor></style>"
        "<action><type>openUrl</type><content><![CDATA[mailto:a@b.c]]></content>"
        "<params><target>_blank</target></params></action>"
        "<animations><animation><showType>in</showType><start>0</start>"
        "<animation>None</animation><anotherName>None</anotherName><easing>swing</easing>"
        "<duration>1283</duration><userDefined>0</userDefined><motionEnable>0</motionEnable>"
        "</animation><animation><showType>out</showType><start>1650</start>"
        "<animation>AlwaysDisplay</animation><anotherName>AlwaysDisplay</anotherName>"
        "<easing>swing</easing><duration>1500</duration><userDefined>0</userDefined>"
        "<motionEnable>0</motionEnable></animation></animations></element>";
    EXPECT_EQ(getLinkString(1, 2, 3, 4, "mailto:a@b.c", 7), expected);
}

TEST(getGotoPageString, FillsEveryPlaceholderOfAGoToLink) {
    std::string text = getGotoPageString(0, -5, 100, 2147483647, 12, 1981);
    auto xml = platform::XmlDocument::parse(text);
    ASSERT_TRUE(xml);
    EXPECT_EQ(dump(xml->root()),
              slidestest::linkElementLines("1981", "0", "-5", "100", "2147483647", "goToPage",
                                           "Fixed Page", "12"));
}

TEST(getGotoPageString, KeepsTheFixedPageTextInCData) {
    std::string text = getGotoPageString(1, 2, 3, 4, 5, 6);
    EXPECT_NE(text.find("<action><type>goToPage</type><content><![CDATA[Fixed Page]]></content>"
                        "<params><target>5</target></params></action>"),
              std::string::npos);
}

TEST(generateXMLForBlankPage, BuildsTheEditorsBlankSlide) {
    platform::XmlDocument slide = convert::PDFAnnotations::generateXMLForBlankPage();
    EXPECT_EQ(slide.root().name(), "slide");
    EXPECT_EQ(dump(slide.root()), slidestest::blankSlideLines("1080", "1440"));
}

TEST(generateXMLForBlankPage, WritesCompactText) {
    EXPECT_EQ(convert::PDFAnnotations::generateXMLForBlankPage().toCompactString(),
              "<slide><template><type>image</type><content>files/large/1.jpg</content></template>"
              "<info><id>0</id><name>1</name><title>1</title><width>1080</width>"
              "<height>1440</height></info><duration>5000</duration>"
              "<style><backgroundColor>0</backgroundColor><zIndex>0</zIndex></style>"
              "<transition><animation></animation><duration>2000</duration><easing></easing>"
              "<params><verticalNumber>0</verticalNumber><horizontalNumber>0</horizontalNumber>"
              "</params></transition><thumbnail><content>files/thumb/1.jpg</content></thumbnail>"
              "<elements></elements></slide>");
}

TEST(generateXMLForBlankPage, GivesAFreshSlideEachTime) {
    platform::XmlDocument first = convert::PDFAnnotations::generateXMLForBlankPage();
    first.root().lastChild("elements").appendChild("element");
    platform::XmlDocument second = convert::PDFAnnotations::generateXMLForBlankPage();
    EXPECT_TRUE(second.root().lastChild("elements").children().empty());
}

}  // namespace
