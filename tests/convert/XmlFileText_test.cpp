#include "convert/XmlFileText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using platform::XmlDocument;
using platform::XmlNode;

std::string textOf(const convert::XmlFileText& file) {
    std::string text;
    EXPECT_TRUE(file.writeTo([&text](std::string_view piece) {
        text.append(piece);
        return true;
    }));
    return text;
}

TEST(XmlFileText, ElementsGoInsideTheRoot) {
    XmlDocument document;
    XmlNode root = document.appendRoot("pageAnnos");
    root.setAttribute("pageIndex", "0");
    convert::XmlFileText file(document, root);
    EXPECT_EQ(textOf(file), "<pageAnnos pageIndex=\"0\"></pageAnnos>");
    file.append("<anno>1</anno>");
    file.append("<anno>2</anno>");
    EXPECT_EQ(textOf(file), "<pageAnnos pageIndex=\"0\"><anno>1</anno><anno>2</anno></pageAnnos>");
}

TEST(XmlFileText, ElementsGoIntoTheLastChildNamedAsTheList) {
    XmlDocument document;
    XmlNode root = document.appendRoot("slide");
    root.appendChild("info").appendChild("elements");
    XmlNode list = root.appendChild("elements");
    convert::XmlFileText file(document, list);
    file.append("<element></element>");
    EXPECT_EQ(textOf(file),
              "<slide><info><elements></elements></info><elements><element></element></elements>"
              "</slide>");
}

TEST(XmlFileText, ManyElementsArriveInOrderOverSeveralBlocks) {
    XmlDocument document;
    convert::XmlFileText file(document, document.appendRoot("list"));
    std::string expected = "<list>";
    for (int k = 0; k < 20000; ++k) {
        std::string element = "<e>" + std::to_string(k) + "</e>";
        expected += element;
        file.append(element);
    }
    std::string big = "<e>" + std::string(100000, 'x') + "</e>";
    file.append(big);
    expected += big + "</list>";
    EXPECT_EQ(textOf(file), expected);
}

// Elements of trees and elements as text mix in order, over several blocks, a big one too.
TEST(XmlFileText, ElementsOfTreesArriveInOrderOverSeveralBlocks) {
    XmlDocument document;
    convert::XmlFileText file(document, document.appendRoot("list"));
    std::string expected = "<list>";
    for (int k = 0; k < 20000; ++k) {
        XmlDocument element;
        element.appendRoot("e").setAttribute("k", std::to_string(k));
        expected += element.toCompactString();
        file.append(element.root());
        if (k % 1000 == 0) {
            file.append("<t></t>");
            expected += "<t></t>";
        }
    }
    XmlDocument big;
    big.appendRoot("e").setText(std::string(100000, 'x'));
    file.append(big.root());
    expected += big.toCompactString() + "</list>";
    EXPECT_EQ(textOf(file), expected);
}

TEST(XmlFileText, WritingStopsAtTheFirstRefusedPiece) {
    XmlDocument document;
    convert::XmlFileText file(document, document.appendRoot("list"));
    file.append("<e></e>");
    int pieces = 0;
    EXPECT_FALSE(file.writeTo([&pieces](std::string_view) { return ++pieces < 2; }));
    EXPECT_EQ(pieces, 2);
}

}  // namespace
