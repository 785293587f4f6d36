// Links over several lines of text carry one quadrilateral per line.
#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "support/AddLink.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::Rect;

Document openFile(const std::filesystem::path& path) {
    auto document = Document::open(path.string());
    EXPECT_TRUE(document.ok());
    return std::move(document).value();
}

TEST(MuPDFLinkQuadPoints, AddedLinkWritesOneQuadrilateralPerLine) {
    testsupport::TempDir dir;
    testsupport::PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    const std::vector<Rect> lines = {{400, 700, 150, 12}, {72, 686, 60, 12}};
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(
            testsupport::addLink(doc, 0, Rect{72, 686, 478, 26}, "http://a.com/x-y", lines).ok());
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{72, 600, 50, 12}, "http://b.com").ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    Document saved = openFile(dir / "a.pdf");
    const auto links = saved.annotations(0);
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0].bounds, (Rect{72, 686, 478, 26}));
    EXPECT_EQ(links[0].lines, lines);
    EXPECT_TRUE(links[1].lines.empty());
    // Upper left, upper right, lower left, lower right of each line.
    platform::PdfObject points = saved.pageObject(0).get("Annots").at(0).get("QuadPoints");
    ASSERT_EQ(points.arrayLength(), 16u);
    const std::vector<double> first = {400, 712, 550, 712, 400, 700, 550, 700};
    for (std::size_t i = 0; i < first.size(); ++i) EXPECT_EQ(points.at(i).number(), first[i]);
    EXPECT_TRUE(saved.pageObject(0).get("Annots").at(1).get("QuadPoints").isNull());
}

TEST(MuPDFLinkQuadPoints, IncompleteQuadrilateralsAreNotRead) {
    testsupport::TempDir dir;
    testsupport::PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .annot("<< /Subtype /Link /Rect [0 0 10 10] /QuadPoints [0 10 10 10 0 0 10 0 5 5] >>")
        .annot("<< /Subtype /Link /Rect [0 0 10 10] /QuadPoints (x) >>")
        .write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    const auto links = doc.annotations(0);
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0].lines, (std::vector<Rect>{{0, 0, 10, 10}}));
    EXPECT_TRUE(links[1].lines.empty());
}

}  // namespace
