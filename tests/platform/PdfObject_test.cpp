#include "platform/PdfObject.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "platform/MuPDFDocument.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::PdfObject;
using testsupport::PdfFixture;

class PdfObjectTest : public ::testing::Test {
protected:
    // The page dictionary carries one entry of every kind under test.
    PdfObject page() {
        PdfFixture fixture;
        std::string indirect = fixture.object("(far away)");
        std::string farNumber = fixture.object("7.25");
        std::string farBox = fixture.object("[1 2 3 4]");
        fixture.page({0, 0, 100, 100})
            .pageEntry("Int", "42")
            .pageEntry("Real", "-2.5")
            .pageEntry("Name", "/Some#20Name")
            .pageEntry("Text", "(caf\\351)")
            .pageEntry("Utf16", "<FEFF00480069D83DDE00>")
            .pageEntry("Bytes", "(a\\000b)")
            .pageEntry("Array", "[1 /Two (three) [4]]")
            .pageEntry("Dict", "<< /Inner 7 >>")
            .pageEntry("Null", "null")
            .pageEntry("Indirect", indirect)
            .pageEntry("Dangling", "99 0 R")
            .pageEntry("Box", "[10 20.5 -3 4]")
            .pageEntry("ShortBox", "[5 6]")
            .pageEntry("OddBox", "[/A (b) 99 0 R 8]")
            .pageEntry("FarCornerBox", "[0 0 " + farNumber + " 1]")
            .pageEntry("FarBox", farBox);
        fixture.write(dir_ / "o.pdf");
        auto document = Document::open((dir_ / "o.pdf").string());
        EXPECT_TRUE(document.ok());
        return document->pageObject(0);  // the object keeps the document alive
    }
    testsupport::TempDir dir_;
};

TEST_F(PdfObjectTest, NumbersAndIntegers) {
    PdfObject p = page();
    EXPECT_EQ(p.get("Int").integer(), 42);
    EXPECT_EQ(p.get("Int").number(), 42.0);
    EXPECT_EQ(p.get("Real").number(), -2.5);
    EXPECT_EQ(p.get("Real").integer(), std::nullopt);
    EXPECT_EQ(p.get("Name").number(), std::nullopt);
}

TEST_F(PdfObjectTest, NamesAreRawBytesWithoutSlash) {
    PdfObject p = page();
    EXPECT_EQ(p.get("Name").name(), "Some Name");
    EXPECT_EQ(p.get("Text").name(), std::nullopt);
}

TEST_F(PdfObjectTest, TextStringsAreDecodedToUtf8) {
    PdfObject p = page();
    EXPECT_EQ(p.get("Text").textString(), "caf\xC3\xA9");
    EXPECT_EQ(p.get("Utf16").textString(), "Hi\xF0\x9F\x98\x80");
    EXPECT_EQ(p.get("Name").textString(), std::nullopt);
    EXPECT_EQ(p.get("Indirect").textString(), "far away");
}

TEST_F(PdfObjectTest, StringBytesAreUndecoded) {
    PdfObject p = page();
    EXPECT_EQ(p.get("Bytes").stringBytes(), std::string("a\0b", 3));
    EXPECT_EQ(p.get("Text").stringBytes(), "caf\xE9");
    EXPECT_EQ(p.get("Int").stringBytes(), std::nullopt);
}

TEST_F(PdfObjectTest, ArraysAndDictionaries) {
    PdfObject p = page();
    PdfObject array = p.get("Array");
    EXPECT_TRUE(array.isArray());
    EXPECT_FALSE(array.isDictionary());
    EXPECT_EQ(array.arrayLength(), 4u);
    EXPECT_EQ(array.at(0).integer(), 1);
    EXPECT_EQ(array.at(1).name(), "Two");
    EXPECT_EQ(array.at(2).textString(), "three");
    EXPECT_EQ(array.at(3).at(0).integer(), 4);
    EXPECT_TRUE(array.at(4).isNull());
    EXPECT_TRUE(p.get("Dict").isDictionary());
    EXPECT_EQ(p.get("Dict").get("Inner").integer(), 7);
    EXPECT_EQ(p.get("Int").arrayLength(), 0u);
}

TEST_F(PdfObjectTest, MissingAndMistypedEntriesAreNeutral) {
    PdfObject p = page();
    for (const char* key : {"Missing", "Null", "Dangling"}) {
        SCOPED_TRACE(key);
        PdfObject value = p.get(key);
        EXPECT_TRUE(value.isNull());
        EXPECT_FALSE(value.isDictionary());
        EXPECT_EQ(value.integer(), std::nullopt);
        EXPECT_EQ(value.get("Anything").integer(), std::nullopt);
        EXPECT_TRUE(value.at(0).isNull());
    }
    EXPECT_TRUE(p.get("Int").get("Key").isNull());
    EXPECT_TRUE(p.get("Dict").at(0).isNull());
}

// A dictionary at hand or behind a reference; its entries read the same either way.
TEST_F(PdfObjectTest, DictionariesBehindReferences) {
    PdfFixture fixture;
    std::string far = fixture.object("<< /Inner 7 /Deeper << /Leaf (x) >> >>");
    std::string farArray = fixture.object("[1 2]");
    fixture.page({0, 0, 100, 100})
        .pageEntry("Near", "<< /Inner 7 >>")
        .pageEntry("Far", far)
        .pageEntry("FarArray", farArray)
        .pageEntry("Dangling", "99 0 R");
    fixture.write(dir_ / "d.pdf");
    auto document = Document::open((dir_ / "d.pdf").string());
    ASSERT_TRUE(document.ok());
    PdfObject p = document->pageObject(0);
    EXPECT_EQ(p.get("Near").dictionary().get("Inner").integer(), 7);
    PdfObject resolved = p.get("Far").dictionary();
    ASSERT_FALSE(resolved.isNull());
    EXPECT_TRUE(resolved.isDictionary());
    EXPECT_EQ(resolved.get("Inner").integer(), 7);
    EXPECT_EQ(resolved.get("Deeper").get("Leaf").textString(), "x");
    EXPECT_EQ(resolved.get("Missing").integer(), std::nullopt);
    EXPECT_TRUE(p.dictionary().get("Near").isDictionary());
    EXPECT_TRUE(p.get("FarArray").dictionary().isNull());
    EXPECT_TRUE(p.get("Dangling").dictionary().isNull());
    EXPECT_TRUE(p.get("Missing").dictionary().isNull());
    EXPECT_TRUE(PdfObject().dictionary().isNull());
}

// Two corners in either order; what is missing or no number counts as 0.
TEST_F(PdfObjectTest, RectanglesFromArrays) {
    using platform::Rect;
    PdfObject p = page();
    EXPECT_EQ(p.get("Box").rectangle(), (Rect{-3, 4, 13, 16.5}));
    EXPECT_EQ(p.get("ShortBox").rectangle(), (Rect{0, 0, 5, 6}));
    EXPECT_EQ(p.get("OddBox").rectangle(), (Rect{0, 0, 0, 8}));
    EXPECT_EQ(p.get("FarCornerBox").rectangle(), (Rect{0, 0, 7.25, 1}));
    EXPECT_EQ(p.get("FarBox").rectangle(), (Rect{1, 2, 2, 2}));
    EXPECT_EQ(p.get("Array").rectangle(), (Rect{0, 0, 1, 0}));
    EXPECT_EQ(p.get("Dict").rectangle(), std::nullopt);
    EXPECT_EQ(p.get("Dangling").rectangle(), std::nullopt);
    EXPECT_EQ(p.get("Missing").rectangle(), std::nullopt);
    EXPECT_EQ(PdfObject().rectangle(), std::nullopt);
}

// A corner whose object is not where the cross-reference table says: it counts as 0, and the
// other corners still read.
TEST_F(PdfObjectTest, ARectangleWithACornerThatCannotBeLoaded) {
    PdfFixture fixture;
    std::string corner = fixture.object("31 % misplaced");
    std::string box = fixture.object("[1 2 " + corner + " 4]");
    fixture.page({0, 0, 100, 100}).pageEntry("Box", box);
    fixture.write(dir_ / "r.pdf");
    std::ifstream in(dir_ / "r.pdf", std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(in), {}};
    const std::size_t at = bytes.find("% misplaced");
    ASSERT_NE(at, std::string::npos);
    bytes.insert(bytes.rfind(" obj", at), "%%%%");  // the object is no longer where /xref says
    std::ofstream(dir_ / "r.pdf", std::ios::binary) << bytes;
    auto document = Document::open((dir_ / "r.pdf").string());
    ASSERT_TRUE(document.ok());
    std::optional<platform::Rect> rect = document->pageObject(0).get("Box").rectangle();
    ASSERT_TRUE(rect);
    EXPECT_EQ(*rect, (platform::Rect{0, 2, 1, 2}));
}

TEST(PdfObject, DefaultIsNull) {
    PdfObject object;
    EXPECT_TRUE(object.isNull());
    EXPECT_EQ(object.name(), std::nullopt);
    EXPECT_EQ(object.arrayLength(), 0u);
    EXPECT_TRUE(object.get("A").isNull());
}

TEST_F(PdfObjectTest, CopiesAndMovesShareTheObject) {
    PdfObject p = page();
    PdfObject copy = p;
    PdfObject moved = std::move(p);
    EXPECT_EQ(copy.get("Int").integer(), 42);
    EXPECT_EQ(moved.get("Int").integer(), 42);
    copy = moved.get("Dict");
    EXPECT_EQ(copy.get("Inner").integer(), 7);
    moved = PdfObject();
    EXPECT_TRUE(moved.isNull());
}

}  // namespace
