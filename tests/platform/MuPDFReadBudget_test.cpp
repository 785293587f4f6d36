// Opening reads the file under a budget of a few readings of it, and damaged files whose repair
// stays within it open as before. The file whose repair would reparse the same object stream for
// every object in it is HostilePdfs.TruncatedObjectStreams (this suite's sanitizer settings make
// it take minutes).

#include <gtest/gtest.h>

#include "platform/MuPDFDocument.h"
#include "robustness/PdfSurgery.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
namespace fs = std::filesystem;

class MuPDFReadBudget : public testing::Test {
protected:
    // The corpus file cut to length bytes, opened.
    platform::Result<Document> openCut(const std::string& name, std::size_t length) {
        const std::string file = robustness::readBytes(fs::path(PDFA_CORPUS_DIR) / name);
        EXPECT_GT(file.size(), length);
        EXPECT_TRUE(robustness::writeBytes(dir_ / "cut.pdf", file.substr(0, length)));
        return Document::open((dir_ / "cut.pdf").string());
    }

    testsupport::TempDir dir_;
};

TEST_F(MuPDFReadBudget, BookCutShortOfItsEndOpensWithAllPages) {
    auto document = openCut("pdfjs-tracemonkey.pdf", 1006151);
    ASSERT_TRUE(document.ok()) << document.error().message;
    EXPECT_EQ(document->pageCount(), 14);
    EXPECT_TRUE(document->pageText(13).ok());
}

// The budget holds only while the document opens: reading every page afterwards reads the
// file far more often than opening did.
TEST_F(MuPDFReadBudget, ReadingPagesAfterOpeningIsNotBounded) {
    auto document = Document::open((fs::path(PDFA_CORPUS_DIR) / "pdfjs-tracemonkey.pdf").string());
    ASSERT_TRUE(document.ok());
    for (int round = 0; round < 3; ++round) {
        for (int page = 0; page < document->pageCount(); ++page) {
            ASSERT_TRUE(document->pageText(page).ok()) << "page " << page + 1;
        }
    }
}

}  // namespace
