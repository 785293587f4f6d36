#include "host/OutputFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "support/TempDir.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// Writes as the worker does: a new file renamed into place.
void writeLikeTheWorker(const fs::path& path, const std::string& text) {
    const fs::path temporary = path.string() + ".tmp";
    std::ofstream(temporary) << text;
    fs::rename(temporary, path);
}

SettingsText settingsWith(const std::string& key, const std::string& value) {
    SettingsText settings;
    EXPECT_TRUE(settings.set(key, value));
    return settings;
}

TEST(PageOrder, NumbersCountAsNumbersAndHalvesFollowTheirPage) {
    std::vector<std::string> names = {"out/10.xml",   "out/2-w1.xml", "out/1.xml",
                                      "out/2-w0.xml", "out/3.xml",    "out/9.xml"};
    std::sort(names.begin(), names.end(), isBeforeInPageOrder);
    EXPECT_EQ(names, (std::vector<std::string>{"out/1.xml", "out/2-w0.xml", "out/2-w1.xml",
                                               "out/3.xml", "out/9.xml", "out/10.xml"}));
    EXPECT_FALSE(isBeforeInPageOrder("a.xml", "a.xml"));
    EXPECT_TRUE(isBeforeInPageOrder("a", "a.xml"));
}

TEST(OutputSnapshot, AConversionFolderGivesTheXmlFilesWrittenOrReplaced) {
    testsupport::TempDir tmp;
    writeLikeTheWorker(tmp / "1.xml", "old");
    writeLikeTheWorker(tmp / "2.xml", "old");
    std::ofstream(tmp / "notes.txt") << "not ours";
    const OutputSnapshot snapshot =
        OutputSnapshot::take(JobKind::Convert, settingsWith("output", tmp.path().string()));
    EXPECT_TRUE(snapshot.changedFiles().empty());
    writeLikeTheWorker(tmp / "10.xml", "new");
    writeLikeTheWorker(tmp / "2.xml", "old");
    std::ofstream(tmp / "notes2.txt") << "not ours";
    EXPECT_EQ(snapshot.changedFiles(),
              (std::vector<std::string>{(tmp / "2.xml").string(), (tmp / "10.xml").string()}));
}

TEST(OutputSnapshot, ASingleOutputFileAlsoCoversItsHalves) {
    testsupport::TempDir tmp;
    const OutputSnapshot snapshot =
        OutputSnapshot::take(JobKind::Convert, settingsWith("o", (tmp / "Result.XML").string()));
    writeLikeTheWorker(tmp / "Result-w1.XML", "b");
    writeLikeTheWorker(tmp / "Result-w0.XML", "a");
    writeLikeTheWorker(tmp / "Other.XML", "c");
    EXPECT_EQ(snapshot.changedFiles(),
              (std::vector<std::string>{(tmp / "Result-w0.XML").string(),
                                        (tmp / "Result-w1.XML").string()}));
}

TEST(OutputSnapshot, ATextToLinkJobGivesItsPdfOnceReplaced) {
    testsupport::TempDir tmp;
    writeLikeTheWorker(tmp / "book.pdf", "%PDF-1.4 before");
    const OutputSnapshot snapshot = OutputSnapshot::take(
        JobKind::TextToLink, settingsWith("input", (tmp / "book.pdf").string()));
    EXPECT_TRUE(snapshot.changedFiles().empty());
    writeLikeTheWorker(tmp / "book.pdf", "%PDF-1.4 after");
    EXPECT_EQ(snapshot.changedFiles(), std::vector<std::string>{(tmp / "book.pdf").string()});
}

TEST(OutputSnapshot, AFolderThatDoesNotExistGivesNothing) {
    testsupport::TempDir tmp;
    const OutputSnapshot snapshot =
        OutputSnapshot::take(JobKind::Convert, settingsWith("output", (tmp / "none").string()));
    EXPECT_TRUE(snapshot.changedFiles().empty());
}

}  // namespace
}  // namespace host
