#include "frontend/JobRunner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

class SilentReporter : public platform::Reporter {
public:
    void out(const std::string& line) override { lines.push_back(line); }
    void log(const std::string& line) override { lines.push_back(line); }
    void progress(const std::string&) override {}
    std::vector<std::string> lines;
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// A two-page book: page 1 narrow, page 2 a spread; page 1 holds one web link. Written beside
// the path and renamed over it, as a file is replaced while a reader has the old one open.
void writeBook(const fs::path& path, const std::string& url) {
    const fs::path written = path.string() + ".new";
    testsupport::PdfFixture()
        .page({0, 0, 600, 800})
        .annot("<< /Type /Annot /Subtype /Link /Rect [60 80 300 160] /A << /S /URI /URI (" + url +
               ") >> >>")
        .page({0, 0, 1200, 800})
        .write(written);
    fs::rename(written, path);
}

class JobRunner : public testing::Test {
protected:
    convert::QXAnnos jobFor(const fs::path& input, std::optional<std::string> password = {}) {
        convert::QXAnnos job;
        job.inputFile = input.string();
        job.outputFile = (dir_ / "out").string();
        job.pageRange = "1";
        job.password = std::move(password);
        fs::create_directories(dir_ / "out");
        return job;
    }
    std::string pageOne() { return readFile(dir_ / "out" / "1.xml"); }

    testsupport::TempDir dir_;
    frontend::LibraryJobs jobs_;
    SilentReporter reporter_;
    platform::NeverStop stop_;
};

TEST_F(JobRunner, MeasuresTheSinglePageWidth) {
    writeBook(dir_ / "book.pdf", "https://first.example/");
    EXPECT_EQ(jobs_.detectWidePageForFile((dir_ / "book.pdf").string(), std::nullopt), 600);
}

// The file is replaced between measuring and converting: the conversion still reads the
// document that was measured, so the book is parsed once per process.
TEST_F(JobRunner, ConversionReadsTheDocumentMeasuredBeforeIt) {
    const fs::path book = dir_ / "book.pdf";
    writeBook(book, "https://first.example/");
    ASSERT_EQ(jobs_.detectWidePageForFile(book.string(), std::nullopt), 600);
    writeBook(book, "https://second.example/");
    convert::QXAnnos job = jobFor(book);
    EXPECT_EQ(jobs_.parseAnnosToXML(job, stop_, reporter_), 0);
    EXPECT_NE(pageOne().find("https://first.example/"), std::string::npos) << pageOne();
}

TEST_F(JobRunner, ConversionOfAnotherFileOpensItself) {
    writeBook(dir_ / "measured.pdf", "https://first.example/");
    writeBook(dir_ / "other.pdf", "https://second.example/");
    ASSERT_EQ(jobs_.detectWidePageForFile((dir_ / "measured.pdf").string(), std::nullopt), 600);
    convert::QXAnnos job = jobFor(dir_ / "other.pdf");
    EXPECT_EQ(jobs_.parseAnnosToXML(job, stop_, reporter_), 0);
    EXPECT_NE(pageOne().find("https://second.example/"), std::string::npos) << pageOne();
}

TEST_F(JobRunner, ConversionWithAnotherPasswordOpensItself) {
    const fs::path book = dir_ / "book.pdf";
    writeBook(book, "https://first.example/");
    ASSERT_EQ(jobs_.detectWidePageForFile(book.string(), std::nullopt), 600);
    writeBook(book, "https://second.example/");
    convert::QXAnnos job = jobFor(book, "secret");
    EXPECT_EQ(jobs_.parseAnnosToXML(job, stop_, reporter_), 0);
    EXPECT_NE(pageOne().find("https://second.example/"), std::string::npos) << pageOne();
}

// Only the conversion right after the measuring gets the document.
TEST_F(JobRunner, MeasuredDocumentServesOneConversion) {
    const fs::path book = dir_ / "book.pdf";
    writeBook(book, "https://first.example/");
    ASSERT_EQ(jobs_.detectWidePageForFile(book.string(), std::nullopt), 600);
    convert::QXAnnos first = jobFor(book);
    ASSERT_EQ(jobs_.parseAnnosToXML(first, stop_, reporter_), 0);
    writeBook(book, "https://second.example/");
    convert::QXAnnos second = jobFor(book);
    EXPECT_EQ(jobs_.parseAnnosToXML(second, stop_, reporter_), 0);
    EXPECT_NE(pageOne().find("https://second.example/"), std::string::npos) << pageOne();
}

TEST_F(JobRunner, UnreadableFileMeasuresZeroAndConversionReportsIt) {
    std::ofstream(dir_ / "broken.pdf") << "not a pdf";
    EXPECT_EQ(jobs_.detectWidePageForFile((dir_ / "broken.pdf").string(), std::nullopt), 0);
    convert::QXAnnos job = jobFor(dir_ / "broken.pdf");
    EXPECT_EQ(jobs_.parseAnnosToXML(job, stop_, reporter_), -1);
    EXPECT_EQ(reporter_.lines, std::vector<std::string>{"failed to verify the password!!!"});
}

}  // namespace
