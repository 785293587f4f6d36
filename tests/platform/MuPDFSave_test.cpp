#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "platform/MuPDFDocument.h"
#include "support/AddLink.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using platform::Document;
using platform::Rect;
using testsupport::PdfFixture;

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

Document openFile(const std::filesystem::path& path, const std::string& password = "") {
    auto document = Document::open(path.string());
    EXPECT_TRUE(document.ok()) << (document.ok() ? "" : document.error().message);
    EXPECT_TRUE(document->unlock(password));
    return std::move(document).value();
}

std::vector<std::string> filesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(MuPDFSave, AddedLinkReadsBackWithBoundsAndUrl) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(2, {0, 0, 600, 800})
        .annot("<< /Subtype /Link /Rect [1 1 2 2] /A << /S /URI /URI (http://old/) >> >>")
        .write(dir / "a.pdf");
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(
            testsupport::addLink(doc, 1, Rect{10, 20, 100, 15.5}, "https://example.com/a?b=c")
                .ok());
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{30, 40, 50, 60}, std::nullopt).ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    Document saved = openFile(dir / "a.pdf");
    auto second = saved.annotations(1);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0].url, "http://old/");
    EXPECT_EQ(second[1].type, "Link");
    EXPECT_EQ(second[1].bounds, (Rect{10, 20, 100, 15.5}));
    EXPECT_EQ(second[1].url, "https://example.com/a?b=c");
    auto first = saved.annotations(0);
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].bounds, (Rect{30, 40, 50, 60}));
    EXPECT_EQ(first[0].url, std::nullopt);
    EXPECT_FALSE(first[0].mouseUpAction.has_value());
    EXPECT_EQ(saved.pageObject(0).get("Annots").at(0).get("Border").arrayLength(), 3u);
    EXPECT_EQ(filesIn(dir.path()), std::vector<std::string>{"a.pdf"});  // no temporary left
}

TEST(MuPDFSave, LinksAddedTogetherReadBackInOrder) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    std::vector<platform::Annotation> links(3);
    links[0].bounds = Rect{10, 20, 30, 40};
    links[0].url = "http://a/";
    links[1].bounds = Rect{50, 60, 70, 80};
    links[1].lines = {Rect{50, 100, 70, 40}, Rect{50, 60, 20, 40}};
    links[2].bounds = Rect{90, 100, 5, 6};
    links[2].url = "tel:13812345678";
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(doc.addLinks(0, links).ok());
        EXPECT_FALSE(doc.addLinks(1, links).ok());  // no such page
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    Document saved = openFile(dir / "a.pdf");
    auto read = saved.annotations(0);
    ASSERT_EQ(read.size(), 3u);
    for (std::size_t k = 0; k < read.size(); ++k) {
        EXPECT_EQ(read[k].bounds, links[k].bounds) << k;
        EXPECT_EQ(read[k].url, links[k].url) << k;
        EXPECT_EQ(read[k].lines, links[k].lines) << k;
    }
}

// New links share their [0 0 0] border arrays in memory; each written link still has its own,
// also past the number of links one array serves.
TEST(MuPDFSave, EveryLinkOfACrowdedPageKeepsItsBorder) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    std::vector<platform::Annotation> links(4100);
    for (std::size_t k = 0; k < links.size(); ++k) {
        links[k].bounds = Rect{static_cast<double>(k % 500), static_cast<double>(k / 500), 1, 1};
        links[k].url = "http://x/" + std::to_string(k);
    }
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(doc.addLinks(0, links).ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    Document saved = openFile(dir / "a.pdf");
    platform::PdfObject annots = saved.pageObject(0).get("Annots");
    ASSERT_EQ(annots.arrayLength(), links.size());
    for (std::size_t k = 0; k < links.size(); ++k) {
        platform::PdfObject border = annots.at(k).get("Border");
        ASSERT_EQ(border.arrayLength(), 3u) << k;
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(border.at(i).number(), 0.0) << k;
        EXPECT_EQ(annots.at(k).get("A").get("URI").textString(), *links[k].url) << k;
    }
    const std::string bytes = readFile(dir / "a.pdf");
    std::size_t borders = 0;
    for (std::size_t at = bytes.find("/Border"); at != std::string::npos;
         at = bytes.find("/Border", at + 1)) {
        ++borders;
    }
    EXPECT_EQ(borders, links.size());
}

TEST(MuPDFSave, SaveIsIncrementalAndKeepsTheOriginalBytes) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).text(72, 700, 12, "Hello").write(dir / "a.pdf");
    std::string original = readFile(dir / "a.pdf");
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(doc.pageText(0).ok());
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    std::string saved = readFile(dir / "a.pdf");
    ASSERT_GT(saved.size(), original.size());
    EXPECT_EQ(saved.substr(0, original.size()), original);
}

// Adds a link to every page of the file and saves it over itself; returns the saved bytes.
std::string linkEveryPage(const std::filesystem::path& path, int pages,
                          const std::string& password = "") {
    {
        Document doc = openFile(path, password);
        for (int page = 0; page < pages; ++page) {
            EXPECT_TRUE(testsupport::addLink(doc, page, Rect{1, 2, 3, 4}, "http://x/").ok());
        }
        EXPECT_TRUE(doc.save(path.string()).ok());
    }
    return readFile(path);
}

std::size_t countOf(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

// Links on every page of a book change objects all over the file; as an update they would make
// every later open of the book slow, so the file is written anew, with one cross-reference table.
TEST(MuPDFSave, ChangesAllOverTheFileAreWrittenAsANewFile) {
    testsupport::TempDir dir;
    constexpr int kPages = 300;
    PdfFixture().pages(kPages, {0, 0, 300, 400}).write(dir / "book.pdf");
    const std::string original = readFile(dir / "book.pdf");
    const std::string saved = linkEveryPage(dir / "book.pdf", kPages);
    EXPECT_FALSE(saved.starts_with(original));
    EXPECT_EQ(countOf(saved, "startxref"), 1u);
    EXPECT_EQ(countOf(saved, "/Prev"), 0u);
    Document reread = openFile(dir / "book.pdf");
    ASSERT_EQ(reread.pageCount(), kPages);
    for (int page = 0; page < kPages; page += 37) {
        ASSERT_EQ(reread.annotations(page).size(), 1u) << page;
        EXPECT_EQ(reread.annotations(page)[0].url, "http://x/") << page;
    }
}

TEST(MuPDFSave, EncryptedBookWrittenAsANewFileStaysEncrypted) {
    testsupport::TempDir dir;
    constexpr int kPages = 300;
    PdfFixture().pages(kPages, {0, 0, 300, 400}).writeEncrypted(dir / "e.pdf", "user", "owner",
                                                                 "aes-128");
    const std::string saved = linkEveryPage(dir / "e.pdf", kPages, "user");
    EXPECT_EQ(countOf(saved, "startxref"), 1u);
    EXPECT_EQ(saved.find("http://x/"), std::string::npos);
    auto reopened = Document::open((dir / "e.pdf").string());
    ASSERT_TRUE(reopened.ok());
    EXPECT_FALSE(reopened->unlock(""));
    ASSERT_TRUE(reopened->unlock("user"));
    ASSERT_EQ(reopened->pageCount(), kPages);
    ASSERT_EQ(reopened->annotations(kPages - 1).size(), 1u);
    EXPECT_EQ(reopened->annotations(kPages - 1)[0].url, "http://x/");
}

// A new file is written from every object of the document; an update only from those changed.
// When a damaged object nobody uses stops the first, the links still reach the file by the second.
TEST(MuPDFSave, BookWithADamagedUnusedObjectIsStillSaved) {
    testsupport::TempDir dir;
    constexpr int kPages = 300;
    PdfFixture fixture;
    fixture.pages(kPages, {0, 0, 300, 400});
    fixture.object("<< /Unused true >>");
    std::string bytes = fixture.bytes();
    // Object 4's entry points into the middle of the header.
    const std::size_t table = bytes.rfind("xref\n0 ");
    const std::size_t entry = bytes.find('\n', bytes.find('\n', table) + 1) + 1 + 4 * 20;
    bytes.replace(entry, 10, "0000000003");
    std::ofstream(dir / "book.pdf", std::ios::binary) << bytes;
    EXPECT_TRUE(linkEveryPage(dir / "book.pdf", kPages).starts_with(bytes));
    Document reread = openFile(dir / "book.pdf");
    ASSERT_EQ(reread.pageCount(), kPages);
    ASSERT_EQ(reread.annotations(kPages - 1).size(), 1u);
    EXPECT_EQ(reread.annotations(kPages - 1)[0].url, "http://x/");
}

TEST(MuPDFSave, ChangesOnAFewPagesStayAnUpdate) {
    testsupport::TempDir dir;
    PdfFixture().pages(300, {0, 0, 300, 400}).write(dir / "book.pdf");
    const std::string original = readFile(dir / "book.pdf");
    const std::string saved = linkEveryPage(dir / "book.pdf", 200);
    EXPECT_TRUE(saved.starts_with(original));
    EXPECT_EQ(countOf(saved, "startxref"), 2u);
}

// Only an update keeps a signature valid, however many objects it changes.
TEST(MuPDFSave, SignedDocumentStaysAnUpdate) {
    testsupport::TempDir dir;
    constexpr int kPages = 300;
    PdfFixture fixture;
    fixture.pages(kPages, {0, 0, 300, 400});
    const std::string signature = fixture.object(
        "<< /Type /Sig /Filter /Adobe.PPKLite /SubFilter /adbe.pkcs7.detached "
        "/ByteRange [0 0 0 0] /Contents <00> >>");
    const std::string field = fixture.object(
        "<< /Type /Annot /Subtype /Widget /FT /Sig /T (Signature1) /Rect [0 0 0 0] /V " +
        signature + " >>");
    fixture.catalogEntry("AcroForm", "<< /Fields [" + field + "] >>").write(dir / "signed.pdf");
    const std::string original = readFile(dir / "signed.pdf");
    const std::string saved = linkEveryPage(dir / "signed.pdf", kPages);
    EXPECT_TRUE(saved.starts_with(original));
}

TEST(MuPDFSave, ReadingTextDoesNotChangeTheDocument) {
    testsupport::TempDir dir;
    PdfFixture()
        .page({0, 0, 600, 800})
        .text(72, 700, 12, "Form")
        .annot(
            "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (value) /Rect [10 10 200 30] "
            "/DA (/Helv 12 Tf 0 g) >>")
        .annot("<< /Type /Annot /Subtype /Square /Rect [10 40 200 90] /C [1 0 0] >>")
        .write(dir / "a.pdf");
    std::string original = readFile(dir / "a.pdf");
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(doc.pageText(0).ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    EXPECT_EQ(readFile(dir / "a.pdf"), original);
}

TEST(MuPDFSave, BytesBeforeTheHeaderSurviveAnIncrementalSave) {
    testsupport::TempDir dir;
    std::string bytes = "junk before the header\n" + PdfFixture().pages(1, {0, 0, 60, 80}).bytes();
    std::ofstream(dir / "a.pdf", std::ios::binary) << bytes;
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    Document reread = openFile(dir / "a.pdf");
    ASSERT_EQ(reread.annotations(0).size(), 1u);
    EXPECT_EQ(reread.annotations(0)[0].url, "http://x/");
    EXPECT_EQ(reread.cropBox(0), (Rect{0, 0, 60, 80}));
}

TEST(MuPDFSave, RepairedDocumentIsRewrittenInFull) {
    testsupport::TempDir dir;
    std::string bytes = PdfFixture().pages(2, {0, 0, 300, 400}).bytes();
    bytes.replace(bytes.rfind("startxref\n") + 10, 1, "9");
    std::ofstream(dir / "broken.pdf", std::ios::binary) << bytes;
    {
        Document doc = openFile(dir / "broken.pdf");
        ASSERT_TRUE(testsupport::addLink(doc, 1, Rect{1, 2, 3, 4}, "http://fixed/").ok());
        ASSERT_TRUE(doc.save((dir / "broken.pdf").string()).ok());
    }
    std::string saved = readFile(dir / "broken.pdf");
    EXPECT_NE(saved.substr(0, 100), bytes.substr(0, 100));
    Document reread = openFile(dir / "broken.pdf");
    EXPECT_EQ(reread.pageCount(), 2);
    ASSERT_EQ(reread.annotations(1).size(), 1u);
    EXPECT_EQ(reread.annotations(1)[0].url, "http://fixed/");
}

TEST(MuPDFSave, EncryptedDocumentStaysEncrypted) {
    for (const char* method : {"rc4-40", "rc4-128", "aes-128", "aes-256"}) {
        SCOPED_TRACE(method);
        testsupport::TempDir dir;
        PdfFixture()
            .pages(1, {0, 0, 600, 800})
            .writeEncrypted(dir / "e.pdf", "user", "owner", method);
        {
            Document doc = openFile(dir / "e.pdf", "user");
            ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://secret/").ok());
            ASSERT_TRUE(doc.save((dir / "e.pdf").string()).ok());
        }
        auto reopened = Document::open((dir / "e.pdf").string());
        ASSERT_TRUE(reopened.ok());
        EXPECT_TRUE(reopened->isEncrypted());
        EXPECT_FALSE(reopened->isUnlocked());
        EXPECT_FALSE(reopened->unlock(""));
        EXPECT_TRUE(reopened->unlock("user"));
        ASSERT_EQ(reopened->annotations(0).size(), 1u);
        EXPECT_EQ(reopened->annotations(0)[0].url, "http://secret/");
        EXPECT_EQ(readFile(dir / "e.pdf").find("http://secret/"), std::string::npos);
    }
}

TEST(MuPDFSave, RepairedEncryptedDocumentStaysEncrypted) {
    testsupport::TempDir dir;
    PdfFixture()
        .pages(1, {0, 0, 600, 800})
        .writeEncrypted(dir / "e.pdf", "user", "owner", "aes-128");
    std::string bytes = readFile(dir / "e.pdf");
    bytes.replace(bytes.rfind("startxref") + 10, 1, "9");
    std::ofstream(dir / "e.pdf", std::ios::binary | std::ios::trunc) << bytes;
    {
        Document doc = openFile(dir / "e.pdf", "user");
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://secret/").ok());
        ASSERT_TRUE(doc.save((dir / "e.pdf").string()).ok());
    }
    auto reopened = Document::open((dir / "e.pdf").string());
    ASSERT_TRUE(reopened.ok());
    EXPECT_FALSE(reopened->isUnlocked());
    EXPECT_TRUE(reopened->unlock("user"));
    ASSERT_EQ(reopened->annotations(0).size(), 1u);
    EXPECT_EQ(reopened->annotations(0)[0].url, "http://secret/");
}

TEST(MuPDFSave, PermissionsOfTheOriginalAreKept) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    ASSERT_EQ(::chmod((dir / "a.pdf").c_str(), 0640), 0);
    Document doc = openFile(dir / "a.pdf");
    ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
    ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    struct stat info;
    ASSERT_EQ(::stat((dir / "a.pdf").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(MuPDFSave, SavesToANewPath) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    std::string original = readFile(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
    ASSERT_TRUE(doc.save((dir / "b.pdf").string()).ok());
    EXPECT_EQ(readFile(dir / "a.pdf"), original);
    EXPECT_EQ(openFile(dir / "b.pdf").annotations(0).size(), 1u);
}

TEST(MuPDFSave, SecondSaveWritesEverything) {
    testsupport::TempDir dir;
    PdfFixture().pages(2, {0, 0, 600, 800}).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://one/").ok());
    ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    ASSERT_TRUE(testsupport::addLink(doc, 1, Rect{1, 2, 3, 4}, "http://two/").ok());
    ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    Document reread = openFile(dir / "a.pdf");
    ASSERT_EQ(reread.annotations(0).size(), 1u);
    ASSERT_EQ(reread.annotations(1).size(), 1u);
    EXPECT_EQ(reread.annotations(1)[0].url, "http://two/");
}

// Permission bits do not stop root, so the folder is made impossible instead: its path runs
// through a regular file.
TEST(MuPDFSave, FailureLeavesTheOriginalUntouched) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    std::string original = readFile(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
    auto saved = doc.save((dir / "a.pdf" / "inside.pdf").string());
    ASSERT_FALSE(saved.ok());
    EXPECT_EQ(saved.error().code, platform::Error::Code::System);
    EXPECT_EQ(readFile(dir / "a.pdf"), original);
    EXPECT_EQ(filesIn(dir.path()), std::vector<std::string>{"a.pdf"});
}

TEST(MuPDFSave, ReadOnlyFolderFailsCleanly) {
    if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not stop root";
    testsupport::TempDir dir;
    std::filesystem::create_directory(dir / "ro");
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "ro" / "a.pdf");
    std::string original = readFile(dir / "ro" / "a.pdf");
    ASSERT_EQ(::chmod((dir / "ro").c_str(), 0555), 0);
    Document doc = openFile(dir / "ro" / "a.pdf");
    ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
    EXPECT_FALSE(doc.save((dir / "ro" / "a.pdf").string()).ok());
    EXPECT_EQ(readFile(dir / "ro" / "a.pdf"), original);
    ::chmod((dir / "ro").c_str(), 0755);
}

TEST(MuPDFSave, TargetThatIsAFolderFailsCleanly) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    std::filesystem::create_directory(dir / "folder");
    std::filesystem::create_directory(dir / "folder" / "keep");
    Document doc = openFile(dir / "a.pdf");
    EXPECT_FALSE(doc.save((dir / "folder").string()).ok());
    EXPECT_TRUE(std::filesystem::is_directory(dir / "folder" / "keep"));
    EXPECT_EQ(filesIn(dir.path()), (std::vector<std::string>{"a.pdf", "folder"}));
}

TEST(MuPDFSave, AddLinkToMissingPageFails) {
    testsupport::TempDir dir;
    PdfFixture().pages(1, {0, 0, 600, 800}).write(dir / "a.pdf");
    Document doc = openFile(dir / "a.pdf");
    auto added = testsupport::addLink(doc, 1, Rect{1, 2, 3, 4}, "http://x/");
    ASSERT_FALSE(added.ok());
    EXPECT_EQ(added.error().code, platform::Error::Code::Argument);
}

TEST(MuPDFSave, LinkIsAppendedToAnIndirectAnnotsArray) {
    testsupport::TempDir dir;
    PdfFixture fixture;
    std::string annots = fixture.object("[<< /Subtype /Text /Rect [0 0 5 5] >>]");
    fixture.page({0, 0, 600, 800}).annotsValue(annots).write(dir / "a.pdf");
    {
        Document doc = openFile(dir / "a.pdf");
        ASSERT_TRUE(testsupport::addLink(doc, 0, Rect{1, 2, 3, 4}, "http://x/").ok());
        ASSERT_TRUE(doc.save((dir / "a.pdf").string()).ok());
    }
    auto annotations = openFile(dir / "a.pdf").annotations(0);
    ASSERT_EQ(annotations.size(), 2u);
    EXPECT_EQ(annotations[0].type, "Text");
    EXPECT_EQ(annotations[1].url, "http://x/");
}

}  // namespace
