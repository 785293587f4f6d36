#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/PdfFixture.h"
#include "support/TempDir.h"
#include "text2link/ParsePDFTextLink.h"

using platform::Annotation;
using testsupport::PdfFixture;
using testsupport::TempDir;
using text2link::ParsePDFTextLink;

namespace {

constexpr platform::Rect kLetter{0, 0, 612, 792};

class RecordingReporter final : public platform::Reporter {
public:
    std::function<void(const std::string&)> onProgress;
    std::vector<std::string> progressed;
    std::vector<std::string> lines;
    void out(const std::string& line) override { lines.push_back("out: " + line); }
    void log(const std::string& line) override { lines.push_back("log: " + line); }
    void progress(const std::string& argument) override {
        progressed.push_back(argument);
        if (onProgress) onProgress(argument);
    }
};

class SettableStop final : public platform::StopFlag {
public:
    bool set = false;
    bool isSet() const override { return set; }
};

std::string readBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The links of every page, one per line with whole-number bounds: "p1 Link [72 697 89 11] url".
std::string describeLinks(const std::filesystem::path& path,
                          const std::string& password = std::string()) {
    auto document = platform::Document::open(path.string());
    if (!document) return "cannot open: " + document.error().message;
    if (!document->unlock(password)) return "locked";
    std::ostringstream out;
    for (int page = 0; page < document->pageCount(); ++page) {
        for (const Annotation& a : document->annotations(page)) {
            out << "p" << page + 1 << " " << a.type << " [" << std::lround(a.bounds.x) << " "
                << std::lround(a.bounds.y) << " " << std::lround(a.bounds.width) << " "
                << std::lround(a.bounds.height) << "] " << a.url.value_or("(none)") << "\n";
        }
    }
    return out.str();
}

ParsePDFTextLink jobFor(const std::filesystem::path& path, const std::string& range,
                        std::int64_t type = 3) {
    ParsePDFTextLink job;
    job.pdfFile = path.string();
    job.pageRange = range;
    job.parseType = type;
    return job;
}

void run(ParsePDFTextLink& job, RecordingReporter& reporter,
         const platform::StopFlag& stop = platform::NeverStop()) {
    job.parse(stop, reporter);
}

// A page whose one line holds a web address, an e-mail address and a mobile number; the
// address's text covers [72 696 95 16] and the tag is four letters long.
PdfFixture& pageWithAllKinds(PdfFixture& pdf, const std::string& tag = "info") {
    return pdf.page(kLetter).text(72, 700, 12, "www.example.org " + tag + "@mail.cn 13812345678");
}

std::string existingLink(const std::string& rect, const std::string& uri) {
    return "<< /Type /Annot /Subtype /Link /Rect " + rect + " /A << /S /URI /URI (" + uri +
           ") >> >>";
}

const std::string kAllKindsLinks =
    "Link [72 696 95 16] http://www.example.org\n"
    "Link [171 696 70 16] mailto:info@mail.cn\n"
    "Link [244 696 73 16] tel:13812345678\n";

// kAllKindsLinks for the given page, without the kinds left out.
std::string allKindsOn(int page, bool phones = true) {
    std::istringstream in(kAllKindsLinks);
    std::string out;
    for (std::string line; std::getline(in, line);) {
        if (!phones && line.find("tel:") != std::string::npos) continue;
        out += "p" + std::to_string(page) + " " + line + "\n";
    }
    return out;
}

// Becomes set at the given poll after the reporter announced the page.
class StopDuringPage final : public platform::StopFlag {
public:
    StopDuringPage(RecordingReporter& reporter, std::string page, int poll) : stopAt_(poll) {
        reporter.onProgress = [this, page](const std::string& argument) {
            if (argument == page) counting_ = true;
        };
    }
    // Polled from the job's thread and from the thread that scans page text.
    bool isSet() const override { return counting_ && ++polls_ >= stopAt_; }

private:
    int stopAt_;
    std::atomic<bool> counting_ = false;
    mutable std::atomic<int> polls_ = 0;
};

}  // namespace

namespace {

// A book, the job's range and type, and what the job leaves: the type it ran with, the pages it
// reported and the links of every page (describeLinks).
struct ScanCase {
    const char* name;
    void (*build)(PdfFixture& pdf);
    std::string range;
    std::int64_t type;
    std::int64_t typeAfter;
    std::vector<std::string> progressed;
    std::string links;
};

void onePageWithAllKinds(PdfFixture& pdf) { pageWithAllKinds(pdf); }

std::vector<ScanCase> scanCases() {
    return {
        {"AddsAllThreeKindsOverTheirText", onePageWithAllKinds, "ALL", 3, 3, {"1"}, allKindsOn(1)},
        {"TypeOneAddsNoPhoneLinks", onePageWithAllKinds, "1", 1, 1, {"1"}, allKindsOn(1, false)},
        {"TypeZeroBehavesAsOne", onePageWithAllKinds, "1", 0, 1, {"1"}, allKindsOn(1, false)},
        {"TypeTwoAddsOnlyPhoneLinks",
         onePageWithAllKinds,
         "1",
         2,
         2,
         {"1"},
         "p1 Link [244 696 73 16] tel:13812345678\n"},
        {"FiveDigitNumberIsNotLinked",
         [](PdfFixture& pdf) {
             pdf.page(kLetter).text(72, 700, 12, "Room 12345, desk 010-12345678");
         },
         "ALL",
         3,
         3,
         {"1"},
         "p1 Link [176 696 77 16] tel:010-12345678\n"},
        {"RangeScansOnlyItsPagesInOrder",
         [](PdfFixture& pdf) {
             for (int page = 0; page < 6; ++page) pageWithAllKinds(pdf);
         },
         "5,2",
         3,
         3,
         {"2", "5"},
         allKindsOn(2) + allKindsOn(5)},
        {"ExistingLinkWithTheSameHostIsNotRepeated",
         [](PdfFixture& pdf) {
             pageWithAllKinds(pdf).annot(
                 existingLink("[70 690 170 715]", "http://example.org/home"));
         },
         "ALL",
         3,
         3,
         {"1"},
         "p1 Link [70 690 100 25] http://example.org/home\n"
         "p1 Link [171 696 70 16] mailto:info@mail.cn\n"
         "p1 Link [244 696 73 16] tel:13812345678\n"},
        {"ExistingLinkWithAnotherHostKeepsTheNewLink",
         [](PdfFixture& pdf) {
             pageWithAllKinds(pdf).annot(existingLink("[70 690 170 715]", "http://other.net"));
         },
         "ALL",
         3,
         3,
         {"1"},
         "p1 Link [70 690 100 25] http://other.net\n" + allKindsOn(1)},
        {"ThinExistingLinkNeverDropsANewOne",
         [](PdfFixture& pdf) {
             pageWithAllKinds(pdf)
                 .annot(existingLink("[70 700 170 700.05]", "http://www.example.org"))
                 .annot(existingLink("[120 690 120.05 715]", "http://www.example.org"));
         },
         "ALL",
         3,
         3,
         {"1"},
         "p1 Link [70 700 100 0] http://www.example.org\n"
         "p1 Link [120 690 0 25] http://www.example.org\n" +
             allKindsOn(1)},
        {"ExistingLinksOnOtherPagesDoNotCount",
         [](PdfFixture& pdf) {
             pdf.page(kLetter).annot(existingLink("[70 690 170 715]", "http://www.example.org"));
             pageWithAllKinds(pdf);
         },
         "ALL",
         3,
         3,
         {"1", "2"},
         "p1 Link [70 690 100 25] http://www.example.org\n" + allKindsOn(2)},
        {"PageWithoutTextIsLeftAlone",
         [](PdfFixture& pdf) {
             pdf.page(kLetter);
             pageWithAllKinds(pdf);
         },
         "ALL",
         3,
         3,
         {"1", "2"},
         allKindsOn(2)},
    };
}

class ParsePDFTextLinkScan : public testing::TestWithParam<ScanCase> {};

TEST_P(ParsePDFTextLinkScan, AddsTheLinksFound) {
    const ScanCase& c = GetParam();
    TempDir dir;
    PdfFixture pdf;
    c.build(pdf);
    pdf.write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", c.range, c.type);
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_EQ(job.parseType, c.typeAfter);
    EXPECT_EQ(reporter.progressed, c.progressed);
    EXPECT_EQ(reporter.lines, std::vector<std::string>{});
    EXPECT_EQ(describeLinks(dir / "a.pdf"), c.links);
}

INSTANTIATE_TEST_SUITE_P(ParsePDFTextLinkParse, ParsePDFTextLinkScan,
                         testing::ValuesIn(scanCases()),
                         [](const testing::TestParamInfo<ScanCase>& info) {
                             return std::string(info.param.name);
                         });

// Files the job cannot or need not change: it reports no page and leaves every byte as it was.
struct UntouchedCase {
    const char* name;
    void (*write)(const std::filesystem::path& file);
    std::string range;
    std::optional<std::string> password;
};

void writeNoPDF(const std::filesystem::path& file) {
    std::ofstream(file, std::ios::binary) << "not a PDF at all\n";
}

void writeTwoPages(const std::filesystem::path& file) {
    PdfFixture pdf;
    pageWithAllKinds(pdf);
    pageWithAllKinds(pdf);
    pdf.write(file);
}

void writeLocked(const std::filesystem::path& file) {
    PdfFixture pdf;
    pageWithAllKinds(pdf);
    pdf.writeEncrypted(file, "user", "owner", "aes-128");
}

const UntouchedCase kUntouchedCases[] = {
    {"FileThatIsNoPDF", writeNoPDF, "ALL", std::nullopt},
    {"RangeBeyondTheLastPage", writeTwoPages, "9", std::nullopt},
    {"EmptyRange", writeTwoPages, "", std::nullopt},
    {"RangeZero", writeTwoPages, "0", std::nullopt},
    {"FallingRange", writeTwoPages, "3-1", std::nullopt},
    {"LockedFileWithoutPassword", writeLocked, "ALL", std::nullopt},
    {"LockedFileWithTheWrongPassword", writeLocked, "ALL", "wrong"},
};

class ParsePDFTextLinkUntouched : public testing::TestWithParam<UntouchedCase> {};

TEST_P(ParsePDFTextLinkUntouched, LeavesTheFileAsItWas) {
    const UntouchedCase& c = GetParam();
    TempDir dir;
    c.write(dir / "a.pdf");
    const std::string before = readBytes(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", c.range);
    job.password = c.password;
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_EQ(reporter.progressed, std::vector<std::string>{});
    EXPECT_EQ(readBytes(dir / "a.pdf"), before);
}

INSTANTIATE_TEST_SUITE_P(ParsePDFTextLinkParse, ParsePDFTextLinkUntouched,
                         testing::ValuesIn(kUntouchedCases),
                         [](const testing::TestParamInfo<UntouchedCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace

// Page 3's text is scanned while page 4's is read, so which poll comes first after "3" is not
// fixed; every poll from the first on sees the stop. The pages before it are whole.
TEST(ParsePDFTextLinkParse, StopOncePageThreeIsReportedKeepsTheEarlierPagesWholeAndSaves) {
    TempDir dir;
    PdfFixture pdf;
    pageWithAllKinds(pdf);
    pageWithAllKinds(pdf).annot(existingLink("[70 690 170 715]", "http://example.org"));
    pageWithAllKinds(pdf);
    pageWithAllKinds(pdf);
    pdf.write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "1-4");
    RecordingReporter reporter;
    StopDuringPage stop(reporter, "3", 1);
    run(job, reporter, stop);
    EXPECT_EQ(reporter.progressed, (std::vector<std::string>{"1", "2", "3"}));
    // Page 2's address duplicates its existing link and was dropped before "3" was reported.
    EXPECT_EQ(describeLinks(dir / "a.pdf"), allKindsOn(1) +
                                                "p2 Link [70 690 100 25] http://example.org\n"
                                                "p2 Link [171 696 70 16] mailto:info@mail.cn\n"
                                                "p2 Link [244 696 73 16] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParse, StopBeforeTheFirstPageStillSaves) {
    TempDir dir;
    PdfFixture pdf;
    pageWithAllKinds(pdf).write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    RecordingReporter reporter;
    SettableStop stop;
    stop.set = true;
    run(job, reporter, stop);
    EXPECT_EQ(reporter.progressed, std::vector<std::string>{});
    EXPECT_EQ(describeLinks(dir / "a.pdf"), "");
}

TEST(ParsePDFTextLinkParse, StopParseWithTheTaskIDEndsAfterTheCurrentPage) {
    TempDir dir;
    PdfFixture pdf;
    for (int page = 0; page < 3; ++page) pageWithAllKinds(pdf);
    pdf.write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    job.taskID = "job-7";
    job.stopParse("job-7");  // cleared when parse starts
    RecordingReporter reporter;
    reporter.onProgress = [&job](const std::string& page) {
        job.stopParse(std::nullopt);
        job.stopParse("job-8");
        if (page == "2") job.stopParse("job-7");
    };
    run(job, reporter);
    EXPECT_EQ(reporter.progressed, (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(describeLinks(dir / "a.pdf"), allKindsOn(1) + allKindsOn(2));
}

TEST(ParsePDFTextLinkParse, StopParseWithoutATaskIDDoesNothing) {
    TempDir dir;
    PdfFixture pdf;
    for (int page = 0; page < 2; ++page) pageWithAllKinds(pdf);
    pdf.write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    RecordingReporter reporter;
    reporter.onProgress = [&job](const std::string&) { job.stopParse("job-7"); };
    run(job, reporter);
    EXPECT_EQ(reporter.progressed, (std::vector<std::string>{"1", "2"}));
}

TEST(ParsePDFTextLinkParse, RunningTwiceRepeatsOnlyLinksWithoutHost) {
    TempDir dir;
    PdfFixture pdf;
    pageWithAllKinds(pdf).write(dir / "a.pdf");
    for (int pass = 0; pass < 2; ++pass) {
        ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
        RecordingReporter reporter;
        run(job, reporter);
    }
    EXPECT_EQ(describeLinks(dir / "a.pdf"), allKindsOn(1) +
                                                "p1 Link [171 696 70 16] mailto:info@mail.cn\n"
                                                "p1 Link [244 696 73 16] tel:13812345678\n");
}

TEST(ParsePDFTextLinkParse, MissingFileIsNotCreated) {
    TempDir dir;
    ParsePDFTextLink job = jobFor(dir / "missing.pdf", "ALL");
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_FALSE(std::filesystem::exists(dir / "missing.pdf"));
    EXPECT_EQ(reporter.progressed, std::vector<std::string>{});
    EXPECT_EQ(reporter.lines, std::vector<std::string>{});
}

TEST(ParsePDFTextLinkParse, DocumentWithoutPagesIsLoggedAndLeftUntouched) {
    TempDir dir;
    PdfFixture().write(dir / "a.pdf");
    const std::string before = readBytes(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_EQ(reporter.lines, std::vector<std::string>{"log: the document has no pages!"});
    EXPECT_EQ(reporter.progressed, std::vector<std::string>{});
    EXPECT_EQ(readBytes(dir / "a.pdf"), before);
}

// Text beyond the crop box is in the content stream but never shown: no link is made on it,
// while an address the box cuts through keeps its link.
TEST(ParsePDFTextLinkParse, TextOutsideTheCropBoxIsNotLinked) {
    TempDir dir;
    PdfFixture pdf;
    pdf.page(kLetter, platform::Rect{0, 0, 612, 492})
        .text(72, 400, 12, "www.inside.org 13812345678")
        .text(72, 700, 12, "www.above.org 13912345678")
        .text(72, 486, 12, "www.edge.org");
    pdf.write(dir / "a.pdf");
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_EQ(describeLinks(dir / "a.pdf"),
              "p1 Link [72 396 81 16] http://www.inside.org\n"
              "p1 Link [157 396 73 16] tel:13812345678\n"
              "p1 Link [72 482 77 16] http://www.edge.org\n");
}

namespace {

// Encrypted books the job can open: it links them and they stay encrypted as they were.
struct EncryptedCase {
    const char* name;
    std::string userPassword;
    std::string method;
    std::string jobPassword;
};

const EncryptedCase kEncryptedCases[] = {
    {"LockedFileOpensWithThePasswordAndStaysEncrypted", "user", "aes-128", "user"},
    {"OwnerPasswordOnlyFileOpensWithTheEmptyPassword", "", "rc4-128", "wrong"},
};

class ParsePDFTextLinkEncrypted : public testing::TestWithParam<EncryptedCase> {};

TEST_P(ParsePDFTextLinkEncrypted, LinksTheBookAndKeepsItEncrypted) {
    const EncryptedCase& c = GetParam();
    TempDir dir;
    PdfFixture pdf;
    pageWithAllKinds(pdf);
    pdf.writeEncrypted(dir / "a.pdf", c.userPassword, "owner", c.method);
    ParsePDFTextLink job = jobFor(dir / "a.pdf", "ALL");
    job.password = c.jobPassword;
    RecordingReporter reporter;
    run(job, reporter);
    EXPECT_EQ(reporter.progressed, std::vector<std::string>{"1"});
    EXPECT_EQ(describeLinks(dir / "a.pdf"), c.userPassword.empty() ? allKindsOn(1) : "locked");
    EXPECT_EQ(describeLinks(dir / "a.pdf", c.userPassword), allKindsOn(1));
}

INSTANTIATE_TEST_SUITE_P(ParsePDFTextLinkParse, ParsePDFTextLinkEncrypted,
                         testing::ValuesIn(kEncryptedCases),
                         [](const testing::TestParamInfo<EncryptedCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace

TEST(ParsePDFTextLinkMessages, ProgressAndStopTexts) {
    ParsePDFTextLink job;
    RecordingReporter reporter;
    job.setMessage(7, reporter);
    job.setStopMessage(3, reporter);
    job.setMessage(std::int64_t{1} << 32 | 5, reporter);  // "%d" shows the low 32 bits
    job.setMessage(-1, reporter);
    EXPECT_EQ(reporter.progressed, (std::vector<std::string>{"7", "stop3", "5", "-1"}));
}
