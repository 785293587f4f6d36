#include <gtest/gtest.h>

#include <string>

#include "convert/PDFAnnotations.h"

using convert::PDFAnnotations;
using platform::XmlDocument;

namespace {

const std::string kOpenURLAnno =
    "<anno annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\"><action "
    "triggerEventType=\"mouseDown\" "
    "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionOpenURL\">";

std::string gotoAnno(const std::string& page) {
    return "<anno annotype=\"com.quendal.vorlinde.pageeditor.TAnnoLink\"><action "
           "triggerEventType=\"mouseDown\" "
           "actionType=\"com.quendal.vorlinde.pageeditor.TAnnoActionGotoPage\"><pageIndex>" +
           page + "</pageIndex></action></anno>";
}

// A converter for a book of four pages where page 2 is divided.
PDFAnnotations converterWithPage2Divided() {
    auto pages = std::make_shared<pdf::WidePages>();
    pages->wideMode = 1;
    pages->indexesOfPDFDivided = {1, 2, 4, 5};
    PDFAnnotations converter;
    converter.wideMode = 1;
    converter.useWidePages(pages);
    return converter;
}

}  // namespace

TEST(PDFActionURL2EditorXML, HoldsTheDecodedAddress) {
    XmlDocument anno = PDFAnnotations::PDFActionURL2EditorXML("http://a.example/%2541?q=1&r=2");
    EXPECT_EQ(anno.toCompactString(),
              kOpenURLAnno + "<url>http://a.example/A?q=1&amp;r=2</url></action></anno>");
}

TEST(PDFActionURL2EditorXML, UndecodableAddressLeavesTheUrlEmpty) {
    XmlDocument anno = PDFAnnotations::PDFActionURL2EditorXML("http://a.example/100%");
    EXPECT_EQ(anno.toCompactString(), kOpenURLAnno + "<url></url></action></anno>");
}

TEST(PDFActionURL2EditorXML, JoinsAnAddressBrokenOverLines) {
    XmlDocument anno = PDFAnnotations::PDFActionURL2EditorXML("http://a.exa%0D%0Ample/\n");
    EXPECT_EQ(anno.toCompactString(),
              kOpenURLAnno + "<url>http://a.example/</url></action></anno>");
}

TEST(PDFActionGoTo2EditorXML, HoldsTheOneBasedPage) {
    EXPECT_EQ(PDFAnnotations::PDFActionGoTo2EditorXML(12).toCompactString(), gotoAnno("12"));
}

TEST(ChangeGotoPageForPageEditor, RenumbersForTheDividedBook) {
    PDFAnnotations converter = converterWithPage2Divided();
    XmlDocument toPage3 = PDFAnnotations::PDFActionGoTo2EditorXML(3);
    converter.changeGotoPageForPageEditor(toPage3.root(), false);
    EXPECT_EQ(toPage3.toCompactString(), gotoAnno("4"));
    XmlDocument toRightOf2 = PDFAnnotations::PDFActionGoTo2EditorXML(2);
    converter.changeGotoPageForPageEditor(toRightOf2.root(), true);
    EXPECT_EQ(toRightOf2.toCompactString(), gotoAnno("3"));
}

TEST(ChangeGotoPageForPageEditor, LeavesOpenURLElementsAlone) {
    PDFAnnotations converter = converterWithPage2Divided();
    XmlDocument anno = PDFAnnotations::PDFActionURL2EditorXML("http://a.example/");
    converter.changeGotoPageForPageEditor(anno.root(), true);
    EXPECT_EQ(anno.toCompactString(),
              kOpenURLAnno + "<url>http://a.example/</url></action></anno>");
}

TEST(ChangeGotoPageForPageEditor, ChangesTheFirstPageIndexOfEveryAction) {
    PDFAnnotations converter = converterWithPage2Divided();
    std::optional<XmlDocument> anno = XmlDocument::parse(
        "<anno><action><pageIndex>3</pageIndex><pageIndex>3</pageIndex></action>"
        "<location/><action><pageIndex>4</pageIndex></action></anno>");
    ASSERT_TRUE(anno);
    converter.changeGotoPageForPageEditor(anno->root(), false);
    EXPECT_EQ(anno->toCompactString(),
              "<anno><action><pageIndex>4</pageIndex><pageIndex>3</pageIndex></action>"
              "<location></location><action><pageIndex>5</pageIndex></action></anno>");
}

TEST(ChangeGotoPageForPageEditor, PageOutsideTheBookKeepsItsNumber) {
    PDFAnnotations converter = converterWithPage2Divided();
    XmlDocument anno = PDFAnnotations::PDFActionGoTo2EditorXML(9);
    converter.changeGotoPageForPageEditor(anno.root(), false);
    EXPECT_EQ(anno.toCompactString(), gotoAnno("9"));
}
