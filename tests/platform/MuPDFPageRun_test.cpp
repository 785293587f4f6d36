#include <gtest/gtest.h>

#include <string>

#include "platform/MuPDFDocument.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::kMaxSavedGraphicsStates;
using platform::PageText;
using testsupport::PdfFixture;

std::string repeated(const std::string& text, int times) {
    std::string out;
    for (int k = 0; k < times; ++k) out += text;
    return out;
}

platform::Result<PageText> textOf(const PdfFixture& fixture, const platform::StopFlag& stop) {
    testsupport::TempDir dir;
    fixture.write(dir / "t.pdf");
    auto document = Document::open((dir / "t.pdf").string());
    EXPECT_TRUE(document.ok());
    if (!document) return document.error();
    return document->pageText(0, stop);
}

PageText textOf(const PdfFixture& fixture) {
    auto text = textOf(fixture, platform::NeverStop());
    EXPECT_TRUE(text.ok()) << (text.ok() ? "" : text.error().message);
    return text.ok() ? *text : PageText{};
}

std::string letterAt(int y) { return "BT /F1 10 Tf 50 " + std::to_string(y) + " Td (H) Tj ET\n"; }

TEST(MuPDFPageRun, TextInsideAndAfterNestingFarBeyondTheBoundIsRead) {
    const int nesting = 100 * kMaxSavedGraphicsStates;
    PdfFixture page = PdfFixture().page({0, 0, 600, 800}).text(50, 700, 10, "Before");
    page.content(repeated("q\n", nesting)).text(50, 600, 10, "Inside");
    page.content(repeated("Q\n", nesting)).text(50, 500, 10, "After");
    EXPECT_EQ(textOf(page).text, u"Before\nInside\nAfter");
}

// A q beyond the bound is ignored with its Q, so the matrix set between them still holds after
// that Q, until the Q of the deepest q kept.
double widthAfterScaledNesting(int keptLevels) {
    PdfFixture page = PdfFixture().page({0, 0, 600, 800});
    page.content(repeated("q\n", keptLevels) + "q 2 0 0 2 0 0 cm Q\n" + letterAt(300));
    page.content(repeated("Q\n", keptLevels) + letterAt(100));
    PageText text = textOf(page);
    EXPECT_EQ(text.text, u"H\nH");
    if (text.boxes.size() != 3) return 0;
    EXPECT_NEAR(text.boxes[2].rect().width, 7.22, 0.01) << "the states were not restored";
    return text.boxes[0].rect().width;
}

TEST(MuPDFPageRun, SavesBeyondTheBoundAreIgnoredWithTheirRestores) {
    EXPECT_NEAR(widthAfterScaledNesting(kMaxSavedGraphicsStates - 1), 7.22, 0.01);
    EXPECT_NEAR(widthAfterScaledNesting(kMaxSavedGraphicsStates), 14.44, 0.01);
}

class AlreadySet final : public platform::StopFlag {
public:
    bool isSet() const override { return true; }
};

// Five million operators keep the engine busy far longer than a poll of the stop flag.
TEST(MuPDFPageRun, StopDuringALongRunFailsThePage) {
    PdfFixture page = PdfFixture().page({0, 0, 600, 800}).text(50, 700, 10, "Before");
    page.content(repeated("0 g\n", 5000000)).text(50, 500, 10, "After");
    auto text = textOf(page, AlreadySet());
    ASSERT_FALSE(text.ok());
    EXPECT_EQ(text.error().message, "stopped while page 1 was read");
}

}  // namespace
