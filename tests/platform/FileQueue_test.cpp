#include "platform/FileQueue.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

std::function<bool(const platform::ByteSink&)> bytes(std::string text) {
    return [text = std::move(text)](const platform::ByteSink& out) { return out(text); };
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::size_t entryCount(const fs::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder)) ++count;
    return count;
}

TEST(FileQueue, EveryFileIsWrittenWhenTheQueueGoes) {
    testsupport::TempDir dir;
    {
        platform::FileQueue files;
        // More than one batch, and a last batch that is not full.
        for (int i = 1; i <= 100; ++i) {
            files.write((dir / (std::to_string(i) + ".xml")).string(),
                        bytes("<page n=\"" + std::to_string(i) + "\"/>"));
        }
    }
    EXPECT_EQ(entryCount(dir.path()), 100u);  // no temporary file is left beside them
    EXPECT_EQ(readFile(dir.path() / "1.xml"), "<page n=\"1\"/>");
    EXPECT_EQ(readFile(dir.path() / "100.xml"), "<page n=\"100\"/>");
}

TEST(FileQueue, LaterWriteOfTheSamePathWins) {
    testsupport::TempDir dir;
    {
        platform::FileQueue files;
        files.write((dir / "1.xml").string(), bytes("first"));
        files.write((dir / "1.xml").string(), bytes("second"));
    }
    EXPECT_EQ(readFile(dir.path() / "1.xml"), "second");
}

TEST(FileQueue, BytesAreMadeOnTheWritingThread) {
    testsupport::TempDir dir;
    std::thread::id madeOn;
    {
        platform::FileQueue files;
        files.write((dir / "1.xml").string(), [&madeOn](const platform::ByteSink& out) {
            madeOn = std::this_thread::get_id();
            return out("ma") && out("de");
        });
    }
    EXPECT_EQ(readFile(dir.path() / "1.xml"), "made");
    EXPECT_NE(madeOn, std::this_thread::get_id());
}

TEST(FileQueue, ContentLargerThanTheWriteBufferArrivesWhole) {
    testsupport::TempDir dir;
    std::string expected;
    {
        platform::FileQueue files;
        files.write((dir / "1.xml").string(), [&expected](const platform::ByteSink& out) {
            for (int i = 0; i < 30000; ++i) {
                std::string piece = "<a n=\"" + std::to_string(i) + "\"></a>";
                expected += piece;
                if (!out(piece)) return false;
            }
            std::string big(200000, 'x');
            expected += big;
            return out(big);
        });
    }
    EXPECT_EQ(readFile(dir.path() / "1.xml"), expected);
}

TEST(FileQueue, FileThatCannotBeWrittenLeavesTheOthers) {
    testsupport::TempDir dir;
    {
        platform::FileQueue files;
        files.write((dir / "missing" / "1.xml").string(), bytes("lost"));
        files.write((dir / "2.xml").string(), bytes("kept"));
    }
    EXPECT_FALSE(fs::exists(dir.path() / "missing"));
    EXPECT_EQ(readFile(dir.path() / "2.xml"), "kept");
}

}  // namespace
