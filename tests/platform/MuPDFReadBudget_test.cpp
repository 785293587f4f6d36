// Opening reads the file under a budget of a few readings of it, and damaged files whose repair
// stays within it open as before. The file whose repair would reparse the same object stream for
// every object in it is HostilePdfs.TruncatedObjectStreams (this suite's sanitizer settings make
// it take minutes).

#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "robustness/Books.h"
#include "robustness/PdfSurgery.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
namespace fs = std::filesystem;

// The budget: eight readings of the file and one MiB (src/platform/MuPDFReadBudget.cpp).
constexpr std::size_t kBudgetReadings = 8;
constexpr std::size_t kBudgetBase = 1 << 20;

class MuPDFReadBudget : public testing::Test {
protected:
    platform::Result<Document> openBytes(const std::string& bytes) {
        EXPECT_TRUE(robustness::writeBytes(dir_ / "book.pdf", bytes));
        return Document::open((dir_ / "book.pdf").string());
    }

    testsupport::TempDir dir_;
};

// Without its cross-reference table and trailer the book is repaired from its objects.
TEST_F(MuPDFReadBudget, BookCutShortOfItsEndOpensWithAllPages) {
    const std::string book = robustness::linkBook(14, 0, 20).bytes();
    const std::size_t table = book.rfind("xref");
    ASSERT_NE(table, std::string::npos);
    auto document = openBytes(book.substr(0, table));
    ASSERT_TRUE(document.ok()) << document.error().message;
    EXPECT_EQ(document->pageCount(), 14);
    auto lastPage = document->pageText(13);
    ASSERT_TRUE(lastPage.ok());
    EXPECT_NE(lastPage->text.find(u"Book 0, page 14"), std::u16string::npos);
}

// A one-page book whose content is mostly one long comment: the engine reads it all whenever it
// reads the page's text, at little cost.
std::string bookOfLongContent(std::size_t commentBytes) {
    const std::string content = "%" + std::string(commentBytes, 'x') + "\n0 0 m 10 10 l S\n";
    return robustness::pdfOf(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 600 800] /Contents 4 0 R >>",
         robustness::streamBody(content)});
}

// The budget holds only while the document opens: reading the page afterwards, as often as it
// takes to read the file well past the budget, still works.
TEST_F(MuPDFReadBudget, ReadingPagesAfterOpeningIsNotBounded) {
    const std::string book = bookOfLongContent(64 * 1024);
    const std::size_t rounds = kBudgetReadings + kBudgetBase / book.size() + 6;
    auto document = openBytes(book);
    ASSERT_TRUE(document.ok());
    for (std::size_t round = 0; round < rounds; ++round) {
        ASSERT_TRUE(document->pageText(0).ok()) << "round " << round;
    }
}

}  // namespace
