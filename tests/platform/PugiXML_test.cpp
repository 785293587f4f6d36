#include "platform/PugiXML.h"

#include <gtest/gtest.h>

using platform::XmlDocument;
using platform::XmlNode;

TEST(PugiXML, WritesCompactTextWithAttributesInInsertionOrder) {
    XmlDocument document;
    XmlNode root = document.appendRoot("anno");
    root.setAttribute("z", "1");
    root.setAttribute("a", "2");
    root.setAttribute("z", "3");
    XmlNode action = root.appendChild("action");
    action.appendChild("url").setText("http://a.example/?x=1&y=<2>");
    root.appendChild("location");
    EXPECT_EQ(document.toCompactString(),
              "<anno z=\"3\" a=\"2\"><action><url>http://a.example/?x=1&amp;y=&lt;2&gt;</url>"
              "</action><location></location></anno>");
}

TEST(PugiXML, KeepsCDataAsCData) {
    XmlDocument document;
    document.appendRoot("content").appendCData("a < b & c");
    EXPECT_EQ(document.toCompactString(), "<content><![CDATA[a < b & c]]></content>");
    auto parsed = XmlDocument::parse(document.toCompactString());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->root().text(), "a < b & c");
    EXPECT_EQ(parsed->toCompactString(), "<content><![CDATA[a < b & c]]></content>");
}

TEST(PugiXML, ParsesOneRootElementWithUtf8Text) {
    auto parsed = XmlDocument::parse(
        "<?xml version=\"1.0\"?>\n<a x=\"1\">\n  <b>\xC3\xA9t\xC3\xA9</b>\n</a>");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->root().name(), "a");
    EXPECT_EQ(parsed->root().attribute("x"), "1");
    EXPECT_EQ(parsed->root().attribute("y"), std::nullopt);
    EXPECT_EQ(parsed->toCompactString(), "<a x=\"1\"><b>\xC3\xA9t\xC3\xA9</b></a>");
}

TEST(PugiXML, RejectsTextThatIsNotOneWellFormedElement) {
    for (const char* text : {"", "plain", "<a>", "<a></b>", "<a/><b/>", "x<a/>", "<a x=1/>"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(XmlDocument::parse(text));
    }
}

TEST(PugiXML, ListsChildrenByNameInOrder) {
    auto parsed = XmlDocument::parse("<r><a>1</a><b>2</b><a>3</a>text<a>4</a></r>");
    ASSERT_TRUE(parsed);
    XmlNode root = parsed->root();
    std::vector<XmlNode> as = root.children("a");
    ASSERT_EQ(as.size(), 3u);
    EXPECT_EQ(as[0].text(), "1");
    EXPECT_EQ(as[2].text(), "4");
    EXPECT_EQ(root.children().size(), 4u);
    EXPECT_EQ(root.firstChild("a").text(), "1");
    EXPECT_EQ(root.lastChild("a").text(), "4");
    EXPECT_TRUE(root.lastChild("c").isNull());
    EXPECT_TRUE(root.children("c").empty());
}

TEST(PugiXML, TextJoinsAllDescendantsAndSetTextReplacesChildren) {
    auto parsed = XmlDocument::parse("<r>a<b>b<c>c</c></b><![CDATA[d]]></r>");
    ASSERT_TRUE(parsed);
    XmlNode root = parsed->root();
    EXPECT_EQ(root.text(), "abcd");
    root.setText("x");
    EXPECT_EQ(parsed->toCompactString(), "<r>x</r>");
    root.setText("");
    EXPECT_EQ(parsed->toCompactString(), "<r></r>");
}

TEST(PugiXML, NullHandlesAnswerEmptyAndIgnoreChanges) {
    XmlNode none;
    EXPECT_TRUE(none.isNull());
    EXPECT_EQ(none.name(), "");
    EXPECT_EQ(none.text(), "");
    none.setText("x");
    none.setAttribute("a", "b");
    EXPECT_TRUE(none.appendChild("c").isNull());
    EXPECT_TRUE(none.children().empty());
    EXPECT_EQ(none.toCompactString(), "");
    XmlDocument empty;
    EXPECT_TRUE(empty.root().isNull());
    EXPECT_EQ(empty.toCompactString(), "");
}

TEST(PugiXML, AppendRootReplacesTheTree) {
    XmlDocument document;
    document.appendRoot("a").appendChild("b");
    document.appendRoot("c");
    EXPECT_EQ(document.toCompactString(), "<c></c>");
}

TEST(PugiXML, MovedDocumentKeepsItsNodes) {
    XmlDocument first;
    XmlNode root = first.appendRoot("a");
    XmlDocument second = std::move(first);
    root.setText("still here");
    EXPECT_EQ(second.toCompactString(), "<a>still here</a>");
}

TEST(PugiXML, ChecksUtf8AndXmlCharacters) {
    struct Case {
        const char* text;
        bool utf8;
        bool xml;
    };
    const Case cases[] = {
        {"", true, true},
        {"plain\t\r\n", true, true},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", true, true},
        {"\x01", true, false},
        {"\xEF\xBF\xBE", true, false},       // U+FFFE
        {"\xC3", false, false},              // cut short
        {"\xC0\xAF", false, false},          // overlong
        {"\xED\xA0\x80", false, false},      // surrogate
        {"\xF4\x90\x80\x80", false, false},  // above U+10FFFF
        {"\xFF", false, false},
        {"\x80", false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(platform::isValidUTF8(c.text), c.utf8);
        EXPECT_EQ(platform::isXmlText(c.text), c.xml);
    }
}

TEST(PugiXML, LeavesOutWhatXmlCannotHold) {
    XmlDocument document;
    XmlNode root = document.appendRoot("r");
    root.setAttribute("a", "x\x02y");
    root.appendChild("t").setText(std::string("a\x01\0b\xFF\xC3\xA9", 7));
    root.appendChild("c").appendCData("u\x1Fv");
    EXPECT_EQ(document.toCompactString(), "<r a=\"xy\"><t>ab\xC3\xA9</t><c><![CDATA[uv]]></c></r>");
}

TEST(PugiXML, CDataWithItsEndMarkerStillParses) {
    XmlDocument document;
    document.appendRoot("c").appendCData("a]]>b");
    auto parsed = XmlDocument::parse(document.toCompactString());
    ASSERT_TRUE(parsed) << document.toCompactString();
    EXPECT_EQ(parsed->root().text(), "a]]>b");
}
