// The built PDFAnnotations running -a jobs as the host runs them: settings in a codes text, a
// temporary directory of its own, the progress socket listened on and the stop flag file.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/MuPDFDocument.h"
#include "support/HostStopFlag.h"
#include "support/PdfFixture.h"
#include "support/Process.h"
#include "support/ProgressListener.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::PdfFixture;
using testsupport::ProcessResult;
using testsupport::ProgressListener;

constexpr platform::Rect kLetter{0, 0, 612, 792};

// A web address, an e-mail address and a mobile number on one line, and a five-digit number
// on the next.
PdfFixture& pageWithAllKinds(PdfFixture& pdf) {
    return pdf.page(kLetter)
        .text(72, 700, 12, "www.example.org info@mail.cn 13812345678")
        .text(72, 650, 12, "Room 12345");
}

const std::string kWebLink = "Link [72 696 95 16] http://www.example.org\n";
const std::string kMailLink = "Link [171 696 70 16] mailto:info@mail.cn\n";
const std::string kPhoneLink = "Link [244 696 73 16] tel:13812345678\n";

std::string onPage(int page, const std::string& links) {
    std::istringstream in(links);
    std::string out;
    for (std::string line; std::getline(in, line);) {
        out += "p" + std::to_string(page) + " " + line + "\n";
    }
    return out;
}

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Every annotation of every page as the engine reads the file back, bounds rounded.
std::string describeLinks(const fs::path& path) {
    auto document = platform::Document::open(path.string());
    if (!document) return "cannot open: " + document.error().message;
    if (!document->unlock("")) return "locked";
    std::ostringstream out;
    for (int page = 0; page < document->pageCount(); ++page) {
        for (const platform::Annotation& a : document->annotations(page)) {
            out << "p" << page + 1 << " " << a.type << " [" << std::lround(a.bounds.x) << " "
                << std::lround(a.bounds.y) << " " << std::lround(a.bounds.width) << " "
                << std::lround(a.bounds.height) << "] " << a.url.value_or("(none)") << "\n";
        }
    }
    return out.str();
}

class TextToLink : public testing::Test {
protected:
    ProcessResult tool(const std::vector<std::string>& arguments) {
        return testsupport::runProcess(PDFA_TOOL, arguments, {{"TMPDIR", dir_.path().string()}});
    }

    // Runs -a with the items as the host encodes them.
    ProcessResult textToLink(const std::string& items) {
        ProcessResult encoded = testsupport::runProcess(PDFA_CODES_TOOL, {"encode", items});
        EXPECT_EQ(encoded.exitStatus, 0);
        std::string codes = encoded.out.substr(0, encoded.out.find('\n'));
        ProcessResult result = tool({"-a", codes});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
        return result;
    }

    fs::path writeBook(int pages, const std::string& name = "book.pdf") {
        PdfFixture pdf;
        for (int page = 0; page < pages; ++page) pageWithAllKinds(pdf);
        pdf.write(dir_ / name);
        return dir_ / name;
    }

    testsupport::TempDir dir_;
};

ProcessResult poppler(const std::string& program, const std::vector<std::string>& arguments) {
    return testsupport::runProcess("/usr/bin/" + program, arguments);
}

}  // namespace

TEST_F(TextToLink, AddsWebMailAndPhoneLinksOverTheirText) {
    const fs::path book = writeBook(1);
    ProgressListener listener(dir_.path());
    textToLink("input=" + book.string() + "|range=ALL");
    EXPECT_EQ(listener.received(), std::vector<std::string>{"getText2LinksProcess:1\n"});
    EXPECT_EQ(describeLinks(book), onPage(1, kWebLink + kMailLink + kPhoneLink));
}

TEST_F(TextToLink, ResultOpensInPoppler) {
    const fs::path book = writeBook(1);
    textToLink("input=" + book.string() + "|range=ALL");
    ProcessResult info = poppler("pdfinfo", {"-url", book.string()});
    EXPECT_EQ(info.exitStatus, 0) << info.err;
    EXPECT_EQ(info.out,
              "Page  Type          URL\n"
              "   1  Annotation    http://www.example.org\n"
              "   1  Annotation    mailto:info@mail.cn\n"
              "   1  Annotation    tel:13812345678\n");
    ProcessResult text = poppler("pdftotext", {book.string(), "-"});
    EXPECT_EQ(text.exitStatus, 0) << text.err;
    EXPECT_NE(text.out.find("www.example.org info@mail.cn 13812345678"), std::string::npos);
}

TEST_F(TextToLink, TypeOneAddsNoPhoneLinks) {
    const fs::path book = writeBook(1);
    textToLink("input=" + book.string() + "|range=1|type=1");
    EXPECT_EQ(describeLinks(book), onPage(1, kWebLink + kMailLink));
}

TEST_F(TextToLink, TypeTwoAddsOnlyPhoneLinks) {
    const fs::path book = writeBook(1);
    textToLink("input=" + book.string() + "|range=1|t=2");
    EXPECT_EQ(describeLinks(book), onPage(1, kPhoneLink));
}

TEST_F(TextToLink, ExistingLinkWithTheSameHostGetsNoDuplicate) {
    PdfFixture pdf;
    pageWithAllKinds(pdf).annot(
        "<< /Type /Annot /Subtype /Link /Rect [70 690 170 715] /A << /S /URI /URI "
        "(http://www.example.org/) >> >>");
    pdf.write(dir_ / "book.pdf");
    textToLink("input=" + (dir_ / "book.pdf").string() + "|range=ALL");
    EXPECT_EQ(describeLinks(dir_ / "book.pdf"),
              onPage(1, "Link [70 690 100 25] http://www.example.org/\n" + kMailLink + kPhoneLink));
}

TEST_F(TextToLink, RangeSendsEachPageToTheHost) {
    const fs::path book = writeBook(6);
    ProgressListener listener(dir_.path());
    textToLink("input=" + book.string() + "|range=2,5");
    EXPECT_EQ(listener.arguments(), (std::vector<std::string>{"2", "5"}));
    const std::string links = kWebLink + kMailLink + kPhoneLink;
    EXPECT_EQ(describeLinks(book), onPage(2, links) + onPage(5, links));
}

TEST_F(TextToLink, StopAfterPageThreeLeavesTheLaterPagesAndSaves) {
    const fs::path book = writeBook(5);
    testsupport::HostStopFlag flag(dir_.path(), "job-1");
    // The tool waits until the host has handled each message, so the flag is set before it
    // scans page 3: the scan stops at once and the loop ends before page 4.
    ProgressListener listener(dir_.path(), [&flag](const std::string& page) {
        if (page == "3") flag.set();
    });
    textToLink("input=" + book.string() + "|range=1-5|id=job-1");
    EXPECT_EQ(listener.arguments(), (std::vector<std::string>{"1", "2", "3"}));
    const std::string links = kWebLink + kMailLink + kPhoneLink;
    EXPECT_EQ(describeLinks(book), onPage(1, links) + onPage(2, links));
    EXPECT_EQ(poppler("pdfinfo", {book.string()}).exitStatus, 0);
}

TEST_F(TextToLink, RunsWithoutAHostListening) {
    const fs::path book = writeBook(2);
    textToLink("input=" + book.string() + "|range=2");
    EXPECT_EQ(describeLinks(book), onPage(2, kWebLink + kMailLink + kPhoneLink));
}

TEST_F(TextToLink, PlainArgumentsRunWithAllKinds) {
    const fs::path book = writeBook(3);
    ProgressListener listener(dir_.path());
    ProcessResult result = tool({"-a", book.string(), "2-3"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(listener.arguments(), (std::vector<std::string>{"2", "3"}));
    const std::string links = kWebLink + kMailLink + kPhoneLink;
    EXPECT_EQ(describeLinks(book), onPage(2, links) + onPage(3, links));
}

TEST_F(TextToLink, FileThatCannotBeOpenedStaysByteIdentical) {
    std::ofstream(dir_ / "broken.pdf", std::ios::binary) << "%PDF-1.4\nthis is no PDF\n";
    ProgressListener listener(dir_.path());
    textToLink("input=" + (dir_ / "broken.pdf").string() + "|range=ALL");
    EXPECT_EQ(contentOf(dir_ / "broken.pdf"), "%PDF-1.4\nthis is no PDF\n");
    EXPECT_EQ(listener.received(), std::vector<std::string>{});
}

TEST_F(TextToLink, LockedFileWithTheWrongPasswordStaysByteIdentical) {
    PdfFixture pdf;
    pageWithAllKinds(pdf).writeEncrypted(dir_ / "locked.pdf", "user", "owner", "aes-256");
    const std::string before = contentOf(dir_ / "locked.pdf");
    textToLink("input=" + (dir_ / "locked.pdf").string() + "|range=ALL|password=wrong");
    EXPECT_EQ(contentOf(dir_ / "locked.pdf"), before);
}

TEST_F(TextToLink, MissingFileIsNotCreated) {
    textToLink("input=" + (dir_ / "missing.pdf").string() + "|range=ALL");
    EXPECT_FALSE(fs::exists(dir_ / "missing.pdf"));
}
