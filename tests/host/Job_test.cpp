// Jobs of the built PDFAnnotations started, watched and stopped through the host library.

#include "host/Job.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "host/ProgressListener.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace host {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class JobTest : public ::testing::Test {
protected:
    testsupport::TempDir tmp;
    testsupport::ScopedTemporaryDirectory scoped{tmp.path()};
    fs::path book = tmp / "book.pdf";

    void SetUp() override { fs::copy_file(fs::path(PDFA_SOURCE_DIR) / "samples/book.pdf", book); }

    static SettingsText settings(std::initializer_list<std::pair<std::string, std::string>> items) {
        SettingsText text;
        for (const auto& [key, value] : items) EXPECT_TRUE(text.set(key, value));
        return text;
    }

    // Runs the job to its end and gives its exit status.
    static int finish(Job& job) {
        auto status = job.wait(std::nullopt);
        EXPECT_TRUE(status);
        return status && *status ? **status : -1000;
    }
};

TEST_F(JobTest, AConversionGivesTheFilesOfItsOutputFolderInPageOrder) {
    fs::create_directory(tmp / "out");
    auto job = Job::start(PDFA_TOOL, JobKind::Convert,
                          settings({{"input", book.string()},
                                    {"output", (tmp / "out").string()},
                                    {"range", "2-4"},
                                    {"divide", "1"}}));
    ASSERT_TRUE(job) << job.error().message;
    EXPECT_EQ(finish(**job), 0);
    const std::string out = (tmp / "out").string();
    EXPECT_EQ((*job)->writtenFiles(),
              (std::vector<std::string>{out + "/2.xml", out + "/3-w0.xml", out + "/3-w1.xml",
                                        out + "/4.xml"}));
    EXPECT_EQ((*job)->standardOutput(), "");
    EXPECT_EQ((*job)->standardError(), "");
    EXPECT_TRUE(contentOf(tmp / "out/2.xml").starts_with("<pageAnnos pageIndex=\"0\"><anno "));
}

TEST_F(JobTest, PathsWithBarAndEqualsReachTheWorker) {
    const fs::path odd = tmp / "a|b=c";
    fs::create_directory(odd);
    fs::copy_file(book, odd / "my=book|.pdf");
    auto job = Job::start(PDFA_TOOL, JobKind::Convert,
                          settings({{"i", (odd / "my=book|.pdf").string()},
                                    {"o", (odd / "Page.xml").string()},
                                    {"r", "1"},
                                    {"ar", "0.75"}}));
    ASSERT_TRUE(job);
    EXPECT_EQ(finish(**job), 0);
    EXPECT_EQ((*job)->writtenFiles(), std::vector<std::string>{(odd / "Page.xml").string()});
}

TEST_F(JobTest, AnIdentifierIsMadeWhenTheSettingsHaveNone) {
    fs::create_directory(tmp / "out");
    auto job = Job::start(PDFA_TOOL, JobKind::Convert,
                          settings({{"input", book.string()},
                                    {"output", (tmp / "out").string()},
                                    {"range", "1"},
                                    {"divide", "0"}}));
    ASSERT_TRUE(job);
    EXPECT_TRUE((*job)->identifier().starts_with("host"));
    EXPECT_EQ((*job)->settings().value("id"), (*job)->identifier());
    EXPECT_TRUE(fs::exists(tmp / ("Tarn_" + (*job)->identifier())));
    EXPECT_EQ(finish(**job), 0);
    EXPECT_FALSE(fs::exists(tmp / ("Tarn_" + (*job)->identifier())));
}

TEST_F(JobTest, AConversionThatCannotOpenItsPdfEndsWith255AndSaysSo) {
    auto job = Job::start(PDFA_TOOL, JobKind::Convert,
                          settings({{"input", (tmp / "missing.pdf").string()},
                                    {"output", (tmp / "out").string()},
                                    {"range", "ALL"},
                                    {"divide", "2"}}));
    ASSERT_TRUE(job);
    EXPECT_EQ(finish(**job), 255);
    EXPECT_EQ((*job)->standardOutput(), "failed to verify the password!!!\n");
    EXPECT_TRUE((*job)->writtenFiles().empty());
}

TEST_F(JobTest, ATextToLinkJobReportsEveryPageAndGivesItsPdf) {
    std::mutex mutex;
    std::vector<std::string> pages;
    auto listener = ProgressListener::start([&](const std::string& argument) {
        std::lock_guard<std::mutex> lock(mutex);
        pages.push_back(argument);
    });
    ASSERT_TRUE(listener);
    auto job = Job::start(PDFA_TOOL, JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "2,5"}}));
    ASSERT_TRUE(job);
    EXPECT_EQ(finish(**job), 0);
    listener->reset();
    EXPECT_EQ(pages, (std::vector<std::string>{"2", "5"}));
    EXPECT_EQ((*job)->writtenFiles(), std::vector<std::string>{book.string()});
}

TEST_F(JobTest, AStopRaisedOnAPageEndsTheJobAfterThatPage) {
    std::vector<std::string> pages;
    auto listener = ProgressListener::start([&](const std::string& argument) {
        pages.push_back(argument);
        if (argument != "2") return;
        auto flag = StopFlagFile::open("stopper");
        if (flag) (*flag)->raise();
    });
    ASSERT_TRUE(listener);
    auto job =
        Job::start(PDFA_TOOL, JobKind::TextToLink,
                   settings({{"input", book.string()}, {"range", "ALL"}, {"id", "stopper"}}));
    ASSERT_TRUE(job);
    EXPECT_EQ(finish(**job), 0);
    listener->reset();
    EXPECT_EQ(pages, (std::vector<std::string>{"1", "2"}));
    // The pages done are saved.
    EXPECT_EQ((*job)->writtenFiles(), std::vector<std::string>{book.string()});
}

TEST_F(JobTest, StopBeforeTheFirstPageStillSavesTheFile) {
    auto job = Job::start(PDFA_TOOL, JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "ALL"}}));
    ASSERT_TRUE(job);
    (*job)->stop();
    EXPECT_EQ(finish(**job), 0);
    EXPECT_TRUE((*job)->hasEnded());
    EXPECT_EQ((*job)->writtenFiles(), std::vector<std::string>{book.string()});
}

// A stand-in for the worker: a script that ignores its arguments.
fs::path writeScript(const fs::path& path, const std::string& body) {
    std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

TEST_F(JobTest, WaitWithATimeLimitSaysTheJobStillRuns) {
    const fs::path sleeper = writeScript(tmp / "sleeper.sh", "exec sleep 30");
    auto job = Job::start(sleeper.string(), JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "ALL"}}));
    ASSERT_TRUE(job);
    auto waited = (*job)->wait(std::chrono::milliseconds(0));
    ASSERT_TRUE(waited);
    EXPECT_EQ(*waited, std::nullopt);
}

TEST_F(JobTest, AJobKilledByASignalGivesMinusTheSignal) {
    const fs::path script = writeScript(tmp / "killer.sh", "kill -9 $$");
    auto job = Job::start(script.string(), JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "ALL"}}));
    ASSERT_TRUE(job);
    EXPECT_EQ(finish(**job), -9);
}

TEST_F(JobTest, RefusesSettingsThatLackARequiredKey) {
    auto job = Job::start(PDFA_TOOL, JobKind::Convert,
                          settings({{"input", book.string()}, {"output", "out"}, {"range", "1"}}));
    ASSERT_FALSE(job);
    EXPECT_EQ(job.error().code, platform::Error::Code::Argument);
    EXPECT_EQ(job.error().message, "the setting \"divide\" is missing");
}

TEST_F(JobTest, AToolThatCannotRunIsAnArgumentError) {
    auto job = Job::start((tmp / "nothing").string(), JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "1"}, {"id", "x"}}));
    ASSERT_FALSE(job);
    EXPECT_EQ(job.error().message,
              "cannot run " + (tmp / "nothing").string() + ": No such file or directory");
    EXPECT_FALSE(fs::exists(tmp / "Tarn_x"));
}

TEST_F(JobTest, AnUnusableIdentifierIsRefused) {
    auto job = Job::start(PDFA_TOOL, JobKind::TextToLink,
                          settings({{"input", book.string()}, {"range", "1"}, {"id", ".."}}));
    ASSERT_FALSE(job);
    EXPECT_EQ(job.error().message, "\"..\" cannot identify a job");
}

}  // namespace
}  // namespace host
