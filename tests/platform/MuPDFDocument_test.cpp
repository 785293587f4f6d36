#include "platform/MuPDFDocument.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "robustness/PdfSurgery.h"
#include "support/AddLink.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::Rect;
using testsupport::PdfFixture;

Document openFile(const std::filesystem::path& path) {
    auto document = Document::open(path.string());
    EXPECT_TRUE(document.ok()) << (document.ok() ? "" : document.error().message);
    return std::move(document).value();
}

TEST(MuPDFDocument, OpensPlainFileUnlocked) {
    testsupport::TempDir dir;
    PdfFixture().pages(3, {0, 0, 600, 800}).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    EXPECT_FALSE(doc.isEncrypted());
    EXPECT_TRUE(doc.isUnlocked());
    EXPECT_TRUE(doc.unlock("anything"));
    EXPECT_EQ(doc.pageCount(), 3);
}

TEST(MuPDFDocument, MissingFileIsSystemError) {
    testsupport::TempDir dir;
    auto document = Document::open((dir / "missing.pdf").string());
    ASSERT_FALSE(document.ok());
    EXPECT_EQ(document.error().code, platform::Error::Code::System);
}

TEST(MuPDFDocument, GarbageFileIsFormatError) {
    testsupport::TempDir dir;
    std::ofstream(dir / "junk.pdf") << "this is not a PDF at all";
    auto document = Document::open((dir / "junk.pdf").string());
    ASSERT_FALSE(document.ok());
    EXPECT_EQ(document.error().code, platform::Error::Code::Format);
}

TEST(MuPDFDocument, BrokenCrossReferenceIsRepaired) {
    testsupport::TempDir dir;
    std::string bytes = PdfFixture().pages(2, {0, 0, 300, 400}).bytes();
    bytes.replace(bytes.rfind("startxref\n") + 10, 1, "9");  // points into nowhere
    std::ofstream(dir / "broken.pdf", std::ios::binary) << bytes;
    Document doc = openFile(dir / "broken.pdf");
    EXPECT_EQ(doc.pageCount(), 2);
    EXPECT_EQ(doc.cropBox(1), (Rect{0, 0, 300, 400}));
}

// The last update's cross-reference section names itself as the one before it. The engine stops
// following the chain there, which leaves the page tree of the first revision out of reach; the
// objects are all in the file, as qpdf and a repair find.
TEST(MuPDFDocument, CrossReferenceChainThatLoopsIsRepaired) {
    testsupport::TempDir dir;
    const std::string original = PdfFixture().pages(3, {0, 0, 300, 400}).bytes();
    std::string bytes =
        robustness::withUpdate(original, {{1, "<< /Type /Catalog /Pages 2 0 R /Lang (en) >>"}});
    bytes =
        robustness::patched(bytes, "/Prev " + std::to_string(robustness::lastStartXref(original)),
                            "/Prev " + std::to_string(robustness::lastStartXref(bytes)), true);
    ASSERT_TRUE(robustness::writeBytes(dir / "loop.pdf", bytes));
    Document doc = openFile(dir / "loop.pdf");
    EXPECT_EQ(doc.pageCount(), 3);
    EXPECT_EQ(doc.cropBox(2), (Rect{0, 0, 300, 400}));
    EXPECT_EQ(doc.catalog().get("Lang").textString(), "en");  // the update still counts
}

// A file whose page tree is empty stays empty after the repair that its count asks for.
TEST(MuPDFDocument, DocumentWithoutPagesOpensEmpty) {
    testsupport::TempDir dir;
    PdfFixture().write(dir / "empty.pdf");
    Document doc = openFile(dir / "empty.pdf");
    EXPECT_EQ(doc.pageCount(), 0);
    EXPECT_FALSE(doc.catalog().isNull());
}

struct EncryptionCase {
    const char* method;
};

class MuPDFDocumentEncryption : public ::testing::TestWithParam<EncryptionCase> {};

TEST_P(MuPDFDocumentEncryption, UserPasswordUnlocks) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(2, {0, 0, 600, 800})
        .writeEncrypted(dir / "e.pdf", "user", "owner", GetParam().method);
    Document doc = openFile(dir / "e.pdf");
    EXPECT_TRUE(doc.isEncrypted());
    EXPECT_FALSE(doc.isUnlocked());
    EXPECT_EQ(doc.pageCount(), 0);
    EXPECT_FALSE(doc.unlock(""));
    EXPECT_FALSE(doc.unlock("wrong"));
    EXPECT_TRUE(doc.unlock("user"));
    EXPECT_TRUE(doc.isUnlocked());
    EXPECT_EQ(doc.pageCount(), 2);
    EXPECT_EQ(doc.cropBox(0), (Rect{0, 0, 600, 800}));
}

TEST_P(MuPDFDocumentEncryption, OwnerPasswordUnlocks) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .writeEncrypted(dir / "e.pdf", "user", "owner", GetParam().method);
    Document doc = openFile(dir / "e.pdf");
    EXPECT_TRUE(doc.unlock("owner"));
    EXPECT_EQ(doc.pageCount(), 1);
}

TEST_P(MuPDFDocumentEncryption, EmptyUserPasswordOpensAtOnce) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .writeEncrypted(dir / "e.pdf", "", "owner", GetParam().method);
    Document doc = openFile(dir / "e.pdf");
    EXPECT_TRUE(doc.isEncrypted());
    EXPECT_TRUE(doc.isUnlocked());
    // Asking again, even with a wrong password, keeps it open.
    EXPECT_TRUE(doc.unlock("wrong"));
    EXPECT_EQ(doc.pageCount(), 1);
    EXPECT_EQ(doc.cropBox(0), (Rect{0, 0, 600, 800}));
}

TEST_P(MuPDFDocumentEncryption, OpenedAgainWithThePasswordThatUnlockedIt) {
    testsupport::TempDir dir;
    PdfFixture()
        .page({0, 0, 600, 800})
        .text(72, 700, 12, "www.example.org")
        .writeEncrypted(dir / "e.pdf", "user", "owner", GetParam().method);
    Document doc = openFile(dir / "e.pdf");
    ASSERT_TRUE(doc.unlock("owner"));
    auto again = doc.openAgain((dir / "e.pdf").string(), platform::NeverStop());
    ASSERT_TRUE(again.ok()) << again.error().message;
    EXPECT_TRUE(again->isUnlocked());
    auto text = again->pageText(0);
    ASSERT_TRUE(text.ok());
    EXPECT_EQ(text->text, u"www.example.org");
}

INSTANTIATE_TEST_SUITE_P(Methods, MuPDFDocumentEncryption,
                         ::testing::Values(EncryptionCase{"rc4-40"}, EncryptionCase{"rc4-128"},
                                           EncryptionCase{"aes-128"}, EncryptionCase{"aes-256"}),
                         [](const auto& info) {
                             std::string name = info.param.method;
                             name.erase(name.find('-'), 1);
                             return name;
                         });

TEST(MuPDFDocument, LockedDocumentIsOpenedAgainLocked) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .writeEncrypted(dir / "e.pdf", "user", "owner", "aes-128");
    Document doc = openFile(dir / "e.pdf");
    auto again = doc.openAgain((dir / "e.pdf").string(), platform::NeverStop());
    ASSERT_TRUE(again.ok());
    EXPECT_FALSE(again->isUnlocked());
}

// Each handle has an engine context of its own: reading on several threads at once gives every
// thread the text one thread alone reads.
TEST(MuPDFDocument, HandlesOpenedAgainReadPagesOnSeveralThreadsAtOnce) {
    testsupport::TempDir dir;
    PdfFixture book;
    for (int page = 0; page < 40; ++page) {
        book.page({0, 0, 600, 800})
            .text(72, 700, 12, "Page " + std::to_string(page) + " www.example.org")
            .text(72, 680, 12, "call 13812345678 or mail info@mail.cn");
    }
    book.write(dir / "book.pdf");
    Document doc = openFile(dir / "book.pdf");
    std::vector<std::u16string> expected;
    for (int page = 0; page < doc.pageCount(); ++page) expected.push_back(doc.pageText(page)->text);
    std::vector<Document> readers;
    for (int k = 0; k < 3; ++k) {
        readers.push_back(
            doc.openAgain((dir / "book.pdf").string(), platform::NeverStop()).value());
    }
    std::vector<std::vector<std::u16string>> read(readers.size());
    std::vector<std::thread> threads;
    for (std::size_t k = 0; k < readers.size(); ++k) {
        threads.emplace_back([&, k] {
            for (int page = 0; page < readers[k].pageCount(); ++page) {
                read[k].push_back(readers[k].pageText(page)->text);
            }
        });
    }
    // The job's own document goes on being used meanwhile.
    for (int page = 0; page < doc.pageCount(); ++page) {
        EXPECT_TRUE(testsupport::addLink(doc, page, {72, 700, 100, 12},
                                         std::string("http://www.example.org/"))
                        .ok());
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& texts : read) EXPECT_EQ(texts, expected);
}

TEST(MuPDFDocument, LockedDocumentHasNoPagesOrCatalog) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).writeEncrypted(dir / "e.pdf", "u", "o", "aes-128");
    Document doc = openFile(dir / "e.pdf");
    EXPECT_TRUE(doc.pageObject(0).isNull());
    EXPECT_TRUE(doc.catalog().isNull());
    EXPECT_TRUE(doc.annotations(0).empty());
    EXPECT_EQ(doc.cropBox(0), Rect{});
    EXPECT_FALSE(doc.pageText(0).ok());
}

TEST(MuPDFDocument, PageIndexOutOfRangeGivesNeutralValues) {
    testsupport::TempDir dir;
    PdfFixture().page({0, 0, 600, 800}, std::nullopt, 90).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    for (int index : {-1, 1, 1000}) {
        SCOPED_TRACE(index);
        EXPECT_TRUE(doc.pageObject(index).isNull());
        EXPECT_EQ(doc.rotation(index), 0);
        EXPECT_EQ(doc.cropBox(index), Rect{});
        EXPECT_TRUE(doc.annotations(index).empty());
        auto text = doc.pageText(index);
        ASSERT_FALSE(text.ok());
        EXPECT_EQ(text.error().code, platform::Error::Code::Argument);
    }
}

TEST(MuPDFDocument, MovedFromDocumentIsInert) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    Document other = std::move(doc);
    EXPECT_EQ(other.pageCount(), 1);
    EXPECT_EQ(doc.pageCount(), 0);  // NOLINT(bugprone-use-after-move): the state is defined
    EXPECT_FALSE(doc.isUnlocked());
    EXPECT_FALSE(doc.save((dir / "b.pdf").string()).ok());
}

TEST(MuPDFDocument, CatalogGivesRootEntries) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .catalogEntry("PageLayout", "/TwoColumnLeft")
        .write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    EXPECT_EQ(doc.catalog().get("PageLayout").name(), "TwoColumnLeft");
}

TEST(MuPDFDocument, ThousandPagesAreCounted) {
    testsupport::TempDir dir;
    PdfFixture().pages(1000, {0, 0, 100, 200}).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    EXPECT_EQ(doc.pageCount(), 1000);
    EXPECT_EQ(doc.cropBox(999), (Rect{0, 0, 100, 200}));
}

}  // namespace
