// The -b job in process: page selection, output naming, passwords, per-page failures.

#include "convert/QXAnnos.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "convert/ConvertTestSupport.h"
#include "convert/GoldenXml.h"
#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using converttest::fileNames;
using converttest::RecordingReporter;
using Lines = std::vector<std::string>;

const std::string kEmptyFirst = "<pageAnnos pageIndex=\"0\"></pageAnnos>";

// Never asks for a stop; runs a hook at every poll so a test can watch or disturb the job.
class WatchingStopFlag final : public platform::StopFlag {
public:
    explicit WatchingStopFlag(std::function<void()> hook) : hook_(std::move(hook)) {}
    bool isSet() const override {
        hook_();
        return false;
    }

private:
    std::function<void()> hook_;
};

class QXAnnosJob : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(out_); }

    convert::QXAnnos job(const std::string& range) const {
        convert::QXAnnos job;
        job.inputFile = pdf_.string();
        job.outputFile = out_.string();
        job.pageRange = range;
        return job;
    }
    // One link per page, so every page polls the stop flag.
    void writeBook(int pages) const {
        testsupport::PdfFixture pdf;
        for (int page = 0; page < pages; ++page) {
            pdf.page(converttest::kSingle)
                .annot(converttest::uriLink("60 700 240 730", "http://a.example/"));
        }
        pdf.write(pdf_);
    }

    testsupport::TempDir dir_;
    fs::path out_ = dir_ / "out";
    fs::path pdf_ = dir_ / "book.pdf";
    RecordingReporter reporter_;
    platform::NeverStop neverStop_;
};

}  // namespace

TEST_F(QXAnnosJob, FolderGetsFilesInAscendingPageOrder) {
    writeBook(12);
    std::vector<Lines> seen;
    WatchingStopFlag watch([&] { seen.push_back(fileNames(out_)); });
    EXPECT_EQ(job("10,3,1").parseAnnosToXML(watch, reporter_), 0);
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "10.xml", "3.xml"}));
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.front(), Lines());
    // Files are written behind the conversion, so a poll may see fewer; never a later page
    // before an earlier one.
    const std::vector<Lines> inOrder = {{}, {"1.xml"}, {"1.xml", "3.xml"}};
    for (const Lines& files : seen) {
        EXPECT_NE(std::find(inOrder.begin(), inOrder.end(), files), inOrder.end())
            << testing::PrintToString(files);
    }
    EXPECT_TRUE(reporter_.outLines.empty());
    EXPECT_TRUE(reporter_.logLines.empty());
}

TEST_F(QXAnnosJob, AFolderWithATrailingSlashGetsTheSameFiles) {
    writeBook(2);
    convert::QXAnnos slashed = job("ALL");
    slashed.outputFile = out_.string() + "/";
    EXPECT_EQ(slashed.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2.xml"}));
}

TEST_F(QXAnnosJob, AFolderNamedFromTheWorkingFolderGetsTheFiles) {
    writeBook(1);
    convert::QXAnnos relative = job("ALL");
    relative.outputFile = "out";
    {
        testsupport::ScopedWorkingFolder working(dir_.path());
        EXPECT_EQ(relative.parseAnnosToXML(neverStop_, reporter_), 0);
    }
    EXPECT_EQ(fileNames(out_), Lines{"1.xml"});
}

TEST_F(QXAnnosJob, SingleFileModeConvertsOnlyTheLowestPage) {
    converttest::bookWithSpread().write(pdf_);
    convert::QXAnnos single = job("2-5");
    single.outputFile = (out_ / "Result.XML").string();
    EXPECT_EQ(single.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), Lines{"Result.XML"});
    std::optional<std::string> written = goldenxml::readFile(out_ / "Result.XML");
    ASSERT_TRUE(written);
    EXPECT_NE(written->find("http://right.example/"), std::string::npos) << *written;
}

TEST_F(QXAnnosJob, EmptySelectionWritesNothing) {
    writeBook(3);
    EXPECT_EQ(job("5-9").parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(job("").parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), Lines());
    EXPECT_TRUE(reporter_.logLines.empty());
}

// The job succeeds without writing anything; the log says why.
TEST_F(QXAnnosJob, DocumentWithoutPagesIsLoggedOnce) {
    testsupport::PdfFixture().write(pdf_);
    EXPECT_EQ(job("ALL").parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), Lines());
    EXPECT_TRUE(reporter_.outLines.empty());
    EXPECT_EQ(reporter_.logLines, Lines{"the document has no pages!"});
}

TEST_F(QXAnnosJob, HostWidthCountsOnlyInWideModeOne) {
    converttest::bookWithSpread().write(pdf_);
    convert::QXAnnos withWidth = job("1-2");
    withWidth.wideMode = 1;
    withWidth.divWidth = 700;
    EXPECT_EQ(withWidth.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), (Lines{"1.xml", "2-w0.xml", "2-w1.xml"}));
}

TEST_F(QXAnnosJob, WideModeOneWithoutWidthDividesEveryPage) {
    converttest::bookWithSpread().write(pdf_);
    convert::QXAnnos noWidth = job("1");
    noWidth.wideMode = 1;
    EXPECT_EQ(noWidth.parseAnnosToXML(neverStop_, reporter_), 0);
    // pageWidth stays 0, and every page is more than 1.8 times 0 wide.
    EXPECT_EQ(fileNames(out_), (Lines{"1-w0.xml", "1-w1.xml"}));
}

TEST_F(QXAnnosJob, WideModeTwoIgnoresTheHostWidth) {
    converttest::bookWithSpread().write(pdf_);
    convert::QXAnnos everyPage = job("1");
    everyPage.wideMode = 2;
    everyPage.divWidth = 800;
    EXPECT_EQ(everyPage.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), (Lines{"1-w0.xml", "1-w1.xml"}));
    goldenxml::expectGoldenFile(out_ / "1-w0.xml", "editor_wide_mode2_p1_w0");
}

TEST_F(QXAnnosJob, UnopenableDocumentFailsTheJob) {
    EXPECT_EQ(job("ALL").parseAnnosToXML(neverStop_, reporter_), -1);
    EXPECT_EQ(reporter_.outLines, Lines{"failed to verify the password!!!"});
    EXPECT_TRUE(reporter_.logLines.empty());
    EXPECT_EQ(fileNames(out_), Lines());
}

TEST_F(QXAnnosJob, WrongPasswordFailsTheJob) {
    testsupport::PdfFixture pdf;
    pdf.page(converttest::kSingle);
    pdf.writeEncrypted(pdf_, "user", "owner", "aes-128");
    convert::QXAnnos locked = job("ALL");
    locked.password = "wrong";
    EXPECT_EQ(locked.parseAnnosToXML(neverStop_, reporter_), -1);
    EXPECT_EQ(reporter_.outLines, Lines{"failed to verify the password!!!"});
    EXPECT_EQ(fileNames(out_), Lines());
}

TEST_F(QXAnnosJob, PasswordOfAnUnencryptedFileIsNoError) {
    writeBook(1);
    convert::QXAnnos plain = job("ALL");
    plain.password = "wrong";
    EXPECT_EQ(plain.parseAnnosToXML(neverStop_, reporter_), 0);
    EXPECT_EQ(fileNames(out_), Lines{"1.xml"});
    EXPECT_TRUE(reporter_.outLines.empty());
}

TEST_F(QXAnnosJob, FileGoneMidJobFailsTheRemainingPages) {
    writeBook(3);
    WatchingStopFlag removeInput([&] { fs::remove(pdf_); });
    EXPECT_EQ(job("ALL").parseAnnosToXML(removeInput, reporter_), 0);
    EXPECT_EQ(fileNames(out_), Lines{"1.xml"});
    EXPECT_EQ(reporter_.logLines,
              (Lines{"page2:failed to load annotations!", "page3:failed to load annotations!"}));
    EXPECT_TRUE(reporter_.outLines.empty());
}

TEST_F(QXAnnosJob, PresetStopWritesEveryFileWithoutLinks) {
    writeBook(2);
    converttest::StopAfterPolls stopAtOnce(0);
    EXPECT_EQ(job("ALL").parseAnnosToXML(stopAtOnce, reporter_), 0);
    EXPECT_EQ(goldenxml::readFile(out_ / "1.xml"), kEmptyFirst);
    EXPECT_EQ(goldenxml::readFile(out_ / "2.xml"), kEmptyFirst);
}
