// Page trees and /Parent chains beyond what the engine walks safely: a page the engine refuses
// to load has no page object, no text and no annotations; a tree the engine cannot walk at all
// leaves the document without pages; the rest of the document stays readable. The trees of a
// million levels are in tests/robustness (this suite's sanitizer settings make them slow).

#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "robustness/HostilePdfs.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using robustness::oneLeafBook;
using robustness::pageChain;
using robustness::pdfOf;

const std::u16string kText = u"Visit www.example.org, mail info@example.cn or call 13812345678";

class MuPDFPageTree : public testing::Test {
protected:
    Document open(const std::string& bytes) {
        EXPECT_TRUE(robustness::writeBytes(dir_ / "t.pdf", bytes));
        auto document = Document::open((dir_ / "t.pdf").string());
        EXPECT_TRUE(document.ok()) << (document.ok() ? "" : document.error().message);
        return std::move(document).value();
    }

    // The one page as a readable page: its text and its one link.
    static void expectReadablePage(const Document& document, int index) {
        auto text = document.pageText(index);
        ASSERT_TRUE(text.ok()) << text.error().message;
        EXPECT_EQ(text->text, kText);
        ASSERT_EQ(document.annotations(index).size(), 1u);
        EXPECT_EQ(document.annotations(index)[0].url, "http://www.example.org/");
    }

    static void expectUnreadablePage(const Document& document, int index) {
        EXPECT_TRUE(document.pageObject(index).isNull());
        auto text = document.pageText(index);
        ASSERT_FALSE(text.ok());
        EXPECT_EQ(text.error().code, platform::Error::Code::Format);
        EXPECT_EQ(text.error().message, "page " + std::to_string(index + 1) + " cannot be read");
        EXPECT_TRUE(document.annotations(index).empty());
    }

    testsupport::TempDir dir_;
};

TEST_F(MuPDFPageTree, PageOneHundredLevelsDownIsRead) {
    Document document = open(pageChain(100));
    ASSERT_EQ(document.pageCount(), 1);
    expectReadablePage(document, 0);
}

// The engine follows inherited entries through 100 parents and refuses a page below more.
TEST_F(MuPDFPageTree, PageOneHundredAndOneLevelsDownCannotBeRead) {
    Document document = open(pageChain(101));
    EXPECT_EQ(document.pageCount(), 1);
    expectUnreadablePage(document, 0);
}

TEST_F(MuPDFPageTree, PageThatIsItsOwnParentCannotBeRead) {
    Document document = open(robustness::pageOwnParent());
    EXPECT_EQ(document.pageCount(), 1);
    expectUnreadablePage(document, 0);
}

TEST_F(MuPDFPageTree, TreeOf256LevelsKeepsItsPage) {
    EXPECT_EQ(open(pageChain(256)).pageCount(), 1);
}

TEST_F(MuPDFPageTree, TreeOf257LevelsHasNoPages) {
    Document document = open(pageChain(257));
    EXPECT_EQ(document.pageCount(), 0);
    EXPECT_TRUE(document.pageObject(0).isNull());
    EXPECT_FALSE(document.pageText(0).ok());
}

// Each node lists the next one twice: 2^40 paths through 46 objects.
TEST_F(MuPDFPageTree, SharedNodesWithoutEndHaveNoPages) {
    EXPECT_EQ(open(robustness::sharedSubtrees(40)).pageCount(), 0);
}

TEST_F(MuPDFPageTree, PagesNodeInItsOwnKidsKeepsTheOtherPage) {
    Document document = open(pdfOf(oneLeafBook("<< /Type /Pages /Kids [5 0 R 2 0 R] /Count 2 >>")));
    EXPECT_EQ(document.pageCount(), 2);
    expectReadablePage(document, 0);
    EXPECT_TRUE(document.pageObject(1).isNull());
}

// The engine's page maps would hold entries for pages the tree does not have.
TEST_F(MuPDFPageTree, CountBeyondThePagesKeepsThePageThatIsThere) {
    Document document = open(pdfOf(oneLeafBook("<< /Type /Pages /Kids [5 0 R] /Count 3 >>")));
    EXPECT_EQ(document.pageCount(), 3);
    expectReadablePage(document, 0);
    EXPECT_TRUE(document.pageObject(1).isNull());
    EXPECT_TRUE(document.pageObject(2).isNull());
}

// A book of thousands of pages under one node: every page is found, the last one too.
TEST_F(MuPDFPageTree, BookOf5000PagesIsReadToTheLastPage) {
    testsupport::PdfFixture().pages(5000, {0, 0, 600, 800}).write(dir_ / "book.pdf");
    auto document = Document::open((dir_ / "book.pdf").string());
    ASSERT_TRUE(document.ok());
    EXPECT_EQ(document->pageCount(), 5000);
    EXPECT_FALSE(document->pageObject(4999).isNull());
    EXPECT_EQ(document->cropBox(4999), (platform::Rect{0, 0, 600, 800}));
    EXPECT_TRUE(document->pageText(4999).ok());
}

}  // namespace
