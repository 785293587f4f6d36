// Files of the shared corpus that each show one way real files differ from generated ones, with
// the numbers the jobs must give for them. Read in place; each test skips, saying so, when the
// corpus is not there.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "convert/QXAnnos.h"
#include "platform/MuPDFDocument.h"
#include "robustness/PdfSurgery.h"
#include "support/CorpusManifest.h"
#include "support/TempDir.h"
#include "text2link/ParsePDFTextLink.h"

namespace {

namespace fs = std::filesystem;

class NoReports final : public platform::Reporter {
public:
    void out(const std::string& line) override { lines.push_back("out: " + line); }
    void log(const std::string& line) override { lines.push_back("log: " + line); }
    void progress(const std::string&) override {}
    std::vector<std::string> lines;
};

class CorpusCases : public ::testing::Test {
protected:
    testsupport::TempDir dir_;
    NoReports reporter_;
    platform::NeverStop neverStop_;
};

// The corpus file's path; the test skips, saying where it looked, without the corpus.
#define CORPUS_FILE_OR_SKIP(variable, name) \
    PDFA_SKIP_WITHOUT_CORPUS();             \
    const fs::path variable = testsupport::corpusDir() / name

// beamer's navigation bar: /Rect [296.936 10.959 303.91 19.925] on pages 362.835 x 272.126.
// 296.936 / 362.835 = 0.81837749...; the engine's floats gave 0.818378.
TEST_F(CorpusCases, BeamerNavigationLinksKeepTheFilesDecimals) {
    CORPUS_FILE_OR_SKIP(pdf, "beamer-beamerexample1.pdf");
    convert::QXAnnos job;
    job.inputFile = pdf.string();
    job.outputFile = (dir_ / "1.xml").string();
    job.pageRange = "1";
    ASSERT_EQ(job.parseAnnosToXML(neverStop_, reporter_), 0);
    const std::string xml = robustness::readBytes(dir_ / "1.xml");
    EXPECT_NE(xml.find("<location x=\"0.818377\" y=\"0.926780\" width=\"0.019221\" "
                       "height=\"0.032948\">"),
              std::string::npos)
        << xml;
    EXPECT_EQ(xml.find("0.818378"), std::string::npos) << xml;
    EXPECT_EQ(reporter_.lines, std::vector<std::string>{});
}

// The last cross-reference section names itself as the previous one; qpdf reads 30 pages, the
// first with the text its last update gave it.
TEST_F(CorpusCases, LoopingCrossReferenceChainGivesItsThirtyPages) {
    CORPUS_FILE_OR_SKIP(pdf, "qpdf-append-xref-loop.pdf");
    auto document = platform::Document::open(pdf.string());
    ASSERT_TRUE(document.ok()) << document.error().message;
    EXPECT_EQ(document->pageCount(), 30);
    auto text = document->pageText(0);
    ASSERT_TRUE(text.ok());
    EXPECT_EQ(text->text, u"Potato 0 new");

    fs::create_directories(dir_ / "out");
    convert::QXAnnos job;
    job.inputFile = pdf.string();
    job.outputFile = (dir_ / "out").string();
    job.pageRange = "ALL";
    ASSERT_EQ(job.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_ / "out"), fs::directory_iterator()), 30);
    EXPECT_EQ(reporter_.lines, std::vector<std::string>{});
}

// A locked document's page tree cannot be read before its password is given; that is no reason
// to rebuild the file, which would lose the pages its object streams hold.
TEST_F(CorpusCases, LockedDocumentIsNotRepairedForItsUnreadablePageTree) {
    CORPUS_FILE_OR_SKIP(pdf, "qpdf-enc-XI-R6,V5,U=view,O=master.pdf");
    auto document = platform::Document::open(pdf.string());
    ASSERT_TRUE(document.ok()) << document.error().message;
    EXPECT_EQ(document->pageCount(), 0);
    ASSERT_TRUE(document->unlock("view"));
    EXPECT_EQ(document->pageCount(), 30);
}

// Three windows of one content stream through different page boxes: of the 21 finds on the
// three pages only 6 lie inside their page's crop box, all on page 1, which draws its footer
// (the BuyWithMe address, e-mail address and FAQ link) twice. tel:7286481218 at
// [380.9 697.7 453.2 712.2] lies above page 1's box 0 0 612 492, and pages 2 and 3 show none
// of the addresses.
TEST_F(CorpusCases, TextOutsideTheCropBoxGetsNoLinks) {
    CORPUS_FILE_OR_SKIP(pdf, "pdfjs-issue1350.pdf");
    const fs::path copy = dir_ / "issue1350.pdf";
    fs::copy_file(pdf, copy);
    fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add);
    text2link::ParsePDFTextLink job;
    job.pdfFile = copy.string();
    job.pageRange = "ALL";
    job.parse(neverStop_, reporter_);
    auto document = platform::Document::open(copy.string());
    ASSERT_TRUE(document.ok());
    std::map<std::string, int> links;
    for (int page = 0; page < document->pageCount(); ++page) {
        for (const platform::Annotation& link : document->annotations(page)) {
            ++links["p" + std::to_string(page + 1) + " " + link.url.value_or("(none)")];
        }
    }
    const std::map<std::string, int> expected = {{"p1 http://BuyWithMe.com", 2},
                                                 {"p1 http://buywithme.com/pages/faq", 2},
                                                 {"p1 mailto:info@buywithme.com", 2}};
    EXPECT_EQ(links, expected);
    EXPECT_EQ(reporter_.lines, std::vector<std::string>{});
}

}  // namespace
