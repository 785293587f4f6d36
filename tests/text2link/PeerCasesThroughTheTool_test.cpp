// A sample of the peer cases end to end: each on a page of its own, one -a run of the built tool
// over the whole file, the links read back from the saved PDF.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "robustness/ToolJobs.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"
#include "text2link/PeerCases.h"

namespace {

using peercases::Link;

constexpr double kBaseline = 700, kFontSize = 12, kLeading = 14, kLeft = 72;

// The lines of the text in the fixture font's encoding, or nullopt when it has a character
// beyond Latin-1.
std::optional<std::vector<std::string>> latin1Lines(const std::string& utf8) {
    std::vector<std::string> lines(1);
    for (char16_t unit : platform::toUTF16(utf8)) {
        if (unit == u'\n') {
            lines.emplace_back();
            continue;
        }
        if (unit > 0xFF || unit < 0x20 || (unit >= 0x7F && unit < 0xA0)) return std::nullopt;
        lines.back() += static_cast<char>(unit);
    }
    return lines;
}

struct PageCase {
    std::string id;
    std::vector<std::string> targets;  // what the page must link, in order
    bool firstLinkOnly = false;
    std::size_t lines = 1;
};

// Every fifth case of each suite that the fixture font can draw, and every case over several
// lines.
std::vector<PageCase> addSample(testsupport::PdfFixture& pdf) {
    const auto differences = peercases::readDifferences();
    std::vector<PageCase> pages;
    for (const std::string& name : peercases::suiteNames()) {
        const peercases::Suite suite = peercases::readSuite(name);
        for (std::size_t i = 0; i < suite.cases.size(); ++i) {
            const peercases::Case& c = suite.cases[i];
            std::optional<std::vector<std::string>> lines = latin1Lines(c.text);
            if (!lines || (i % 5 != 0 && lines->size() == 1)) continue;
            auto listed = differences.find(c.id);
            const bool different = listed != differences.end();
            PageCase page{c.id, {}, suite.firstLinkOnly && !different, lines->size()};
            for (const Link& link : different ? listed->second.links : c.links) {
                page.targets.push_back(peercases::comparableTarget(link.target));
            }
            pdf.page({0, 0, 612, 792});
            for (std::size_t line = 0; line < lines->size(); ++line) {
                pdf.text(kLeft, kBaseline - kLeading * static_cast<double>(line), kFontSize,
                         (*lines)[line]);
            }
            pages.push_back(page);
        }
    }
    return pages;
}

TEST(PeerCasesThroughTheTool, SampleGetsThePeersLinksOverItsText) {
    testsupport::TempDir folder;
    testsupport::PdfFixture pdf;
    const std::vector<PageCase> pages = addSample(pdf);
    ASSERT_GT(pages.size(), 50u);
    ASSERT_TRUE(std::any_of(pages.begin(), pages.end(), [](auto& page) { return page.lines > 1; }));
    const auto book = folder / "book.pdf";
    pdf.write(book);

    const robustness::ToolResult result = robustness::runTool(
        PDFA_TOOL, robustness::textLinkArguments(book), robustness::environmentFor(folder.path()));
    robustness::expectEndedByItself(result);
    ASSERT_EQ(result.exitStatus, 0) << result.err;

    auto document = platform::Document::open(book.string());
    ASSERT_TRUE(document);
    ASSERT_EQ(document->pageCount(), static_cast<int>(pages.size()));
    for (std::size_t p = 0; p < pages.size(); ++p) {
        std::vector<std::string> targets;
        for (const platform::Annotation& link : document->annotations(static_cast<int>(p))) {
            targets.push_back(peercases::comparableTarget(link.url.value_or("(none)")));
            // On the drawn lines (glyphs reach below the baseline and above the font size), not
            // before their start; a link over several lines is clickable line by line.
            const double lastBaseline =
                kBaseline - kLeading * static_cast<double>(pages[p].lines - 1);
            EXPECT_GE(link.bounds.x, kLeft - 1) << pages[p].id;
            EXPECT_GE(link.bounds.y, lastBaseline - kFontSize / 2) << pages[p].id;
            const bool overLines = link.bounds.height > 1.5 * kLeading;
            EXPECT_EQ(link.lines.size(), overLines ? pages[p].lines : 0u) << pages[p].id;
            EXPECT_LE(link.bounds.y + link.bounds.height, kBaseline + kFontSize * 1.25)
                << pages[p].id;
        }
        if (pages[p].firstLinkOnly && !pages[p].targets.empty() && !targets.empty()) {
            targets.resize(1);
        }
        EXPECT_EQ(targets, pages[p].targets) << pages[p].id;
    }
}

}  // namespace
