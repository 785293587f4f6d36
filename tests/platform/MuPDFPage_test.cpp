#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::Rect;
using testsupport::PdfFixture;

class MuPDFPage : public ::testing::Test {
protected:
    Document open(const PdfFixture& fixture) {
        fixture.write(dir_ / "p.pdf");
        auto document = Document::open((dir_ / "p.pdf").string());
        EXPECT_TRUE(document.ok());
        return std::move(document).value();
    }
    testsupport::TempDir dir_;
};

TEST_F(MuPDFPage, RotationIsNormalised) {
    struct Case {
        const char* raw;
        int expected;
    } cases[] = {{"0", 0},     {"90", 90},     {"180", 180},  {"270", 270},  {"360", 0},
                 {"450", 90},  {"-90", 270},   {"-180", 180}, {"-450", 270}, {"45", 0},
                 {"90.0", 90}, {"/Ninety", 0}, {"720", 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.raw);
        Document doc = open(PdfFixture().page({0, 0, 600, 800}).pageEntry("Rotate", c.raw));
        EXPECT_EQ(doc.rotation(0), c.expected);
    }
}

TEST_F(MuPDFPage, RotationIsInheritedFromThePageTree) {
    Document doc =
        open(PdfFixture().bareLeaf().page({0, 0, 10, 10}, {}, 180).pagesEntry("Rotate", "-270"));
    EXPECT_EQ(doc.rotation(0), 90);
    EXPECT_EQ(doc.rotation(1), 180);  // the page's own entry wins
}

TEST_F(MuPDFPage, IndirectRotation) {
    PdfFixture fixture;
    std::string rotate = fixture.object("270");
    Document doc = open(fixture.page({0, 0, 600, 800}).pageEntry("Rotate", rotate));
    EXPECT_EQ(doc.rotation(0), 270);
}

TEST_F(MuPDFPage, CropBoxDefaultsToMediaBox) {
    Document doc = open(PdfFixture().page({10, 20, 600, 800}));
    EXPECT_EQ(doc.cropBox(0), (Rect{10, 20, 600, 800}));
}

TEST_F(MuPDFPage, CropBoxWithNonZeroOrigin) {
    Document doc = open(PdfFixture().page({0, 0, 600, 800}, Rect{50, 60, 500, 700}, 90));
    EXPECT_EQ(doc.cropBox(0), (Rect{50, 60, 500, 700}));  // rotation does not turn the box
}

// The engine stores reals as floats; the box must be the decimals the file wrote, with sizes
// computed from them in double precision.
TEST_F(MuPDFPage, BoxesAreTheNumbersTheFileWrites) {
    Document doc = open(
        PdfFixture().page({0, 0, 612.3, 792}).pageEntry("CropBox", "[0.1 10.959 362.835 272.126]"));
    EXPECT_EQ(doc.cropBox(0), (Rect{0.1, 10.959, 362.835 - 0.1, 272.126 - 10.959}));
    Document media = open(PdfFixture().page({0, 0, 612.3, 362.835}));
    EXPECT_EQ(media.cropBox(0), (Rect{0, 0, 612.3, 362.835}));
}

TEST_F(MuPDFPage, CropBoxIsClippedToMediaBox) {
    Document doc = open(PdfFixture().page({0, 0, 600, 800}, Rect{-50, 100, 700, 800}));
    EXPECT_EQ(doc.cropBox(0), (Rect{0, 100, 600, 700}));
}

TEST_F(MuPDFPage, CropBoxOutsideMediaBoxFallsBackToMediaBox) {
    Document doc = open(PdfFixture().page({0, 0, 600, 800}, Rect{1000, 1000, 10, 10}));
    EXPECT_EQ(doc.cropBox(0), (Rect{0, 0, 600, 800}));
}

TEST_F(MuPDFPage, ReversedBoxCornersAreNormalised) {
    Document doc = open(PdfFixture()
                            .page({0, 0, 1, 1})
                            .pageEntry("MediaBox", "[612 792 0 0]")
                            .pageEntry("CropBox", "[600 700 10 20]"));
    EXPECT_EQ(doc.cropBox(0), (Rect{10, 20, 590, 680}));
}

TEST_F(MuPDFPage, BoxesAreInheritedFromThePageTree) {
    Document doc = open(PdfFixture()
                            .bareLeaf()
                            .pagesEntry("MediaBox", "[0 0 1224 792]")
                            .pagesEntry("CropBox", "[12 12 1212 780]"));
    EXPECT_EQ(doc.cropBox(0), (Rect{12, 12, 1200, 768}));
}

TEST_F(MuPDFPage, MissingMediaBoxIsLetter) {
    Document doc = open(PdfFixture().bareLeaf());
    EXPECT_EQ(doc.cropBox(0), (Rect{0, 0, 612, 792}));
}

// The crop box and rotation of every page at once, as a walk over the book reads them.
TEST_F(MuPDFPage, GeometryHoldsTheCropBoxAndTheRotation) {
    using platform::PageGeometry;
    Document doc = open(PdfFixture()
                            .bareLeaf()
                            .page({0, 0, 600, 800}, Rect{50, 60, 500, 700}, 90)
                            .pagesEntry("Rotate", "-270")
                            .pagesEntry("MediaBox", "[0 0 1224 792]"));
    EXPECT_EQ(doc.pageGeometry(0), (PageGeometry{Rect{0, 0, 1224, 792}, 90}));
    EXPECT_EQ(doc.pageGeometry(1), (PageGeometry{Rect{50, 60, 500, 700}, 90}));
    for (int index : {0, 1}) {
        EXPECT_EQ(doc.pageGeometry(index), (PageGeometry{doc.cropBox(index), doc.rotation(index)}));
    }
    EXPECT_EQ(doc.pageGeometry(2), PageGeometry{});
    EXPECT_EQ(doc.pageGeometry(-1), PageGeometry{});
}

TEST_F(MuPDFPage, ParentCycleEndsTheSearch) {
    // The /Pages node names the page as its parent: the search goes round without finding.
    Document doc = open(PdfFixture().bareLeaf().pagesEntry("Parent", "{page:0}"));
    EXPECT_EQ(doc.rotation(0), 0);
}

}  // namespace
