#include "convert/JobDocument.h"

#include <gtest/gtest.h>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

convert::JobDocument openBook(const testsupport::TempDir& dir) {
    testsupport::PdfFixture pdf;
    pdf.page({0, 0, 600, 800}).page({0, 0, 1400, 800});
    pdf.write(dir / "book.pdf");
    platform::Result<platform::Document> document = platform::Document::open(dir / "book.pdf");
    EXPECT_TRUE(document.ok());
    return convert::JobDocument(std::move(document.value()));
}

}  // namespace

TEST(JobDocument, MeasuresOnce) {
    testsupport::TempDir dir;
    convert::JobDocument job = openBook(dir);
    EXPECT_EQ(job.document().pageCount(), 2);
    auto pages = job.widePagesFor(1, false, 1.0, 700);
    EXPECT_EQ(pages->widthsOfPDF, (std::vector<int>{600, 1400}));
    EXPECT_EQ(pages->indexesOfPDFDivided, (std::vector<std::int64_t>{1, 2}));
    EXPECT_TRUE(pages->isWidePageAt(2));
}

TEST(JobDocument, SharesTheNumberingWhileTheSettingsStayTheSame) {
    testsupport::TempDir dir;
    convert::JobDocument job = openBook(dir);
    auto first = job.widePagesFor(2, false, 1.0, 0);
    EXPECT_EQ(job.widePagesFor(2, false, 1.0, 0), first);
    EXPECT_EQ(first->indexesOfPDFDivided, (std::vector<std::int64_t>{1, 3}));
    auto other = job.widePagesFor(0, false, 1.0, 0);
    EXPECT_NE(other, first);
    EXPECT_EQ(other->indexesOfPDFDivided, (std::vector<std::int64_t>{1, 2}));
    EXPECT_EQ(first->indexesOfPDFDivided, (std::vector<std::int64_t>{1, 3}));
}
