#include "host/PreviewPicture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/TempDir.h"

namespace host {
namespace {

namespace fs = std::filesystem;

const std::string kBook = std::string(PDFA_SOURCE_DIR) + "/samples/book.pdf";

bool isWhite(platform::Rgb pixel) { return pixel == platform::Rgb{255, 255, 255}; }

// Outlines are drawn smoothed, so their pixels are the colour blended with white: a web link's
// stay clearly blue, a page link's clearly red.
bool looksLike(platform::Rgb pixel, platform::Rgb color) {
    const int blueness = pixel.blue - pixel.red;
    return color == kWebLinkColor ? blueness >= 80 : -blueness >= 80;
}

// True when some pixel on the rectangle's outline (±1 pixel) looks like the colour.
bool outlineHasColor(const platform::Image& image, const platform::Rect& r, platform::Rgb color) {
    const int x0 = static_cast<int>(r.minX()), x1 = static_cast<int>(r.maxX());
    const int y0 = static_cast<int>(r.minY()), y1 = static_cast<int>(r.maxY());
    for (int d = -1; d <= 1; ++d) {
        for (int x = x0; x <= x1; ++x) {
            if (looksLike(image.at(x, y0 + d), color) || looksLike(image.at(x, y1 + d), color)) {
                return true;
            }
        }
        for (int y = y0; y <= y1; ++y) {
            if (looksLike(image.at(x0 + d, y), color) || looksLike(image.at(x1 + d, y), color)) {
                return true;
            }
        }
    }
    return false;
}

TEST(LabelText, CutsLongTargetsOnACharacterBoundary) {
    EXPECT_EQ(toLabelText("page 3"), "page 3");
    const std::string sixty(60, 'a');
    EXPECT_EQ(toLabelText(sixty), sixty);
    EXPECT_EQ(toLabelText(sixty + "b"), std::string(57, 'a') + "...");
    // "é" is two bytes; the cut at 57 would split the one that starts at 56.
    const std::string accented = std::string(56, 'a') + "\xC3\xA9" + std::string(10, 'b');
    EXPECT_EQ(toLabelText(accented), std::string(56, 'a') + "...");
}

TEST(Overlay, OutlinesEveryLinkAndLabelsItAboveOrInside) {
    const std::vector<PreviewLink> links = {
        {{10, 100, 50, 20}, "https://a.example", false},
        {{10, 5, 50, 20}, "page 2", true},
    };
    const Overlay overlay = makeOverlay(links, 2);
    ASSERT_EQ(overlay.boxes.size(), 2u);
    EXPECT_EQ(overlay.boxes[0].frame, links[0].frame);
    EXPECT_EQ(overlay.boxes[0].color, kWebLinkColor);
    EXPECT_EQ(overlay.boxes[0].lineWidth, 3);
    EXPECT_EQ(overlay.boxes[1].color, kPageLinkColor);
    ASSERT_EQ(overlay.labels.size(), 2u);
    EXPECT_EQ(overlay.labels[0].text, "https://a.example");
    EXPECT_EQ(overlay.labels[0].size, 16);
    EXPECT_EQ(overlay.labels[0].origin, (platform::Point{10, 100 - 1.3 * 16}));
    EXPECT_EQ(overlay.labels[1].origin, (platform::Point{10, 5}));  // no room above
    EXPECT_EQ(overlay.labels[1].color, kPageLinkColor);
    EXPECT_EQ(overlay.labels[1].background, kLabelBackground);
}

class PreviewFile : public ::testing::Test {
protected:
    testsupport::TempDir tmp;

    platform::Image written(const PreviewRequest& request, std::size_t expectedLinks) {
        auto drawn = writeLinkPreview(request);
        EXPECT_TRUE(drawn) << (drawn ? "" : drawn.error().message);
        if (drawn) {
            EXPECT_EQ(*drawn, expectedLinks);
        }
        auto image = platform::readPng(request.png);
        EXPECT_TRUE(image);
        return image ? *image : platform::Image{};
    }

    fs::path xml(const std::string& name, const std::string& text) {
        std::ofstream(tmp / name) << text;
        return tmp / name;
    }
};

// Page 1 of the sample book is 600 × 800 points; its web link covers x 200-370, y 676-690.
TEST_F(PreviewFile, ThePdfsOwnLinksAreOutlinedOnThePage) {
    PreviewRequest request{kBook, "", 1, 1.5, false, {}, (tmp / "p1.png").string()};
    const platform::Image image = written(request, 2);
    EXPECT_EQ(image.width, 900);
    EXPECT_EQ(image.height, 1200);
    const platform::Rect web{200 * 1.5, (800 - 690) * 1.5, 170 * 1.5, 14 * 1.5};
    EXPECT_TRUE(outlineHasColor(image, web, kWebLinkColor));
    const platform::Rect page{72 * 1.5, (800 - 610) * 1.5, 128 * 1.5, 14 * 1.5};
    EXPECT_TRUE(outlineHasColor(image, page, kPageLinkColor));
    // Away from text and links the page stays white.
    EXPECT_TRUE(isWhite(image.at(450, 900)));
}

TEST_F(PreviewFile, PageEditorFractionsLandOnTheirPlaceOfThePage) {
    const fs::path file =
        xml("1.xml",
            "<pageAnnos pageIndex=\"0\"><anno><action><url>https://x.example</url></action>"
            "<location x=\"0.5\" y=\"0.5\" width=\"0.25\" height=\"0.125\"></location></anno>"
            "</pageAnnos>");
    PreviewRequest request{kBook, "", 1, 1.0, false, {file.string()}, (tmp / "p.png").string()};
    const platform::Image image = written(request, 1);
    ASSERT_EQ(image.width, 600);
    EXPECT_TRUE(outlineHasColor(image, {300, 400, 150, 100}, kWebLinkColor));
    EXPECT_FALSE(isWhite(image.at(300, 450)));
    EXPECT_TRUE(isWhite(image.at(375, 450)));  // inside the outline
}

TEST_F(PreviewFile, HalvesOfADividedPageGoSideBySideWithTheFoldMarked) {
    const std::string link =
        "<slide><info><width>1200</width><height>800</height></info><elements><element><style>"
        "<left>600</left><top>400</top><width>300</width><height>100</height></style><action>"
        "<type>goToPage</type><params><target>1</target></params></action></element>"
        "</elements></slide>";
    const fs::path left = xml("3-w0.xml", link);
    const fs::path right = xml("3-w1.xml", link);
    PreviewRequest request{
        kBook, "", 3, 0.5, false, {left.string(), right.string()}, (tmp / "s.png").string()};
    const platform::Image image = written(request, 2);
    ASSERT_EQ(image.width, 600);
    ASSERT_EQ(image.height, 400);
    // Half-page fractions 0.5 / 0.25: x 150 on the left half, 450 on the right one.
    EXPECT_TRUE(outlineHasColor(image, {150, 200, 75, 50}, kPageLinkColor));
    EXPECT_TRUE(outlineHasColor(image, {450, 200, 75, 50}, kPageLinkColor));
    EXPECT_FALSE(isWhite(image.at(300, 100)));  // the fold
}

TEST_F(PreviewFile, ReportsWhatStopsIt) {
    PreviewRequest missing{(tmp / "none.pdf").string(), "", 1, 1, false, {},
                           (tmp / "x.png").string()};
    auto drawn = writeLinkPreview(missing);
    ASSERT_FALSE(drawn);
    EXPECT_EQ(drawn.error().code, platform::Error::Code::Format);

    PreviewRequest noPage{kBook, "", 9, 1, false, {}, (tmp / "x.png").string()};
    drawn = writeLinkPreview(noPage);
    ASSERT_FALSE(drawn);
    EXPECT_EQ(drawn.error().message, "no such page");

    const fs::path bad = xml("1.xml", "<other/>");
    PreviewRequest badXml{kBook, "", 1, 1, false, {bad.string()}, (tmp / "x.png").string()};
    drawn = writeLinkPreview(badXml);
    ASSERT_FALSE(drawn);
    EXPECT_EQ(drawn.error().message, bad.string() + ": neither a page-editor nor a slide file");
    EXPECT_FALSE(fs::exists(tmp / "x.png"));
}

}  // namespace
}  // namespace host
